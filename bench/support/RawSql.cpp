// Connections, statements and transactions of the raw twins.
#include "support/RawSql.h"

#include <cstdio>
#include <cstdlib>

namespace CorvBench {

namespace {

// The library's busy time-out.
constexpr int kBusyTimeoutMs = 3000;

}  // namespace

void FailRaw(sqlite3* db, const std::string& what) {
  std::fprintf(stderr, "raw SQLite: %s: %s\n", what.c_str(),
               db != nullptr ? sqlite3_errmsg(db) : "no connection");
  std::abort();
}

sqlite3* OpenRaw(const std::string& path) {
  sqlite3* db = nullptr;
  // Opened as the library opens its connections: without SQLite's lock
  // around every call, which one thread does not need.
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
      SQLITE_OK)
    FailRaw(db, "open " + path);
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  ExecRaw(db, "PRAGMA journal_mode=WAL");
  ExecRaw(db, "PRAGMA synchronous=FULL");
  return db;
}

void ExecRaw(sqlite3* db, const char* sql) {
  if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK) FailRaw(db, sql);
}

RawStatement::RawStatement(sqlite3* db, const char* sql) : db_(db) {
  if (sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr) != SQLITE_OK)
    FailRaw(db, std::string("prepare ") + sql);
}

RawStatement::~RawStatement() { sqlite3_finalize(statement_); }

void RawStatement::BindText(int index, const std::string& text) {
  sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

void RawStatement::BindTextOrNull(int index, const std::string& text) {
  if (text.empty())
    sqlite3_bind_null(statement_, index);
  else
    BindText(index, text);
}

void RawStatement::BindInt(int index, int value) { sqlite3_bind_int(statement_, index, value); }

void RawStatement::BindKey(const CorvConfigStore::ConfigStoreObjectId& id, bool withInstance,
                           int first) {
  BindText(first, id.key);
  BindText(first + 1, id.group);
  BindText(first + 2, id.component);
  if (withInstance) BindText(first + 3, id.instanceId);
}

void RawStatement::BindRowKey(const CorvConfigStore::ConfigStoreObjectId& id,
                              const std::string& version) {
  BindText(1, id.instanceId);
  BindText(2, id.key);
  BindText(3, id.group);
  BindText(4, id.component);
  BindText(5, version);
}

bool RawStatement::Step() {
  int rc = sqlite3_step(statement_);
  if (rc == SQLITE_ROW) return true;
  if (rc != SQLITE_DONE) FailRaw(db_, std::string("step ") + sqlite3_sql(statement_));
  return false;
}

void RawStatement::Run() {
  if (Step()) FailRaw(db_, std::string("unexpected row from ") + sqlite3_sql(statement_));
  Reset();
}

void RawStatement::Reset() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

const char* RawStatement::Text(int column) const {
  return reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
}

int RawStatement::TextLength(int column) const { return sqlite3_column_bytes(statement_, column); }

int RawStatement::Int(int column) const { return sqlite3_column_int(statement_, column); }

RawTransaction::RawTransaction(sqlite3* db) : db_(db) { ExecRaw(db, "BEGIN IMMEDIATE"); }

void RawTransaction::Commit() { ExecRaw(db_, "COMMIT"); }

}  // namespace CorvBench
