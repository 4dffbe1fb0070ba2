// NextBootStoreImpl: the next-boot store over its store handle's connection.
#pragma once

#include <corvconfigstore/NextBootStore.h>

#include <memory>
#include <vector>

#include "sqlite/DBStore.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

// Final, so that destroying it through its own type is always complete.
class NextBootStoreImpl final : public NextBootStore {
 public:
  explicit NextBootStoreImpl(std::shared_ptr<DBStore::StoreConnection> connection);
  ~NextBootStoreImpl();

  std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id) override;
  void Set(std::shared_ptr<ConfigStoreObject> object) override;
  void Delete(const ConfigStoreObjectId& id) override;
  void Reset(const ConfigStoreObjectId& id) override;
  void SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) override;
  std::vector<std::shared_ptr<ConfigStoreObject>> GetInstances(
      const std::shared_ptr<FilterSpecObject>& filter) override;
  void DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) override;

 private:
  // Runs operation(argument, schema, connection) in a transaction of its
  // own (nested in the caller's when one is open). Store exceptions cancel
  // it and reach the caller unchanged; other std::exceptions cancel it and
  // become ConfigStoreException 2000 "Operation failed: <text>".
  template <typename T, typename Operation>
  void ExecuteUnderTransaction(const T& argument,
                               const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
                               Operation operation);

  std::shared_ptr<DBStore::StoreConnection> connection_;
};

}  // namespace CorvConfigStore
