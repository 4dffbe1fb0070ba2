// The boot-phase rule for external writes of user configuration.
#include "store/BootContextRule.h"

#include "schema/SchemaStore.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

void ApplyBootContextRule(const OperationContext& op,
                          const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
                          bool isUserData, const USERDATA_CONTEXT& context) {
  if (!isUserData || schema->IsBootExempt()) return;
  if (op.Boot()) checkUserContext(op, context);
}

}  // namespace CorvConfigStore
