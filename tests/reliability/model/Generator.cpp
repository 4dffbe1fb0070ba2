// The random choice of steps and of their arguments.
#include "Generator.h"

#include "Keys.h"

namespace ModelCampaign {

namespace {

struct Weighted {
  Op op;
  int weight;
};

const Weighted kWeights[] = {
    {Op::kSet, 10},          {Op::kSetUserData, 8},    {Op::kSetVitalData, 5},
    {Op::kSetCachedData, 5}, {Op::kUpdate, 12},        {Op::kDelete, 4},
    {Op::kDeleteInstances, 4}, {Op::kSetInstances, 5}, {Op::kSetUserDataInstances, 2},
    {Op::kSetVitalDataInstances, 2}, {Op::kSetCachedDataInstances, 2}, {Op::kNextBootSet, 4},
    {Op::kNextBootDelete, 2}, {Op::kNextBootReset, 1}, {Op::kNextBootSetInstances, 2},
    {Op::kNextBootDeleteInstances, 2}, {Op::kBootStatus, 3}, {Op::kPartialBootStatus, 4}, {Op::kUpdateKernelOptions, 4},
    {Op::kImportExport, 2},  {Op::kBegin, 2},          {Op::kCommit, 4},
    {Op::kCancel, 3},        {Op::kSwitchBoot, 3},     {Op::kSwitchUpgrade, 3},
    {Op::kSwitchBootMode, 1},
};

}  // namespace

std::string Generator::Instance(bool instances) {
  return instances ? InstanceNames()[Below(static_cast<int>(InstanceNames().size()))] : "";
}

Value Generator::Plain(bool instances, const std::string& id) {
  Value value;
  if (instances) value.members["name"] = Value::String(id);
  if (Chance(50)) value.members["a"] = Value::Int(Below(4));
  if (Chance(40)) value.members["b"] = Value::String("s" + std::to_string(Below(3)));
  if (!instances && Chance(30)) {
    Value o;  // sometimes left empty: user writes drop it
    if (Chance(50)) o.members["x"] = Value::Int(Below(3));
    if (Chance(50)) o.members["y"] = Value::Int(Below(3));
    value.members["o"] = o;
  }
  return value;
}

Value Generator::Whole(bool instances, const std::string& id) {
  Value value = Plain(instances, id);
  if (Chance(40)) value.members["v"] = Value::Int(Below(4));
  if (Chance(40)) value.members["c"] = Value::Int(Below(4));
  return value;
}

Value Generator::Criteria() {
  Value filter;
  if (Chance(50))
    filter.members["a"] = Value::Int(Below(4));
  else
    filter.members["b"] = Value::String("s" + std::to_string(Below(3)));
  return filter;
}

// A partial value: often a part of the row's pending desired value, so
// that it is accepted; otherwise any plain members.
Value Generator::Partial(const Model& model, int key, const std::string& id) {
  const bool instances = Keys()[key].instances;
  auto row = model.Rows().config.find({key, id});
  if (Chance(60) && row != model.Rows().config.end() && row->second.desired) {
    Value part;
    for (const auto& member : row->second.desired->members)
      if (member.first == "name" || ((member.first == "a" || member.first == "b") && Chance(60)))
        part.members[member.first] = member.second;
    return part;
  }
  Value value;
  if (instances) value.members["name"] = Value::String(id);
  if (Chance(60)) value.members["a"] = Value::Int(Below(4));
  if (Chance(40)) value.members["b"] = Value::String("s" + std::to_string(Below(3)));
  return value;
}

Step Generator::Draw(const Model& model) {
  int total = 0;
  for (const Weighted& w : kWeights) total += w.weight;
  int pick = Below(total);
  Step step;
  for (const Weighted& w : kWeights) {
    if (pick < w.weight) {
      step.op = w.op;
      break;
    }
    pick -= w.weight;
  }
  const int keyCount = static_cast<int>(Keys().size());
  step.key = Below(keyCount);
  step.internal = Chance(40);
  bool instances = Keys()[step.key].instances;
  switch (step.op) {
    case Op::kSet:
    case Op::kUpdate:
      step.instance = Instance(instances);
      step.value = Whole(instances, step.instance);
      break;
    case Op::kSetUserData:
      step.instance = Instance(instances);
      step.value = Plain(instances, step.instance);
      break;
    case Op::kSetVitalData:
    case Op::kSetCachedData:
      step.instance = Instance(instances);
      if (instances) step.value.members["name"] = Value::String(step.instance);
      if (Chance(90))
        step.value.members[step.op == Op::kSetVitalData ? "v" : "c"] = Value::Int(Below(4));
      break;
    case Op::kDelete:
    case Op::kNextBootDelete:
      step.instance = Instance(instances);
      break;
    case Op::kDeleteInstances:
    case Op::kNextBootDeleteInstances:
      if (step.op == Op::kNextBootDeleteInstances || Chance(90)) {
        step.key = Chance(80) ? 3 : 1;  // the next-boot key, or a plain key with instances
        if (step.op == Op::kDeleteInstances && Chance(50)) step.key = 1;
      }
      instances = Keys()[step.key].instances;
      if (Chance(50)) {
        step.value = Criteria();
      } else if (step.op == Op::kDeleteInstances && Chance(40)) {
        step.instance = Instance(instances);
      }
      break;
    case Op::kSetInstances:
    case Op::kNextBootSetInstances: {
      if (step.op == Op::kNextBootSetInstances || Chance(90)) step.key = Chance(50) ? 3 : 1;
      if (step.op == Op::kNextBootSetInstances && Chance(80)) step.key = 3;
      instances = Keys()[step.key].instances;
      if (Chance(3)) break;  // an empty list
      for (const std::string& name : InstanceNames())
        if (Chance(60)) step.list.emplace_back(name, Whole(instances, name));
      if (step.list.empty()) step.list.emplace_back("i1", Whole(instances, "i1"));
      break;
    }
    case Op::kSetUserDataInstances:
    case Op::kSetVitalDataInstances:
    case Op::kSetCachedDataInstances: {
      if (Chance(90)) step.key = Chance(50) ? 3 : 1;
      instances = Keys()[step.key].instances;
      if (Chance(3)) break;  // an empty list
      for (const std::string& name : InstanceNames()) {
        if (!Chance(60)) continue;
        Value value;
        if (step.op == Op::kSetUserDataInstances) {
          value = Plain(instances, name);
        } else {
          value.members["name"] = Value::String(name);
          if (Chance(90))
            value.members[step.op == Op::kSetVitalDataInstances ? "v" : "c"] = Value::Int(Below(4));
        }
        step.list.emplace_back(name, value);
      }
      if (step.list.empty()) {
        Value value;  // the instance id alone belongs to every layer
        value.members["name"] = Value::String("i2");
        step.list.emplace_back("i2", value);
      }
      break;
    }
    case Op::kNextBootSet:
    case Op::kNextBootReset:
      if (Chance(85)) step.key = 3;
      if (!Keys()[step.key].instances) step.key = 1;  // refused for its tag, not its form
      step.instance = step.op == Op::kNextBootSet ? Instance(true) : "";
      step.value = Whole(true, step.instance);
      break;
    case Op::kBootStatus:
      step.instance = instances && Chance(50) ? "" : Instance(instances);
      step.flag = Chance(85);
      break;
    case Op::kPartialBootStatus:
      // The key whose writes stay unconfirmed in an upgrade, and the kernel
      // options, whose updates wait for the next boot.
      if (Chance(70)) step.key = Chance(50) ? 2 : kKernelOptions;
      instances = Keys()[step.key].instances;
      step.instance = Instance(instances);
      step.value = Partial(model, step.key, step.instance);
      break;
    case Op::kUpdateKernelOptions:
      step.key = kKernelOptions;
      step.value = Whole(false, "");
      break;
    case Op::kImportExport:
      step.number = 1 + Below((1 << keyCount) - 1);
      if (model.Upgrade() == 2) step.number = 1 << Below(keyCount);
      break;
    case Op::kSwitchBoot:
      step.flag = Chance(50);
      break;
    case Op::kSwitchUpgrade:
      step.number = Chance(50) ? 0 : Chance(70) ? 2 : 1;
      break;
    case Op::kSwitchBootMode:
      step.flag = Chance(40);
      break;
    default:
      break;
  }
  return step;
}

Step Generator::Next(const Model& model) {
  for (;;) {
    Step step = Draw(model);
    if (model.Applicable(step)) return step;
  }
}

}  // namespace ModelCampaign
