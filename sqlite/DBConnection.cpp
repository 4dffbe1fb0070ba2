// Opening and closing store connections, and the failure bookkeeping every
// call of the database access layer shares.
#include <corvconfigstore/Logger.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "sqlite/DBConnectionImpl.h"

namespace DBStore {

using CorvConfigStore::CSLogger;

StoreConnection::Impl::~Impl() {
  for (auto& entry : statements) sqlite3_finalize(entry.second.stmt);
  sqlite3_close_v2(db);
}

StoreConnection::StoreConnection() : impl_(new Impl) {}
StoreConnection::~StoreConnection() = default;

const std::string& StoreConnection::Path() const { return impl_->path; }
std::string StoreConnection::LastError() const { return impl_->lastError; }
int StoreConnection::TransactionDepth() const { return impl_->depth; }
sqlite3* StoreConnection::Handle() const { return impl_->db; }

std::shared_ptr<StoreConnection> ConnectionAccess::Adopt(sqlite3* db, const std::string& path) {
  std::shared_ptr<StoreConnection> connection(new StoreConnection());
  connection->impl_->db = db;
  connection->impl_->path = path;
  return connection;
}

namespace {

int KeepFirstColumn(void* out, int count, char** values, char**) {
  if (count > 0 && values[0] != nullptr) *static_cast<std::string*>(out) = values[0];
  return 0;
}

// Why SQLite could not open path, from the file system, where SQLite itself
// says only "unable to open database file". Empty when there is simply no
// file at path in an existing directory.
std::string UnopenableReason(const std::string& path, const char* sqliteReason) {
  struct stat status;
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return "is a directory";
    return access(path.c_str(), R_OK) != 0 ? std::strerror(errno) : sqliteReason;
  }
  if (errno != ENOENT) return std::strerror(errno);
  size_t slash = path.rfind('/');
  std::string directory = slash == std::string::npos ? "."
                          : slash == 0               ? "/"
                                                     : path.substr(0, slash);
  if (stat(directory.c_str(), &status) == 0) return "";
  return errno == ENOENT ? "directory " + directory + " does not exist"
                         : directory + ": " + std::strerror(errno);
}

}  // namespace

std::shared_ptr<StoreConnection> OpenConnection(const std::string& path, std::string* error) {
  // An empty name would give SQLite's private temporary database.
  if (path.empty()) {
    *error = "no database path";
    return nullptr;
  }
  sqlite3* db = nullptr;
  // A connection serves one thread at a time (a store handle, a thread's
  // default connection, the schema cache's under its lock), so SQLite need
  // not take its own lock around every call on it: without it each column
  // read of a row costs one lock less.
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                           nullptr);
  if (rc != SQLITE_OK) {
    const char* reason = db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    *error = (rc & 0xff) == SQLITE_CANTOPEN ? UnopenableReason(path, reason) : reason;
    sqlite3_close_v2(db);
    return nullptr;
  }
  std::shared_ptr<StoreConnection> connection = ConnectionAccess::Adopt(db, path);
  sqlite3_extended_result_codes(db, 1);
  SetBusyTimeLimit(ConnectionAccess::Of(*connection), kDefaultTimeLimit);

  // Setting the journal mode reads the file header, so this is also the
  // check that the file is a database at all.
  std::string mode;
  if (sqlite3_exec(db, "PRAGMA journal_mode=WAL", KeepFirstColumn, &mode, nullptr) != SQLITE_OK) {
    *error = sqlite3_errmsg(db);
    return nullptr;
  }
  if (mode != "wal") {
    *error = "cannot use write-ahead logging (journal mode " + mode + ")";
    return nullptr;
  }
  if (sqlite3_exec(db, "PRAGMA synchronous=FULL", nullptr, nullptr, nullptr) != SQLITE_OK) {
    *error = sqlite3_errmsg(db);
    return nullptr;
  }
  return connection;
}

std::shared_ptr<StoreConnection> StoreConnection::Open(const std::string& path,
                                                       std::string* reason) {
  std::string error;
  std::shared_ptr<StoreConnection> connection = OpenConnection(path, &error);
  if (connection) return connection;
  // A missing store is an ordinary answer here; the caller decides whether
  // it is an error, so this is information only.
  CSLogger::Log(2, "Cannot open database %s: %s", path.c_str(),
                error.empty() ? "no such file" : error.c_str());
  if (reason != nullptr) *reason = error;
  return nullptr;
}

void RecordFailure(ConnectionAccess::Impl& impl, const char* what, const std::string& sql,
                   const char* reason) {
  impl.lastError = reason != nullptr ? reason : sqlite3_errmsg(impl.db);
  if (sql.empty()) {
    CSLogger::Log(1, "Database %s: %s failed: %s", impl.path.c_str(), what,
                  impl.lastError.c_str());
  } else {
    CSLogger::Log(1, "Database %s: %s failed: %s; statement: %s", impl.path.c_str(), what,
                  impl.lastError.c_str(), sql.c_str());
  }
}

int ExecScript(ConnectionAccess::Impl& impl, const std::string& sql) {
  if (sqlite3_exec(impl.db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return kSuccess;
  RecordFailure(impl, "execute", sql);
  return kFailure;
}

void DiscardFailedCommit(ConnectionAccess::Impl& impl) {
  // Frames are written only once every lock is held: any other failure
  // (a busy database, a refused constraint) came before them.
  int failure = sqlite3_errcode(impl.db) & 0xff;
  if (failure != SQLITE_IOERR && failure != SQLITE_FULL) return;
  std::string busy;
  if (sqlite3_exec(impl.db, "PRAGMA wal_checkpoint(TRUNCATE)", KeepFirstColumn, &busy, nullptr) ==
          SQLITE_OK &&
      busy == "0")
    return;
  CSLogger::Log(1, "Database %s: cannot discard the log of a failed commit: %s", impl.path.c_str(),
                busy == "1" ? "the log is in use" : sqlite3_errmsg(impl.db));
}

}  // namespace DBStore
