// Provisioning: creating a store database file and its tables, or
// completing an existing one.
#include <corvconfigstore/Logger.h>

#include "sqlite/DBConnectionImpl.h"

namespace DBStore {

namespace {

// Every statement is idempotent, so provisioning an existing store only
// adds what it lacks. The four text columns of the object id form the key
// of every table; insert-or-replace relies on it to replace rather than
// duplicate rows.
const char* const kStoreSchema = R"sql(
BEGIN IMMEDIATE;
CREATE TABLE IF NOT EXISTS Config (
  Identifier    TEXT NOT NULL DEFAULT '',
  Name          TEXT NOT NULL,
  ConfigGroup   TEXT NOT NULL,
  Component     TEXT NOT NULL,
  Version       TEXT,
  Success       INTEGER NOT NULL DEFAULT 1,
  UserValue     TEXT,
  DesiredValue  TEXT,
  AutoConfValue TEXT,
  VitalValue    TEXT,
  CachedValue   TEXT,
  CreationTime  TEXT DEFAULT (DATETIME(CURRENT_TIMESTAMP)),
  ModifiedTime  TEXT DEFAULT (DATETIME(CURRENT_TIMESTAMP)),
  Revision      INTEGER NOT NULL DEFAULT 1,
  PRIMARY KEY (Component, ConfigGroup, Name, Identifier)
);
CREATE TRIGGER IF NOT EXISTS ConfigModifiedTime AFTER UPDATE ON Config
FOR EACH ROW WHEN NEW.ModifiedTime IS OLD.ModifiedTime
BEGIN
  UPDATE Config SET ModifiedTime = DATETIME(CURRENT_TIMESTAMP) WHERE rowid = NEW.rowid;
END;
CREATE TABLE IF NOT EXISTS DefaultConfig (
  Identifier  TEXT NOT NULL DEFAULT '',
  Name        TEXT NOT NULL,
  ConfigGroup TEXT NOT NULL,
  Component   TEXT NOT NULL,
  Version     TEXT,
  Value       TEXT,
  VitalValue  TEXT,
  CachedValue TEXT,
  PRIMARY KEY (Component, ConfigGroup, Name, Identifier)
);
CREATE TABLE IF NOT EXISTS DesiredUserConfig (
  Identifier  TEXT NOT NULL DEFAULT '',
  Name        TEXT NOT NULL,
  ConfigGroup TEXT NOT NULL,
  Component   TEXT NOT NULL,
  Version     TEXT,
  Value       TEXT,
  VitalValue  TEXT,
  CachedValue TEXT,
  BootAction  TEXT NOT NULL CHECK (BootAction IN ('SET', 'DELETE', 'DELETE_INSTANCE')),
  PRIMARY KEY (Component, ConfigGroup, Name, Identifier)
);
CREATE TABLE IF NOT EXISTS KeyValue (
  Key   TEXT PRIMARY KEY,
  Value TEXT
);
COMMIT;
)sql";

int Fail(const std::string& path, const std::string& reason, std::string* error) {
  CorvConfigStore::CSLogger::Log(1, "Cannot provision store %s: %s", path.c_str(), reason.c_str());
  if (error != nullptr) *error = reason;
  return kFailure;
}

}  // namespace

int ProvisionStore(const std::string& path, std::string* error) {
  bool created = false;
  std::string reason;
  if (CreateDatabaseFile(path, &created, &reason) != kSuccess) return Fail(path, reason, error);

  std::shared_ptr<StoreConnection> connection = OpenConnection(path, &reason);
  if (connection && ExecScript(ConnectionAccess::Of(*connection), kStoreSchema) != kSuccess)
    reason = connection->LastError();
  if (connection && reason.empty()) return kSuccess;

  connection.reset();
  if (created) RemoveDatabaseFiles(path);
  return Fail(path, reason, error);
}

}  // namespace DBStore
