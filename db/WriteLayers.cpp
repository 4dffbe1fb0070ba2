// Writers of Config rows by value layer: the user layer, the cached, vital
// and auto-configuration layers, all layers at once, and the split writes
// behind Set.
#include "core/Checks.h"
#include "core/Throw.h"
#include "db/Statements.h"
#include "db/WriteRows.h"
#include "object/ConfigStoreObjectImpl.h"
#include "schema/SchemaStore.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

// The object's value as written to its column: NULL when it has no members.
DBStore::SqlParam LayerParam(const ObjectPtr& object) {
  if (object->IsEmpty()) return DBStore::SqlParam::Null();
  return DBStore::SqlParam::Text(ImplOf(object).GetSerializedData());
}

DBStore::SqlParams ObjectParams(const ObjectPtr& object) {
  return NumberedParams(IdOf(object), object->GetVersion());
}

// The one writer of the cached, vital and auto-configuration layers.
void WriteLayerInstances(const char* operation, const char* text, const ObjectList& objects,
                         const Connection& conn) {
  DBStore::SqlStatement statement(text);
  for (const ObjectPtr& object : objects) {
    if (IsNull(object, operation)) continue;
    DBStore::SqlParams params = ObjectParams(object);
    params.push_back(LayerParam(object));
    ExecuteWrite(conn, statement, params, "Write config instances failed");
  }
}

// The layers of one object as a complete write stores them.
RowLayers SplitRow(const ObjectPtr& object, USERDATA_CONTEXT context, const OperationContext& op) {
  const ConfigStoreObjectId& id = IdOf(object);
  SchemaPtr schema = op.Schema(id);
  if (!schema) ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
  LayerParts parts = SplitLayers(object, schema);
  RowLayers row;
  (context == INTERNAL ? row.autoConf : row.user) = std::move(parts.user).value_or("");
  row.vital = std::move(parts.vital).value_or("");
  row.cached = std::move(parts.cached).value_or("");
  row.version = object->GetVersion();
  return row;
}

}  // namespace

void WriteUserConfigInstances(const ObjectList& objects, const Connection& conn, bool success,
                              const OperationContext& op) {
  int flag = op.Upgrade() == 2 ? (success ? 1 : 0) : 1;
  DBStore::SqlStatement statement(Sql::kWriteUserLayer);
  for (const ObjectPtr& object : objects) {
    if (IsNull(object, "WriteUserConfigInstances")) continue;
    DBStore::SqlParams params = ObjectParams(object);
    params.push_back(DBStore::SqlParam::Int(flag));
    params.push_back(LayerParam(object));
    ExecuteWrite(conn, statement, params, "Write user data failed");
  }
}

void WriteCachedConfigInstances(const ObjectList& objects, const Connection& conn) {
  WriteLayerInstances("WriteCachedConfigInstances", Sql::kWriteCachedLayer, objects, conn);
}

void WriteVitalConfigInstances(const ObjectList& objects, const Connection& conn) {
  WriteLayerInstances("WriteVitalConfigInstances", Sql::kWriteVitalLayer, objects, conn);
}

void WriteAutoConfConfigInstances(const ObjectList& objects, const Connection& conn) {
  WriteLayerInstances("WriteAutoConfConfigInstances", Sql::kWriteAutoConfLayer, objects, conn);
}

void WriteCompleteConfigInstances(const RowLayersById& rows, const OperationContext& op,
                                  const Connection& conn, const RowWritten& written) {
  DBStore::SqlStatement statement(Sql::kWriteAllLayers);
  // Once an entry is written unconfirmed, so are the later ones of the call.
  int success = 1;
  for (const auto& entry : rows) {
    const ConfigStoreObjectId& id = entry.first;
    const RowLayers& row = entry.second;
    SchemaPtr schema = op.Schema(id);
    if (!schema)
      ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
    if (op.Upgrade() == 2 && !schema->ApplyDuringUpgrade()) success = 0;
    DBStore::SqlParams params =
        NumberedParams(id, row.version.empty() ? schema->GetVersion() : row.version);
    params.reserve(params.size() + 5);
    params.push_back(DBStore::SqlParam::Int(success));
    // The layers are rows' own, kept until the call ends: bound uncopied.
    for (const std::string* layer : {&row.autoConf, &row.user, &row.vital, &row.cached})
      params.push_back(layer->empty() ? DBStore::SqlParam::Null()
                                      : DBStore::SqlParam::TextRef(*layer));
    ExecuteWrite(conn, statement, params, "WriteComplete failed");
    if (written) written();
  }
}

void SetInternal(const ObjectPtr& object, USERDATA_CONTEXT context, const OperationContext& op,
                 const Connection& conn) {
  SetInstancesInternal({object}, context, op, conn);
}

void SetInstancesInternal(const ObjectList& objects, USERDATA_CONTEXT context,
                          const OperationContext& op, const Connection& conn,
                          const RowWritten& written) {
  RowLayersById rows;
  rows.reserve(objects.size());
  for (const ObjectPtr& object : objects)
    if (!IsNull(object, "SetInstancesInternal"))
      rows[IdOf(object)] = SplitRow(object, context, op);
  WriteCompleteConfigInstances(rows, op, conn, written);
}

}  // namespace CorvConfigStore
