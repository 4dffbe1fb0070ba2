// The merge of a row's value layers: later layers override earlier ones
// member by member; lists of instances merge instance by instance.
#include "db/MergeConfig.h"

#include <array>

#include "core/ConfigStoreDocument.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/MergeObject.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

ObjectPtr MergeConfig(ObjectPtr base, const ObjectPtr& a, const ObjectPtr& b, const ObjectPtr& c) {
  for (const ObjectPtr& layer : {a, b, c}) {
    if (!layer) continue;
    if (!base)
      base = layer;
    else
      UpdateConfigInternal(layer, base, ImplOf(layer).GetIdMap());
  }
  return base;
}

namespace {

// True when merging layer member by member only sets plain members: it has
// no object, and no list of instances (a list whose name idMap holds).
bool IsFlat(const JsonValue& layer, const JsonDoc* idMap) {
  const JsonValue* lists = idMap != nullptr ? idMap->GetJsonValuePtr() : nullptr;
  for (const auto& member : layer.GetObject()) {
    if (member.value.IsObject()) return false;
    if (member.value.IsArray() && lists != nullptr &&
        ConfigStoreDocument::ValueExists(*lists, member.name.GetString()))
      return false;
  }
  return true;
}

// False when text, the JSON of one object, holds no other object: it has
// no second "{". A layer that may hold one is merged as an object of its
// own, so that its values are not parsed onto the base's document first
// and then copied.
bool MayHoldObjects(const std::string& text) {
  const size_t first = text.find('{');
  return first != std::string::npos && text.find('{', first + 1) != std::string::npos;
}

// The layers of a row in the order they merge, each over those before it.
std::array<Layer, 4> MergeOrder(Layer main, Layer user) {
  return {Layer::kVital, Layer::kCached, main, user};
}

}  // namespace

bool MergeSameLayers(const ConfigRow& row, Layer main, Layer user, Layer otherMain,
                     Layer otherUser) {
  auto present = [&row](Layer first, Layer second) {
    std::array<Layer, 4> layers{};
    size_t count = 0;
    for (Layer layer : MergeOrder(first, second))
      if (row.Has(layer)) layers[count++] = layer;
    return layers;
  };
  return present(main, user) == present(otherMain, otherUser);
}

Layer OnlyLayer(const ConfigRow& row, Layer main, Layer user) {
  Layer only = Layer::kNone;
  for (Layer layer : MergeOrder(main, user)) {
    if (!row.Has(layer)) continue;
    if (only != Layer::kNone) return Layer::kNone;
    only = layer;
  }
  return only;
}

ObjectPtr MergeRowLayers(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                         const ConfigRow& row, Layer main, Layer user, Parse parse) {
  // A value of one layer needs no merge, so its parse can wait.
  if (parse == Parse::kOnFirstUse) {
    const Layer only = OnlyLayer(row, main, user);
    if (only != Layer::kNone) return MakeDeferredLayerObject(id, schema, row, only);
  }
  // The first layer the row has is the base. A layer that only sets plain
  // members is merged as UpdateConfigInternal would merge it, member by
  // member, without becoming an object of its own: that is most layers. It
  // is parsed onto the base's document, so its members move in uncopied.
  ObjectPtr base;
  for (Layer layer : MergeOrder(main, user)) {
    if (!row.Has(layer)) continue;
    if (!base) {
      base = MakeLayerObject(id, schema, row, layer);
      continue;
    }
    ConfigStoreObjectImpl& target = ImplOf(base);
    if (!MayHoldObjects(*row.Get(layer))) {
      JsonValue value = ParseLayerOn(id, row, layer, target.GetDoc()->GetAllocator());
      if (IsFlat(value, target.GetIdMap().get())) {
        target.MoveMembersIn(value);
        continue;
      }
    }
    ObjectPtr update = MakeLayerObject(id, schema, row, layer);
    UpdateConfigInternal(update, base, ImplOf(update).GetIdMap());
  }
  return base;
}

}  // namespace CorvConfigStore
