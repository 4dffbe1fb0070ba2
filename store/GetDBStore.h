// Opening the store database for a store handle or a host-level operation.
#pragma once

#include <memory>

#include "sqlite/DBStore.h"

namespace CorvConfigStore {

// A new connection of the given type. When none can be had and mustConnect
// is true, throws ConfigStoreException 2000 "Failed to connect to database"
// with the database's path and why it cannot be used as the detail (none
// when there is simply no store file there); otherwise the result may be
// null.
std::shared_ptr<DBStore::StoreConnection> GetDBStore(DBStore::Type type, bool mustConnect);

}  // namespace CorvConfigStore
