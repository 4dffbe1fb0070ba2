// Reads of the current value of Config rows: one row, one row for a caller's
// context, every instance of an object, and the auto-configuration view.
#include "db/ReadRows.h"

#include "core/Checks.h"
#include "db/BulkReads.h"
#include "db/MergeConfig.h"
#include "db/Statements.h"

namespace CorvConfigStore {

namespace {

// The layer a caller reads its own view from; runTimeUser is the row's
// RunTimeUserLayer.
Layer CallerLayer(const ConfigRow& row, USERDATA_CONTEXT context, bool duringBoot,
                  Layer runTimeUser) {
  if (context != EXTERNAL) return Layer::kAutoConf;
  return duringBoot ? ConfirmedUserLayer(row) : runTimeUser;
}

void VisitConfigInstances(const std::shared_ptr<FilterSpecObject>& filter,
                          const Connection& conn, const SchemaPtr& schema,
                          const OperationContext& op, Parse parse,
                          const std::function<void(const ObjectPtr&)>& visit,
                          const StoredTextTaker& takeText = nullptr) {
  const ConfigStoreObjectId& id = filter->GetConfigStoreObjectId();
  auto offer = [&](const ObjectPtr& object) {
    if (object && ObjectMatchesFilter(*object, filter)) visit(object);
  };
  if (!id.instanceId.empty()) {
    offer(GetInternal(id, conn, schema, op));
    return;
  }
  // A filter that matches on values needs the object.
  const bool byText = takeText && filter->IsEmpty();
  ForEachInstanceRow(conn, GET_INSTANCES, id, [&](const ConfigRow& row) {
    const ConfigStoreObjectId instance = WithInstanceId(id, row.identifier);
    const Layer user = RunTimeUserLayer(row, op);
    if (byText) {
      const Layer only = OnlyLayer(row, Layer::kAutoConf, user);
      if (only != Layer::kNone && takeText(instance, *row.Get(only))) return;
    }
    offer(MergeRowLayers(instance, schema, row, Layer::kAutoConf, user, parse));
  });
}

}  // namespace

ObjectPtr GetInternal(const ConfigStoreObjectId& id, const Connection& conn,
                      const SchemaPtr& schema, const OperationContext& op) {
  const ConfigRow row = ReadObjectRow(conn, READ_TABLE_CONFIG, id);
  return MergeRowLayers(id, schema, row, Layer::kAutoConf, RunTimeUserLayer(row, op));
}

ObjectPtr GetConfigByBootAndContext(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                    USERDATA_CONTEXT context, const OperationContext& op,
                                    const Connection& conn) {
  // The phase is settled before the row is read, whichever layer is wanted.
  const bool duringBoot = op.DuringBoot();
  ConfigRow row = ReadObjectRow(conn, READ_TABLE_CONFIG, id);
  return MergeRowLayers(id, schema, row,
                        CallerLayer(row, context, duringBoot, RunTimeUserLayer(row, op)),
                        Layer::kNone);
}

StoredObject GetForUpdateInternal(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                  USERDATA_CONTEXT context, const OperationContext& op,
                                  const Connection& conn) {
  const bool duringBoot = op.DuringBoot();
  ConfigRow row = ReadObjectRow(conn, READ_TABLE_CONFIG, id);
  const Layer user = RunTimeUserLayer(row, op);
  const Layer caller = CallerLayer(row, context, duringBoot, user);
  StoredObject stored;
  stored.current = MergeRowLayers(id, schema, row, Layer::kAutoConf, user);
  // Views of different layers merge into layer objects of their own, so the
  // two never share a document; views of the same layers are one object.
  stored.callerView = MergeSameLayers(row, Layer::kAutoConf, user, caller, Layer::kNone)
                          ? stored.current
                          : MergeRowLayers(id, schema, row, caller, Layer::kNone);
  return stored;
}

ObjectList GetConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                      const Connection& conn, const SchemaPtr& schema,
                                      const OperationContext& op) {
  if (IsNull(filter, "GetConfigInstancesInternal")) return {};
  // The caller holds the whole list, and may read few of its values: each
  // value of one layer keeps its text until first used.
  ObjectList objects;
  VisitConfigInstances(filter, conn, schema, op, Parse::kOnFirstUse,
                       [&objects](const ObjectPtr& object) { objects.push_back(object); });
  return objects;
}

void ForEachConfigInstance(const std::shared_ptr<FilterSpecObject>& filter,
                           const Connection& conn, const SchemaPtr& schema,
                           const OperationContext& op,
                           const std::function<void(const ObjectPtr&)>& visit,
                           const StoredTextTaker& takeText) {
  VisitConfigInstances(filter, conn, schema, op, Parse::kNow, visit, takeText);
}

std::vector<std::string> GetInstanceIdsInternal(const ConfigStoreObjectId& id,
                                                const Connection& conn) {
  std::vector<std::string> ids;
  ForEachRow(conn, DBStore::SqlStatement(Sql::kReadInstanceIds), KeyParams(id),
             "GetInstanceIds failed",
             [&ids](const ConfigRow& row) { ids.push_back(row.identifier); });
  return ids;
}

int GetRevisionInternal(const ConfigStoreObjectId& id, const Connection& conn) {
  return ReadRow(conn, DBStore::SqlStatement(Sql::kReadRevision), InstanceParams(id),
                 "GetRevision command failed")
      .revision;
}

std::vector<RevisionInfo> GetRevisionsInternal(const ConfigStoreObjectId& id,
                                               const Connection& conn) {
  const bool oneInstance = !id.instanceId.empty();
  std::vector<RevisionInfo> revisions;
  for (const ConfigRow& row :
       ReadRows(conn, DBStore::SqlStatement(oneInstance ? Sql::kReadRevision : Sql::kReadRevisions),
                oneInstance ? InstanceParams(id) : KeyParams(id), "GetRevision command failed"))
    revisions.push_back(RevisionInfo{row.identifier, row.revision});
  return revisions;
}

ObjectPtr GetCurrentConfigInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                   const SchemaPtr& schema) {
  ConfigRow row = ReadObjectRow(conn, READ_TABLE_USER_AUTO_CONFIG, id);
  return MergeConfig(MakeLayerObject(id, schema, row, Layer::kAutoConf),
                     MakeLayerObject(id, schema, row, ConfirmedUserLayer(row)), nullptr, nullptr);
}

ObjectList GetCurrentConfigInstancesInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                             const SchemaPtr& schema) {
  ObjectList objects;
  for (const ConfigRow& row : ReadInstanceRows(conn, GET_INSTANCES, id)) {
    ObjectPtr object = GetCurrentConfigInternal(WithInstanceId(id, row.identifier), conn, schema);
    if (object) objects.push_back(object);
  }
  return objects;
}

}  // namespace CorvConfigStore
