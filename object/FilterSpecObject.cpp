// FilterSpecObject: the handle forwards every operation to its
// implementation.
#include <corvconfigstore/FilterSpecObject.h>

#include <memory>

#include "object/FilterSpecObjectImpl.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id)
    : StoreObject(std::make_shared<FilterSpecObjectImpl>(id)) {}

FilterSpecObject::FilterSpecObject(const std::shared_ptr<FilterSpecObjectImpl>& impl)
    : StoreObject(impl) {}

std::shared_ptr<FilterSpecObject> FilterSpecObject::CreateSubObjectFilter(
    const SubObjectId& subId) {
  return ImplOf(*this).CreateSubObjectFilter(subId);
}

std::shared_ptr<FilterSpecObject> FilterSpecObject::GetSubObjectFilter(
    const SubObjectId& subId) const {
  return ImplOf(*this).GetSubObjectFilter(subId);
}

void FilterSpecObject::DeleteSubObjectFilter(const SubObjectId& subId) {
  ImplOf(*this).DeleteSubObjectFilter(subId);
}

}  // namespace CorvConfigStore
