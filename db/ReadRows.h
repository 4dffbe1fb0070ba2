// Reads of Config and DefaultConfig rows as configuration objects. Each read
// runs on the caller's connection, inside the caller's transaction if any,
// and returns an empty pointer (or no element) where a row has no value.
#pragma once

#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/Types.h>

#include "db/RowMap.h"

namespace CorvConfigStore {

// The current object of one row: vital, cached, auto-configuration and the
// run-time user value (RunTimeUserColumn) merged in that order.
ObjectPtr GetInternal(const ConfigStoreObjectId& id, const Connection& conn,
                      const SchemaPtr& schema);

// The current object for a caller: the auto-configuration layer for any
// context but EXTERNAL; for EXTERNAL during boot (no upgrade in progress and
// IsBoot()) the confirmed user value, otherwise the run-time user value.
// The vital and cached layers are merged in as in GetInternal.
ObjectPtr GetConfigByBootAndContext(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                    USERDATA_CONTEXT context, const Connection& conn);

// Every instance of the filter's object built as in GetInternal (only the
// one its identifier names, when it names one), narrowed by the filter's
// value.
ObjectList GetConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                      const Connection& conn, const SchemaPtr& schema);

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
