// Compiles against the umbrella header alone and calls into the library.
#include <corvconfigstore/CorvConfigStore.h>

#ifdef RAPIDJSON_VERSION_STRING
#error "the public headers must not include rapidjson"
#endif
#ifdef SQLITE_VERSION
#error "the public headers must not include SQLite"
#endif

#include <iostream>

int main() {
  CorvConfigStore::ConfigStoreObjectId id("dns", "net", "corv");
  try {
    throw CorvConfigStore::InvalidArgumentException(2000, "probe");
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    if (e.GetErrorCode() != 2000) return 1;
  }
  std::cout << id.toString() << "\n";
  return id.toString() == "comp corv grp net key dns" ? 0 : 1;
}
