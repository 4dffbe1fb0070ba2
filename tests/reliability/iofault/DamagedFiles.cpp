// The damaged-file cases of the campaign.
#include "DamagedFiles.h"

#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/NextBootStore.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "Outcome.h"
#include "WritePaths.h"
#include "schema/SchemaStore.h"
#include "support/DumpDatabase.h"
#include "support/FaultVfs.h"

namespace IoFault {

using namespace CorvConfigStore;

namespace {

ConfigStoreObjectId Id(const char* key, const char* group, const char* instance = "") {
  return ConfigStoreObjectId(key, group, "corv", instance);
}

std::string DataOf(const std::shared_ptr<ConfigStoreObject>& object) {
  return object ? object->GetData() : "<null>";
}

// The reads a damaged store is probed with; each returns what it read as
// text, to compare with what the undamaged store gave.
struct ReadProbe {
  const char* name;
  std::function<std::string()> run;
};

const std::vector<ReadProbe>& ReadProbes() {
  static const std::vector<ReadProbe> probes = {
      {"Get", [] { return DataOf(ConfigStore::GetStore("")->Get(Id("dns", "net"))); }},
      {"GetInstances",
       [] {
         std::string text;
         for (const auto& object : ConfigStore::GetStore("")->GetInstances(
                  std::make_shared<FilterSpecObject>(Id("iface", "net"))))
           text += DataOf(object) + "\n";
         return text;
       }},
      {"GetDefaultConfig",
       [] {
         return DataOf(ConfigStore::GetStore("")->GetDefaultConfig(Id("iface", "net", "eth0")));
       }},
      {"NextBootGet",
       [] {
         return DataOf(ConfigStore::GetStore("")->GetNextBootStore()->Get(Id("boot", "sys", "b1")));
       }},
      {"Export",
       [] {
         return Export({std::make_shared<FilterSpecObject>(Id("dns", "net")),
                        std::make_shared<FilterSpecObject>(Id("iface", "net"))});
       }},
  };
  return probes;
}

// Damage is done to a copy that then takes the file's place, as when a
// damaged file is restored or written while no process has it open: the
// library's connections left on the old file have nothing to share with the
// new one.
void Replace(const std::string& path, const std::function<void(const std::string&)>& damage) {
  std::string copy = path + ".damaged";
  std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
  damage(copy);
  std::filesystem::rename(copy, path);
}

void WriteFile(const std::string& path, const std::string& text) {
  Replace(path, [&text](const std::string& copy) {
    std::ofstream(copy, std::ios::binary | std::ios::trunc) << text;
  });
}

// Overwrites the header and cell pointers of the page in the middle of the
// database file, so that SQLite finds the page malformed when it reads it.
void CorruptMiddlePage(const std::string& path) {
  Replace(path, [](const std::string& copy) {
    std::fstream file(copy, std::ios::binary | std::ios::in | std::ios::out);
    unsigned char header[18];
    file.read(reinterpret_cast<char*>(header), sizeof header);
    long pageSize = header[16] * 256 + header[17];
    if (pageSize == 1) pageSize = 65536;
    file.seekg(0, std::ios::end);
    long pages = static_cast<long>(file.tellg()) / pageSize;
    file.seekp((pages / 2) * pageSize);
    std::string garbage(32, '\xff');
    file.write(garbage.data(), static_cast<std::streamsize>(garbage.size()));
  });
}

// Whether SQLite's own check finds the database at path damaged.
bool IntegrityCheckFails(const std::string& path) {
  std::vector<std::string> result;
  sqlite3* db = nullptr;
  bool fails = true;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, "unix") == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW) {
      const unsigned char* text = sqlite3_column_text(stmt, 0);
      fails = text == nullptr || std::string(reinterpret_cast<const char*>(text)) != "ok";
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  return fails;
}

}  // namespace

