// Locating and provisioning the store database, for programs that set up a
// store.
#include <corvconfigstore/Provisioning.h>

#include "core/Throw.h"
#include "sqlite/DBStore.h"

namespace CorvConfigStore {

std::string ConfigStorePath() { return DBStore::ConfigStorePath(); }

std::string SchemaStorePath() { return DBStore::SchemaStorePath(); }

void ProvisionStore(const std::string& path) {
  std::string reason;
  if (DBStore::ProvisionStore(path, &reason) != DBStore::kSuccess)
    ThrowGeneral("Failed to provision store " + path + ": " + reason);
}

}  // namespace CorvConfigStore
