// ConfigStoreObject: the handle forwards every operation to its
// implementation.
#include <corvconfigstore/ConfigStoreObject.h>

#include <memory>

#include "object/ConfigStoreObjectImpl.h"

namespace CorvConfigStore {

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id)
    : StoreObject(std::make_shared<ConfigStoreObjectImpl>(id)) {}

ConfigStoreObject::ConfigStoreObject(const std::shared_ptr<ConfigStoreObjectImpl>& impl)
    : StoreObject(impl) {}

std::shared_ptr<ConfigStoreObjectImpl> ConfigStoreObject::GetImpl() const {
  return std::static_pointer_cast<ConfigStoreObjectImpl>(impl_);
}

std::string ConfigStoreObject::GetVersion() const { return GetImpl()->GetVersion(); }

std::string ConfigStoreObject::GetCreationTime() const { return GetImpl()->GetCreationTime(); }

std::string ConfigStoreObject::GetModifiedTime() const { return GetImpl()->GetModifiedTime(); }

int ConfigStoreObject::GetRevision() const { return GetImpl()->GetRevision(); }

std::string ConfigStoreObject::GetData() const { return GetImpl()->GetData(); }

std::string ConfigStoreObject::GetPath(const char* property) const {
  return GetImpl()->GetPath(property);
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::CreateSubObject(const SubObjectId& subId) {
  return GetImpl()->CreateSubObject(subId);
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::GetSubObject(const SubObjectId& subId) const {
  return GetImpl()->GetSubObject(subId);
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreObject::GetSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) const {
  return GetImpl()->GetSubObjectInstances(filter);
}

void ConfigStoreObject::DeleteSubObject(const SubObjectId& subId) {
  GetImpl()->DeleteSubObject(subId);
}

void ConfigStoreObject::DeleteSubObjectInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  GetImpl()->DeleteSubObjectInstances(filter);
}

}  // namespace CorvConfigStore
