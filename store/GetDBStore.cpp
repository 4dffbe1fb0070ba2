// Opening the store database.
#include "store/GetDBStore.h"

#include "core/Throw.h"

namespace CorvConfigStore {

std::shared_ptr<DBStore::StoreConnection> GetDBStore(DBStore::Type type, bool mustConnect) {
  std::shared_ptr<DBStore::StoreConnection> connection = DBStore::GetConnection(type);
  if (!connection && mustConnect) ThrowGeneral("Failed to connect to database");
  return connection;
}

}  // namespace CorvConfigStore
