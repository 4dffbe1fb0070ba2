// Statement execution: the per-connection statement cache, binding, the
// row callback and its re-entry, and failures.
#include <stdexcept>
#include <vector>

#include "DBTestUtil.h"
#include "support/LogCapture.h"

namespace {

using CorvTest::StatementCount;
using DBStore::SqlParam;
using DBStore::SqlStatement;

class DBExecute : public CorvTest::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    connection_ = DBStore::GetConnection(DBStore::CONFIG_STORE);
    ASSERT_NE(nullptr, connection_);
    ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "CREATE TABLE T (a, b, c)"));
  }

  // Every row of a query as texts, "<null>" for SQL NULL.
  std::vector<std::vector<std::string>> Rows(const SqlStatement& statement,
                                             const DBStore::SqlParams& params = {}) {
    std::vector<std::vector<std::string>> rows;
    int status = DBStore::ExecuteStmt(
        connection_, statement, params,
        [&rows](int count, char** values, char**) {
          std::vector<std::string> row;
          for (int i = 0; i < count; ++i) row.push_back(values[i] != nullptr ? values[i] : "<null>");
          rows.push_back(row);
          return 0;
        },
        DBStore::kDefaultTimeLimit);
    EXPECT_EQ(DBStore::kSuccess, status);
    return rows;
  }

  std::shared_ptr<DBStore::StoreConnection> connection_;
};

TEST_F(DBExecute, BindsTextIntegerAndNull) {
  SqlStatement insert("INSERT INTO T (a, b, c) VALUES (?, ?, ?)");
  ASSERT_EQ(DBStore::kSuccess,
            DBStore::ExecuteStmt(connection_, insert,
                                 {SqlParam::Text("it's \"text\""), SqlParam::Int(9007199254740993),
                                  SqlParam::Null()},
                                 nullptr, DBStore::kDefaultTimeLimit));
  auto rows = Rows(SqlStatement("SELECT typeof(a), typeof(b), typeof(c), a, b, c FROM T"));
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ((std::vector<std::string>{"text", "integer", "null", "it's \"text\"",
                                      "9007199254740993", "<null>"}),
            rows[0]);
}

TEST_F(DBExecute, NumberedParametersBindByPosition) {
  SqlStatement insert("INSERT INTO T (a, b, c) VALUES (?2, ?1, ?2)");
  ASSERT_EQ(DBStore::kSuccess,
            DBStore::ExecuteStmt(connection_, insert, {SqlParam::Text("one"), SqlParam::Text("two")},
                                 nullptr, DBStore::kDefaultTimeLimit));
  auto rows = Rows(SqlStatement("SELECT a, b, c FROM T"));
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ((std::vector<std::string>{"two", "one", "two"}), rows[0]);
}

TEST_F(DBExecute, TextWithEmbeddedZeroAndEmptyTextAreKept) {
  SqlStatement insert("INSERT INTO T (a, b) VALUES (?, ?)");
  ASSERT_EQ(DBStore::kSuccess,
            DBStore::ExecuteStmt(connection_, insert,
                                 {SqlParam::Text(std::string("a\0b", 3)), SqlParam::Text("")},
                                 nullptr, DBStore::kDefaultTimeLimit));
  auto rows = Rows(SqlStatement("SELECT length(CAST(a AS BLOB)), typeof(b), b FROM T"));
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ((std::vector<std::string>{"3", "text", ""}), rows[0]);
}

// A text bound by reference is the caller's own bytes, read where they
// stand: a part of a longer text binds only that part, embedded zero
// included, and a parameter outlives neither copy nor move of its text.
TEST_F(DBExecute, TextBoundByReferenceIsTheCallersBytes) {
  const std::string kept = std::string("xa\0by", 6);
  SqlParam part = SqlParam::TextRef(std::string_view(kept).substr(1, 3));
  EXPECT_EQ(SqlParam::Kind::kText, part.kind());
  EXPECT_EQ(kept.data() + 1, part.text().data());
  DBStore::SqlParams params = {part, SqlParam::TextRef(kept)};
  params.reserve(10);
  SqlStatement insert("INSERT INTO T (a, b) VALUES (?, ?)");
  ASSERT_EQ(DBStore::kSuccess,
            DBStore::ExecuteStmt(connection_, insert, params, nullptr, DBStore::kDefaultTimeLimit));
  auto rows = Rows(SqlStatement("SELECT hex(CAST(a AS BLOB)), length(CAST(b AS BLOB)) FROM T"));
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ((std::vector<std::string>{"610062", "6"}), rows[0]);
}

