// How rapidjson is included wherever the library's JSON values cross its
// boundary: the assertion hook throws ConfigStoreException 1082
// ("JSON error:" "file":line: expression) instead of aborting the process.
// A program that passes rapidjson values to the library includes rapidjson
// only through this header, so that its code and the library's agree on the
// hook. The umbrella header does not include it.
#pragma once

#include <corvconfigstore/Export.h>

namespace CorvConfigStore {
[[noreturn]] CORV_EXPORT void ThrowJsonAssertion(const char* file, int line,
                                                 const char* expression);
}  // namespace CorvConfigStore

#ifdef RAPIDJSON_ASSERT
#error "rapidjson must be included through corvconfigstore/Json.h only"
#endif
#define RAPIDJSON_ASSERT(x) \
  ((x) ? static_cast<void>(0) : ::CorvConfigStore::ThrowJsonAssertion(__FILE__, __LINE__, #x))
#define RAPIDJSON_HAS_STDSTRING 1

#include <rapidjson/document.h>
