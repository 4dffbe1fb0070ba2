// Opening the store database.
#include "store/GetDBStore.h"

#include <string>

#include "sqlite/DBError.h"

namespace CorvConfigStore {

std::shared_ptr<DBStore::StoreConnection> GetDBStore(DBStore::Type type, bool mustConnect) {
  std::string reason;
  std::shared_ptr<DBStore::StoreConnection> connection = DBStore::GetConnection(type, &reason);
  if (!connection && mustConnect) DBStore::ThrowFailure("Failed to connect to database", reason);
  return connection;
}

}  // namespace CorvConfigStore
