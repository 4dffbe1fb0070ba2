// Checking a whole-store document before importing it.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>

#include <string>
#include <vector>

namespace CorvConfigStore {

// Checks the document exactly as Import does (the layout, every name known
// to the schema store, every value against its key's schema, every instance
// carrying its instance id) and writes nothing. Returns true when Import
// would accept it; otherwise the validator's records are appended to
// errors. Throws code 1080 for text that is not JSON.
CORV_EXPORT bool ValidateImport(const std::string& docString, std::vector<ErrorInfo>& errors);

}  // namespace CorvConfigStore
