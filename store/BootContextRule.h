// The rule that keeps external callers from writing user configuration while
// the host boots.
#pragma once

#include <corvconfigstore/Types.h>

#include <memory>

#include "db/OperationContext.h"

namespace CorvSchemaStore {
class SchemaObject;
}

namespace CorvConfigStore {

// While the host boots, a write of user data whose schema is not boot-exempt
// is refused for an EXTERNAL caller unless an upgrade is in progress:
// ValidationException 2000 "API cannot be invoked with EXTERNAL context
// during boot". The boot flag is read only when the other conditions hold.
// schema must not be null (the identity check has run before).
void ApplyBootContextRule(const OperationContext& op,
                          const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
                          bool isUserData, const USERDATA_CONTEXT& context);

}  // namespace CorvConfigStore
