// DriftObject: the interface's destructor, emitted once with the library.
#include <corvconfigstore/DriftObject.h>

namespace CorvConfigStore {

DriftObject::~DriftObject() = default;

}  // namespace CorvConfigStore
