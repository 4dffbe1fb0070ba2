// The database access layer: SQLite connections in WAL mode with a
// statement cache, parameter binding, execution with a row callback, nested
// transactions, the key-value table, attaching the schema store, and
// provisioning of a new store.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace DBStore {

// Status values of every call: 0 success, 1 failure.
constexpr int kSuccess = 0;
constexpr int kFailure = 1;

// The busy time-out, in milliseconds, of a new connection and of the
// key-value and attach calls; callers hand the same value to their own
// statements.
constexpr int kDefaultTimeLimit = 3000;

// The databases a connection can be opened on.
enum Type : int {
  CONFIG_STORE = 0,  // the store named by CORV_CONFIGSTORE_DB
};

// Where the databases are when the environment names none.
extern const char* const kDefaultConfigStorePath;  // "/etc/velmo/configstore/current-store-1"
extern const char* const kDefaultSchemaStorePath;  // "/etc/velmo/configstore/schema-store-1"

// Path of the store database (CORV_CONFIGSTORE_DB, or the default when it is
// unset or empty). The text is the environment's own, as getenv gives it:
// valid until the variable changes. The checks made on every operation
// compare it with the path they hold without copying it.
const char* ConfigStorePath();
// Path of the schema store database (CORV_SCHEMASTORE_DB, or the default
// when it is unset or empty); the text as ConfigStorePath's.
const char* SchemaStorePath();

// A fixed statement text. Immutable, so one object may serve every thread
// and connection; each connection prepares it once and keeps it.
class SqlStatement {
 public:
  explicit SqlStatement(std::string text) : text_(std::move(text)) {}
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

// One bound parameter: text, integer or NULL.
class SqlParam {
 public:
  static SqlParam Text(std::string value);
  // A text not copied: the caller keeps it, unchanged, until the
  // execution that binds it has ended.
  static SqlParam TextRef(std::string_view value);
  static SqlParam Int(int64_t value);
  static SqlParam Null();

  enum class Kind { kText, kInt, kNull };
  Kind kind() const { return kind_; }
  // A text of the caller's is the one whose view has somewhere to point.
  std::string_view text() const {
    return borrowedText_.data() != nullptr ? borrowedText_ : std::string_view(text_);
  }
  int64_t integer() const { return integer_; }

 private:
  Kind kind_ = Kind::kNull;
  std::string text_;
  std::string_view borrowedText_;
  int64_t integer_ = 0;
};

// Parameters by position: element 0 binds ?1 (or the first ?).
using SqlParams = std::vector<SqlParam>;

// Receives each result row: column count, column texts (null for SQL NULL)
// and column names. A non-zero return stops the execution; the execution
// still counts as a success.
using RowCallback = std::function<int(int count, char** values, char** names)>;

// One result row, read in place while the row callback runs: nothing it
// gives stays valid after the callback returns. A column is read only when
// asked for, so a reader that knows its columns' places reads no names,
// and one that takes an integer as such does not have SQLite write it out
// as text first.
class ResultRow {
 public:
  explicit ResultRow(sqlite3_stmt* stmt) : stmt_(stmt) {}
  int Count() const;
  const char* Name(int column) const;
  // The column as text; null for SQL NULL, empty for a value SQLite could
  // not convert (out of memory).
  const char* Text(int column) const;
  // True, with the value in *value, when the column holds an SQL integer.
  bool Integer(int column, int64_t* value) const;

 private:
  sqlite3_stmt* stmt_;
};

// Receives each result row; its return as RowCallback's.
using ResultRowCallback = std::function<int(const ResultRow& row)>;

class StoreConnection {
 public:
  // Opens an existing database read-write, in WAL mode with
  // synchronous=FULL; never creates one. Null when there is no file at path
  // or it is unusable; for an unusable path *reason, when given, then says
  // why: its directory does not exist, it is a directory, not a database,
  // cannot be read... A path with no file in an existing directory is no
  // fault of the path (the database was not made yet) and leaves *reason
  // empty.
  static std::shared_ptr<StoreConnection> Open(const std::string& path,
                                               std::string* reason = nullptr);
  ~StoreConnection();
  StoreConnection(const StoreConnection&) = delete;
  StoreConnection& operator=(const StoreConnection&) = delete;

  const std::string& Path() const;
  // SQLite's message for the last failure on this connection.
  std::string LastError() const;
  // Depth of open transactions: 0 outside any.
  int TransactionDepth() const;
  sqlite3* Handle() const;

