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

ObjectPtr MergeRowLayers(const ConfigStoreObjectId& id, const SchemaPtr& schema, const RowMap& row,
                         const char* mainColumn, const char* userColumn) {
  return MergeConfig(MakeLayerObject(id, schema, row, "VitalValue"),
                     MakeLayerObject(id, schema, row, "CachedValue"),
                     MakeLayerObject(id, schema, row, mainColumn),
                     MakeLayerObject(id, schema, row, userColumn));
}

}  // namespace CorvConfigStore
