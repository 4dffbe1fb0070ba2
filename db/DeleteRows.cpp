// Deletes of Config rows, and of one layer in every row of an object.
#include "core/Throw.h"
#include "db/Statements.h"
#include "db/WriteRows.h"

namespace CorvConfigStore {

void DeleteInternal(const ConfigStoreObjectId& id, const Connection& conn) {
  if (DBStore::ExecuteStmt(conn, DBStore::SqlStatement(Sql::kDeleteRow), InstanceParams(id),
                           nullptr, kStmtTimeLimit) != DBStore::kSuccess)
    ThrowGeneral("Delete failed: " + id.toString());
}

void DeleteInstancesInternal(const ConfigStoreObjectId& id, const Connection& conn) {
  if (DBStore::ExecuteStmt(conn, DBStore::SqlStatement(Sql::kDeleteRows), KeyParams(id), nullptr,
                           kStmtTimeLimit) != DBStore::kSuccess)
    ThrowGeneral("Delete instances failed: " + id.toString());
}

void DeletePartialConfigInstances(const DBStore::SqlStatement& statement,
                                  const ConfigStoreObjectId& id, const Connection& conn) {
  if (DBStore::ExecuteStmt(conn, statement, KeyParams(id), nullptr, kStmtTimeLimit) !=
      DBStore::kSuccess)
    ThrowGeneral("Failed to Delete in SetConfigInstancesInternal");
}

void DeleteUserConfigInstances(const ConfigStoreObjectId& id, const Connection& conn) {
  DeletePartialConfigInstances(DBStore::SqlStatement(Sql::kClearUserLayer), id, conn);
}

void DeleteVitalConfigInstances(const ConfigStoreObjectId& id, const Connection& conn) {
  DeletePartialConfigInstances(DBStore::SqlStatement(Sql::kClearVitalLayer), id, conn);
}

void DeleteCachedConfigInstances(const ConfigStoreObjectId& id, const Connection& conn) {
  DeletePartialConfigInstances(DBStore::SqlStatement(Sql::kClearCachedLayer), id, conn);
}

void DeleteAutoConfConfigInstances(const ConfigStoreObjectId& id, const Connection& conn) {
  DeletePartialConfigInstances(DBStore::SqlStatement(Sql::kClearAutoConfLayer), id, conn);
}

}  // namespace CorvConfigStore
