// The shared frame of the store's operations.
#include "store/StoreOperation.h"

#include "core/Checks.h"
#include "notify/Notify.h"
#include "store/BootContextRule.h"

namespace CorvConfigStore {

StoreOperation::StoreOperation(int priority, const char* name, const ConfigStoreObjectId& id,
                               USERDATA_CONTEXT context)
    : name_(name), id_(id), context_(context) {
  TraceOperation(priority, name, id, context);
  schema_ = op_.Schema(id);
}

void StoreOperation::CheckBootRule(bool userData) const {
  ApplyBootContextRule(op_, schema_, userData, context_);
}

void StoreOperation::Notify() const { NotifyIfAllowlisted(id_); }

}  // namespace CorvConfigStore
