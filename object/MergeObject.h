// The merge of one configuration object into another: a partial update into
// a stored object, or one value layer over another.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>

#include <memory>

#include "core/JsonDoc.h"

namespace CorvConfigStore {

// Merges update into target in place. Members of update replace the
// target's; object members are merged recursively, and array members whose
// names are top-level members of listMembers (the update's instance-id map)
// are merged instance by instance, creating in target what it lacks. Other
// arrays are replaced whole. Nothing is ever removed from target. A null
// handle is logged (code 1041) and nothing is merged.
void UpdateConfigInternal(const std::shared_ptr<ConfigStoreObject>& update,
                          const std::shared_ptr<ConfigStoreObject>& target,
                          const std::shared_ptr<JsonDoc>& listMembers);

}  // namespace CorvConfigStore
