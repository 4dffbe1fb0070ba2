// Reads of whole stretches of the store in one pass: every object of a
// component or group, for a service that loads all of its configuration at
// start, and the configuration shared with a SmartNIC.
#pragma once

#include <corvconfigstore/Export.h>

#include <memory>
#include <string>
#include <vector>

namespace CorvConfigStore {

class ConfigStoreObject;

// Every stored object of the component (of one of its groups when group is
// not empty), each merged as a read merges it (vital, cached,
// auto-configured and the user layer in force), ordered by group, key and
// instance id. Rows without any value are left out. Reads the store named
// by CORV_CONFIGSTORE_DB on a connection of its own, without a transaction.
// Throws ConfigStoreException 2000 "Failed to connect to database" (with
// the reason as a detail) or "Get all keys failed".
CORV_EXPORT std::vector<std::shared_ptr<ConfigStoreObject>> GetBulkConfig(
    const std::string& component, const std::string& group = "");

// The configuration shared with a SmartNIC: the stored objects of every key
// whose schema has the value type "corv-shared", each as the next boot will
// hold it (the desired value when the row has one, else the user value), as
// a compact JSON document nested component, group, key: an object for a key
// without instances, an array of its instances otherwise. "{}" when nothing
// is shared. Throws ConfigStoreException 2000 "Failed to attach schema
// store" when the schema store cannot be attached to the store, and "Get
// store rows failed." when the read fails.
CORV_EXPORT std::string GetSharedConfigDocument();

}  // namespace CorvConfigStore
