// Checks shared by the bulk writes of the store and the next-boot store.
#pragma once

#include <corvconfigstore/ObjectId.h>

#include "db/ConfigRow.h"

namespace CorvConfigStore {

// The list without its null entries (each logged with code 1041 under the
// operation's name). Throws InvalidArgumentException 1061 when nothing is
// left.
ObjectList DropNullObjects(const ObjectList& objects, const char* operation);

// Throws InvalidArgumentException 1062 unless the object has the key,
// component and group of first: one bulk write covers one key.
void CheckSameKey(const ConfigStoreObjectId& first, const ConfigStoreObjectId& object);

}  // namespace CorvConfigStore
