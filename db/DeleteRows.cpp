// Deletes of Config rows, and of one layer in every row of an object.
#include "db/Statements.h"
#include "db/WriteRows.h"

namespace CorvConfigStore {

void DeleteInternal(const ConfigStoreObjectId& id, const Connection& conn) {
  ExecuteWrite(conn, DBStore::SqlStatement(Sql::kDeleteRow), InstanceParams(id),
               "Delete failed: " + id.toString());
}

void DeleteInstancesInternal(const ConfigStoreObjectId& id, const Connection& conn) {
  ExecuteWrite(conn, DBStore::SqlStatement(Sql::kDeleteRows), KeyParams(id),
               "Delete instances failed: " + id.toString());
}

void DeletePartialConfigInstances(const DBStore::SqlStatement& statement,
                                  const ConfigStoreObjectId& id, const Connection& conn) {
  ExecuteWrite(conn, statement, KeyParams(id), "Failed to Delete in SetConfigInstancesInternal");
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
