// Filtering of object lists by the value of a filter object.
#include <corvconfigstore/Logger.h>

#include <algorithm>

#include "db/BulkReads.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/FilterSpecObjectImpl.h"
#include "core/ConfigStoreDocument.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

// Removes the objects whose value does not match; value gives an object's
// JSON value.
template <typename Object, typename Value>
void FilterObjects(std::vector<Object>& objects, const std::shared_ptr<FilterSpecObject>& filter,
                   Value value) {
  if (!filter || filter->IsEmpty()) return;
  const JsonValue& filterValue = *ImplOf(filter).GetJsonValuePtr();
  objects.erase(std::remove_if(objects.begin(), objects.end(),
                               [&](const Object& object) {
                                 return !csoMatchesFilter(*value(object), filterValue);
                               }),
                objects.end());
}

}  // namespace

bool csoMatchesFilter(const JsonValue& value, const JsonValue& filter) {
  for (auto member = filter.MemberBegin(); member != filter.MemberEnd(); ++member) {
    const JsonValue& wanted = member->value;
    if (wanted.IsArray()) {
      CSLogger::Log(0, "%s: Non-Singleton SubObject filtering not supported", "csoMatchesFilter");
      return false;
    }
    if (!ConfigStoreDocument::ValueExists(value, member->name.GetString())) return false;
    const JsonValue& held = value[member->name];
    if (wanted.IsObject()) {
      if (!held.IsObject() || !csoMatchesFilter(held, wanted)) return false;
    } else if (held != wanted) {
      return false;
    }
  }
  return true;
}

bool ObjectMatchesFilter(const ConfigStoreObject& object,
                         const std::shared_ptr<FilterSpecObject>& filter) {
  return !filter || filter->IsEmpty() ||
         csoMatchesFilter(*ImplOf(object).GetJsonValuePtr(), *ImplOf(filter).GetJsonValuePtr());
}

void FilterConfigStoreObjects(ObjectList& objects,
                              const std::shared_ptr<FilterSpecObject>& filter) {
  FilterObjects(objects, filter,
                [](const ObjectPtr& object) { return ImplOf(object).GetJsonValuePtr(); });
}

void FilterConfigStoreObjects(std::vector<std::shared_ptr<ConfigStoreObjectImpl>>& objects,
                              const std::shared_ptr<FilterSpecObject>& filter) {
  FilterObjects(objects, filter, [](const std::shared_ptr<ConfigStoreObjectImpl>& object) {
    return object->GetJsonValuePtr();
  });
}

}  // namespace CorvConfigStore
