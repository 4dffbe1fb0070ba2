// Schema validation of configuration objects for callers outside the
// library: one object against the schema of its key, or a whole document
// nested component, group, key.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/Types.h>

#include <memory>
#include <string>
#include <vector>

namespace CorvConfigStore {

class ConfigStoreObject;

// Validates the object against the schema of its component, group and key,
// appending one record per fault to errors. A missing schema is a fault
// ("Schema not found." at "<component>/<key>") whatever the action; reads
// and deletes (ACTION_GET, ACTION_DELETE) skip the value check. Every fault
// is logged. The last argument is not used. Returns true when valid; a null
// object is logged (code 1041) and is not valid.
CORV_EXPORT bool validateObject(const std::shared_ptr<ConfigStoreObject>& object, ACTION action,
                                std::vector<ErrorInfo>& errors, const std::string& unused);

// Validates the object's value as a whole document (component, group, key,
// then the key's value) against every schema the store knows, reporting
// names the store does not know. Instances that use generated ids and lack
// one are given one. Every fault is logged and appended to errors. Returns
// true when valid; a null object is logged (code 1041) and is not valid.
CORV_EXPORT bool ValidateDocument(const std::shared_ptr<ConfigStoreObject>& object,
                                  std::vector<ErrorInfo>& errors);

}  // namespace CorvConfigStore
