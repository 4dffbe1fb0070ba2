// The store handle's reads: objects, defaults, instances, instance ids,
// revisions, and validation without a write.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>

#include "core/Checks.h"
#include "core/Throw.h"
#include "db/ReadRows.h"
#include "db/RowMap.h"
#include "db/Statements.h"
#include "store/ConfigStoreImpl.h"
#include "store/SchemaLookup.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

std::shared_ptr<ConfigStoreObject> ConfigStoreImpl::Get(const ConfigStoreObjectId& id) {
  TraceOperation(4, "Get", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(id, schema);
  return GetInternal(id, connection_, schema);
}

std::shared_ptr<ConfigStoreObject> ConfigStoreImpl::GetDefaultConfig(
    const ConfigStoreObjectId& id) {
  TraceOperation(4, "GetDefaultConfig", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(id, schema);
  return GetDefaultConfigInternal(id, connection_, schema);
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreImpl::GetDefaultConfigInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "GetDefaultConfigInstances")) return {};
  TraceOperation(4, "GetDefaultConfigInstances", filter->GetConfigStoreObjectId(), EXTERNAL);
  auto schema = LookupSchema(filter->GetConfigStoreObjectId());
  ValidateCsoIdInstances(filter, schema);
  return GetDefaultConfigInstancesInternal(filter, connection_, schema);
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreImpl::GetInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "GetInstances")) return {};
  TraceOperation(4, "GetInstances", filter->GetConfigStoreObjectId(), EXTERNAL);
  auto schema = LookupSchema(filter->GetConfigStoreObjectId());
  ValidateCsoIdInstances(filter, schema);
  return GetConfigInstancesInternal(filter, connection_, schema);
}

std::vector<std::string> ConfigStoreImpl::GetInstanceIds(const ConfigStoreObjectId& id) {
  TraceOperation(4, "GetInstanceIds", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoIdInstances(id, schema);
  std::vector<RowMap> rows;
  if (ReadRows(connection_, DBStore::SqlStatement(Sql::kReadInstanceIds), KeyParams(id), rows) ==
      DBStore::kFailure)
    ThrowGeneral("GetInstanceIds failed");
  std::vector<std::string> ids;
  for (const RowMap& row : rows) ids.push_back(RowText(row, "Identifier"));
  return ids;
}

int ConfigStoreImpl::GetRevision(const ConfigStoreObjectId& id) {
  TraceOperation(4, "GetRevision", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(id, schema);
  std::vector<RowMap> rows;
  if (ReadRows(connection_, DBStore::SqlStatement(Sql::kReadRevision), InstanceParams(id), rows) ==
      DBStore::kFailure)
    ThrowGeneral("GetRevision command failed");
  int revision = kDefaultRevision;
  for (const RowMap& row : rows) revision = RowRevision(row);
  return revision;
}

// With an instance id the list holds at most that instance; without one,
// every instance of the key.
std::vector<RevisionInfo> ConfigStoreImpl::GetInstancesRevision(const ConfigStoreObjectId& id) {
  TraceOperation(4, "GetInstancesRevision", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoIdInstances(id, schema);
  const bool oneInstance = !id.instanceId.empty();
  std::vector<RowMap> rows;
  if (ReadRows(connection_,
               DBStore::SqlStatement(oneInstance ? Sql::kReadRevision : Sql::kReadRevisions),
               oneInstance ? InstanceParams(id) : KeyParams(id), rows) == DBStore::kFailure)
    ThrowGeneral("GetRevision command failed");
  std::vector<RevisionInfo> revisions;
  for (const RowMap& row : rows)
    revisions.push_back(RevisionInfo{RowText(row, "Identifier"), RowRevision(row)});
  return revisions;
}

std::vector<ErrorInfo> ConfigStoreImpl::Validate(std::shared_ptr<ConfigStoreObject> object) {
  std::vector<ErrorInfo> errors;
  if (IsNull(object, "Validate")) return errors;
  TraceOperation(3, "Validate", object->GetConfigStoreObjectId(), EXTERNAL);
  ValidateCSO(LookupSchema(object->GetConfigStoreObjectId()), object, errors);
  return errors;
}

}  // namespace CorvConfigStore
