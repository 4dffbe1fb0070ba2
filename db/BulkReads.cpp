// The bulk read of every object of a component, or of one of its groups,
// grouped by schema.
#include "db/BulkReads.h"

#include "sqlite/DBError.h"
#include "db/MergeConfig.h"
#include "db/Statements.h"

namespace CorvConfigStore {

BulkConfig GetBulkConfigInternal(const std::string& component, const std::string& group,
                                 const OperationContext& op) {
  std::string reason;
  Connection conn = DBStore::GetConnection(DBStore::CONFIG_STORE, &reason);
  if (!conn) DBStore::ThrowFailure("Failed to connect to database", reason);

  const char* failed = "Get all keys failed";
  ConfigRows rows =
      group.empty()
          ? ReadRows(conn, DBStore::SqlStatement(Sql::kReadComponentRows),
                     {DBStore::SqlParam::Text(component)}, failed)
          : ReadRows(conn, DBStore::SqlStatement(Sql::kReadGroupRows),
                     {DBStore::SqlParam::Text(group), DBStore::SqlParam::Text(component)}, failed);

  BulkConfig result;
  for (const ConfigRow& row : rows) {
    ConfigStoreObjectId id(row.name, group.empty() ? row.group : group, component,
                           row.identifier);
    SchemaPtr schema = op.Schema(id);
    ObjectPtr object =
        MergeRowLayers(id, schema, row, Layer::kAutoConf, RunTimeUserLayer(row, op));
    if (object) result[schema].push_back(*object);
  }
  return result;
}

}  // namespace CorvConfigStore
