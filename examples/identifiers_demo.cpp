// Shows identifiers, their text forms and hashes, and the exceptions of the
// library with their codes and messages.
#include <corvconfigstore/CorvConfigStore.h>

#include <iostream>
#include <vector>

using namespace CorvConfigStore;

int main() {
  ConfigStoreObjectId dns("dns", "net", "corv");
  ConfigStoreObjectId nic("nics", "net", "corv", "eth0");
  std::cout << "singleton:      " << dns.toString() << "\n";
  std::cout << "instance:       " << nic.toString() << "\n";
  std::cout << "sub-object:     " << SubObjectId("routes", "default").toString() << "\n";
  std::cout << "hash equal:     " << std::boolalpha
            << (std::hash<ConfigStoreObjectId>()(ConfigStoreObjectId("ab", "c", "corv")) ==
                std::hash<ConfigStoreObjectId>()(ConfigStoreObjectId("a", "bc", "corv")))
            << " (key+group concatenations coincide)\n";
  std::cout << "generated id:   " << GenerateInstanceId() << "\n";

  try {
    std::vector<ErrorInfo> errors{ErrorInfo("/servers", "expected array"),
                                  ErrorInfo("/", "missing required property \"mode\"")};
    throw ValidationException(CS_ERR_VALIDATION, "Configuration failed schema validation", errors);
  } catch (const ValidationException& e) {
    std::cout << "\ncaught ValidationException:\n" << e.toString();
  }
  try {
    throw InvalidArgumentException(CS_ERR_GENERAL, "key cannot be empty");
  } catch (const ConfigStoreException& e) {
    std::cout << "\ncaught " << e.GetErrorCode() << ": " << e.what() << "\n";
  }
  return 0;
}
