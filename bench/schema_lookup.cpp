// Cost of a schema lookup through the process-wide cache, and of the change
// check a lookup makes once per kSchemaRecheckMs: while the schema store is
// unchanged and settled (two stat calls), and in the second after a change
// (the stat calls plus PRAGMA data_version on the kept connection); beside
// them, the raw SQLite equivalent: one prepared SELECT of the stored
// document, without parsing it.
#include <benchmark/benchmark.h>
#include <corvconfigstore/Provisioning.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "schema/SchemaStore.h"

namespace {

std::string Directory;

void RemoveDirectory() {
  for (const char* name : {"schema-store.db", "schema-store.db-wal", "schema-store.db-shm"})
    std::remove((Directory + "/" + name).c_str());
  std::remove(Directory.c_str());
}

// A schema store loaded with the example schemas, in a directory of its own
// that is removed at exit.
const std::string& SchemaStore() {
  static const std::string path = [] {
    char pattern[] = "/tmp/corvbench-XXXXXX";
    Directory = mkdtemp(pattern);
    std::atexit(RemoveDirectory);
    std::string database = Directory + "/schema-store.db";
    setenv("CORV_SCHEMASTORE_DB", database.c_str(), 1);
    std::string source = std::string(CORV_SOURCE_DIR) + "/examples/schemas/host-schemas.json";
    CorvConfigStore::LoadSchemaFile(source);
    return database;
  }();
  return path;
}

// Sets the modification time of the database and its -wal file.
void Touch(time_t seconds) {
  struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
  for (const char* suffix : {"", "-wal"})
    utimensat(AT_FDCWD, (SchemaStore() + suffix).c_str(), times, 0);
}

void BM_CacheLookupSettled(benchmark::State& state) {
  SchemaStore();
  Touch(time(nullptr) - 60);
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  for (auto _ : state) benchmark::DoNotOptimize(cache->GetSchema("corv", "net", "nics"));
}
BENCHMARK(BM_CacheLookupSettled);

void BM_CacheLookupRecentlyChanged(benchmark::State& state) {
  SchemaStore();
  // A time ahead of the clock keeps the files "just modified" for the run.
  Touch(time(nullptr) + 3600);
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  for (auto _ : state) benchmark::DoNotOptimize(cache->GetSchema("corv", "net", "nics"));
  Touch(time(nullptr) - 60);
}
BENCHMARK(BM_CacheLookupRecentlyChanged);

// Lookups that each come after the check interval, so each makes the check.
void CheckedLookups(benchmark::State& state, time_t modified) {
  SchemaStore();
  Touch(modified);
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  cache->GetSchema("corv", "net", "nics");
  for (auto _ : state) {
    state.PauseTiming();
    std::this_thread::sleep_for(std::chrono::milliseconds(CorvSchemaStore::kSchemaRecheckMs + 1));
    state.ResumeTiming();
    benchmark::DoNotOptimize(cache->GetSchema("corv", "net", "nics"));
  }
  Touch(time(nullptr) - 60);
}

void BM_CacheCheckSettled(benchmark::State& state) { CheckedLookups(state, time(nullptr) - 60); }
BENCHMARK(BM_CacheCheckSettled)->Iterations(500);

void BM_CacheCheckRecentlyChanged(benchmark::State& state) {
  CheckedLookups(state, time(nullptr) + 3600);
}
BENCHMARK(BM_CacheCheckRecentlyChanged)->Iterations(500);

void BM_RawSqliteSelect(benchmark::State& state) {
  sqlite3* db = nullptr;
  sqlite3_open_v2(SchemaStore().c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db,
                     "SELECT Document FROM Schema WHERE Component = ? AND ConfigGroup = ? AND "
                     "Name = ?",
                     -1, &stmt, nullptr);
  for (auto _ : state) {
    sqlite3_bind_text(stmt, 1, "corv", -1, SQLITE_STATIC);
    sqlite3_bind_text(stmt, 2, "net", -1, SQLITE_STATIC);
    sqlite3_bind_text(stmt, 3, "nics", -1, SQLITE_STATIC);
    if (sqlite3_step(stmt) == SQLITE_ROW) benchmark::DoNotOptimize(sqlite3_column_text(stmt, 0));
    sqlite3_reset(stmt);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}
BENCHMARK(BM_RawSqliteSelect);

}  // namespace

BENCHMARK_MAIN();
