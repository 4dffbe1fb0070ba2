// Null-dropping and same-key checks of object lists.
#include "store/ObjectLists.h"

#include <corvconfigstore/ConfigStoreObject.h>

#include "core/Checks.h"
#include "core/Throw.h"

namespace CorvConfigStore {

ObjectList DropNullObjects(const ObjectList& objects, const char* operation) {
  ObjectList kept;
  for (const auto& object : objects)
    if (!IsNull(object, operation)) kept.push_back(object);
  if (kept.empty()) ThrowException<InvalidArgumentException>(CS_ERR_EMPTY_OBJECT_LIST);
  return kept;
}

void CheckSameKey(const ConfigStoreObjectId& first, const ConfigStoreObjectId& object) {
  if (object.key != first.key || object.component != first.component ||
      object.group != first.group)
    ThrowException<InvalidArgumentException>(CS_ERR_MIXED_OBJECT_LIST);
}

}  // namespace CorvConfigStore
