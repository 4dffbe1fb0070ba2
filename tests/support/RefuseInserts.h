// Making a table of a database refuse new rows, so that a loader's write
// fails in the middle of its transaction with SQLite's reason "refused".
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "sqlite/DBStore.h"

namespace CorvTest {

inline void RefuseInserts(const std::string& path, const std::string& table) {
  auto connection = DBStore::StoreConnection::Open(path);
  ASSERT_NE(nullptr, connection);
  DBStore::SqlStatement trigger("CREATE TRIGGER refuse BEFORE INSERT ON " + table +
                                " BEGIN SELECT RAISE(ABORT, 'refused'); END");
  ASSERT_EQ(DBStore::kSuccess,
            DBStore::ExecuteStmt(connection, trigger, {}, nullptr, DBStore::kDefaultTimeLimit));
}

}  // namespace CorvTest
