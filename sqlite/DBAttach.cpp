// Attaching the schema store database to a store connection as "ss".
#include <sys/stat.h>

#include "sqlite/DBConnectionImpl.h"

namespace DBStore {

int AttachSchemaStore(const std::shared_ptr<StoreConnection>& connection) {
  static const SqlStatement kAttach("ATTACH DATABASE ? AS ss");
  if (!connection) return kFailure;
  std::string path = SchemaStorePath();
  // ATTACH would create a missing file; an empty schema store is no use.
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    std::string reason = "no schema store database at " + path;
    RecordFailure(ConnectionAccess::Of(*connection), "attach", "", reason.c_str());
    return kFailure;
  }
  return ExecuteStmt(connection, kAttach, {SqlParam::Text(path)}, nullptr, kDefaultTimeLimit);
}

int DetachSchemaStore(const std::shared_ptr<StoreConnection>& connection) {
  static const SqlStatement kDetach("DETACH DATABASE ss");
  return ExecuteStmt(connection, kDetach, {}, nullptr, kDefaultTimeLimit);
}

}  // namespace DBStore
