// The exception of a failed database call.
#include "sqlite/DBError.h"

#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>

#include "sqlite/DBStore.h"

namespace DBStore {

void ThrowFailure(const std::shared_ptr<StoreConnection>& connection, const std::string& message) {
  ThrowFailure(message, connection ? connection->LastError() : std::string());
}

void ThrowFailure(const std::string& message, const std::string& reason) {
  CorvConfigStore::ConfigStoreException error(2000, message.c_str());
  if (!reason.empty()) {
    error.AddDetail(reason);
    CorvConfigStore::CSLogger::Log(0, "[2000] %s: %s", message.c_str(), reason.c_str());
  }
  throw error;
}

}  // namespace DBStore
