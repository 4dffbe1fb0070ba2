// The objects shared with a SmartNIC: Config rows whose schema, in the
// attached schema store, has the value type "corv-shared".
#include <corvconfigstore/Logger.h>

#include "core/Throw.h"
#include "db/BulkReads.h"
#include "db/Statements.h"
#include "sqlite/DBError.h"

namespace CorvConfigStore {

ConfigRows GetSmartnicConfiguration(const Connection& conn) {
  if (DBStore::AttachSchemaStore(conn) != DBStore::kSuccess)
    DBStore::ThrowFailure(conn, "Failed to attach schema store");
  ConfigRows rows;
  try {
    rows = CollectRows(conn, DBStore::SqlStatement(Sql::kReadSmartnicRows), {});
  } catch (...) {
    // The read's own failure is what the caller needs to see; a detach that
    // fails as well is only logged.
    if (DBStore::DetachSchemaStore(conn) != DBStore::kSuccess)
      CSLogger::Log(1, "%s: %s", "GetSmartnicConfiguration", "Failed to detach schema store");
    throw;
  }
  if (DBStore::DetachSchemaStore(conn) != DBStore::kSuccess)
    DBStore::ThrowFailure(conn, "Failed to detach schema store");
  return rows;
}

}  // namespace CorvConfigStore
