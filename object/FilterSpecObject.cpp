// FilterSpecObject: the handle forwards every operation to its
// implementation.
#include <corvconfigstore/FilterSpecObject.h>

#include <memory>

#include "object/FilterSpecObjectImpl.h"

namespace CorvConfigStore {

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id)
    : StoreObject(std::make_shared<FilterSpecObjectImpl>(id)) {}

FilterSpecObject::FilterSpecObject(const std::shared_ptr<FilterSpecObjectImpl>& impl)
    : StoreObject(impl) {}

std::shared_ptr<FilterSpecObjectImpl> FilterSpecObject::GetImpl() const {
  return std::static_pointer_cast<FilterSpecObjectImpl>(impl_);
}

std::shared_ptr<FilterSpecObject> FilterSpecObject::CreateSubObjectFilter(
    const SubObjectId& subId) {
  return GetImpl()->CreateSubObjectFilter(subId);
}

std::shared_ptr<FilterSpecObject> FilterSpecObject::GetSubObjectFilter(
    const SubObjectId& subId) const {
  return GetImpl()->GetSubObjectFilter(subId);
}

void FilterSpecObject::DeleteSubObjectFilter(const SubObjectId& subId) {
  GetImpl()->DeleteSubObjectFilter(subId);
}

}  // namespace CorvConfigStore
