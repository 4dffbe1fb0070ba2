// Overviews of what a store holds, for administrators' tools: the keys that
// hold data, the configuration waiting for the next boot, and every value
// layer of one key side by side. Each reads the store named by
// CORV_CONFIGSTORE_DB; values are JSON texts without generated instance ids,
// and an empty text means the layer holds nothing.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>

#include <cstddef>
#include <string>
#include <vector>

namespace CorvConfigStore {

// One key that holds data in the store.
struct CORV_EXPORT StoredKey {
  std::string component;
  std::string group;
  std::string key;
  // Rows stored for the key: 1 for a singleton, one per instance otherwise.
  size_t instances = 0;
  // Shipped default rows of the key.
  size_t defaults = 0;
};

// The keys holding a value in any layer, ordered by component, group and
// key; only those of component (and of its group, when group is not empty)
// when component is not empty.
CORV_EXPORT std::vector<StoredKey> ListStoredKeys(const std::string& component = "",
                                                  const std::string& group = "");

// Why a value is pending.
enum class PendingState {
  // Written during an upgrade; a boot has not confirmed it yet.
  kAwaitingConfirmation,
  // A desired value waiting for a boot to make it the user value.
  kDesired,
  // Staged in the next-boot store.
  kNextBootSet,
  // The next-boot store deletes the object (kNextBootDelete) or this one
  // instance (kNextBootDeleteInstance) at the next boot.
  kNextBootDelete,
  kNextBootDeleteInstance,
};

// "awaiting-confirmation", "desired", "next-boot", "next-boot-delete" or
// "next-boot-delete-instance".
CORV_EXPORT const char* PendingStateName(PendingState state);

// One instance whose configuration the next boot changes.
struct CORV_EXPORT PendingConfig {
  ConfigStoreObjectId id{"", "", ""};
  PendingState state = PendingState::kDesired;
  // The confirmed user value in force now.
  std::string inForce;
  // The user value the next boot applies; empty for a staged deletion.
  std::string pending;
};

// Everything pending, ordered by component, group, key and instance id,
// narrowed to component (and group) as ListStoredKeys is. An instance with
// both a pending row value and a next-boot store entry appears once for
// each.
CORV_EXPORT std::vector<PendingConfig> ListPendingConfig(const std::string& component = "",
                                                         const std::string& group = "");

// Every layer of one instance.
struct CORV_EXPORT LayerValues {
  std::string instanceId;
  // The store holds a row for the instance (else only a default or a
  // next-boot entry names it).
  bool stored = false;
  // The row's user value is confirmed by a boot.
  bool confirmed = false;
  // The auto-configured layer with the confirmed user value merged over it.
  std::string configured;
  std::string user;
  std::string desired;
  std::string autoConfigured;
  std::string vital;
  std::string cached;
  // The next-boot store's entry: its action ("SET", "DELETE" or
  // "DELETE_INSTANCE"; empty when there is none) and the value it sets.
  std::string nextBootAction;
  std::string nextBoot;
  // The shipped default user value.
  std::string shippedDefault;
  // The user value in force (the confirmed user value) and the one the
  // next boot leaves in force: the next-boot store's value, nothing after a
  // staged deletion, else the unconfirmed user value or the desired value.
  std::string inForce;
  std::string atNextBoot;
};

// The layers of the instance id names, or of every instance of its key (each
// instance that has a row, a default or a next-boot entry, in instance-id
// order) when id names none. Throws ConfigStoreException as the store's own
// reads do for an unknown key or an unusable store.
CORV_EXPORT std::vector<LayerValues> GetLayerValues(const ConfigStoreObjectId& id);

}  // namespace CorvConfigStore
