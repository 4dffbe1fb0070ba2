// The campaign's keys: few, small and alike, so that random operations
// meet the same rows often. Two singletons and two keys with instances of
// component "m", group "g", and the kernel options object (a singleton
// with operations of its own); each value may hold plain members
// "a" (integer) and "b" (string), a vital "v" and a cached "c" (integers);
// singletons also hold an object "o" with integers "x" and "y"; instances
// are named by "name".
#pragma once

#include <string>
#include <vector>

namespace ModelCampaign {

struct KeySpec {
  const char* component;
  const char* group;
  const char* name;
  bool instances;           // a key with instances, named by "name"
  bool applyDuringUpgrade;  // false: user writes in upgrade context 2 stay unconfirmed
  bool bootExempt;          // external user writes allowed during boot
  bool nextBoot;            // tagged @rebootRequiredConfigStore
};

inline const std::vector<KeySpec>& Keys() {
  static const std::vector<KeySpec> keys = {
      {"m", "g", "single", false, true, false, false},
      {"m", "g", "inst", true, true, false, false},
      {"m", "g", "legacy", false, false, true, false},
      {"m", "g", "nb", true, true, false, true},
      {"corv", "kestrel", "options", false, true, false, false},
  };
  return keys;
}

// The index of the kernel options object among the keys.
const int kKernelOptions = 4;

// The instance ids the campaign uses for keys with instances.
inline const std::vector<std::string>& InstanceNames() {
  static const std::vector<std::string> names = {"i1", "i2", "i3"};
  return names;
}

// The identifiers a key's rows may have: "" for a singleton.
inline std::vector<std::string> RowIds(const KeySpec& key) {
  return key.instances ? InstanceNames() : std::vector<std::string>{""};
}

// The schema file loaded into the schema store.
std::string SchemaFileText();

}  // namespace ModelCampaign
