// Rules on who may write what and when: boot context, the next-boot store's
// tag and its refusal of empty objects.
#include <corvconfigstore/ConfigStoreObject.h>

#include "schema/SchemaStore.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

void checkUserContext(const OperationContext& op, const USERDATA_CONTEXT& context) {
  // An upgrade in progress may write user configuration while the host boots.
  if (context == EXTERNAL && op.DuringBoot())
    ThrowRuleViolation("API cannot be invoked with EXTERNAL context during boot");
}

void ValidateRebootRequiredConfig(const SchemaPtr& schema) {
  if (!schema->IsRebootRequired())
    ThrowRuleViolation(
        "API should only be invoked for configurations tagged @rebootRequiredConfigStore.");
}

void ValidateEmptyObject(const std::shared_ptr<ConfigStoreObject>& object) {
  if (object->IsEmpty())
    ThrowRuleViolation(
        "Empty object cannot be set for configurations tagged @rebootRequiredConfigStore.");
}

}  // namespace CorvConfigStore
