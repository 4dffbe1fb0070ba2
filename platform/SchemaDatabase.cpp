// The schema store database: creation, its table and view, and row access.
#include "platform/SchemaDatabase.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/Throw.h"

namespace CorvSchemaStore {

namespace {

const DBStore::SqlStatement kCreateTable(
    "CREATE TABLE IF NOT EXISTS Schema ( Component TEXT NOT NULL, ConfigGroup TEXT NOT NULL, "
    "Name TEXT NOT NULL, Version TEXT NOT NULL DEFAULT '1.0', ValueType TEXT, "
    "Document TEXT NOT NULL, PRIMARY KEY (Component, ConfigGroup, Name) )");
const DBStore::SqlStatement kCreateView(
    "CREATE VIEW IF NOT EXISTS SmartnicSchema AS SELECT Component, ConfigGroup, Name, ValueType "
    "FROM Schema");
const DBStore::SqlStatement kWriteRow(
    "INSERT OR REPLACE INTO Schema ( Component, ConfigGroup, Name, Version, ValueType, Document ) "
    "VALUES ( ?, ?, ?, ?, ?, ? )");
const DBStore::SqlStatement kReadRows(
    "SELECT Component, ConfigGroup, Name, Document FROM Schema "
    "ORDER BY Component, ConfigGroup, Name");

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
  CorvConfigStore::ThrowGeneral("Cannot open schema store " + path + ": " + reason);
}

// Removes a database file this process created, with SQLite's files beside it.
void RemoveCreated(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) unlink((path + suffix).c_str());
}

}  // namespace

std::shared_ptr<DBStore::StoreConnection> OpenSchemaDatabaseForWrite(const std::string& path) {
  if (path.empty()) Fail(path, "no database path");
  // Made here rather than by SQLite so that the mode is 0600 whatever the
  // umask; SQLite gives its journal files the mode of the database.
  bool created = false;
  int fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd >= 0) {
    created = true;
    int rc = fchmod(fd, 0600);
    int saved = errno;
    close(fd);
    if (rc != 0) {
      RemoveCreated(path);
      Fail(path, std::string("cannot set the file mode: ") + std::strerror(saved));
    }
  } else if (errno != EEXIST) {
    Fail(path, std::string("cannot create the file: ") + std::strerror(errno));
  }

  std::shared_ptr<DBStore::StoreConnection> connection = DBStore::StoreConnection::Open(path);
  std::string reason = connection ? "" : "not a database or not readable";
  for (const DBStore::SqlStatement* statement : {&kCreateTable, &kCreateView}) {
    if (!reason.empty()) break;
    if (DBStore::ExecuteStmt(connection, *statement, {}, nullptr, DBStore::kDefaultTimeLimit) !=
        DBStore::kSuccess)
      reason = connection->LastError();
  }
  if (reason.empty()) return connection;
  connection.reset();
  if (created) RemoveCreated(path);
  Fail(path, reason);
}

int WriteSchemaRow(const std::shared_ptr<DBStore::StoreConnection>& connection,
                   const SchemaRow& row) {
  using DBStore::SqlParam;
  DBStore::SqlParams params = {
      SqlParam::Text(row.component), SqlParam::Text(row.group),   SqlParam::Text(row.key),
      SqlParam::Text(row.version),
      row.valueType.empty() ? SqlParam::Null() : SqlParam::Text(row.valueType),
      SqlParam::Text(row.document)};
  return DBStore::ExecuteStmt(connection, kWriteRow, params, nullptr, DBStore::kDefaultTimeLimit);
}

int ReadSchemaRows(const std::shared_ptr<DBStore::StoreConnection>& connection,
                   std::vector<SchemaRow>& rows) {
  return DBStore::ExecuteStmt(
      connection, kReadRows, {},
      [&rows](int count, char** values, char**) {
        if (count < 4) return 0;
        SchemaRow row;
        row.component = values[0] != nullptr ? values[0] : "";
        row.group = values[1] != nullptr ? values[1] : "";
        row.key = values[2] != nullptr ? values[2] : "";
        row.document = values[3] != nullptr ? values[3] : "";
        rows.push_back(std::move(row));
        return 0;
      },
      DBStore::kDefaultTimeLimit);
}

}  // namespace CorvSchemaStore
