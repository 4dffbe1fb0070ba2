// The check every validation makes whatever the options: no object of the
// value holds two members of one name. JSON text may repeat a name, and
// the parser keeps both members, but the store cannot say which one is
// meant: a read that merges layers keeps the last, a plain read meets the
// first, and writing the merged value back moves members around.
#include <algorithm>
#include <string_view>

#include "jsonschema/JsonValidatorInternal.h"

namespace JsonValidator {
namespace {

// Objects up to this size are searched pair by pair; larger ones sort
// their names first, so a hostile object of many members costs n log n.
constexpr rapidjson::SizeType kPairwiseMembers = 16;

std::string_view NameOf(const JsonValue& name) {
  return std::string_view(name.GetString(), name.GetStringLength());
}

// The members of object whose name an earlier member has, each name once.
std::vector<const JsonValue*> RepeatedNames(const JsonValue& object) {
  std::vector<const JsonValue*> repeated;
  const rapidjson::SizeType count = object.MemberCount();
  if (count < 2) return repeated;
  auto begin = object.MemberBegin();
  if (count <= kPairwiseMembers) {
    NameSignature signatures[kPairwiseMembers];
    for (rapidjson::SizeType i = 0; i < count; ++i) {
      const std::string_view name = NameOf(begin[i].name);
      signatures[i] = NameSignature::Of(name);
      bool earlier = false;
      for (rapidjson::SizeType j = 0; j < i && !earlier; ++j)
        earlier = signatures[j] == signatures[i] &&
                  (signatures[i].Whole() || NameOf(begin[j].name) == name);
      if (!earlier) continue;
      bool reported = false;
      for (const JsonValue* seen : repeated) reported = reported || NameOf(*seen) == name;
      if (!reported) repeated.push_back(&begin[i].name);
    }
    return repeated;
  }
  // Positions sorted by name, the earlier member first among equals: the
  // second of each run of equal names is the first repetition.
  std::vector<rapidjson::SizeType> order(count);
  for (rapidjson::SizeType i = 0; i < count; ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](rapidjson::SizeType a, rapidjson::SizeType b) {
    return NameOf(begin[a].name) < NameOf(begin[b].name);
  });
  for (rapidjson::SizeType i = 1; i < count; ++i) {
    const bool sameAsPrevious = NameOf(begin[order[i]].name) == NameOf(begin[order[i - 1]].name);
    const bool firstOfRun = i < 2 || NameOf(begin[order[i - 1]].name) !=
                                         NameOf(begin[order[i - 2]].name);
    if (sameAsPrevious && firstOfRun) repeated.push_back(&begin[order[i]].name);
  }
  // Reported in the order the repetitions stand in the object.
  std::sort(repeated.begin(), repeated.end());
  return repeated;
}

}  // namespace

void CheckRepeatedNames(const JsonValue& value, PointerPath& path, ErrorList& errors) {
  if (value.IsArray()) {
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
      if (!value[i].IsObject() && !value[i].IsArray()) continue;
      path.PushIndex(i);
      CheckRepeatedNames(value[i], path, errors);
      path.Pop();
    }
    return;
  }
  if (!value.IsObject()) return;
  for (const JsonValue* name : RepeatedNames(value)) {
    path.PushName(*name);
    AddError(errors, path, "the object holds more than one member of this name");
    path.Pop();
  }
  for (const auto& member : value.GetObject()) {
    if (!member.value.IsObject() && !member.value.IsArray()) continue;
    path.PushName(member.name);
    CheckRepeatedNames(member.value, path, errors);
    path.Pop();
  }
}

}  // namespace JsonValidator
