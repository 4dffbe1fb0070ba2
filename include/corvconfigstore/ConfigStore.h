// The store handle: reads, writes, deletes and validation of configuration
// objects, transactions, the next-boot store, and a scoped transaction guard.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/Types.h>

#include <memory>
#include <string>
#include <vector>

namespace CorvConfigStore {

class ConfigStoreObject;
class FilterSpecObject;
class NextBootStore;

// A handle on the configuration store. Obtain one with GetStore and keep it
// in a std::shared_ptr; the database connection it holds stays open until
// the last handle made from it (next-boot stores included) is released. One
// thread at a time may use a handle.
//
// A null object or filter handle passed to an operation is logged (code
// 1041) and the operation does nothing; reads then return an empty result.
class CORV_EXPORT ConfigStore {
 public:
  // The store of the only namespace there is, the empty one. Throws
  // InvalidArgumentException 2000 "Invalid value for namespace." for any
  // other name, ConfigStoreException 2000 "Failed to connect to database"
  // when the store cannot be opened.
  static std::shared_ptr<ConfigStore> GetStore(const std::string& nameSpace);

  // The store of configuration that takes effect at the next boot. Refused
  // during an upgrade or the boot phase (ValidationException 2000).
  virtual std::shared_ptr<NextBootStore> GetNextBootStore() = 0;

  // The object with its value layers merged; null when there is no row.
  virtual std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id) = 0;
  // The shipped default of the object; null when there is none.
  virtual std::shared_ptr<ConfigStoreObject> GetDefaultConfig(const ConfigStoreObjectId& id) = 0;
  // The shipped defaults of every instance the filter names.
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetDefaultConfigInstances(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;
  // The instance ids stored for a key with instances, in row order.
  virtual std::vector<std::string> GetInstanceIds(const ConfigStoreObjectId& id) = 0;

  // Writes every layer of the object, split by the schema's tags.
  virtual void Set(std::shared_ptr<ConfigStoreObject> object,
                   const USERDATA_CONTEXT& context) = 0;
  // Writes the user layer (EXTERNAL) or the auto-configuration layer
  // (INTERNAL).
  virtual void SetUserData(std::shared_ptr<ConfigStoreObject> object,
                           const USERDATA_CONTEXT& context) = 0;
  virtual void SetVitalData(std::shared_ptr<ConfigStoreObject> object) = 0;
  virtual void SetCachedData(std::shared_ptr<ConfigStoreObject> object) = 0;
  // Merges the object into the stored one and writes the caller's layer.
  // An object without members changes nothing: an update never deletes.
  virtual void Update(std::shared_ptr<ConfigStoreObject> object,
                      const USERDATA_CONTEXT& context) = 0;
  virtual void Delete(const ConfigStoreObjectId& id) = 0;
  // Deletes the instances the filter matches; an empty filter deletes the
  // instance its identifier names, or every instance.
  virtual void DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) = 0;
  // The stored instances the filter matches.
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetInstances(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;

  // The bulk writes replace what is stored for every instance of the key
  // with the given objects, in one transaction. Null entries are dropped;
  // an empty list throws 1061, objects of different keys 1062.
  virtual void SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                            const USERDATA_CONTEXT& context) = 0;
  virtual void SetUserDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                    const USERDATA_CONTEXT& context) = 0;
  virtual void SetCachedDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) = 0;
  virtual void SetVitalDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) = 0;

  // The stored revision of the object; -1 when there is no row.
  virtual int GetRevision(const ConfigStoreObjectId& id) = 0;
  // The revision of every instance, or of the one the identifier names.
  virtual std::vector<RevisionInfo> GetInstancesRevision(const ConfigStoreObjectId& id) = 0;

  // Transactions on the handle's connection; they nest, and every write
  // nests its own transaction inside the caller's. BeginTransaction returns
  // 0 on success. CommitTransaction throws "Commit transaction failed." and
  // CancelTransaction "Failed to cancel nested transaction" (both
  // ConfigStoreException 2000) when the database refuses.
  virtual int BeginTransaction() = 0;
  virtual int CommitTransaction() = 0;
  virtual int CancelTransaction() = 0;

  // The schema errors of the object; nothing is written.
  virtual std::vector<ErrorInfo> Validate(std::shared_ptr<ConfigStoreObject> object) = 0;

  virtual ~ConfigStore();
};

// Holds a transaction on a store for a scope: begun at construction, rolled
// back at destruction unless committed or cancelled before.
class CORV_EXPORT ConfigStoreTransaction {
 public:
  // Throws ConfigStoreException 2000 "Failed to use NULL as the store" for a
  // null store and "Failed to start a transaction." when the store cannot
  // begin one.
  explicit ConfigStoreTransaction(std::shared_ptr<ConfigStore>& store);
  ~ConfigStoreTransaction();
  ConfigStoreTransaction(const ConfigStoreTransaction&) = delete;
  ConfigStoreTransaction& operator=(const ConfigStoreTransaction&) = delete;

  int Commit();
  int Cancel();

 private:
  std::shared_ptr<ConfigStore>& store_;
  bool active_;
};

}  // namespace CorvConfigStore