TEST_F(DBExecute, CallbackReceivesCountValuesAndNames) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO T VALUES ('x', NULL, 7)"));
  int calls = 0;
  int status = DBStore::ExecuteStmt(
      connection_, SqlStatement("SELECT a, b AS Second, c FROM T"), {},
      [&calls](int count, char** values, char** names) {
        ++calls;
        EXPECT_EQ(3, count);
        EXPECT_STREQ("x", values[0]);
        EXPECT_EQ(nullptr, values[1]);
        EXPECT_STREQ("7", values[2]);
        EXPECT_STREQ("a", names[0]);
        EXPECT_STREQ("Second", names[1]);
        EXPECT_STREQ("c", names[2]);
        return 0;
      },
      DBStore::kDefaultTimeLimit);
  EXPECT_EQ(DBStore::kSuccess, status);
  EXPECT_EQ(1, calls);
}

TEST_F(DBExecute, RowsInPlaceGiveTextsIntegersAndNames) {
  ASSERT_EQ(DBStore::kSuccess,
            Exec(connection_, "INSERT INTO T VALUES ('x', NULL, 7), (3.5, '12', -9007199254740993)"));
  std::vector<std::string> seen;
  int status = DBStore::ExecuteStmtRows(
      connection_, SqlStatement("SELECT a, b AS Second, c FROM T ORDER BY rowid"), {},
      [&seen](const DBStore::ResultRow& row) {
        EXPECT_EQ(3, row.Count());
        EXPECT_STREQ("a", row.Name(0));
        EXPECT_STREQ("Second", row.Name(1));
        std::string text;
        for (int i = 0; i < row.Count(); ++i) {
          const char* value = row.Text(i);
          int64_t number = 0;
          const bool integer = row.Integer(i, &number);
          text += std::string(value != nullptr ? value : "<null>") +
                  (integer ? "=" + std::to_string(number) : "") + ";";
        }
        seen.push_back(text);
        return 0;
      },
      DBStore::kDefaultTimeLimit);
  EXPECT_EQ(DBStore::kSuccess, status);
  // Only an SQL integer reads as an integer: not a real, not a text of
  // digits, not NULL.
  EXPECT_EQ((std::vector<std::string>{"x;<null>;7=7;",
                                      "3.5;12;-9007199254740993=-9007199254740993;"}),
            seen);
}

TEST_F(DBExecute, RowsInPlaceStopAtANonZeroReturn) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO T (a) VALUES (1), (2), (3)"));
  int calls = 0;
  EXPECT_EQ(DBStore::kSuccess,
            DBStore::ExecuteStmtRows(
                connection_, SqlStatement("SELECT a FROM T ORDER BY a"), {},
                [&calls](const DBStore::ResultRow&) { return ++calls == 2 ? 1 : 0; },
                DBStore::kDefaultTimeLimit));
  EXPECT_EQ(2, calls);
  EXPECT_EQ(3u, Rows(SqlStatement("SELECT a FROM T ORDER BY a")).size());
}

TEST_F(DBExecute, NonZeroCallbackReturnStopsExecution) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO T (a) VALUES (1), (2), (3)"));
  int calls = 0;
  int status = DBStore::ExecuteStmt(
      connection_, SqlStatement("SELECT a FROM T ORDER BY a"), {},
      [&calls](int, char**, char**) { return ++calls == 2 ? 1 : 0; },
      DBStore::kDefaultTimeLimit);
  EXPECT_EQ(DBStore::kSuccess, status);
  EXPECT_EQ(2, calls);
  // The stopped statement was reset: it runs in full next time.
  EXPECT_EQ(3u, Rows(SqlStatement("SELECT a FROM T ORDER BY a")).size());
}

TEST_F(DBExecute, NoRowIsSuccess) {
  EXPECT_TRUE(Rows(SqlStatement("SELECT a FROM T")).empty());
}