 private:
  friend struct ConnectionAccess;
  StoreConnection();
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// A new connection on the database of the given type; null when it cannot
// be opened. *reason, when given, then names the path and why it is
// unusable, as StoreConnection::Open says (empty when there is no file).
std::shared_ptr<StoreConnection> GetConnection(Type type, std::string* reason = nullptr);
// This thread's default connection to the store, reopened when
// CORV_CONFIGSTORE_DB names another file; null when it cannot be opened.
// *reason, when given, then says why the file is unusable, as
// StoreConnection::Open does (empty when there is no file).
std::shared_ptr<StoreConnection> GetDefaultConnection(std::string* reason = nullptr);

// While one lives on a thread, GetDefaultConnection looks at the store file
// for a replacement only until it has found it once: the reads of one
// operation, each a look at the file of its own otherwise, all go to the
// file the first one found. Scopes nest.
class DefaultConnectionScope {
 public:
  DefaultConnectionScope();
  ~DefaultConnectionScope();
  DefaultConnectionScope(const DefaultConnectionScope&) = delete;
  DefaultConnectionScope& operator=(const DefaultConnectionScope&) = delete;
};

// Prepares the statement on the connection (once; later calls reuse it).
// timeLimit is the busy time-out in milliseconds. A text holding more than
// one statement is refused.
int PrepareStmt(const std::shared_ptr<StoreConnection>& connection, const SqlStatement& statement,
                int timeLimit);
// Prepares (from the cache), binds params, runs to completion calling
// callback (which may be empty) for each row. timeLimit is the busy time-out
// in milliseconds: a write waits up to that long, on the clock, for another
// connection's lock, trying again after short pauses of random length so
// that writers taking the lock in turn do not starve a waiter. A callback
// may itself execute statements on the same connection, the same text
// included. An exception thrown by the callback leaves the
// statement reset and propagates.
int ExecuteStmt(const std::shared_ptr<StoreConnection>& connection, const SqlStatement& statement,
                const SqlParams& params, const RowCallback& callback, int timeLimit);
// ExecuteStmt with each row handed over as a ResultRow.
int ExecuteStmtRows(const std::shared_ptr<StoreConnection>& connection,
                    const SqlStatement& statement, const SqlParams& params,
                    const ResultRowCallback& callback, int timeLimit);

// Nested transactions: the outermost begin is BEGIN IMMEDIATE (waiting up to
// the connection's last busy time-out, 3000 ms on a new connection), inner
// levels are savepoints. An inner commit releases its savepoint, an inner
// cancel rolls back to it; the outermost commit or cancel ends the
// transaction. Commit or cancel with no open transaction returns 1.
int BeginTransaction(const std::shared_ptr<StoreConnection>& connection);
int CommitTransaction(const std::shared_ptr<StoreConnection>& connection);
int CancelTransaction(const std::shared_ptr<StoreConnection>& connection);

// The key-value table. Reading an absent key succeeds with the empty text.
// The statement ReadKeyValue runs, with the key as its parameter.
extern const char kReadKeyValueSql[];
int ReadKeyValue(const std::shared_ptr<StoreConnection>& connection, const std::string& key,
                 std::string& value);
int WriteKeyValue(const std::shared_ptr<StoreConnection>& connection, const std::string& key,
                  const std::string& value);
// Every entry of the key-value table, ordered by key.
int ReadKeyValues(const std::shared_ptr<StoreConnection>& connection,
                  std::vector<std::pair<std::string, std::string>>& entries);

// Attaches the schema store database (CORV_SCHEMASTORE_DB) as "ss"; fails,
// rather than creating it, when the file is missing.
int AttachSchemaStore(const std::shared_ptr<StoreConnection>& connection);
int DetachSchemaStore(const std::shared_ptr<StoreConnection>& connection);

// Creates path as an empty file with mode 0600 unless a file is there
// already; *created tells whether this call made it. Returns 0, or 1 with the
// reason in *error.
int CreateDatabaseFile(const std::string& path, bool* created, std::string* error);
// Removes a database file and the journal files SQLite keeps beside it.
void RemoveDatabaseFiles(const std::string& path);

// Creates the store database at path (mode 0600) with its tables, or
// completes an existing one; running it twice changes nothing. Returns 0 on
// success; on failure 1 with the reason in *error.
int ProvisionStore(const std::string& path, std::string* error);

}  // namespace DBStore
