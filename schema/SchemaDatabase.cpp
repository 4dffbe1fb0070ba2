// The schema store database: creation, its table and view, and row access.
#include "schema/SchemaDatabase.h"

#include "sqlite/DBError.h"

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
  DBStore::ThrowFailure("Cannot open schema store " + path + ": " + reason, reason);
}

}  // namespace

std::shared_ptr<DBStore::StoreConnection> OpenSchemaDatabaseForWrite(const std::string& path) {
  bool created = false;
  std::string failure;
  if (DBStore::CreateDatabaseFile(path, &created, &failure) != DBStore::kSuccess)
    Fail(path, failure);
  std::string reason;
  auto connection = DBStore::StoreConnection::Open(path, &reason);
  // The file was made or found just above: only its removal since then
  // leaves no reason.
  if (!connection && reason.empty()) reason = "no such file";
  for (const DBStore::SqlStatement* statement : {&kCreateTable, &kCreateView}) {
    if (!reason.empty()) break;
    if (DBStore::ExecuteStmt(connection, *statement, {}, nullptr, DBStore::kDefaultTimeLimit) !=
        DBStore::kSuccess)
      reason = connection->LastError();
  }
  if (reason.empty()) return connection;
  connection.reset();
  if (created) DBStore::RemoveDatabaseFiles(path);
  Fail(path, reason);
}

int WriteSchemaRow(const std::shared_ptr<DBStore::StoreConnection>& connection,
                   const SchemaRow& row) {
  using DBStore::SqlParam;
  DBStore::SqlParams params = {
      SqlParam::Text(row.component),
      SqlParam::Text(row.group),
      SqlParam::Text(row.key),
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
