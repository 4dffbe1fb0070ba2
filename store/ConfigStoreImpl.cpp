// Opening a store handle, its lifetime, and the next-boot store made from it.
#include "store/ConfigStoreImpl.h"

#include <corvconfigstore/Exceptions.h>

#include <vector>

#include "db/OperationContext.h"
#include "store/GetDBStore.h"
#include "store/NextBootStoreImpl.h"

namespace CorvConfigStore {

const std::string sGlobalNamespace;

ConfigStore::~ConfigStore() = default;

std::shared_ptr<ConfigStore> ConfigStore::GetStore(const std::string& nameSpace) {
  if (nameSpace != sGlobalNamespace)
    throw InvalidArgumentException(CS_ERR_GENERAL, "Invalid value for namespace.");
  return std::make_shared<ConfigStoreImpl>(GetDBStore(DBStore::CONFIG_STORE, true));
}

ConfigStoreImpl::ConfigStoreImpl(std::shared_ptr<DBStore::StoreConnection> connection)
    : connection_(std::move(connection)) {}

ConfigStoreImpl::~ConfigStoreImpl() = default;

std::shared_ptr<NextBootStore> ConfigStoreImpl::GetNextBootStore() {
  OperationContext op;
  if (!op.Upgrading() && !op.Boot()) return std::make_shared<NextBootStoreImpl>(connection_);
  std::vector<ErrorInfo> noErrors;
  throw ValidationException(CS_ERR_GENERAL,
                            "NextBootStore is not supported during the upgrade or boot phase",
                            noErrors);
}

}  // namespace CorvConfigStore
