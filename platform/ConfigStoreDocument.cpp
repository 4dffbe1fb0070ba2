// ValueExists and SerializeValue.
#include "platform/ConfigStoreDocument.h"

namespace ConfigStoreDocument {

bool ValueExists(const CorvConfigStore::JsonValue& value, const char* name) {
  return value.IsObject() && value.HasMember(name);
}

std::string SerializeValue(const CorvConfigStore::JsonValue& value) {
  return CorvConfigStore::JsonToString(value);
}

}  // namespace ConfigStoreDocument
