// Reading a whole JSON file for the loaders of schema and defaults files.
#pragma once

#include <string>

#include "core/Json.h"

namespace CorvSchemaStore {

// Reads and parses the file at path into document. Raises
// ConfigStoreException 2000 "Cannot read <what> <path>: <reason>" or
// "Invalid JSON in <what> <path>: <reason>" (what: e.g. "schema file").
void ReadJsonFile(const std::string& path, const std::string& what,
                  CorvConfigStore::JsonDocument& document);

}  // namespace CorvSchemaStore
