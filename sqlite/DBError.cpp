// The exception of a failed database call.
#include "sqlite/DBError.h"

#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>

#include "sqlite/DBStore.h"

namespace DBStore {

void ThrowFailure(const std::shared_ptr<StoreConnection>& connection, const std::string& message) {
  CorvConfigStore::ConfigStoreException error(2000, message.c_str());
  if (connection && !connection->LastError().empty()) {
    error.AddDetail(connection->LastError());
    CorvConfigStore::CSLogger::Log(0, "[2000] %s: %s", message.c_str(),
                                   connection->LastError().c_str());
  }
  throw error;
}

}  // namespace DBStore
