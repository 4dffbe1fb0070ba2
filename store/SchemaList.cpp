// The list of key schemas the schema store holds, and why it cannot be
// read when it cannot.
#include <corvconfigstore/SchemaList.h>

#include "core/Json.h"
#include "schema/SchemaDatabase.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

std::vector<SchemaInfo> ListSchemas() {
  std::vector<SchemaInfo> list;
  for (const auto& schema : CorvSchemaStore::SchemaStore::GetCache()->GetAllSchemas()) {
    SchemaInfo info;
    info.component = schema->GetComponent();
    info.group = schema->GetGroup();
    info.key = schema->GetKey();
    info.version = schema->GetVersion();
    info.hasInstances = schema->HasInstances();
    info.instanceIdProperty = schema->GetInstanceIdProperty();
    info.rebootRequired = schema->IsRebootRequired();
    info.document = JsonToString(schema->GetSchemaDocument());
    list.push_back(std::move(info));
  }
  return list;
}

std::string SchemaStoreFault() {
  // A connection of its own: the cache keeps no reason, and reading the
  // rows is what the cache would do.
  std::string reason;
  auto connection = DBStore::StoreConnection::Open(DBStore::SchemaStorePath(), &reason);
  if (!connection) return reason.empty() ? "no such file" : reason;
  std::vector<CorvSchemaStore::SchemaRow> rows;
  if (CorvSchemaStore::ReadSchemaRows(connection, rows) != DBStore::kSuccess)
    return connection->LastError();
  return std::string();
}

}  // namespace CorvConfigStore