TEST_F(DBExecute, StatementIsPreparedOncePerConnection) {
  SqlStatement select("SELECT a FROM T WHERE a = ?");
  int before = StatementCount(connection_->Handle());
  ASSERT_EQ(DBStore::kSuccess, DBStore::PrepareStmt(connection_, select, 3000));
  EXPECT_EQ(before + 1, StatementCount(connection_->Handle()));
  Rows(select, {SqlParam::Int(1)});
  Rows(select, {SqlParam::Int(2)});
  // Another object with the same text shares the prepared statement.
  Rows(SqlStatement("SELECT a FROM T WHERE a = ?"), {SqlParam::Int(3)});
  EXPECT_EQ(before + 1, StatementCount(connection_->Handle()));
  Rows(SqlStatement("SELECT b FROM T"));
  EXPECT_EQ(before + 2, StatementCount(connection_->Handle()));

  // A second connection keeps statements of its own.
  auto other = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, other);
  int otherBefore = StatementCount(other->Handle());
  ASSERT_EQ(DBStore::kSuccess, DBStore::PrepareStmt(other, select, 3000));
  EXPECT_EQ(otherBefore + 1, StatementCount(other->Handle()));
}

TEST_F(DBExecute, BindingsDoNotCarryOverBetweenExecutions) {
  SqlStatement insert("INSERT INTO T (a, b) VALUES (?, ?)");
  ASSERT_EQ(DBStore::kSuccess,
            DBStore::ExecuteStmt(connection_, insert, {SqlParam::Text("1"), SqlParam::Text("2")},
                                 nullptr, DBStore::kDefaultTimeLimit));
  ASSERT_EQ(DBStore::kSuccess, DBStore::ExecuteStmt(connection_, insert, {SqlParam::Text("3")},
                                                    nullptr, DBStore::kDefaultTimeLimit));
  auto rows = Rows(SqlStatement("SELECT a, b FROM T ORDER BY a"));
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ((std::vector<std::string>{"3", "<null>"}), rows[1]);
}

TEST_F(DBExecute, CallbackMayRunTheSameStatementAgain) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO T (a) VALUES (1), (2)"));
  SqlStatement select("SELECT a FROM T ORDER BY a");
  int before = StatementCount(connection_->Handle());
  std::vector<std::string> outer;
  int inner = 0;
  int status = DBStore::ExecuteStmt(
      connection_, select, {},
      [&](int, char** values, char**) {
        outer.push_back(values[0]);
        int nested = DBStore::ExecuteStmt(
            connection_, select, {},
            [&inner](int, char**, char**) {
              ++inner;
              return 0;
            },
            DBStore::kDefaultTimeLimit);
        EXPECT_EQ(DBStore::kSuccess, nested);
        return 0;
      },
      DBStore::kDefaultTimeLimit);
  EXPECT_EQ(DBStore::kSuccess, status);
  EXPECT_EQ((std::vector<std::string>{"1", "2"}), outer);
  EXPECT_EQ(4, inner);
  // The copy made for the nested run is gone; the cached one remains.
  EXPECT_EQ(before + 1, StatementCount(connection_->Handle()));
}

TEST_F(DBExecute, CallbackMayWriteThroughAnotherStatement) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO T (a) VALUES (1), (2)"));
  SqlStatement update("UPDATE T SET b = ? WHERE a = ?");
  int status = DBStore::ExecuteStmt(
      connection_, SqlStatement("SELECT a FROM T ORDER BY a"), {},
      [&](int, char** values, char**) {
        return DBStore::ExecuteStmt(connection_, update,
                                    {SqlParam::Text(std::string("seen ") + values[0]),
                                     SqlParam::Int(std::stoll(values[0]))},
                                    nullptr, DBStore::kDefaultTimeLimit);
      },
      DBStore::kDefaultTimeLimit);
  EXPECT_EQ(DBStore::kSuccess, status);
  auto rows = Rows(SqlStatement("SELECT b FROM T ORDER BY a"));
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ("seen 1", rows[0][0]);
  EXPECT_EQ("seen 2", rows[1][0]);
}

