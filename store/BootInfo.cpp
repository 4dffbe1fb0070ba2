// The boot information record kept under "BOOT_INFO" in the key-value
// table.
#include <corvconfigstore/HostOperations.h>

#include <string>

#include "core/Checks.h"
#include "core/Json.h"
#include "core/Throw.h"
#include "sqlite/DBError.h"
#include "sqlite/DBStore.h"

namespace CorvConfigStore {

int GetBootInfo() {
  TraceHostOperation("GetBootInfo");
  std::shared_ptr<DBStore::StoreConnection> connection = DBStore::GetDefaultConnection();
  std::string text;
  if (!connection || DBStore::ReadKeyValue(connection, "BOOT_INFO", text) != DBStore::kSuccess)
    DBStore::ThrowFailure(connection, "Failed to read BOOT_INFO database.");
  JsonDocument info;
  if (!ParseJson(text.data(), text.size(), info, nullptr))
    ThrowGeneral("Failed to read BOOT_INFO database.");
  // A root that is not an object, or a "type" that is not an integer, is a
  // JSON precondition failure (code 1082) raised by the accessors.
  auto type = info.FindMember("type");
  if (type == info.MemberEnd()) return 0;
  return type->value.GetInt();
}

}  // namespace CorvConfigStore
