// The next-boot store: configuration tagged @rebootRequiredConfigStore,
// staged now and applied when the host next boots.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <vector>

namespace CorvConfigStore {

class ConfigStoreObject;
class FilterSpecObject;

// Obtained from ConfigStore::GetNextBootStore and shared with the store
// handle's connection. Every operation refuses configuration whose schema
// is not tagged @rebootRequiredConfigStore; every write runs in one
// transaction and leaves nothing behind when it fails.
class CORV_EXPORT NextBootStore {
 public:
  // The value staged for the next boot; null when none is staged.
  virtual std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id) = 0;
  // Stages the object; an object without members is refused.
  virtual void Set(std::shared_ptr<ConfigStoreObject> object) = 0;
  // Stages the deletion of the object.
  virtual void Delete(const ConfigStoreObjectId& id) = 0;
  // Drops everything staged for the key; the identifier need not name an
  // instance.
  virtual void Reset(const ConfigStoreObjectId& id) = 0;
  // Replaces everything staged for the key with the given instances.
  virtual void SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) = 0;
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetInstances(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;
  // Stages the deletion of every instance the filter matches.
  virtual void DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) = 0;

 protected:
  // Only the std::shared_ptr that GetNextBootStore returns destroys a
  // next-boot store, through its concrete type; nobody deletes one through
  // this interface.
  ~NextBootStore() = default;
};

}  // namespace CorvConfigStore
