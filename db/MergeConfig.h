// The merge of a row's value layers into the one object a read returns.
#pragma once

#include "db/ConfigRow.h"

namespace CorvConfigStore {

// Merges a, then b, then c into base (each overriding, member by member,
// what the earlier ones left) and returns base. Empty arguments are
// skipped; when base is empty the first non-empty argument takes its place,
// and when all are empty the result is empty.
ObjectPtr MergeConfig(ObjectPtr base, const ObjectPtr& a, const ObjectPtr& b, const ObjectPtr& c);

// When the value of an object read from a row is parsed: now, or, for an
// object made from a single layer, on first use (MakeDeferredLayerObject).
enum class Parse { kNow, kOnFirstUse };

// The layer a row's object is made of when it is made of one: the only one
// of the vital, cached, main and user layers the row has; Layer::kNone when
// it has none or several.
Layer OnlyLayer(const ConfigRow& row, Layer main, Layer user);

// Whether MergeRowLayers(row, main, user) and MergeRowLayers(row, otherMain,
// otherUser) merge the same layers of row in the same order, and so build
// equal objects.
bool MergeSameLayers(const ConfigRow& row, Layer main, Layer user, Layer otherMain,
                     Layer otherUser);

// The object of one row: the vital layer as base, then the cached layer,
// main and user (either may be Layer::kNone) merged over it.
ObjectPtr MergeRowLayers(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                         const ConfigRow& row, Layer main, Layer user,
                         Parse parse = Parse::kNow);

}  // namespace CorvConfigStore
