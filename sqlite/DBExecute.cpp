// Statement preparation through the per-connection cache, parameter
// binding, and execution with a row callback, rows handed over in place or
// as texts.
#include <cctype>
#include <functional>
#include <vector>

#include "sqlite/DBConnectionImpl.h"

namespace DBStore {

SqlParam SqlParam::Text(std::string value) {
  SqlParam param;
  param.kind_ = Kind::kText;
  param.text_ = std::move(value);
  return param;
}

SqlParam SqlParam::TextRef(std::string_view value) {
  SqlParam param;
  param.kind_ = Kind::kText;
  param.borrowedText_ = value;
  return param;
}

SqlParam SqlParam::Int(int64_t value) {
  SqlParam param;
  param.kind_ = Kind::kInt;
  param.integer_ = value;
  return param;
}

SqlParam SqlParam::Null() { return SqlParam(); }

namespace {

using Impl = ConnectionAccess::Impl;

bool OnlyBlanks(const char* text) {
  for (; *text != '\0'; ++text)
    if (!std::isspace(static_cast<unsigned char>(*text))) return false;
  return true;
}

// Compiles the one statement of text. A text with no statement, or with a
// second one that would silently never run, is refused.
sqlite3_stmt* Compile(Impl& impl, const std::string& text, unsigned int flags) {
  sqlite3_stmt* stmt = nullptr;
  const char* tail = nullptr;
  if (sqlite3_prepare_v3(impl.db, text.c_str(), -1, flags, &stmt, &tail) != SQLITE_OK) {
    RecordFailure(impl, "prepare", text);
    return nullptr;
  }
  if (stmt == nullptr) {
    RecordFailure(impl, "prepare", text, "the text holds no statement");
    return nullptr;
  }
  if (!OnlyBlanks(tail)) {
    sqlite3_finalize(stmt);
    RecordFailure(impl, "prepare", text, "the text holds more than one statement");
    return nullptr;
  }
  return stmt;
}

// The connection's prepared copy of the statement, compiled on first use.
Impl::CachedStatement* Cached(Impl& impl, const SqlStatement& statement) {
  auto found = impl.statements.find(statement.Text());
  if (found != impl.statements.end()) return &found->second;
  sqlite3_stmt* stmt = Compile(impl, statement.Text(), SQLITE_PREPARE_PERSISTENT);
  if (stmt == nullptr) return nullptr;
  Impl::CachedStatement entry;
  entry.stmt = stmt;
  return &impl.statements.emplace(statement.Text(), entry).first->second;
}

// The statement one execution steps through: the cached one, or, when a row
// callback re-enters with a text whose cached statement is still stepping,
// a temporary copy. Leaves the cached statement reset and unbound, or the
// copy finalised, however the execution ends.
class ActiveStatement {
 public:
  ActiveStatement(Impl& impl, Impl::CachedStatement& cached, const std::string& text) {
    if (!cached.running) {
      cached_ = &cached;
      cached.running = true;
      stmt_ = cached.stmt;
    } else {
      stmt_ = Compile(impl, text, 0);
    }
  }
  ~ActiveStatement() {
    if (cached_ != nullptr) {
      sqlite3_reset(stmt_);
      sqlite3_clear_bindings(stmt_);
      cached_->running = false;
    } else {
      sqlite3_finalize(stmt_);
    }
  }
  ActiveStatement(const ActiveStatement&) = delete;
  ActiveStatement& operator=(const ActiveStatement&) = delete;

  sqlite3_stmt* get() const { return stmt_; }

