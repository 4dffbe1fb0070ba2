// ConfigStoreImpl: the store handle over one database connection.
#pragma once

#include <corvconfigstore/ConfigStore.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sqlite/DBStore.h"
#include "store/ObjectLists.h"


namespace CorvConfigStore {

class StoreOperation;

// The only namespace a store can be opened in.
extern const std::string sGlobalNamespace;

class ConfigStoreImpl final : public ConfigStore {
 public:
  explicit ConfigStoreImpl(std::shared_ptr<DBStore::StoreConnection> connection);
  ~ConfigStoreImpl() override;

  std::shared_ptr<NextBootStore> GetNextBootStore() override;
  std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id) override;
  std::shared_ptr<ConfigStoreObject> GetDefaultConfig(const ConfigStoreObjectId& id) override;
  std::vector<std::shared_ptr<ConfigStoreObject>> GetDefaultConfigInstances(
      const std::shared_ptr<FilterSpecObject>& filter) override;
  std::vector<std::string> GetInstanceIds(const ConfigStoreObjectId& id) override;
  void Set(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) override;
  void SetUserData(std::shared_ptr<ConfigStoreObject> object,
                   const USERDATA_CONTEXT& context) override;
  void SetVitalData(std::shared_ptr<ConfigStoreObject> object) override;
  void SetCachedData(std::shared_ptr<ConfigStoreObject> object) override;
  void Update(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) override;
  void Delete(const ConfigStoreObjectId& id) override;
  void DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) override;
  std::vector<std::shared_ptr<ConfigStoreObject>> GetInstances(
      const std::shared_ptr<FilterSpecObject>& filter) override;
  void SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                    const USERDATA_CONTEXT& context) override;
  void SetUserDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                            const USERDATA_CONTEXT& context) override;
  void SetCachedDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) override;
  void SetVitalDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) override;
  int GetRevision(const ConfigStoreObjectId& id) override;
  std::vector<RevisionInfo> GetInstancesRevision(const ConfigStoreObjectId& id) override;
  int BeginTransaction() override;
  int CommitTransaction() override;
  int CancelTransaction() override;
  std::vector<ErrorInfo> Validate(std::shared_ptr<ConfigStoreObject> object) override;

  // The connection every operation of this handle runs on.
  const std::shared_ptr<DBStore::StoreConnection>& GetConnection() const { return connection_; }

 private:
  using LayerCheck = std::function<void(const SchemaPtr&, const std::shared_ptr<ConfigStoreObject>&)>;
  using LayerClear = std::function<void(const ConfigStoreObjectId&, const Connection&)>;
  using LayerWrite = std::function<void(const ObjectList&, const Connection&)>;

  // The common body of the layer-wise bulk writes: checks every object,
  // then, in one transaction, clears the layer of every instance of the key
  // and writes the layer of each object, then notifies.
  void SetDataInstancesInternal(const StoreOperation& op, const ObjectList& objects,
                         const LayerCheck& check, const LayerClear& clearLayer,
                         const LayerWrite& writeLayer);

  std::shared_ptr<DBStore::StoreConnection> connection_;
};

}  // namespace CorvConfigStore
