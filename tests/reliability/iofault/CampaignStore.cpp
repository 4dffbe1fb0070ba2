// The campaign's reference stores and the per-trial copies.
#include "CampaignStore.h"

#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/NextBootStore.h>
#include <corvconfigstore/Provisioning.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <filesystem>
#include <stdexcept>

#include "support/DumpDatabase.h"

namespace IoFault {

using namespace CorvConfigStore;

const char* const kSchemas = R"({"corv": {
  "net": {
    "dns": {"type": "object", "properties": {
      "domain": {"type": "string"}, "ttl": {"type": "integer"},
      "servers": {"type": "array", "items": {"type": "string"}}}},
    "iface": {"type": "array", "items": {"type": "object", "properties": {
      "name": {"type": "string", "instanceId": true}, "mtu": {"type": "integer"}}}}
  },
  "sys": {
    "kernel": {"type": "object", "tags": ["@rebootRequiredConfigStore"],
               "properties": {"cmdline": {"type": "string"}}},
    "boot": {"type": "array", "tags": ["@rebootRequiredConfigStore"],
             "items": {"type": "object", "properties": {
               "name": {"type": "string", "instanceId": true}, "args": {"type": "string"}}}}
  }
}})";

const char* const kDefaults = R"({"corv": {"net": {"iface": [
  {"name": "eth0", "mtu": 1500}, {"name": "lo", "mtu": 65536}]}}})";

namespace {

ConfigStoreObjectId Id(const char* key, const char* group, const char* instance = "") {
  return ConfigStoreObjectId(key, group, "corv", instance);
}

void RemoveDatabase(const std::string& path) {
  std::error_code ignored;
  for (const char* suffix : {"", "-wal", "-shm", "-journal"})
    std::filesystem::remove(path + suffix, ignored);
}

}  // namespace

void ExecPlain(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, "unix");
  if (rc == SQLITE_OK) {
    sqlite3_busy_timeout(db, 3000);
    rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
  }
  std::string reason = db != nullptr ? sqlite3_errmsg(db) : "out of memory";
  sqlite3_close(db);
  if (rc != SQLITE_OK) throw std::runtime_error(path + ": " + sql + ": " + reason);
}

void AddInstances(const std::string& path, int count) {
  ExecPlain(path, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                      std::to_string(count) +
                      ") INSERT INTO Config (Identifier, Name, ConfigGroup, Component, Version, "
                      "UserValue) SELECT 'if' || i, 'iface', 'net', 'corv', '1.0', "
                      "'{\"name\":\"if' || i || '\",\"mtu\":' || (1000 + i) || '}' FROM n");
}

CampaignStore::CampaignStore(int extraRows)
    : referenceStore_(dir_.File("reference-store.db")),
      referenceSchemaStore_(dir_.File("reference-schema-store.db")) {
  setenv("CORV_SCHEMASTORE_DB", referenceSchemaStore_.c_str(), 1);
  setenv("CORV_CONFIGSTORE_DB", referenceStore_.c_str(), 1);
  LoadSchemaFile(dir_.Write("schemas.json", kSchemas));
  ProvisionStore(referenceStore_);
  LoadDefaultsFile(dir_.Write("defaults.json", kDefaults));
  {
    std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");
    store->Set(CreateObject(Id("dns", "net"), R"({"domain": "a.org", "ttl": 5})"), EXTERNAL);
    store->SetInstances({CreateObject(Id("iface", "net"), R"({"name": "eth0", "mtu": 9000})"),
                         CreateObject(Id("iface", "net"), R"({"name": "eth2", "mtu": 1400})")},
                        EXTERNAL);
    store->GetNextBootStore()->Set(
        CreateObject(Id("boot", "sys"), R"({"name": "b1", "args": "quiet"})"));
  }
  // What the next boot is to apply to the singleton, for boot confirmation.
  ExecPlain(referenceStore_,
            R"(UPDATE Config SET DesiredValue = '{"domain":"b.org","ttl":6}' WHERE Name = 'dns')");
  if (extraRows > 0) AddInstances(referenceStore_, extraRows);
  // Everything in the main files, so that a byte copy of them is the store.
  for (const std::string* path : {&referenceStore_, &referenceSchemaStore_})
    ExecPlain(*path, "PRAGMA wal_checkpoint(TRUNCATE)");
}

CampaignStore::~CampaignStore() { RemoveTrial(); }

void CampaignStore::RemoveTrial() {
  if (!store_.empty()) RemoveDatabase(store_);
  if (!schemaStore_.empty()) RemoveDatabase(schemaStore_);
}

void CampaignStore::NewTrial() {
  RemoveTrial();
  ++trials_;
  store_ = dir_.File("store-" + std::to_string(trials_) + ".db");
  schemaStore_ = dir_.File("schema-store-" + std::to_string(trials_) + ".db");
  std::filesystem::copy_file(referenceStore_, store_);
  std::filesystem::copy_file(referenceSchemaStore_, schemaStore_);
  setenv("CORV_SCHEMASTORE_DB", schemaStore_.c_str(), 1);
  setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
}

std::vector<std::string> CampaignStore::Dump(bool maskTimes) const {
  std::vector<std::string> lines;
  for (const auto& database : {std::make_pair(&store_, "store: "),
                               std::make_pair(&schemaStore_, "schema store: ")}) {
    for (std::string& line : CorvTest::DumpDatabase(*database.first, maskTimes))
      lines.push_back(database.second + line);
    // A process that opens the files afresh, after this one ended, rebuilds
    // its index of the write-ahead log from the log itself: a failed commit
    // whose frames reached the log must not come back then.
    std::string copy = dir_.File("restart.db");
    RemoveDatabase(copy);
    std::filesystem::copy_file(*database.first, copy);
    std::error_code noLog;
    std::filesystem::copy_file(*database.first + "-wal", copy + "-wal", noLog);
    for (std::string& line : CorvTest::DumpDatabase(copy, maskTimes))
      lines.push_back(std::string("after restart, ") + database.second + line);
    RemoveDatabase(copy);
  }
  return lines;
}

}  // namespace IoFault
