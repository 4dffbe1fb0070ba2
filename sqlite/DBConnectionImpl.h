// The inside of a store connection, shared by the files of the database
// access layer: the SQLite handle, the statement cache, the transaction depth
// and the last failure.
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>

#include "sqlite/DBStore.h"

namespace DBStore {

struct StoreConnection::Impl {
  // One prepared statement of the cache. running is set while an execution
  // steps through it, so that a re-entrant execution of the same text does
  // not reset it underneath.
  struct CachedStatement {
    sqlite3_stmt* stmt = nullptr;
    bool running = false;
  };

  ~Impl();

  sqlite3* db = nullptr;
  std::string path;
  std::string lastError;
  int depth = 0;
  // How long a busy database is waited for, in milliseconds, and when the
  // current wait began (sqlite/DBBusyWait.cpp).
  int busyTimeLimit = 0;
  std::chrono::steady_clock::time_point busySince;
  // Keyed by statement text. Elements keep their address when the map
  // grows, so an execution may hold a pointer to its entry while a row
  // callback adds others.
  std::unordered_map<std::string, CachedStatement> statements;
};

// The layer's own access to a connection's inside.
struct ConnectionAccess {
  using Impl = StoreConnection::Impl;
  static Impl& Of(const StoreConnection& connection) { return *connection.impl_; }
  // A connection around an open handle, which it then owns.
  static std::shared_ptr<StoreConnection> Adopt(sqlite3* db, const std::string& path);
};

// Opens the database at path as StoreConnection::Open does; on failure
// null with the reason in *error (empty when there is no file at path in an
// existing directory).
std::shared_ptr<StoreConnection> OpenConnection(const std::string& path, std::string* error);

// Keeps the reason for the failure of what (an action on the statement text
// sql, which may be empty) as the connection's last error and logs it at
// priority 1. The reason is SQLite's message unless one is given.
void RecordFailure(ConnectionAccess::Impl& impl, const char* what, const std::string& sql,
                   const char* reason = nullptr);

// Makes a busy database be waited for up to timeLimit milliseconds (none
// when 0 or less) by the connection's next statements.
void SetBusyTimeLimit(ConnectionAccess::Impl& impl, int timeLimit);

// Runs statements without parameters or rows (transaction control, DDL).
int ExecScript(ConnectionAccess::Impl& impl, const std::string& sql);

// After a commit failed (an outermost COMMIT, or a write statement outside
// any transaction), and SQLite rolled the transaction back: removes the
// frames it may have left in the write-ahead log. A commit can fail after
// its frames reached the log (its sync failed, say); SQLite forgets them,
// but a process that opens the store afresh rebuilds its index of the log
// from the file and would find the transaction committed, so a write
// reported as failed would come back. Checkpointing what is committed and
// truncating the log removes them. Best effort, within the busy time-out:
// when other connections still read from the log, or the disk refuses, the
// frames stay until the next commit writes over them, and that is logged.
// The connection's last error stays the commit's.
void DiscardFailedCommit(ConnectionAccess::Impl& impl);

}  // namespace DBStore
