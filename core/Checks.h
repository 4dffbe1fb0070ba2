// The checks every store operation runs first: null handles, empty objects,
// and the operation trace.
#pragma once

#include <corvconfigstore/Logger.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>

#include "core/ErrorMessages.h"

namespace CorvConfigStore {

// True, after logging code 1041 at priority 1, when the handle is null: the
// operation then does nothing. A null handle is never an exception.
template <typename T>
bool IsNull(const std::shared_ptr<T>& handle, const char* operation) {
  if (handle) return false;
  CSLogger::Log(1, "[%d] %s: %s", 1041, operation, ErrorMessageForId(1041));
  return true;
}

// True, after a warning, when the object holds no members: such an object is
// not persisted.
template <typename Object>
bool ObjIsEmpty(const std::shared_ptr<Object>& object, const char* operation) {
  if (!object->IsEmpty()) return false;
  CSLogger::Log(1, "%s, Configuration object for %s is empty, will not be persisted in the db",
                operation, object->GetConfigStoreObjectId().toString().c_str());
  return true;
}

// Read operations trace at priority 4, writes at 3. The flag is 1 for an
// external caller or an operation without context, 0 for an internal one.
inline void TraceOperation(int priority, const char* operation, const ConfigStoreObjectId& id,
                           int context) {
  if (!CSLogger::IsEnabled(priority)) return;
  CSLogger::Log(priority, "%s : %s, context: %d", operation, id.toString().c_str(),
                context == 0 ? 1 : 0);
}

// Host-level operations trace "<operation> invoked" at priority 4.
inline void TraceHostOperation(const char* operation) { CSLogger::Log(4, "%s invoked", operation); }

}  // namespace CorvConfigStore
