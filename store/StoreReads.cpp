// The store handle's reads: objects, defaults, instances, instance ids,
// revisions, and validation without a write.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>

#include "core/Checks.h"
#include "db/ReadRows.h"
#include "object/ObjectAccess.h"
#include "store/ConfigStoreImpl.h"
#include "store/StoreOperation.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

std::shared_ptr<ConfigStoreObject> ConfigStoreImpl::Get(const ConfigStoreObjectId& id) {
  StoreOperation op(4, "Get", id, EXTERNAL);
  ValidateCsoId(id, op.Schema());
  return GetInternal(id, connection_, op.Schema(), op.Context());
}

std::shared_ptr<ConfigStoreObject> ConfigStoreImpl::GetDefaultConfig(
    const ConfigStoreObjectId& id) {
  StoreOperation op(4, "GetDefaultConfig", id, EXTERNAL);
  ValidateCsoId(id, op.Schema());
  return GetDefaultConfigInternal(id, connection_, op.Schema());
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreImpl::GetDefaultConfigInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "GetDefaultConfigInstances")) return {};
  StoreOperation op(4, "GetDefaultConfigInstances", IdOf(filter), EXTERNAL);
  ValidateCsoIdInstances(filter, op.Schema());
  return GetDefaultConfigInstancesInternal(filter, connection_, op.Schema());
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreImpl::GetInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "GetInstances")) return {};
  StoreOperation op(4, "GetInstances", IdOf(filter), EXTERNAL);
  ValidateCsoIdInstances(filter, op.Schema());
  return GetConfigInstancesInternal(filter, connection_, op.Schema(), op.Context());
}

std::vector<std::string> ConfigStoreImpl::GetInstanceIds(const ConfigStoreObjectId& id) {
  StoreOperation op(4, "GetInstanceIds", id, EXTERNAL);
  ValidateCsoIdInstances(id, op.Schema());
  return GetInstanceIdsInternal(id, connection_);
}

int ConfigStoreImpl::GetRevision(const ConfigStoreObjectId& id) {
  StoreOperation op(4, "GetRevision", id, EXTERNAL);
  ValidateCsoId(id, op.Schema());
  return GetRevisionInternal(id, connection_);
}

// With an instance id the list holds at most that instance; without one,
// every instance of the key.
std::vector<RevisionInfo> ConfigStoreImpl::GetInstancesRevision(const ConfigStoreObjectId& id) {
  StoreOperation op(4, "GetInstancesRevision", id, EXTERNAL);
  ValidateCsoIdInstances(id, op.Schema());
  return GetRevisionsInternal(id, connection_);
}

std::vector<ErrorInfo> ConfigStoreImpl::Validate(std::shared_ptr<ConfigStoreObject> object) {
  std::vector<ErrorInfo> errors;
  if (IsNull(object, "Validate")) return errors;
  StoreOperation op(3, "Validate", IdOf(object), EXTERNAL);
  ValidateCSO(op.Schema(), object, errors);
  return errors;
}

}  // namespace CorvConfigStore
