// The raw twins' SQLite access: a connection set up as the library sets up
// its own (WAL, synchronous=FULL, the same busy time-out), statements
// prepared once and run through the C API, and the library's two ways of
// binding an object's key.
#pragma once

#include <corvconfigstore/ObjectId.h>
#include <sqlite3.h>

#include <string>

namespace CorvBench {

// Reports the failure with SQLite's reason and ends the process: the raw
// twins run fixed statements on a store of their own, so any failure is a
// fault of the benchmark.
[[noreturn]] void FailRaw(sqlite3* db, const std::string& what);

sqlite3* OpenRaw(const std::string& path);
void ExecRaw(sqlite3* db, const char* sql);

class RawStatement {
 public:
  RawStatement(sqlite3* db, const char* sql);
  ~RawStatement();
  RawStatement(const RawStatement&) = delete;
  RawStatement& operator=(const RawStatement&) = delete;

  // Texts are bound without a copy: they must outlive the next Reset.
  void BindText(int index, const std::string& text);
  // Binds NULL for an empty text, as the library stores an empty layer.
  void BindTextOrNull(int index, const std::string& text);
  void BindInt(int index, int value);
  // Unnumbered parameters from first on: Name, ConfigGroup, Component and,
  // when withInstance, Identifier.
  void BindKey(const CorvConfigStore::ConfigStoreObjectId& id, bool withInstance, int first = 1);
  // Numbered parameters ?1 Identifier, ?2 Name, ?3 ConfigGroup,
  // ?4 Component, ?5 Version.
  void BindRowKey(const CorvConfigStore::ConfigStoreObjectId& id, const std::string& version);

  // True for a row, false when done.
  bool Step();
  // Runs a statement that returns no row, then resets it.
  void Run();
  void Reset();

  const char* Text(int column) const;
  int TextLength(int column) const;
  int Int(int column) const;

 private:
  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
};

// BEGIN IMMEDIATE at construction, COMMIT on Commit: one durable commit.
class RawTransaction {
 public:
  explicit RawTransaction(sqlite3* db);
  void Commit();

 private:
  sqlite3* db_;
};

}  // namespace CorvBench