 private:
  Impl::CachedStatement* cached_ = nullptr;
  sqlite3_stmt* stmt_ = nullptr;
};

int Bind(Impl& impl, sqlite3_stmt* stmt, const SqlParams& params, const std::string& text) {
  for (size_t i = 0; i < params.size(); ++i) {
    const SqlParam& param = params[i];
    int index = static_cast<int>(i) + 1;
    int rc = SQLITE_OK;
    switch (param.kind()) {
      case SqlParam::Kind::kText:
        // The parameters outlive the execution (the statement is reset and
        // unbound before ExecuteStmt returns), so SQLite need not copy them.
        rc = sqlite3_bind_text64(stmt, index, param.text().data(), param.text().size(),
                                 SQLITE_STATIC, SQLITE_UTF8);
        break;
      case SqlParam::Kind::kInt:
        rc = sqlite3_bind_int64(stmt, index, param.integer());
        break;
      case SqlParam::Kind::kNull:
        rc = sqlite3_bind_null(stmt, index);
        break;
    }
    if (rc != SQLITE_OK) {
      RecordFailure(impl, "bind", text);
      return kFailure;
    }
  }
  return kSuccess;
}

int Step(Impl& impl, sqlite3_stmt* stmt, const ResultRowCallback& callback,
         const std::string& text) {
  const ResultRow row(stmt);
  for (;;) {
    int rc = sqlite3_step(stmt);
    if (rc == SQLITE_DONE) return kSuccess;
    if (rc != SQLITE_ROW) {
      RecordFailure(impl, "execute", text);
      // Outside any transaction a write commits by itself.
      if (impl.depth == 0 && !sqlite3_stmt_readonly(stmt) && sqlite3_get_autocommit(impl.db))
        DiscardFailedCommit(impl);
      return kFailure;
    }
    // Stopping early is the caller's choice, not a failure.
    if (callback && callback(row) != 0) return kSuccess;
  }
}

// Rows of up to this many columns hand their column pointers over in arrays
// on the stack; wider rows take vectors.
constexpr int kInlineColumns = 32;

// Hands each row to callback as column texts and names, as RowCallback
// takes them.
class TextRows {
 public:
  explicit TextRows(const RowCallback& callback) : callback_(callback) {}

  int operator()(const ResultRow& row) {
    // The names are the same for every row of the execution.
    int count = row.Count();
    if (count != columns_) {
      columns_ = count;
      if (count <= kInlineColumns) {
        values_ = inlineValues_;
        names_ = inlineNames_;
      } else {
        wideValues_.resize(static_cast<size_t>(count));
        wideNames_.resize(static_cast<size_t>(count));
        values_ = wideValues_.data();
        names_ = wideNames_.data();
      }
      for (int i = 0; i < count; ++i) names_[i] = const_cast<char*>(row.Name(i));
    }
    for (int i = 0; i < count; ++i) values_[i] = const_cast<char*>(row.Text(i));
    return callback_(count, values_, names_);
  }

 private:
  const RowCallback& callback_;
  char* inlineValues_[kInlineColumns];
  char* inlineNames_[kInlineColumns];
  std::vector<char*> wideValues_;
  std::vector<char*> wideNames_;
  char** values_ = nullptr;
  char** names_ = nullptr;
  int columns_ = -1;
};

}  // namespace

int PrepareStmt(const std::shared_ptr<StoreConnection>& connection, const SqlStatement& statement,
                int timeLimit) {
  if (!connection) return kFailure;
  Impl& impl = ConnectionAccess::Of(*connection);
  SetBusyTimeLimit(impl, timeLimit);
  return Cached(impl, statement) != nullptr ? kSuccess : kFailure;
}

int ResultRow::Count() const { return sqlite3_column_count(stmt_); }

const char* ResultRow::Name(int column) const { return sqlite3_column_name(stmt_, column); }

const char* ResultRow::Text(int column) const {
  static const char empty[] = "";
  const unsigned char* value = sqlite3_column_text(stmt_, column);
  if (value != nullptr) return reinterpret_cast<const char*>(value);
  return sqlite3_column_type(stmt_, column) == SQLITE_NULL ? nullptr : empty;
}

bool ResultRow::Integer(int column, int64_t* value) const {
  if (sqlite3_column_type(stmt_, column) != SQLITE_INTEGER) return false;
  *value = sqlite3_column_int64(stmt_, column);
  return true;
}

int ExecuteStmt(const std::shared_ptr<StoreConnection>& connection, const SqlStatement& statement,
                const SqlParams& params, const RowCallback& callback, int timeLimit) {
  if (!callback) return ExecuteStmtRows(connection, statement, params, nullptr, timeLimit);
  TextRows rows(callback);
  return ExecuteStmtRows(connection, statement, params, std::ref(rows), timeLimit);
}

int ExecuteStmtRows(const std::shared_ptr<StoreConnection>& connection,
                    const SqlStatement& statement, const SqlParams& params,
                    const ResultRowCallback& callback, int timeLimit) {
  if (!connection) return kFailure;
  // A row callback may drop the caller's last reference to the connection.
  std::shared_ptr<StoreConnection> keep = connection;
  Impl& impl = ConnectionAccess::Of(*keep);
  SetBusyTimeLimit(impl, timeLimit);
  Impl::CachedStatement* cached = Cached(impl, statement);
  if (cached == nullptr) return kFailure;
  ActiveStatement active(impl, *cached, statement.Text());
  if (active.get() == nullptr) return kFailure;
  if (Bind(impl, active.get(), params, statement.Text()) != kSuccess) return kFailure;
  return Step(impl, active.get(), callback, statement.Text());
}

}  // namespace DBStore
