// The exception of a failed database call.
#include "sqlite/DBError.h"

#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>

#include "core/Throw.h"

namespace DBStore {

void ThrowFailure(const std::shared_ptr<StoreConnection>& connection, const std::string& message) {
  ThrowFailure(message, connection ? connection->LastError() : std::string());
}

void ThrowFailure(const std::string& message, const std::string& reason, int code) {
  CorvConfigStore::ConfigStoreException error(code, message.c_str());
  if (!reason.empty()) {
    error.AddDetail(reason);
    CorvConfigStore::CSLogger::Log(0, "[%d] %s: %s", code, message.c_str(), reason.c_str());
  }
  throw error;
}

std::shared_ptr<StoreConnection> ConnectOrThrow(Type type, const std::string& path) {
  std::string reason;
  std::shared_ptr<StoreConnection> connection = GetConnection(type, &reason);
  if (!connection) {
    using namespace CorvConfigStore;
    ThrowFailure(Format(ErrorMessageForId(CS_ERR_DB_CONNECTION), path.c_str()), reason,
                 CS_ERR_DB_CONNECTION);
  }
  return connection;
}

}  // namespace DBStore
