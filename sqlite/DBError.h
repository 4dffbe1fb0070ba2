// Raising a failed database call as the library's exception, with the
// database's reason kept beside the fixed message.
#pragma once

#include <memory>
#include <string>

#include "sqlite/DBStore.h"

namespace DBStore {

// Throws ConfigStoreException 2000 with message, and the connection's last
// failure (SQLite's reason) as the exception's detail; the reason is logged
// at priority 0 after the message. A null connection adds no detail.
[[noreturn]] void ThrowFailure(const std::shared_ptr<StoreConnection>& connection,
                               const std::string& message);

// The same for a failure with no connection to ask, such as one to open the
// database: reason is the detail, and an empty reason adds none.
[[noreturn]] void ThrowFailure(const std::string& message, const std::string& reason,
                               int code = 2000);

// A new connection of type, or ConfigStoreException 1002 naming path (the
// location the caller reports for the store), with the reason the database
// could not be opened as its detail.
std::shared_ptr<StoreConnection> ConnectOrThrow(Type type, const std::string& path);

}  // namespace DBStore
