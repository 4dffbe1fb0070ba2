// The world of the host-operation and import/export tests: the store
// tests' world plus the kernel options, a key with generated instance ids
// and a key with its own schema version, and helpers to snapshot every row
// of the store.
#pragma once

#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/UpgradeContext.h>

#include <string>
#include <vector>

#include "store/StoreFixture.h"

namespace CorvTest {

// - kestrel.options: the kernel options, a singleton with a vital member and
//   a list of modules;
// - gen.routes: a key with instances that name no instance-id property, so
//   they use generated ids;
// - ver.pinned: a singleton with schema version "2.5".
inline const char* kHostSchemas = R"({
  "corv": {
    "kestrel": {
      "options": {
        "type": "object",
        "properties": {
          "cmdline": {"type": "string"},
          "quiet": {"type": "boolean"},
          "serial": {"type": "integer", "vital": true},
          "modules": {"type": "array", "items": {"type": "object", "properties": {
            "mod": {"type": "string", "instanceId": true},
            "args": {"type": "string"}}}}
        }
      }
    },
    "gen": {
      "routes": {
        "type": "array",
        "items": {"type": "object", "properties": {
          "dest": {"type": "string"}, "via": {"type": "string"}}}
      }
    },
    "ver": {
      "pinned": {"type": "object", "version": "2.5", "properties": {"a": {"type": "string"}}}
    }
  }
})";

class HostFixture : public StoreFixture {
 protected:
  void SetUp() override {
    StoreFixture::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_GT(env_.LoadSchemas(kHostSchemas, "host-schemas.json"), 0);
  }
  void TearDown() override {
    // The boot flag lives in the store, which goes with the test; the
    // upgrade context is process-wide.
    if (raw_) raw_->Exec("DELETE FROM KeyValue WHERE Key = 'IS_BOOT'");
    StoreFixture::TearDown();
  }

  // Every row of every table of the store, in a fixed order.
  std::vector<std::string> DumpStore() const {
    std::vector<std::string> rows;
    for (const char* table : {"Config", "DefaultConfig", "DesiredUserConfig"}) {
      for (const std::string& row :
           QueryRows(env_.StorePath(), std::string("SELECT '") + table + "', * FROM " + table +
                                           " ORDER BY Component, ConfigGroup, Name, Identifier"))
        rows.push_back(row);
    }
    for (const std::string& row :
         QueryRows(env_.StorePath(), "SELECT 'KeyValue', * FROM KeyValue ORDER BY Key"))
      rows.push_back(row);
    return rows;
  }
};

}  // namespace CorvTest
