// ConfigStoreObject: the handle forwards every operation to its
// implementation.
#include <corvconfigstore/ConfigStoreObject.h>

#include <memory>

#include "object/ConfigStoreObjectImpl.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id)
    : StoreObject(std::make_shared<ConfigStoreObjectImpl>(id)) {}

ConfigStoreObject::ConfigStoreObject(const std::shared_ptr<ConfigStoreObjectImpl>& impl)
    : StoreObject(impl) {}

std::string ConfigStoreObject::GetVersion() const {
  return std::string(ImplOf(*this).GetVersion());
}

std::string ConfigStoreObject::GetCreationTime() const {
  return std::string(ImplOf(*this).GetCreationTime());
}

std::string ConfigStoreObject::GetModifiedTime() const {
  return std::string(ImplOf(*this).GetModifiedTime());
}

int ConfigStoreObject::GetRevision() const { return ImplOf(*this).GetRevision(); }

std::string ConfigStoreObject::GetData() const { return ImplOf(*this).GetData(); }

std::string ConfigStoreObject::GetPath(const char* property) const {
  return ImplOf(*this).GetPath(property);
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::CreateSubObject(const SubObjectId& subId) {
  return ImplOf(*this).CreateSubObject(subId);
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::GetSubObject(const SubObjectId& subId) const {
  return ImplOf(*this).GetSubObject(subId);
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreObject::GetSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) const {
  return ImplOf(*this).GetSubObjectInstances(filter);
}

void ConfigStoreObject::DeleteSubObject(const SubObjectId& subId) {
  ImplOf(*this).DeleteSubObject(subId);
}

void ConfigStoreObject::DeleteSubObjectInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  ImplOf(*this).DeleteSubObjectInstances(filter);
}

}  // namespace CorvConfigStore
