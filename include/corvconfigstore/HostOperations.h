// Host-level operations that are not tied to a store handle: boot
// confirmation and boot information, desired (next-boot) user
// configuration, kernel options, schema versions, object and drift-object
// factories, and two small host utilities.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/Types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CorvConfigStore {

class ConfigStoreObject;
class DriftObject;

// The type of the current boot: the integer member "type" of the JSON object
// under "BOOT_INFO" in the store's key-value table, 0 when the object has no
// such member. Throws ConfigStoreException 2000 "Failed to read BOOT_INFO
// database." when the key cannot be read or does not hold JSON (an absent key
// reads as empty text, which is not JSON), and code 1082 when the JSON is not
// an object or "type" is not an integer.
CORV_EXPORT int GetBootInfo();

// After a boot: with status true, every row of the identifier's
// configuration (only the instance it names, when it names one) takes its
// pending next-boot value and becomes confirmed. With false nothing changes.
CORV_EXPORT void SetBootStatus(const ConfigStoreObjectId& id, bool status);

// After a boot that applied only part of an object's pending value: merges
// that part into the confirmed value. A null object is logged (code 1041)
// and ignored; a configuration without schema raises code 1037; a value that
// fails the schema raises ValidationException 1084.
CORV_EXPORT void SetPartialBootStatus(std::shared_ptr<ConfigStoreObject> object);

// The desired user configuration of one object: what the next boot will
// apply, or the confirmed value when nothing is pending. flag selects
// whether the vital and cached layers are merged in. Null when there is no
// row.
CORV_EXPORT std::shared_ptr<ConfigStoreObject> GetDesiredUserConfig(const ConfigStoreObjectId& id,
                                                                    FLAG flag);
// The same for every instance of a key with instances (only the one the
// identifier names, when it names one).
CORV_EXPORT std::vector<std::shared_ptr<ConfigStoreObject>> GetDesiredUserConfigInstances(
    const ConfigStoreObjectId& id, FLAG flag);

// The schema version of the identifier's key; the empty string, after an
// error log, when the schema store has no schema for it.
CORV_EXPORT std::string GetSchemaVersion(const ConfigStoreObjectId& id);

// The kernel options (component "corv", group "kestrel", key "options") the
// next boot will use. Any other identifier raises ValidationException 2000.
CORV_EXPORT std::shared_ptr<ConfigStoreObject> GetKernelOptions(const ConfigStoreObjectId& id);
// Merges the object into the kernel options and stores the result as
// pending for the next boot, in one transaction. Refused during boot like an
// external user write. An empty object is logged and changes nothing. A
// failure inside the transaction is ConfigStoreException 2000 "Transaction
// failed" immediately followed by the cause's text.
CORV_EXPORT void UpdateKernelOptions(std::shared_ptr<ConfigStoreObject> object);

// A configuration object holding the JSON text (one JSON object). Instances
// that use generated ids and lack one are given one. When the key has
// instances and the identifier carries no instance id, the identifier takes
// the id the value holds. index is the object's position in an enclosing
// list; it is kept only for a key with instances. Throws 1080 for text that
// is not JSON, 1082 for JSON that is not an object, 1037 when the key has no
// schema.
CORV_EXPORT std::shared_ptr<ConfigStoreObject> CreateObject(const ConfigStoreObjectId& id,
                                                            const std::string& json);
CORV_EXPORT std::shared_ptr<ConfigStoreObject> CreateObject(const ConfigStoreObjectId& id,
                                                            const std::string& json,
                                                            std::optional<unsigned long> index);

// A drift object of the identifier whose drift description is the JSON
// text drift and whose operation is operation. Note the order: the
// description comes first. Throws 1080 when drift is not JSON.
CORV_EXPORT std::shared_ptr<DriftObject> CreateDriftObject(const ConfigStoreObjectId& id,
                                                           const std::string& drift,
                                                           std::string operation);

// True exactly when stat() of the path succeeds.
CORV_EXPORT bool FileExists(const std::string& path);

// Runs the program argv[0] (a path; no search of PATH) with the
// null-terminated argument vector argv and waits for it. True exactly when it
// exits with status 0. A program that cannot be started logs code 1102, a
// failed wait 1103 and any other end 1104, each at priority 0, and yields
// false.
CORV_EXPORT bool ExecCommand(const char** argv);

}  // namespace CorvConfigStore
