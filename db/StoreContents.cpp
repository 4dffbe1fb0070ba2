// Raw rows of the store: Config contents by column, the defaults of an
// object, and their grouping by configuration.
#include <cstdlib>

#include "core/Throw.h"
#include "db/BulkReads.h"
#include "db/Statements.h"
#include "core/Strings.h"

namespace CorvConfigStore {

ConfigRows GetStoreContentsInternalST(const std::string& column, const Connection& conn,
                                      bool all) {
  const char* text =
      !all && column == "UserValue" ? Sql::kReadConfirmedStoreContents : Sql::kReadStoreContents;
  char* expanded = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  int length = Str_Asprintf(&expanded, text, column.c_str());
#pragma GCC diagnostic pop
  if (length < 0) ThrowGeneral("Get store rows failed.");
  DBStore::SqlStatement statement(std::string(expanded, static_cast<size_t>(length)));
  std::free(expanded);
  return CollectRows(conn, statement, {});
}

ConfigRows GetUserConfigContents(const Connection& conn) {
  return GetStoreContentsInternalST("UserValue", conn, false);
}

ConfigRows GetDesiredUserConfigContents(const Connection& conn) {
  return GetStoreContentsInternalST("CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END",
                                    conn, false);
}

ConfigRows GetStoredRowContents(const Connection& conn) {
  return GetStoreContentsInternalST(Sql::kAnyLayerValue, conn, true);
}

ConfigRows GetNextBootContents(const Connection& conn) {
  return CollectRows(conn, DBStore::SqlStatement(Sql::kReadNextBootRows), {});
}

ConfigRows GetDefaultUserConfigMapList(const ConfigStoreObjectId& id, const Connection& conn) {
  if (id.instanceId.empty())
    return CollectRows(conn, DBStore::SqlStatement(Sql::kReadDefaultRows), KeyParams(id));
  return CollectRows(conn, DBStore::SqlStatement(Sql::kReadDefaultRow), InstanceParams(id));
}

void UpdateConfigTypeMap(ConfigTypeMap& typeMap, const ConfigRows& rows) {
  for (const ConfigRow& row : rows) {
    if (row.component.empty() || row.name.empty() || !row.Has(Layer::kValue)) continue;
    typeMap[row.component + "." + row.group + "." + row.name][row.identifier] =
        *row.Get(Layer::kValue);
  }
}

}  // namespace CorvConfigStore
