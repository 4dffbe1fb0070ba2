// The kernel boot options object (options / kestrel / corv): new options
// wait in DesiredValue until a boot confirms them, and reads return what the
// next boot will use.
#include "core/Checks.h"
#include "core/Throw.h"
#include "db/MergeConfig.h"
#include "db/NextBootRows.h"
#include "db/Statements.h"
#include "db/WriteRows.h"

namespace CorvConfigStore {

void SetKernelOptionsInternal(const ObjectPtr& object, const SchemaPtr& schema,
                              const Connection& conn) {
  if (IsNull(object, "SetKernelOptionsInternal")) return;
  const ConfigStoreObjectId& id = object->GetConfigStoreObjectId();
  DBStore::SqlParams params = NumberedParams(id, object->GetVersion());
  DBStore::SqlParams layers = LayerPartParams(object, schema);
  params.push_back(layers[0]);
  params.push_back(layers[1]);
  ExecuteWrite(conn, DBStore::SqlStatement(Sql::kWriteKernelOptions), params,
               "Database call to update Kernel options configuration failed for: " + id.toString());
}

ObjectPtr GetKernelOptionsInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                   const SchemaPtr& schema) {
  DBStore::SqlStatement statement(IsRemediating(conn) ? Sql::kReadKernelOptionsRemediation
                                                      : Sql::kReadKernelOptions);
  ConfigRow row = ReadRow(conn, statement, {}, "Get failed: " + id.toString());
  return MergeRowLayers(id, schema, row, Layer::kValue, Layer::kNone);
}

}  // namespace CorvConfigStore
