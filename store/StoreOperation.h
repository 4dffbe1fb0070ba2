// The frame every operation of the store handle and the next-boot store
// runs in: the trace line, the operation's context (the host's phase and the
// schema cache, read once), the schema of its key, the boot-context rule,
// and the change notification, with the switches these read taken from one
// file. Each public operation then says only what differs: its checks and
// its rows.
#pragma once

#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/Types.h>

#include "db/ConfigRow.h"
#include "sqlite/DBStore.h"

namespace CorvConfigStore {

class StoreOperation {
 public:
  // Traces "<name> : <id>, context: <context>" at priority and looks up the
  // key's schema (null when there is none: the identity checks report it).
  StoreOperation(int priority, const char* name, const ConfigStoreObjectId& id,
                 USERDATA_CONTEXT context);

  const char* Name() const { return name_; }
  const ConfigStoreObjectId& Id() const { return id_; }
  const OperationContext& Context() const { return op_; }
  const SchemaPtr& Schema() const { return schema_; }

  // Refuses an EXTERNAL write of user data while the host boots (see
  // ApplyBootContextRule).
  void CheckBootRule(bool userData) const;
  // Announces the change of the operation's key when it is allowlisted.
  void Notify() const;

 private:
  // The switches an operation reads ("IS_BOOT" before, "NOTIFY_NEXD" after
  // its write) come from one look at the store file.
  DBStore::DefaultConnectionScope switches_;
  const char* name_;
  ConfigStoreObjectId id_;
  USERDATA_CONTEXT context_;
  OperationContext op_;
  SchemaPtr schema_;
};

}  // namespace CorvConfigStore
