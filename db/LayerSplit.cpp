// The division of an object's value into its user, vital and cached layers
// by the per-field "vital" and "cached" tags of its schema.
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/Throw.h"
#include "db/Statements.h"
#include "db/WriteRows.h"
#include "object/ConfigStoreObjectImpl.h"
#include "schema/LayerTags.h"
#include "schema/SchemaStore.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

enum class Prune { kKeep, kDrop };

// The first block of the pool the layers are copied into, on the stack:
// the layers of most values fit in it, and a value with nothing tagged
// copies nothing.
constexpr size_t kScratchBlockBytes = 4096;

using CorvSchemaStore::LayerTagNode;

// The schema node of member name of a value of node; "Invalid field in
// schema" when node has no properties or none of that name.
const LayerTagNode& MemberSchema(const LayerTagNode& node, const JsonValue& name) {
  const std::string_view text(name.GetString(), name.GetStringLength());
  if (const LayerTagNode* found = node.Property(text)) return *found;
  ThrowGeneral("Invalid field in schema: " + std::string(text));
}

// True when flag, a member of a schema node, is there and holds true (a
// flag that is not a boolean raises code 1082).
bool FlagSet(const JsonValue* flag) { return flag != nullptr && flag->GetBool(); }

// The layers a value is divided into, and the schema tag of each.
enum Tag { kUser, kVital, kCached, kTagCount };
constexpr unsigned kAllTags = (1u << kTagCount) - 1;

using LayerValues = std::array<JsonValue, kTagCount>;
using Outcomes = std::array<Prune, kTagCount>;

// Whether an object left with the members in kept belongs to the tag's
// layer: a lone member stays unless it is only the instance id.
Prune ObjectOutcome(const JsonValue& kept, const LayerTagNode& node, Tag tag) {
  if (kept.ObjectEmpty()) return Prune::kDrop;
  if (tag == kUser || kept.MemberCount() > 1) return Prune::kKeep;
  const auto& only = *kept.MemberBegin();
  if (only.value.IsObject() || only.value.IsArray()) return Prune::kKeep;
  const LayerTagNode& onlySchema = MemberSchema(node, only.name);
  if (FlagSet(tag == kVital ? onlySchema.vital : onlySchema.cached)) return Prune::kKeep;
  if (FlagSet(onlySchema.instanceId)) return Prune::kDrop;
  return Prune::kKeep;
}

