// The numeric error codes carried by every exception of the library.
#pragma once

namespace CorvConfigStore {

enum CSErrorCodes : int {
  CS_ERR_DB_CONNECTION = 1002,          // the store database cannot be opened
  CS_ERR_NOT_AN_OBJECT = 1030,          // a value is not a JSON object
  CS_ERR_INSTANCE_ID_MISSING = 1032,    // a value lacks its instance-id property
  CS_ERR_SCHEMA_NOT_FOUND = 1037,       // no schema for component, group and key
  CS_ERR_NULL_OBJECT = 1041,            // a null object or filter handle
  CS_ERR_NOT_NON_SINGLETON = 1046,      // a list operation on a singleton member
  CS_ERR_NOT_SINGLETON = 1048,          // a singleton operation on a list
  CS_ERR_NOT_A_LIST = 1049,             // an instance operation on a singleton
  CS_ERR_EMPTY_OBJECT_LIST = 1061,      // a bulk write with no objects
  CS_ERR_MIXED_OBJECT_LIST = 1062,      // a bulk write over several keys
  CS_ERR_JSON_PARSE = 1080,             // text is not one JSON value
  CS_ERR_JSON_FILE = 1081,              // a JSON file cannot be read or parsed
  CS_ERR_JSON = 1082,                   // a JSON library precondition failed
  CS_ERR_VALIDATION_RECORD = 1083,      // one validation error (logged)
  CS_ERR_VALIDATION = 1084,             // a value failed schema validation
  CS_ERR_APPLY_FILE = 1091,             // an apply file failed validation
  CS_ERR_SPAWN = 1102,                  // a command could not be started
  CS_ERR_WAIT = 1103,                   // waiting for a command failed
  CS_ERR_COMMAND_STATUS = 1104,         // a command ended unsuccessfully
  CS_ERR_GENERAL = 2000,                // any other failure, fixed message
};

}  // namespace CorvConfigStore
