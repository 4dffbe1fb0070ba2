// Names of the operations and the text of a step.
#include "Step.h"

#include "Keys.h"

namespace ModelCampaign {

const char* OpName(Op op) {
  static const char* const names[] = {
      "Set",          "SetUserData",   "SetVitalData",         "SetCachedData",
      "Update",       "Delete",        "DeleteInstances",      "SetInstances",
      "SetUserDataInstances", "SetVitalDataInstances", "SetCachedDataInstances",
      "NextBoot.Set", "NextBoot.Delete", "NextBoot.Reset",     "NextBoot.SetInstances",
      "NextBoot.DeleteInstances", "SetBootStatus", "SetPartialBootStatus", "UpdateKernelOptions", "ImportOfExport",
      "BeginTransaction", "CommitTransaction", "CancelTransaction", "Switch IS_BOOT",
      "Switch upgrade context", "Switch BOOT_MODE"};
  static_assert(sizeof(names) / sizeof(names[0]) == static_cast<size_t>(Op::kCount),
                "one name per operation");
  return names[static_cast<int>(op)];
}

std::string Step::Text() const {
  std::string text = OpName(op);
  const std::string key = Keys()[this->key].name;
  const std::string id = key + (instance.empty() ? "" : "/" + instance);
  const char* context = internal ? "INTERNAL" : "EXTERNAL";
  switch (op) {
    case Op::kSet:
    case Op::kSetUserData:
    case Op::kUpdate:
      return text + "(" + id + " " + value.Text() + ", " + context + ")";
    case Op::kSetVitalData:
    case Op::kSetCachedData:
    case Op::kNextBootSet:
    case Op::kPartialBootStatus:
    case Op::kUpdateKernelOptions:
      return text + "(" + id + " " + value.Text() + ")";
    case Op::kDelete:
    case Op::kNextBootDelete:
    case Op::kNextBootReset:
      return text + "(" + id + ")";
    case Op::kDeleteInstances:
    case Op::kNextBootDeleteInstances:
      return text + "(filter " + id + " " + value.Text() + ")";
    case Op::kSetInstances:
    case Op::kSetUserDataInstances:
    case Op::kSetVitalDataInstances:
    case Op::kSetCachedDataInstances:
    case Op::kNextBootSetInstances: {
      text += "(" + key + " [";
      for (size_t i = 0; i < list.size(); ++i)
        text += (i ? ", " : "") + list[i].first + " " + list[i].second.Text();
      const bool withContext = op == Op::kSetInstances || op == Op::kSetUserDataInstances;
      return text + "]" + (withContext ? std::string(", ") + context : "") + ")";
    }
    case Op::kBootStatus:
      return text + "(" + id + ", " + (flag ? "true" : "false") + ")";
    case Op::kImportExport: {
      text += "(";
      bool first = true;
      for (size_t k = 0; k < Keys().size(); ++k)
        if (number & (1 << k)) {
          text += (first ? "" : " ") + std::string(Keys()[k].name);
          first = false;
        }
      return text + ")";
    }
    case Op::kSwitchBoot:
      return text + (flag ? " true" : " false");
    case Op::kSwitchUpgrade:
      return text + " " + std::to_string(number);
    case Op::kSwitchBootMode:
      return text + (flag ? " 1" : " 0");
    default:
      return text;
  }
}

}  // namespace ModelCampaign
