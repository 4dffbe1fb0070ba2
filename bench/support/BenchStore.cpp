// The benchmark directory, its schema store, and the stores of the fixtures.
#include "support/BenchStore.h"

#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/Provisioning.h>
#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/BenchData.h"
#include "support/RawRows.h"

namespace CorvBench {

namespace {

namespace fs = std::filesystem;

void RemoveDatabase(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(path + suffix);
}

class Directory {
 public:
  Directory() {
    const char* chosen = std::getenv("CORV_BENCH_DIR");
    keep_ = chosen != nullptr && *chosen != '\0';
    if (keep_) {
      path_ = fs::absolute(chosen).string();
      fs::create_directories(path_);
    } else {
      std::string pattern = (fs::temp_directory_path() / "corvbench-XXXXXX").string();
      if (mkdtemp(pattern.data()) == nullptr) std::abort();
      path_ = pattern;
    }
    const std::string schemas = path_ + "/schemas.db";
    RemoveDatabase(schemas);
    setenv("CORV_SCHEMASTORE_DB", schemas.c_str(), 1);
    // A file that does not exist: no key is announced to the host daemon.
    setenv("CORV_NOTIFY_ALLOWLIST", (path_ + "/no-allowlist.json").c_str(), 1);
    const std::string file = path_ + "/schemas.json";
    std::ofstream(file) << SchemaFileText();
    CorvConfigStore::LoadSchemaFile(file);
  }
  ~Directory() {
    std::error_code ignored;
    if (!keep_) fs::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  bool keep_ = false;
};

}  // namespace

const std::string& BenchDirectory() {
  static const Directory directory;
  return directory.path();
}

CorvConfigStore::SchemaInfo SchemaOf(const std::string& key) {
  BenchDirectory();
  for (const CorvConfigStore::SchemaInfo& schema : CorvConfigStore::ListSchemas())
    if (schema.key == key) return schema;
  std::fprintf(stderr, "no schema for %s\n", key.c_str());
  std::abort();
}

BenchStore::BenchStore(const std::string& name) : path_(BenchDirectory() + "/" + name + ".db") {
  RemoveDatabase(path_);
  CorvConfigStore::ProvisionStore(path_);
  Use();
  store_ = CorvConfigStore::ConfigStore::GetStore("");
  raw_ = OpenRaw(path_);
}

BenchStore::~BenchStore() {
  store_.reset();
  sqlite3_close(raw_);
}

void BenchStore::Use() const { setenv("CORV_CONFIGSTORE_DB", path_.c_str(), 1); }

void BenchStore::WriteHost() {
  Use();
  store_->Set(CorvConfigStore::CreateObject(HostId(), HostJson(5)), CorvConfigStore::EXTERNAL);
}

void BenchStore::FillPorts(const std::string& key, int count) {
  RowWriter writer(raw_, LayoutOf(SchemaOf(key)));
  RawTransaction transaction(raw_);
  for (int i = 0; i < count; ++i) {
    JsonAllocator allocator;
    JsonParser parser(allocator);
    rapidjson::Value value = parser.Parse(PortJson(i));
    writer.Write(KeyId(key, PortName(i)), value, allocator);
  }
  transaction.Commit();
  // Every case then reads a database file without a write-ahead log to
  // search, whichever runs first after the fill.
  ExecRaw(raw_, "PRAGMA wal_checkpoint(TRUNCATE)");
}

}  // namespace CorvBench
