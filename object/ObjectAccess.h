// How the library reaches the implementation behind a public object handle.
// The handles keep their implementation private to callers; the library's
// own code reads it through ImplOf, which costs no reference count.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/StoreObject.h>

#include <memory>

#include "object/ConfigStoreObjectImpl.h"
#include "object/FilterSpecObjectImpl.h"

namespace CorvConfigStore {

class ObjectAccess {
 public:
  static StoreObjectImpl& Impl(const StoreObject& object) { return *object.impl_; }
  // The owning pointer, for code that keeps implementations themselves.
  static const std::shared_ptr<StoreObjectImpl>& Shared(const StoreObject& object) {
    return object.impl_;
  }
};

// A configuration object's and a filter's implementation: the handle types
// guarantee the implementation's type.
inline StoreObjectImpl& ImplOf(const StoreObject& object) { return ObjectAccess::Impl(object); }
inline ConfigStoreObjectImpl& ImplOf(const ConfigStoreObject& object) {
  return static_cast<ConfigStoreObjectImpl&>(ObjectAccess::Impl(object));
}
inline FilterSpecObjectImpl& ImplOf(const FilterSpecObject& object) {
  return static_cast<FilterSpecObjectImpl&>(ObjectAccess::Impl(object));
}
template <typename Handle>
auto& ImplOf(const std::shared_ptr<Handle>& object) {
  return ImplOf(*object);
}

// The identifier of an object or filter, without the copy the public
// GetConfigStoreObjectId makes.
inline const ConfigStoreObjectId& IdOf(const StoreObject& object) {
  return ImplOf(object).GetConfigStoreObjectId();
}
template <typename Handle>
const ConfigStoreObjectId& IdOf(const std::shared_ptr<Handle>& object) {
  return IdOf(*object);
}

}  // namespace CorvConfigStore
