// The table of error message templates.
#include "core/ErrorMessages.h"

#include <corvconfigstore/ErrorCodes.h>

#include <cstdio>
#include <mutex>
#include <string>
#include <unordered_map>

namespace CorvConfigStore {

const char* ErrorMessageForId(int code) {
  switch (code) {
    case CS_ERR_DB_CONNECTION: return "Cannot open the configuration store database: %s";
    case CS_ERR_NOT_AN_OBJECT: return "Invalid configuration value: %s";
    case CS_ERR_INSTANCE_ID_MISSING: return "Instance id property missing or not a string: %s";
    case CS_ERR_SCHEMA_NOT_FOUND: return "Schema not found for: %s";
    case CS_ERR_NULL_OBJECT: return "Object handle is null";
    case CS_ERR_NOT_NON_SINGLETON: return "Not a non-singleton object: %s";
    case CS_ERR_NOT_SINGLETON: return "Non-singleton configuration used as a singleton: %s";
    case CS_ERR_NOT_A_LIST: return "Singleton configuration used as a non-singleton: %s";
    case CS_ERR_EMPTY_OBJECT_LIST: return "The list of configuration objects is empty";
    case CS_ERR_MIXED_OBJECT_LIST:
      return "All configuration objects must have the same component, group and key";
    case CS_ERR_JSON_PARSE: return "Invalid JSON text: %s";
    case CS_ERR_JSON_FILE: return "Cannot read JSON file: %s";
    case CS_ERR_JSON: return "JSON error: %s";
    case CS_ERR_VALIDATION_RECORD: return "Validation error: %s";
    case CS_ERR_VALIDATION: return "Configuration failed schema validation";
    case CS_ERR_APPLY_FILE: return "Apply file failed schema validation";
    case CS_ERR_SPAWN: return "Failed to start command: %s";
    case CS_ERR_WAIT: return "Failed to wait for command: %s";
    case CS_ERR_COMMAND_STATUS: return "Command failed: %s";
    case CS_ERR_GENERAL: return "%s";
    default: break;
  }
  // Unknown codes: one template per code, made once and kept for the
  // process's life so the returned pointer stays valid.
  static std::mutex mutex;
  static std::unordered_map<int, std::string> generic;
  std::lock_guard<std::mutex> lock(mutex);
  auto found = generic.find(code);
  if (found == generic.end()) {
    char text[64];
    std::snprintf(text, sizeof text, "Error %d: %%s", code);
    found = generic.emplace(code, text).first;
  }
  return found->second.c_str();
}

}  // namespace CorvConfigStore
