// Reads of Config and DefaultConfig rows as configuration objects. Each read
// runs on the caller's connection, inside the caller's transaction if any,
// and returns an empty pointer (or no element) where a row has no value.
#pragma once

#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/Types.h>

#include "db/ConfigRow.h"

namespace CorvConfigStore {

// The current object of one row: vital, cached, auto-configuration and the
// run-time user value (RunTimeUserLayer) merged in that order.
ObjectPtr GetInternal(const ConfigStoreObjectId& id, const Connection& conn,
                      const SchemaPtr& schema, const OperationContext& op);

// The current object for a caller: the auto-configuration layer for any
// context but EXTERNAL; for EXTERNAL during boot (op.DuringBoot()) the
// confirmed user value, otherwise the run-time user value. The vital and
// cached layers are merged in as in GetInternal.
ObjectPtr GetConfigByBootAndContext(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                    USERDATA_CONTEXT context, const OperationContext& op,
                                    const Connection& conn);

// What an update starts from, from one read of the row: the current object
// (as GetInternal builds it) and the caller's own view of the row (as
// GetConfigByBootAndContext builds it); both empty when there is no row.
// When the row holds the same layers for both views (no auto-configuration
// layer beside the caller's user layer, say), callerView is current itself.
struct StoredObject {
  ObjectPtr current;
  ObjectPtr callerView;
};
StoredObject GetForUpdateInternal(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                  USERDATA_CONTEXT context, const OperationContext& op,
                                  const Connection& conn);

// Every instance of the filter's object built as in GetInternal (only the
// one its identifier names, when it names one), narrowed by the filter's
// value. An object of one stored layer keeps its text until first used
// (MakeDeferredLayerObject).
ObjectList GetConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                      const Connection& conn, const SchemaPtr& schema,
                                      const OperationContext& op);

// Takes an instance's value as the stored text of its one layer: true when
// taken, false to have the object made of it instead.
using StoredTextTaker =
    std::function<bool(const ConfigStoreObjectId& id, const std::string& text)>;

// The objects GetConfigInstancesInternal returns, in the same order, each
// handed to visit as soon as its row is read and merged: reading every
// instance of a key costs the memory of one. With takeText, and a filter
// that matches on no value, an instance whose object would be made of one
// stored layer is first offered as that layer's text, unchecked.
void ForEachConfigInstance(const std::shared_ptr<FilterSpecObject>& filter,
                           const Connection& conn, const SchemaPtr& schema,
                           const OperationContext& op,
                           const std::function<void(const ObjectPtr&)>& visit,
                           const StoredTextTaker& takeText = nullptr);

// The instance ids of id's key, in row order. Throws ConfigStoreException
// 2000 "GetInstanceIds failed" when the read fails.
std::vector<std::string> GetInstanceIdsInternal(const ConfigStoreObjectId& id,
                                                const Connection& conn);
// The revision of the one row of id; kDefaultRevision when there is none.
// Throws ConfigStoreException 2000 "GetRevision command failed".
int GetRevisionInternal(const ConfigStoreObjectId& id, const Connection& conn);
// The revision of every instance of id's key, or of the one instance id
// names; failures as GetRevisionInternal.
std::vector<RevisionInfo> GetRevisionsInternal(const ConfigStoreObjectId& id,
                                               const Connection& conn);

// The auto-configuration layer with the confirmed user value merged over it;
// no vital or cached layers.
ObjectPtr GetCurrentConfigInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                   const SchemaPtr& schema);
ObjectList GetCurrentConfigInstancesInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                             const SchemaPtr& schema);

// The desired view of a row's user value: the unconfirmed UserValue of a
// row whose Success is 0, else its DesiredValue. With FLAG_WITH_VITAL_CACHED
// the vital and cached layers are merged in.
ObjectPtr GetDesiredInternal(const ConfigStoreObjectId& id, const Connection& conn,
                             const SchemaPtr& schema, FLAG flag);
ObjectList GetDesiredUserConfigInstancesInternal(const ConfigStoreObjectId& id,
                                                 const Connection& conn, const SchemaPtr& schema,
                                                 FLAG flag);

// The shipped default of one instance: vital, cached and value merged. No
// row logs "Object not found: <id>" at priority 0 and yields nothing.
ObjectPtr GetDefaultConfigInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                   const SchemaPtr& schema);
// The default user value (the Value column) only.
ObjectPtr GetDefaultUserConfigInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                       const SchemaPtr& schema);
// Every default instance of the filter's object (only the one its
// identifier names, when it names one), narrowed by the filter's value.
ObjectList GetDefaultConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                             const Connection& conn, const SchemaPtr& schema);
ObjectList GetDefaultUserConfigInstancesInternal(const ConfigStoreObjectId& id,
                                                 const Connection& conn, const SchemaPtr& schema);

}  // namespace CorvConfigStore
