// The key-value switches of the store ("IS_BOOT", "NOTIFY_NEXD") and the
// public reads, writes and listing of free keys.
#include <corvconfigstore/KeyValue.h>

#include "sqlite/DBError.h"
#include "sqlite/DBStore.h"

namespace CorvConfigStore {

namespace {

// Reads a switch on this thread's default connection. False when the store
// cannot be opened or the read fails; *reason, when given, then holds why
// (empty when there is no store).
bool ReadSwitch(const char* key, std::string& value, std::string* reason = nullptr) {
  std::shared_ptr<DBStore::StoreConnection> connection = DBStore::GetDefaultConnection(reason);
  if (!connection) return false;
  if (DBStore::ReadKeyValue(connection, key, value) == DBStore::kSuccess) return true;
  if (reason != nullptr) *reason = connection->LastError();
  return false;
}

// A connection of the caller's own; a store that cannot be opened is coded
// 1002 and named by its standard location.
std::shared_ptr<DBStore::StoreConnection> OwnConnection() {
  return DBStore::ConnectOrThrow(DBStore::CONFIG_STORE, DBStore::kDefaultConfigStorePath);
}

}  // namespace

bool IsBoot() {
  std::string value, reason;
  if (!ReadSwitch("IS_BOOT", value, &reason))
    DBStore::ThrowFailure("Failed to read value from database.", reason);
  return value == "true";
}

bool IsNexdNotificationEnabled() {
  std::string value;
  return ReadSwitch("NOTIFY_NEXD", value) && value == "true";
}

void SetKeyValue(const std::string& key, const std::string& value) {
  std::shared_ptr<DBStore::StoreConnection> connection = OwnConnection();
  if (DBStore::WriteKeyValue(connection, key, value) != DBStore::kSuccess)
    DBStore::ThrowFailure(connection, "Failed to write KV table for key: " + key);
}

std::string GetKeyValue(const std::string& key) {
  std::shared_ptr<DBStore::StoreConnection> connection = OwnConnection();
  std::string value;
  if (DBStore::ReadKeyValue(connection, key, value) != DBStore::kSuccess)
    DBStore::ThrowFailure(connection, "Failed to read KV table for key: " + key);
  return value;
}

std::vector<std::pair<std::string, std::string>> ListKeyValues() {
  std::shared_ptr<DBStore::StoreConnection> connection = OwnConnection();
  std::vector<std::pair<std::string, std::string>> entries;
  if (DBStore::ReadKeyValues(connection, entries) != DBStore::kSuccess)
    DBStore::ThrowFailure(connection, "Failed to list KV table");
  return entries;
}

}  // namespace CorvConfigStore
