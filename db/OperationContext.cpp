// The operation context: the host's phase and the schema cache, read once.
#include "db/OperationContext.h"

#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/UpgradeContext.h>

#include "schema/SchemaStore.h"

namespace CorvConfigStore {

OperationContext::OperationContext()
    : upgrade_(GetUpgradeCtx()), schemas_(CorvSchemaStore::SchemaStore::GetCache()) {}

OperationContext::OperationContext(int upgrade, bool boot)
    : upgrade_(upgrade), boot_(boot), schemas_(CorvSchemaStore::SchemaStore::GetCache()) {}

bool OperationContext::Boot() const {
  if (!boot_) boot_ = IsBoot();
  return *boot_;
}

OperationContext::SchemaPtr OperationContext::Schema(const ConfigStoreObjectId& id) const {
  if (lastSchema_ && lastSchema_->GetKey() == id.key && lastSchema_->GetGroup() == id.group &&
      lastSchema_->GetComponent() == id.component)
    return lastSchema_;
  SchemaPtr schema = schemas_->GetSchema(id.component, id.group, id.key);
  if (schema) lastSchema_ = schema;
  return schema;
}

}  // namespace CorvConfigStore