TEST_F(DBExecute, ExceptionFromCallbackLeavesStatementReusable) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO T (a) VALUES (1), (2)"));
  SqlStatement select("SELECT a FROM T ORDER BY a");
  EXPECT_THROW(DBStore::ExecuteStmt(
                   connection_, select, {},
                   [](int, char**, char**) -> int { throw std::runtime_error("row rejected"); },
                   DBStore::kDefaultTimeLimit),
               std::runtime_error);
  EXPECT_EQ(2u, Rows(select).size());
  // No statement was left stepping, so the store can be written.
  EXPECT_EQ(DBStore::kSuccess, Exec(connection_, "DROP TABLE T"));
}

TEST_F(DBExecute, CallbackMayDropTheCallersConnection) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO T (a) VALUES (1), (2)"));
  auto connection = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, connection);
  int calls = 0;
  int status = DBStore::ExecuteStmt(
      connection, SqlStatement("SELECT a FROM T"), {},
      [&](int, char**, char**) {
        ++calls;
        connection.reset();
        return 0;
      },
      DBStore::kDefaultTimeLimit);
  EXPECT_EQ(DBStore::kSuccess, status);
  EXPECT_EQ(2, calls);
}

TEST_F(DBExecute, PrepareFailureReturnsOneWithTheReason) {
  CorvTest::LogCapture log;
  SqlStatement bad("SELECT missing FROM NoSuchTable");
  EXPECT_EQ(DBStore::kFailure, DBStore::PrepareStmt(connection_, bad, 3000));
  EXPECT_EQ("no such table: NoSuchTable", connection_->LastError());
  EXPECT_EQ(DBStore::kFailure, DBStore::ExecuteStmt(connection_, bad, {}, nullptr, 3000));
  EXPECT_TRUE(log.Has(1, "Database " + store_ +
                             ": prepare failed: no such table: NoSuchTable; statement: "
                             "SELECT missing FROM NoSuchTable"));
}

TEST_F(DBExecute, TextWithTwoStatementsOrNoneIsRefused) {
  EXPECT_EQ(DBStore::kFailure,
            Exec(connection_, "INSERT INTO T (a) VALUES (1); INSERT INTO T (a) VALUES (2)"));
  EXPECT_EQ("the text holds more than one statement", connection_->LastError());
  EXPECT_EQ(DBStore::kFailure, Exec(connection_, "  "));
  EXPECT_EQ("the text holds no statement", connection_->LastError());
  EXPECT_TRUE(Rows(SqlStatement("SELECT a FROM T")).empty());
  // A single statement with its terminating semicolon is fine.
  EXPECT_EQ(DBStore::kSuccess, Exec(connection_, "DELETE FROM T;"));
}

TEST_F(DBExecute, TooManyParametersFail) {
  EXPECT_EQ(DBStore::kFailure,
            DBStore::ExecuteStmt(connection_, SqlStatement("INSERT INTO T (a) VALUES (?)"),
                                 {SqlParam::Int(1), SqlParam::Int(2)}, nullptr, 3000));
  EXPECT_EQ("column index out of range", connection_->LastError());
  EXPECT_TRUE(Rows(SqlStatement("SELECT a FROM T")).empty());
}

TEST_F(DBExecute, ExecutionFailureReturnsOne) {
  ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "CREATE TABLE U (k TEXT PRIMARY KEY)"));
  SqlStatement insert("INSERT INTO U (k) VALUES (?)");
  ASSERT_EQ(DBStore::kSuccess, DBStore::ExecuteStmt(connection_, insert, {SqlParam::Text("a")},
                                                    nullptr, 3000));
  EXPECT_EQ(DBStore::kFailure, DBStore::ExecuteStmt(connection_, insert, {SqlParam::Text("a")},
                                                    nullptr, 3000));
  EXPECT_EQ("UNIQUE constraint failed: U.k", connection_->LastError());
  // The failed statement is reset and runs again.
  EXPECT_EQ(DBStore::kSuccess, DBStore::ExecuteStmt(connection_, insert, {SqlParam::Text("b")},
                                                    nullptr, 3000));
}

TEST_F(DBExecute, NullConnectionFails) {
  std::shared_ptr<DBStore::StoreConnection> none;
  SqlStatement select("SELECT 1");
  EXPECT_EQ(DBStore::kFailure, DBStore::PrepareStmt(none, select, 3000));
  EXPECT_EQ(DBStore::kFailure, DBStore::ExecuteStmt(none, select, {}, nullptr, 3000));
}

}  // namespace
