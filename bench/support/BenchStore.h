// The fixture of every benchmark: a directory holding the schema store of
// the benchmark keys and one store database per fixture, each opened both
// through the library and as a raw SQLite connection. The directory is a
// fresh temporary one, removed when the process exits, unless
// CORV_BENCH_DIR names one to use and keep (scripts/bench.sh keeps a store
// for its command-line measurements that way).
#pragma once

#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/SchemaList.h>
#include <sqlite3.h>

#include <memory>
#include <string>

namespace CorvBench {

// The benchmark directory, made and loaded with the schemas on first use.
const std::string& BenchDirectory();

// The key schema as the schema store holds it.
CorvConfigStore::SchemaInfo SchemaOf(const std::string& key);

class BenchStore {
 public:
  // Provisions a new store <directory>/<name>.db, replacing one of that
  // name, and opens it.
  explicit BenchStore(const std::string& name);
  ~BenchStore();
  BenchStore(const BenchStore&) = delete;
  BenchStore& operator=(const BenchStore&) = delete;

  CorvConfigStore::ConfigStore& Lib() const { return *store_; }
  sqlite3* Raw() const { return raw_; }
  const std::string& Path() const { return path_; }

  // Points CORV_CONFIGSTORE_DB at this store. The calls that open the store
  // the environment names (Import, Export, and the boot-flag read of every
  // write) must find this one, or they would reopen a connection each time
  // another store was named last.
  void Use() const;

  // Writes the singleton with all three layers through the library.
  void WriteHost();
  // Writes count instances of key straight into the table in one
  // transaction, with the statement and the layer texts the library's Set
  // stores: a large table fills in about a second.
  void FillPorts(const std::string& key, int count);

 private:
  std::string path_;
  std::shared_ptr<CorvConfigStore::ConfigStore> store_;
  sqlite3* raw_ = nullptr;
};

}  // namespace CorvBench
