// FilterSpecObjectImpl: a filter is a store object whose members are the
// property values to match and whose object members are the filters of
// sub-objects, sharing the parent filter's document.
#pragma once

#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <string>

#include "core/JsonDoc.h"
#include "object/StoreObjectImpl.h"

namespace CorvConfigStore {

// A filter has no defaults, so its typed reads never report 2.
class FilterSpecObjectImpl : public StoreObjectImpl {
 public:
  explicit FilterSpecObjectImpl(const ConfigStoreObjectId& id);
  // Identified by key, group and component with an empty instance id; works
  // on doc when given, else on a new empty object.
  FilterSpecObjectImpl(const std::string& key, const std::string& group,
                       const std::string& component, const std::shared_ptr<JsonDoc>& doc);
  ~FilterSpecObjectImpl() override;

  std::shared_ptr<FilterSpecObject> CreateSubObjectFilter(const SubObjectId& subId);
  std::shared_ptr<FilterSpecObject> GetSubObjectFilter(const SubObjectId& subId) const;
  void DeleteSubObjectFilter(const SubObjectId& subId);

 private:
  // The filter of the member subId.key, on this filter's document.
  std::shared_ptr<FilterSpecObject> MakeSubObjectFilter(const SubObjectId& subId) const;
};

}  // namespace CorvConfigStore
