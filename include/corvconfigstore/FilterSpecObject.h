// FilterSpecObject: which stored objects, or which instances of a
// sub-object, an operation touches.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/StoreObject.h>

#include <memory>

namespace CorvConfigStore {

class FilterSpecObjectImpl;

// The identifier names the component, group and key to select and, when not
// empty, one instance. The members are property values that selected objects
// must carry; a member holding an object is the filter of the sub-object of
// that name.
class CORV_EXPORT FilterSpecObject : public StoreObject {
 public:
  explicit FilterSpecObject(const ConfigStoreObjectId& id);
  explicit FilterSpecObject(const std::shared_ptr<FilterSpecObjectImpl>& impl);

  // Sub-object filters are keyed by member name alone; the instance id of
  // the SubObjectId is not used. Values set on the returned filter land
  // inside this filter. Throws ConfigStoreException 2000 "SubObject filter
  // already exists." when the member is present.
  std::shared_ptr<FilterSpecObject> CreateSubObjectFilter(const SubObjectId& subId);
  // Null when there is none.
  std::shared_ptr<FilterSpecObject> GetSubObjectFilter(const SubObjectId& subId) const;
  // A missing filter is no error.
  void DeleteSubObjectFilter(const SubObjectId& subId);
};

}  // namespace CorvConfigStore
