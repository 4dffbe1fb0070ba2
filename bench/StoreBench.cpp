// Speed of the store's everyday calls, each beside the raw SQLite work it
// stands on, measured in the same run on the same database file:
//   reading one object      Store_Get          vs RawSqlite_SelectRow
//   writing the user layer  Store_SetUserData  vs RawSqlite_UpsertRow
//   a partial update        Store_Update       vs RawSqlite_ReadModifyWrite
//   listing instances       Store_GetInstances vs RawSqlite_SelectInstances
// The raw variants use the same journal mode and durability (WAL,
// synchronous=FULL) and prepare their statements once, so the difference is
// the library's own cost: schema lookup, validation, layer merge and JSON.
#include <benchmark/benchmark.h>
#include <corvconfigstore/CorvConfigStore.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using namespace CorvConfigStore;

namespace {

const char* kSchemas = R"({
  "bench": {
    "net": {
      "dns": {"type": "object", "properties": {
        "servers": {"type": "array", "items": {"type": "string", "format": "ipv4"}},
        "search": {"type": "array", "items": {"type": "string"}},
        "timeout": {"type": "integer", "minimum": 1, "maximum": 60, "default": 5}}},
      "nics": {"type": "array", "items": {"type": "object", "properties": {
        "name": {"type": "string", "instanceId": true},
        "mtu": {"type": "integer", "minimum": 68, "maximum": 9000},
        "enabled": {"type": "boolean"}}}}
    }
  }
})";

const char* kDnsValue = R"({"servers":["10.0.0.1","10.0.0.2"],"search":["example.net"],"timeout":5})";
constexpr int kInstances = 32;

// One provisioned store with schemas and rows, shared by every benchmark.
class BenchStore {
 public:
  BenchStore() {
    dir_ = std::filesystem::temp_directory_path() / ("corvbench-" + std::to_string(getpid()));
    std::filesystem::create_directories(dir_);
    std::string db = (dir_ / "store.db").string();
    std::string schemaDb = (dir_ / "schema.db").string();
    setenv("CORV_CONFIGSTORE_DB", db.c_str(), 1);
    setenv("CORV_SCHEMASTORE_DB", schemaDb.c_str(), 1);
    setenv("CORV_NOTIFY_ALLOWLIST", (dir_ / "none.json").c_str(), 1);
    ProvisionStore(db);
    std::ofstream(dir_ / "schemas.json") << kSchemas;
    LoadSchemaFile((dir_ / "schemas.json").string());
    store_ = ConfigStore::GetStore("");
    store_->SetUserData(CreateObject(ConfigStoreObjectId("dns", "net", "bench"), kDnsValue),
                        EXTERNAL);
    std::vector<std::shared_ptr<ConfigStoreObject>> nics;
    for (int i = 0; i < kInstances; ++i) {
      std::string name = "eth" + std::to_string(i);
      nics.push_back(CreateObject(ConfigStoreObjectId("nics", "net", "bench", name),
                                  R"({"name":")" + name + R"(","mtu":1500,"enabled":true})"));
    }
    store_->SetInstances(nics, EXTERNAL);
    if (sqlite3_open_v2(db.c_str(), &raw_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) std::abort();
    sqlite3_exec(raw_, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;", nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(raw_, 3000);
  }
  ~BenchStore() {
    sqlite3_close(raw_);
    store_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }

  const std::shared_ptr<ConfigStore>& store() { return store_; }
  sqlite3* raw() { return raw_; }

  sqlite3_stmt* Prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(raw_, sql, -1, &statement, nullptr) != SQLITE_OK) std::abort();
    return statement;
  }

 private:
  std::filesystem::path dir_;
  std::shared_ptr<ConfigStore> store_;
  sqlite3* raw_ = nullptr;
};

BenchStore& Fixture() {
  static BenchStore* store = new BenchStore;
  return *store;
}

void BindKey(sqlite3_stmt* s, const char* key, const char* instance) {
  sqlite3_bind_text(s, 1, key, -1, SQLITE_STATIC);
  sqlite3_bind_text(s, 2, "net", -1, SQLITE_STATIC);
  sqlite3_bind_text(s, 3, "bench", -1, SQLITE_STATIC);
  sqlite3_bind_text(s, 4, instance, -1, SQLITE_STATIC);
}

void Store_Get(benchmark::State& state) {
  auto& f = Fixture();
  ConfigStoreObjectId id("dns", "net", "bench");
  for (auto _ : state) {
    auto object = f.store()->Get(id);
    benchmark::DoNotOptimize(object->GetData());
  }
}
BENCHMARK(Store_Get);

void RawSqlite_SelectRow(benchmark::State& state) {
  auto& f = Fixture();
  sqlite3_stmt* s = f.Prepare(
      "SELECT Version, AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, Success, "
      "CreationTime, ModifiedTime, Revision FROM Config WHERE Name = ? AND ConfigGroup = ? AND "
      "Component = ? AND Identifier = ?");
  for (auto _ : state) {
    BindKey(s, "dns", "");
    std::string value;
    while (sqlite3_step(s) == SQLITE_ROW)
      value.assign(reinterpret_cast<const char*>(sqlite3_column_text(s, 2)));
    sqlite3_reset(s);
    benchmark::DoNotOptimize(value);
  }
  sqlite3_finalize(s);
}
BENCHMARK(RawSqlite_SelectRow);

