// Text forms, equality and hashing of identifiers; generated instance ids.
#include <corvconfigstore/ObjectId.h>

#include <cstdlib>

#include "core/Uuid.h"

namespace CorvConfigStore {

const std::string kDefaultComponent = "corv";
const std::string kEmptyString;

ConfigStoreObjectId::ConfigStoreObjectId(const std::string& key, const std::string& group,
                                         const std::string& component)
    : key(key), component(component), group(group) {}

ConfigStoreObjectId::ConfigStoreObjectId(const std::string& key, const std::string& group,
                                         const std::string& component,
                                         const std::string& instanceId)
    : key(key), component(component), group(group), instanceId(instanceId) {}

ConfigStoreObjectId::ConfigStoreObjectId(const char* key, const char* group,
                                         const char* component)
    : ConfigStoreObjectId(std::string(key), std::string(group), std::string(component)) {}

ConfigStoreObjectId::ConfigStoreObjectId(const char* key, const char* group,
                                         const char* component, const char* instanceId)
    : ConfigStoreObjectId(std::string(key), std::string(group), std::string(component),
                          std::string(instanceId)) {}

std::string ConfigStoreObjectId::toString() const {
  std::string text = "comp " + component + " grp " + group + " key " + key;
  if (!instanceId.empty()) text += " id " + instanceId;
  return text;
}

bool ConfigStoreObjectId::operator==(const ConfigStoreObjectId& other) const {
  // An object is often made with one identifier as both its own and its root's.
  return this == &other || (key == other.key && component == other.component &&
                            group == other.group && instanceId == other.instanceId);
}

SubObjectId::SubObjectId(const std::string& key, const std::string& id) : key(key), id(id) {}

std::string SubObjectId::toString() const {
  std::string text = "key " + key;
  if (!id.empty()) text += " id " + id;
  return text;
}

ErrorInfo::ErrorInfo(const std::string& location, const std::string& message)
    : location(location), message(message) {}

size_t hashCsoId(const ConfigStoreObjectId& id) {
  return std::hash<std::string>()(id.key + id.group + id.component + id.instanceId);
}

std::string GenerateInstanceId() {
  char* text = UUID_CreateRandom();
  if (text == nullptr) return std::string();
  std::string id(text);
  std::free(text);
  return id;
}

}  // namespace CorvConfigStore
