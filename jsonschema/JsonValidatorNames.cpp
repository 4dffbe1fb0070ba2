// The check every validation makes whatever the options: no object of the
// value holds two members of one name. JSON text may repeat a name, and
// the parser keeps both members, but the store cannot say which one is
// meant: a read that merges layers keeps the last, a plain read meets the
// first, and writing the merged value back moves members around.
#include <algorithm>
#include <cstdint>
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

// The names of a small object seen so far, as one bit of 256 for each,
// picked by a hash of the name's signature (made at a fixed cost whatever
// the length): a name whose bit is still clear cannot equal an earlier one,
// so only the few names whose bit is taken are compared with the earlier
// names.
class SeenNames {
 public:
  // Marks the name; false when its bit was clear.
  bool MaybeSeen(std::string_view name) {
    const NameSignature signature = NameSignature::Of(name);
    const uint64_t hash = (signature.head ^ signature.length) * 0x9E3779B97F4A7C15u;
    const unsigned bit = static_cast<unsigned>(hash >> 56);
    const uint64_t mask = uint64_t{1} << (bit & 63);
    const bool taken = (bits_[bit >> 6] & mask) != 0;
    bits_[bit >> 6] |= mask;
    return taken;
  }

 private:
  uint64_t bits_[4] = {};
};

// The members of object whose name an earlier member has, each name once.
std::vector<const JsonValue*> RepeatedNames(const JsonValue& object) {
  std::vector<const JsonValue*> repeated;
  const rapidjson::SizeType count = object.MemberCount();
  if (count < 2) return repeated;
  auto begin = object.MemberBegin();
  if (count <= kPairwiseMembers) {
    SeenNames names;
    for (rapidjson::SizeType i = 0; i < count; ++i) {
      const std::string_view name = NameOf(begin[i].name);
      if (!names.MaybeSeen(name)) continue;
      bool earlier = false;
      for (rapidjson::SizeType j = 0; j < i && !earlier; ++j)
        earlier = NameOf(begin[j].name) == name;
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
