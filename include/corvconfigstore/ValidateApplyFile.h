// Validation of an apply file against its schema. It takes rapidjson
// values, so it lives apart from the umbrella header; rapidjson is included
// through corvconfigstore/Json.h so that its assertion hook is the library's.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/Json.h>

namespace CorvConfigStore {

// Throws ValidationException 1091 with one record per fault when the
// document does not satisfy the schema. Members the schema marks "readOnly"
// are faults, as are members it does not describe.
CORV_EXPORT void ValidateApplyFile(const rapidjson::Value& document,
                                   const rapidjson::Value& schema);

}  // namespace CorvConfigStore