void Store_SetUserData(benchmark::State& state) {
  auto& f = Fixture();
  ConfigStoreObjectId id("dns", "net", "bench");
  for (auto _ : state) {
    f.store()->SetUserData(CreateObject(id, kDnsValue), EXTERNAL);
  }
}
BENCHMARK(Store_SetUserData);

void RawSqlite_UpsertRow(benchmark::State& state) {
  auto& f = Fixture();
  sqlite3_stmt* s = f.Prepare(
      "INSERT OR REPLACE INTO Config (Identifier, Name, ConfigGroup, Component, Version, Success, "
      "UserValue, Revision) VALUES (?4, ?1, ?2, ?3, '1.0', 1, ?5, COALESCE((SELECT Revision FROM "
      "Config WHERE Identifier = ?4 AND Name = ?1 AND ConfigGroup = ?2 AND Component = ?3), 0) + 1)");
  for (auto _ : state) {
    BindKey(s, "dns", "");
    sqlite3_bind_text(s, 5, kDnsValue, -1, SQLITE_STATIC);
    if (sqlite3_step(s) != SQLITE_DONE) state.SkipWithError("upsert failed");
    sqlite3_reset(s);
  }
  sqlite3_finalize(s);
}
BENCHMARK(RawSqlite_UpsertRow);

void Store_Update(benchmark::State& state) {
  auto& f = Fixture();
  ConfigStoreObjectId id("dns", "net", "bench");
  int timeout = 1;
  for (auto _ : state) {
    auto update = std::make_shared<ConfigStoreObject>(id);
    update->SetValue("timeout", timeout % 60 + 1);
    ++timeout;
    f.store()->Update(update, EXTERNAL);
  }
}
BENCHMARK(Store_Update);

void RawSqlite_ReadModifyWrite(benchmark::State& state) {
  auto& f = Fixture();
  sqlite3_stmt* read = f.Prepare(
      "SELECT UserValue FROM Config WHERE Name = ? AND ConfigGroup = ? AND Component = ? AND "
      "Identifier = ?");
  sqlite3_stmt* write = f.Prepare(
      "UPDATE Config SET UserValue = ?5 WHERE Name = ?1 AND ConfigGroup = ?2 AND Component = ?3 "
      "AND Identifier = ?4");
  int timeout = 1;
  for (auto _ : state) {
    if (sqlite3_exec(f.raw(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
      state.SkipWithError(sqlite3_errmsg(f.raw()));
    BindKey(read, "dns", "");
    std::string value;
    if (sqlite3_step(read) == SQLITE_ROW)
      value.assign(reinterpret_cast<const char*>(sqlite3_column_text(read, 0)));
    sqlite3_reset(read);
    // Change the stored bytes as the store's update does: SQLite skips the
    // write, and the sync, of a row rewritten with identical content.
    value = value.substr(0, value.rfind(':') + 1) + std::to_string(timeout % 60 + 1) + "}";
    ++timeout;
    BindKey(write, "dns", "");
    sqlite3_bind_text(write, 5, value.c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(write) != SQLITE_DONE || sqlite3_changes(f.raw()) != 1)
      state.SkipWithError("update failed");
    sqlite3_reset(write);
    if (sqlite3_exec(f.raw(), "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
      state.SkipWithError(sqlite3_errmsg(f.raw()));
  }
  sqlite3_finalize(read);
  sqlite3_finalize(write);
}
BENCHMARK(RawSqlite_ReadModifyWrite);

void Store_GetInstances(benchmark::State& state) {
  auto& f = Fixture();
  auto filter = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("nics", "net", "bench"));
  for (auto _ : state) {
    auto instances = f.store()->GetInstances(filter);
    if (instances.size() != kInstances) state.SkipWithError("wrong instance count");
    benchmark::DoNotOptimize(instances);
  }
  state.SetItemsProcessed(state.iterations() * kInstances);
}
BENCHMARK(Store_GetInstances);

void RawSqlite_SelectInstances(benchmark::State& state) {
  auto& f = Fixture();
  sqlite3_stmt* s = f.Prepare(
      "SELECT Version, Success, Identifier, UserValue, VitalValue, CachedValue, AutoConfValue, "
      "DesiredValue, CreationTime, ModifiedTime, Revision FROM Config WHERE Name = ? AND "
      "ConfigGroup = ? AND Component = ?");
  for (auto _ : state) {
    BindKey(s, "nics", "");
    int rows = 0;
    std::string value;
    while (sqlite3_step(s) == SQLITE_ROW) {
      value.assign(reinterpret_cast<const char*>(sqlite3_column_text(s, 3)));
      ++rows;
    }
    sqlite3_reset(s);
    if (rows != kInstances) state.SkipWithError("wrong instance count");
  }
  sqlite3_finalize(s);
  state.SetItemsProcessed(state.iterations() * kInstances);
}
BENCHMARK(RawSqlite_SelectInstances);

}  // namespace

BENCHMARK_MAIN();
