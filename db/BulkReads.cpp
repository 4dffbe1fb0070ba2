// The bulk read of every object of a component, or of one of its groups,
// grouped by schema.
#include "db/BulkReads.h"

#include "core/Throw.h"
#include "db/MergeConfig.h"
#include "db/Statements.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

BulkConfig GetBulkConfigInternal(const std::string& component, const std::string& group) {
  Connection conn = DBStore::GetConnection(DBStore::CONFIG_STORE);
  if (!conn) ThrowGeneral("Failed to connect to database");

  std::vector<RowMap> rows;
  int status;
  if (group.empty()) {
    status = ReadRows(conn, DBStore::SqlStatement(Sql::kReadComponentRows),
                      {DBStore::SqlParam::Text(component)}, rows);
  } else {
    status = ReadRows(conn, DBStore::SqlStatement(Sql::kReadGroupRows),
                      {DBStore::SqlParam::Text(group), DBStore::SqlParam::Text(component)}, rows);
  }
  if (status == DBStore::kFailure) ThrowGeneral("Get all keys failed");

  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  BulkConfig result;
  for (const RowMap& row : rows) {
    ConfigStoreObjectId id(RowText(row, "Name"),
                           group.empty() ? RowText(row, "ConfigGroup") : group, component,
                           RowText(row, "Identifier"));
    SchemaPtr schema = cache->GetSchema(id.component, id.group, id.key);
    ObjectPtr object = MergeRowLayers(id, schema, row, "AutoConfValue", RunTimeUserColumn(row));
    if (object) result[schema].push_back(*object);
  }
  return result;
}

}  // namespace CorvConfigStore
