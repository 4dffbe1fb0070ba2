// What one store operation reads once about the host and hands down to the
// row layer: the upgrade in progress, the boot phase and the schema cache.
// The row layer reads none of these from process-wide state itself, so an
// operation sees one consistent answer however many rows it touches.
#pragma once

#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <optional>

namespace CorvSchemaStore {
class SchemaObject;
class SchemaObjectCache;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

class OperationContext {
 public:
  using SchemaPtr = std::shared_ptr<CorvSchemaStore::SchemaObject>;
  using CachePtr = std::shared_ptr<CorvSchemaStore::SchemaObjectCache>;

  // The process's upgrade context and schema cache as they are now; the
  // boot flag is read on first use.
  OperationContext();
  // A phase given outright (no read of the boot flag), over the
  // process-wide schema cache.
  OperationContext(int upgrade, bool boot);

  // The upgrade context: 0 when no upgrade is in progress, 2 while an
  // upgrade writes values that wait for the next boot to confirm them.
  int Upgrade() const { return upgrade_; }
  bool Upgrading() const { return upgrade_ != 0; }
  // "IS_BOOT" of the key-value table on this thread's default connection,
  // read on the first call only. Throws ConfigStoreException 2000 "Failed
  // to read value from database." when it cannot be read.
  bool Boot() const;
  // The boot rules apply: the host boots and no upgrade is in progress.
  // The boot flag is not read while upgrading.
  bool DuringBoot() const { return !Upgrading() && Boot(); }

  // The schema of id's key; null when the schema store has none. The last
  // schema found is kept: the rows of one call are mostly of one key.
  SchemaPtr Schema(const ConfigStoreObjectId& id) const;
  const CachePtr& Schemas() const { return schemas_; }

 private:
  int upgrade_;
  mutable std::optional<bool> boot_;
  CachePtr schemas_;
  mutable SchemaPtr lastSchema_;
};

}  // namespace CorvConfigStore
