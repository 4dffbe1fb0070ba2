// The key schemas the schema store holds, for programs that show or walk
// them (the command-line program lists and shows schemas through it).
#pragma once

#include <corvconfigstore/Export.h>

#include <string>
#include <vector>

namespace CorvConfigStore {

// What the schema store knows of one configuration key.
struct CORV_EXPORT SchemaInfo {
  std::string component;
  std::string group;
  std::string key;
  // The schema's "version" ("1.0" when it names none).
  std::string version;
  // The key has instances (its root is an array schema).
  bool hasInstances = false;
  // The property that holds an instance's id ("cs_generated_id" for
  // generated ids); empty for a key without instances.
  std::string instanceIdProperty;
  // Tagged "@rebootRequiredConfigStore": written through the next-boot
  // store only.
  bool rebootRequired = false;
  // The key schema as the store uses it, as compact JSON text: arrays of
  // objects that name no instance-id property show the generated
  // "cs_generated_id" property.
  std::string document;
};

// Every key schema of the schema store named by CORV_SCHEMASTORE_DB,
// ordered by component, group and key; empty when the store is missing or
// holds none. A schema store that exists but cannot be read raises
// ConfigStoreException 2000 "Cannot read schemas from <path>" with the
// database's reason as its detail.
CORV_EXPORT std::vector<SchemaInfo> ListSchemas();

}  // namespace CorvConfigStore
