// Raising a failed database call as the library's exception, with the
// database's reason kept beside the fixed message.
#pragma once

#include <memory>
#include <string>

namespace DBStore {

class StoreConnection;

// Throws ConfigStoreException 2000 with message, and the connection's last
// failure (SQLite's reason) as the exception's detail; the reason is logged
// at priority 0 after the message. A null connection adds no detail.
[[noreturn]] void ThrowFailure(const std::shared_ptr<StoreConnection>& connection,
                               const std::string& message);

// The same for a failure with no connection to ask, such as one to open the
// database: reason is the detail, and an empty reason adds none.
[[noreturn]] void ThrowFailure(const std::string& message, const std::string& reason);

}  // namespace DBStore
