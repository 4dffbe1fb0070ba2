// UUID_CreateRandom on libuuid.
#include "core/Uuid.h"

#include <uuid/uuid.h>

#include <cstdlib>

namespace CorvConfigStore {

char* UUID_CreateRandom() {
  uuid_t uuid;
  uuid_generate_random(uuid);
  char* text = static_cast<char*>(std::malloc(37));
  if (text == nullptr) return nullptr;
  uuid_unparse_lower(uuid, text);
  return text;
}

}  // namespace CorvConfigStore