void DamagedFiles::Run() {
  CorvTest::FaultVfs& vfs = CorvTest::FaultVfs::Install();
  const std::string notADatabase(4096, 'x');
  const std::vector<Damage> damages = {
      {"read-only store", nullptr,
       [&vfs](CampaignStore& s) {
         chmod(s.StorePath().c_str(), 0400);
         vfs.SetReadOnly(s.StorePath(), true);
       },
       [&vfs](CampaignStore& s) {
         vfs.SetReadOnly(s.StorePath(), false);
         chmod(s.StorePath().c_str(), 0600);
       },
       false, true, false, false, "attempt to write a readonly database"},
      // An empty file is an empty database to SQLite: no table is there.
      {"zero-length store", nullptr, [](CampaignStore& s) { WriteFile(s.StorePath(), ""); },
       nullptr, false, false, false, false, "no such table"},
      {"store not a database", nullptr,
       [&notADatabase](CampaignStore& s) { WriteFile(s.StorePath(), notADatabase); }, nullptr,
       false, false, false, false, "file is not a database"},
      {"store corrupted in the middle",
       [](CampaignStore& s) {
         AddInstances(s.StorePath(), 2000);
         ExecPlain(s.StorePath(), "PRAGMA wal_checkpoint(TRUNCATE)");
       },
       [](CampaignStore& s) { CorruptMiddlePage(s.StorePath()); }, nullptr, false, true, true,
       true, "database disk image is malformed"},
      {"schema store not a database", nullptr,
       [&notADatabase](CampaignStore& s) { WriteFile(s.SchemaStorePath(), notADatabase); }, nullptr,
       true, false, true, false, "file is not a database"},
  };
  for (const Damage& damage : damages) RunDamage(damage);
}

void DamagedFiles::RunDamage(const Damage& damage) {
  counts_.emplace_back(damage.name, Counts());
  Counts& counts = counts_.back().second;
  auto violation = [this, &counts, &damage](const std::string& what) {
    ++counts.violations;
    violations_.push_back(damage.name + ": " + what);
  };
  stores_.NewTrial();
  if (damage.prepare) damage.prepare(stores_);
  std::vector<std::string> expected;
  for (const ReadProbe& probe : ReadProbes()) {
    std::string text;
    Outcome outcome = Capture([&] { text = probe.run(); });
    if (outcome.threw)
      violation(std::string(probe.name) + " fails on the undamaged store: " + outcome.text);
    expected.push_back(text);
  }
  damage.apply(stores_);
  if (damage.malformed && !IntegrityCheckFails(stores_.StorePath()))
    violation("the damage left a sound database");
  // The schema cache looks at its file again only after its recheck
  // interval.
  std::this_thread::sleep_for(std::chrono::milliseconds(CorvSchemaStore::kSchemaRecheckMs + 1));

  // A failure must be the library's coded error, and one that does not
  // blame a missing schema when the schema store cannot be read.
  auto judge = [&](const std::string& what, const Outcome& outcome, bool mayWork) {
    ++counts.probes;
    if (!outcome.threw) {
      if (!mayWork) violation(what + " succeeded on a damaged file");
      return mayWork;
    }
    if (!outcome.coded)
      violation(what + ": " + outcome.text);
    else if (damage.schemaStore && outcome.code == CS_ERR_SCHEMA_NOT_FOUND)
      violation(what + " blames a missing schema: " + outcome.text);
    else if (outcome.text.find(damage.cause) == std::string::npos)
      violation(what + " reported without its cause (" + damage.cause + "): " + outcome.text);
    else
      ++counts.codedErrors;
    return false;
  };
  int failedReads = 0;
  for (size_t i = 0; i < ReadProbes().size(); ++i) {
    const ReadProbe& probe = ReadProbes()[i];
    std::string text;
    Outcome outcome = Capture([&] { text = probe.run(); });
    failedReads += outcome.threw ? 1 : 0;
    if (!judge(probe.name, outcome, damage.readsMayWork)) continue;
    if (text == expected[i])
      ++counts.correctReads;
    else
      violation(std::string(probe.name) + " read wrong content: " + text);
  }
  // Every read covers the whole of its key: a damaged page of it must show.
  if (damage.malformed && failedReads == 0) violation("no read met the damaged page");
  for (const WritePath& path : WritePaths()) {
    // Loading schemas writes only the schema store.
    if (path.name == "LoadSchemaFile" && !damage.schemaStore) continue;
    Outcome outcome = Capture([&] { path.run(stores_); });
    if (judge(path.name, outcome, damage.writesMayWork)) ++counts.acceptedWrites;
  }
  if (damage.undo) damage.undo(stores_);
}

void DamagedFiles::Print(std::ostream& out) const {
  char line[200];
  std::snprintf(line, sizeof line, "%-30s %6s %6s %13s %15s %10s", "damaged file", "probes",
                "coded", "correct reads", "accepted writes", "violations");
  out << line << "\n";
  for (const auto& entry : counts_) {
    const Counts& c = entry.second;
    std::snprintf(line, sizeof line, "%-30s %6d %6d %13d %15d %10d", entry.first.c_str(), c.probes,
                  c.codedErrors, c.correctReads, c.acceptedWrites, c.violations);
    out << line << "\n";
  }
  for (const std::string& violation : violations_) out << "VIOLATION: " << violation << "\n";
}

}  // namespace IoFault
