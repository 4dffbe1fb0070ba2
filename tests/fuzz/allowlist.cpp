// Fuzz target: the notification allowlist file. Its text is refused with a
// coded exception, or read: then the process-wide copy read afresh holds
// the same names, and every name it holds (full or group wildcard) admits
// the configuration it names.
#include <corvconfigstore/Exceptions.h>
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/FuzzSupport.h"
#include "notify/Allowlist.h"
#include "notify/Notify.h"

using namespace CorvConfigStore;

namespace {

CorvTest::TempDir* directory = nullptr;

// The identity a name "component.group.key" or "component.group.*" names;
// false for any other text.
bool IdentityOf(const std::string& name, ConfigStoreObjectId& id) {
  const size_t first = name.find('.');
  if (first == std::string::npos) return false;
  const size_t second = name.find('.', first + 1);
  if (second == std::string::npos || name.find('.', second + 1) != std::string::npos) return false;
  id.component = name.substr(0, first);
  id.group = name.substr(first + 1, second - first - 1);
  id.key = name.substr(second + 1);
  if (id.key == "*") id.key = "anyKey";
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  CorvFuzz::QuietLog();
  static CorvTest::TempDir made;
  directory = &made;
  setenv("CORV_NOTIFY_ALLOWLIST", directory->File("allowlist.json").c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  directory->Write("allowlist.json", std::string(reinterpret_cast<const char*>(data), size));
  NotifyAllowlist allowlist;
  try {
    allowlist = ReadNotifyAllowlist();
  } catch (const ConfigStoreException&) {
    return 0;
  }

  ResetNotifyAllowlistForTesting();
  if (GetNotifyAllowlist() != allowlist) CorvFuzz::Fail("the process-wide copy differs");
  ConfigStoreObjectId id("", "", "");
  for (const std::string& name : allowlist)
    if (IdentityOf(name, id) && !IsAllowlisted(allowlist, id))
      CorvFuzz::Fail("the allowlist does not admit " + name);
  return 0;
}
