// The keys, schemas and values the benchmarks work on: one singleton with
// members in the user, vital and cached layers, and keys with instances of
// about 250 bytes of JSON each, named by how many instances they hold.
#pragma once

#include <corvconfigstore/ObjectId.h>

#include <string>

namespace CorvBench {

extern const char kComponent[];
extern const char kGroup[];
extern const char kHostKey[];

// The instance counts that have a key of their own ("ports<count>").
constexpr int kPortCounts[] = {10, 1000, 10000, 100000};
// A key with the same instance schema, used to fill a table with rows of
// some other key.
extern const char kFillerKey[];

std::string PortsKey(int count);
CorvConfigStore::ConfigStoreObjectId HostId();
// The identifier of a key of the benchmark group: of all its instances
// without an instance id, else of the one named.
CorvConfigStore::ConfigStoreObjectId KeyId(const std::string& key,
                                           const std::string& instanceId = "");

// The schema file of every benchmark key, nested component, group, key.
std::string SchemaFileText();

// The singleton's whole value (user, vital and cached members); the user
// member "timeoutSeconds" takes the given value so that successive writes
// differ.
std::string HostJson(int timeoutSeconds);
// The value of "timeoutSeconds" a write stores after the given one, within
// the schema's range 1 to 60.
int NextTimeout(int timeoutSeconds);
// Only the user-layer members of the singleton.
std::string HostUserJson(int timeoutSeconds);
// A partial value for Update: one user member.
std::string HostUpdateJson(int timeoutSeconds);
// A value of the singleton that its schema refuses.
std::string InvalidHostJson();

// Instance number index of a ports key, as compact JSON of about 250 bytes.
std::string PortName(int index);
std::string PortJson(int index);

// A whole-store document holding count instances of key.
std::string PortsDocument(const std::string& key, int count);

}  // namespace CorvBench
