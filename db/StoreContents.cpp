// Raw rows of the store: Config contents by column, the defaults of an
// object, and their grouping by configuration.
#include <cstdlib>

#include "core/Throw.h"
#include "db/BulkReads.h"
#include "db/Statements.h"
#include "core/Strings.h"

namespace CorvConfigStore {

RowList GetStoreContentsInternalST(const std::string& column, const Connection& conn, bool all) {
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

RowList GetUserConfigContents(const Connection& conn) {
  return GetStoreContentsInternalST("UserValue", conn, false);
}

RowList GetDesiredUserConfigContents(const Connection& conn) {
  return GetStoreContentsInternalST("CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END",
                                    conn, false);
}

RowList GetDefaultUserConfigMapList(const ConfigStoreObjectId& id, const Connection& conn) {
  if (id.instanceId.empty())
    return CollectRows(conn, DBStore::SqlStatement(Sql::kReadDefaultRows), KeyParams(id));
  return CollectRows(conn, DBStore::SqlStatement(Sql::kReadDefaultRow), InstanceParams(id));
}

void UpdateConfigTypeMap(ConfigTypeMap& typeMap, const RowList& rows) {
  if (!rows) return;
  for (const auto& row : *rows) {
    auto component = row->find("Component"), group = row->find("ConfigGroup"),
         name = row->find("Name"), identifier = row->find("Identifier"), value = row->find("Value");
    if (component == row->end() || group == row->end() || name == row->end() ||
        identifier == row->end() || value == row->end())
      continue;
    std::string type = component->second + "." + group->second + "." + name->second;
    typeMap[type][identifier->second] = value->second;
  }
}

}  // namespace CorvConfigStore
