// Row maps, the collectors that fill them, and layer objects made from one
// column of a row.
#include "db/RowMap.h"

#include <corvconfigstore/UpgradeContext.h>

#include <cstdlib>

#include "core/Json.h"
#include "core/Throw.h"
#include "db/Statements.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/JsonDoc.h"

namespace CorvConfigStore {

DBStore::SqlParams KeyParams(const ConfigStoreObjectId& id) {
  return {DBStore::SqlParam::Text(id.key), DBStore::SqlParam::Text(id.group),
          DBStore::SqlParam::Text(id.component)};
}

DBStore::SqlParams InstanceParams(const ConfigStoreObjectId& id) {
  DBStore::SqlParams params = KeyParams(id);
  params.push_back(DBStore::SqlParam::Text(id.instanceId));
  return params;
}

DBStore::SqlParams NumberedParams(const ConfigStoreObjectId& id, const std::string& version) {
  return {DBStore::SqlParam::Text(id.instanceId), DBStore::SqlParam::Text(id.key),
          DBStore::SqlParam::Text(id.group), DBStore::SqlParam::Text(id.component),
          DBStore::SqlParam::Text(version)};
}

DBStore::SqlParam TextOrNull(const std::string& text) {
  return text.empty() ? DBStore::SqlParam::Null() : DBStore::SqlParam::Text(text);
}

void StoreColumns(RowMap& row, int count, char** values, char** names) {
  for (int i = 0; i < count; ++i)
    if (values[i] != nullptr) row[names[i]] = values[i];
}

int ReadRow(const Connection& conn, const DBStore::SqlStatement& statement,
            const DBStore::SqlParams& params, RowMap& row) {
  return DBStore::ExecuteStmt(
      conn, statement, params,
      [&row](int count, char** values, char** names) {
        StoreColumns(row, count, values, names);
        return 0;
      },
      kStmtTimeLimit);
}

int ReadRows(const Connection& conn, const DBStore::SqlStatement& statement,
             const DBStore::SqlParams& params, std::vector<RowMap>& rows) {
  return DBStore::ExecuteStmt(
      conn, statement, params,
      [&rows](int count, char** values, char** names) {
        rows.emplace_back();
        StoreColumns(rows.back(), count, values, names);
        return 0;
      },
      kStmtTimeLimit);
}

RowList CollectRows(const Connection& conn, const DBStore::SqlStatement& statement,
                    const DBStore::SqlParams& params) {
  RowList rows = std::make_shared<std::vector<std::shared_ptr<RowMap>>>();
  int status = DBStore::ExecuteStmt(
      conn, statement, params,
      [&rows](int count, char** values, char** names) {
        auto row = std::make_shared<RowMap>();
        StoreColumns(*row, count, values, names);
        rows->push_back(row);
        return 0;
      },
      kStmtTimeLimit);
  if (status == DBStore::kFailure) ThrowGeneral("Get store rows failed.");
  return rows;
}

RowMap ReadObjectRow(const Connection& conn, const DBStore::SqlStatement& statement,
                     const ConfigStoreObjectId& id) {
  RowMap row;
  if (ReadRow(conn, statement, InstanceParams(id), row) == DBStore::kFailure)
    ThrowGeneral("Get failed: " + id.toString());
  return row;
}

std::vector<RowMap> ReadInstanceRows(const Connection& conn, const DBStore::SqlStatement& statement,
                                     const ConfigStoreObjectId& id) {
  std::vector<RowMap> rows;
  if (ReadRows(conn, statement, KeyParams(id), rows) == DBStore::kFailure)
    ThrowGeneral("Read Instances failed for: " + id.toString());
  return rows;
}

int RowRevision(const RowMap& row) {
  auto found = row.find("Revision");
  if (found == row.end()) return kDefaultRevision;
  return static_cast<int>(std::strtol(found->second.c_str(), nullptr, 10));
}

const std::string& RowText(const RowMap& row, const char* column) {
  auto found = row.find(column);
  return found == row.end() ? kEmptyString : found->second;
}

ObjectPtr MakeLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema, const RowMap& row,
                          const char* column) {
  if (column == nullptr) return nullptr;
  auto found = row.find(column);
  if (found == row.end()) return nullptr;

  auto document = std::make_shared<JsonDocument>();
  std::string error;
  if (!ParseJson(found->second.data(), found->second.size(), *document, &error) ||
      !document->IsObject()) {
    std::string reason = error.empty() ? "not a JSON object" : error;
    std::string message = "JSON error: column " + std::string(column) + " of " + id.toString() +
                          " does not hold a JSON object: " + reason;
    throw ConfigStoreException(CS_ERR_JSON, message.c_str());
  }
  auto impl = std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, std::make_shared<JsonDoc>(document), schema, RowText(row, "Version"),
      RowText(row, "CreationTime"), RowText(row, "ModifiedTime"), RowRevision(row), true, nullptr,
      nullptr);
  return std::make_shared<ConfigStoreObject>(impl);
}

const char* RunTimeUserColumn(const RowMap& row) {
  if (GetUpgradeCtx() != 0) return row.count("DesiredValue") ? "DesiredValue" : "UserValue";
  return ConfirmedUserColumn(row);
}

const char* ConfirmedUserColumn(const RowMap& row) {
  return RowText(row, "Success") == "1" ? "UserValue" : nullptr;
}

}  // namespace CorvConfigStore