// For each layer in tags (a set of Tag bits), copies into out[layer] what
// of value belongs to it, leaving out the members and elements that do
// not, and sets result[layer] to whether anything of value belongs there.
// The layers are selected in one walk that looks at each schema node once,
// and only what is kept is copied.
void SelectLayers(const JsonValue& value, const LayerTagNode& node, unsigned tags,
                  LayerValues& out, Outcomes& result, JsonAllocator& allocator) {
  // What is not an object fails here as the look-up of a tag in it fails.
  if (!node.isObject) node.json->HasMember("instanceId");
  const bool identifier = FlagSet(node.instanceId);
  const bool tagged[kTagCount] = {false, node.vital != nullptr, node.cached != nullptr};
  unsigned walk = 0;
  auto keepAll = [&](int tag) {
    out[tag].CopyFrom(value, allocator);
    result[tag] = Prune::kKeep;
  };
  for (int tag = 0; tag < kTagCount; ++tag) {
    if ((tags & (1u << tag)) == 0) continue;
    if (identifier || tagged[tag])
      keepAll(tag);
    else if (tag == kUser && (tagged[kVital] || tagged[kCached]))
      result[tag] = Prune::kDrop;
    else
      walk |= 1u << tag;
  }
  if (walk == 0) return;
  auto walked = [walk](int tag) { return (walk & (1u << tag)) != 0; };

  if (value.IsObject() && !value.ObjectEmpty()) {
    for (int tag = 0; tag < kTagCount; ++tag)
      if (walked(tag)) out[tag].SetObject();
    for (const auto& member : value.GetObject()) {
      LayerValues kept;
      Outcomes outcome;
      SelectLayers(member.value, MemberSchema(node, member.name), walk, kept, outcome, allocator);
      for (int tag = 0; tag < kTagCount; ++tag)
        if (walked(tag) && outcome[tag] == Prune::kKeep)
          out[tag].AddMember(JsonValue(member.name, allocator), kept[tag], allocator);
    }
    for (int tag = 0; tag < kTagCount; ++tag)
      if (walked(tag)) result[tag] = ObjectOutcome(out[tag], node, static_cast<Tag>(tag));
    return;
  }

  if (value.IsArray() && !value.Empty()) {
    if (!node.isArray) ThrowGeneral("Schema error:Expected array type");
    if (node.objectItems != nullptr) {
      for (int tag = 0; tag < kTagCount; ++tag)
        if (walked(tag)) out[tag].SetArray();
      for (const JsonValue& element : value.GetArray()) {
        LayerValues kept;
        Outcomes outcome;
        SelectLayers(element, *node.objectItems, walk, kept, outcome, allocator);
        for (int tag = 0; tag < kTagCount; ++tag)
          if (walked(tag) && outcome[tag] == Prune::kKeep) out[tag].PushBack(kept[tag], allocator);
      }
      for (int tag = 0; tag < kTagCount; ++tag)
        if (walked(tag)) result[tag] = out[tag].Empty() ? Prune::kDrop : Prune::kKeep;
      return;
    }
    // A list of plain values is one untagged value of the user layer: it
    // falls through to the rule for plain values.
  }

  for (int tag = 0; tag < kTagCount; ++tag) {
    if (!walked(tag)) continue;
    if (tag == kUser)
      keepAll(tag);
    else
      result[tag] = Prune::kDrop;
  }
}

}  // namespace

LayerParts SplitLayers(const ObjectPtr& object, const SchemaPtr& schema) {
  if (!schema)
    ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND,
                                         object->GetConfigStoreObjectId().toString().c_str());
  const JsonValue& value = *ImplOf(object).GetJsonValuePtr();
  const LayerTagNode& node = schema->GetLayerTags().Root();
  // Where no node tags a layer, the walk of the user layer keeps every
  // member and element: its copy of the value would be the value itself.
  // The other layers are still walked; they meet the same nodes in the
  // same order, so a fault of the value is found as before.
  const bool userIsWhole = !schema->MayTagLayers();
  alignas(std::max_align_t) char block[kScratchBlockBytes];
  rapidjson::CrtAllocator blocks;
  JsonAllocator scratch(block, sizeof block, kScratchBlockBytes, &blocks);
  LayerValues layers;
  Outcomes outcome;
  try {
    SelectLayers(value, node, userIsWhole ? kAllTags & ~(1u << kUser) : kAllTags, layers,
                 outcome, scratch);
  } catch (const ConfigStoreException&) {
    // A value with several faults: the layers walked one after the other,
    // user first, meet them in the order that decides which is reported.
    for (int tag = 0; tag < kTagCount; ++tag)
      SelectLayers(value, node, 1u << tag, layers, outcome, scratch);
  }
  if (userIsWhole) outcome[kUser] = Prune::kKeep;
  auto text = [&](Tag tag) -> std::optional<std::string> {
    if (outcome[tag] == Prune::kDrop) return std::nullopt;
    const JsonValue& layer = tag == kUser && userIsWhole ? value : layers[tag];
    if (tag == kUser && layer.ObjectEmpty()) return std::nullopt;
    return JsonToString(layer);
  };
  LayerParts parts;
  parts.user = text(kUser);
  parts.vital = text(kVital);
  parts.cached = text(kCached);
  return parts;
}

DBStore::SqlParams LayerPartParams(const ObjectPtr& object, const SchemaPtr& schema) {
  LayerParts parts = SplitLayers(object, schema);
  DBStore::SqlParams params;
  for (std::optional<std::string>* part : {&parts.user, &parts.vital, &parts.cached})
    params.push_back(*part ? DBStore::SqlParam::Text(std::move(**part))
                           : DBStore::SqlParam::Null());
  return params;
}

}  // namespace CorvConfigStore
