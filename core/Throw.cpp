// The fixed-message throw routines shared across the library.
#include "core/Throw.h"

namespace CorvConfigStore {

std::string BeginTransactionFailedMessage(const char* operation) {
  return std::string("Begin Transaction failed for: ") + operation;
}

void ThrowInvalidType(const char* name) {
  std::string message = std::string("Invalid type specified for: ") + name;
  throw InvalidTypeException(CS_ERR_GENERAL, message.c_str());
}

void ThrowGeneral(const std::string& message) {
  throw ConfigStoreException(CS_ERR_GENERAL, message.c_str());
}

void ThrowWrapped(const std::string& prefix, const std::exception& cause) {
  ConfigStoreException wrapper(CS_ERR_GENERAL, (prefix + cause.what()).c_str());
  if (const auto* inner = dynamic_cast<const ConfigStoreException*>(&cause))
    for (const std::string& detail : inner->GetDetails()) wrapper.AddDetail(detail);
  throw wrapper;
}

}  // namespace CorvConfigStore
