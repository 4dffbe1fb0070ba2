// The merge of a row's value layers: later layers override earlier ones
// member by member; lists of instances merge instance by instance.
#include "db/MergeConfig.h"

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

ObjectPtr MergeRowLayers(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                         const ConfigRow& row, Layer main, Layer user) {
  return MergeConfig(MakeLayerObject(id, schema, row, Layer::kVital),
                     MakeLayerObject(id, schema, row, Layer::kCached),
                     MakeLayerObject(id, schema, row, main), MakeLayerObject(id, schema, row, user));
}

}  // namespace CorvConfigStore
