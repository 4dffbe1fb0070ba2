// The database access layer: SQLite connections in WAL mode with a
// statement cache, parameter binding, execution with a row callback, nested
// transactions, the key-value table, attaching the schema store, and
// provisioning of a new store.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;

namespace DBStore {

// Status values of every call: 0 success, 1 failure.
constexpr int kSuccess = 0;
constexpr int kFailure = 1;

// The databases a connection can be opened on.
enum Type : int {
  CONFIG_STORE = 0,  // the store named by CORV_CONFIGSTORE_DB
};

// Path of the store database (CORV_CONFIGSTORE_DB or the default).
std::string ConfigStorePath();
// Path of the schema store database (CORV_SCHEMASTORE_DB or the default).
std::string SchemaStorePath();

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
  static SqlParam Int(int64_t value);
  static SqlParam Null();

  enum class Kind { kText, kInt, kNull };
  Kind kind() const { return kind_; }
  const std::string& text() const { return text_; }
  int64_t integer() const { return integer_; }

 private:
  Kind kind_ = Kind::kNull;
  std::string text_;
  int64_t integer_ = 0;
};

// Parameters by position: element 0 binds ?1 (or the first ?).
using SqlParams = std::vector<SqlParam>;

// Receives each result row: column count, column texts (null for SQL NULL)
// and column names. A non-zero return stops the execution.
using RowCallback = std::function<int(int count, char** values, char** names)>;

class StoreConnection {
 public:
  // Opens an existing database read-write; never creates one. Null when the
  // file is missing or unusable.
  static std::shared_ptr<StoreConnection> Open(const std::string& path);
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
// be opened.
std::shared_ptr<StoreConnection> GetConnection(Type type);
// This thread's default connection to the store, reopened when
// CORV_CONFIGSTORE_DB names another file; null when it cannot be opened.
std::shared_ptr<StoreConnection> GetDefaultConnection();

// Prepares the statement on the connection (once; later calls reuse it).
// timeLimit is the busy time-out in milliseconds.
int PrepareStmt(const std::shared_ptr<StoreConnection>& connection, const SqlStatement& statement,
                int timeLimit);
// Prepares (from the cache), binds params, runs to completion calling
// callback for each row. timeLimit is the busy time-out in milliseconds.
int ExecuteStmt(const std::shared_ptr<StoreConnection>& connection, const SqlStatement& statement,
                const SqlParams& params, const RowCallback& callback, int timeLimit);

// Nested transactions: the outermost begin is BEGIN IMMEDIATE, inner levels
// are savepoints. Commit or cancel with no open transaction returns 1.
int BeginTransaction(const std::shared_ptr<StoreConnection>& connection);
int CommitTransaction(const std::shared_ptr<StoreConnection>& connection);
int CancelTransaction(const std::shared_ptr<StoreConnection>& connection);

// The key-value table. Reading an absent key succeeds with the empty text.
int ReadKeyValue(const std::shared_ptr<StoreConnection>& connection, const std::string& key,
                 std::string& value);
int WriteKeyValue(const std::shared_ptr<StoreConnection>& connection, const std::string& key,
                  const std::string& value);

// Attaches the schema store database (CORV_SCHEMASTORE_DB) as "ss".
int AttachSchemaStore(const std::shared_ptr<StoreConnection>& connection);
int DetachSchemaStore(const std::shared_ptr<StoreConnection>& connection);

// Creates the store database at path (mode 0600) with its tables, or
// completes an existing one; running it twice changes nothing. Returns 0 on
// success; on failure 1 with the reason in *error.
int ProvisionStore(const std::string& path, std::string* error);

}  // namespace DBStore
