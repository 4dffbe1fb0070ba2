// The list of key schemas the schema store holds.
#include <corvconfigstore/SchemaList.h>

#include "core/Json.h"
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

}  // namespace CorvConfigStore
