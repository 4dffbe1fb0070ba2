// The process-wide schema cache: every schema of the schema store, kept in
// memory and read again only when the database file changed.
//
// Change detection: a lookup checks the store at most once per
// kSchemaRecheckMs. A check stats the database file and its -wal file
// (device, inode, size, modification time in nanoseconds): two system calls,
// no database round trip. A commit by any process changes the -wal file (or,
// after a checkpoint, the database file). File times are kept at the
// kernel's clock-tick granularity, so two commits within one tick that leave
// the sizes equal could look alike; while a file was modified less than
// kSettleNs ago, a check therefore also asks SQLite (PRAGMA data_version on
// a connection the cache keeps), which counts commits by other connections
// exactly.
#include <corvconfigstore/Logger.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <mutex>

#include "sqlite/DBError.h"
#include "sqlite/DBStore.h"
#include "schema/SchemaDatabase.h"
#include "schema/SchemaStore.h"

namespace CorvSchemaStore {

using CorvConfigStore::CSLogger;

namespace {

constexpr int64_t kSettleNs = 1000000000;
constexpr int64_t kRecheckNs = static_cast<int64_t>(kSchemaRecheckMs) * 1000000;

const DBStore::SqlStatement kDataVersion("PRAGMA data_version");

struct FileStamp {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  int64_t modifiedNs = 0;

  bool operator==(const FileStamp& other) const {
    return exists == other.exists && device == other.device && inode == other.inode &&
           size == other.size && modifiedNs == other.modifiedNs;
  }
  bool SameFile(const FileStamp& other) const {
    return exists && other.exists && device == other.device && inode == other.inode;
  }
};

FileStamp Stamp(const std::string& path) {
  FileStamp stamp;
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return stamp;
  stamp.exists = true;
  stamp.device = status.st_dev;
  stamp.inode = status.st_ino;
  stamp.size = status.st_size;
  stamp.modifiedNs =
      static_cast<int64_t>(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec;
  return stamp;
}

int64_t ClockNs(clockid_t clock) {
  struct timespec now;
  clock_gettime(clock, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

}  // namespace

struct SchemaObjectCache::State {
  struct Entry {
    std::string text;  // the stored document, to reuse unchanged objects
    std::shared_ptr<SchemaObject> schema;
  };
  using Keys = std::map<std::string, Entry>;
  using Groups = std::map<std::string, Keys>;
  using Components = std::map<std::string, Groups>;

  std::mutex mutex;
  std::string path;
  // The schemas below reflect the database as the stamps describe it (a
  // missing database: no schemas), as of the check at checkedNs.
  bool loaded = false;
  int64_t checkedNs = 0;
  FileStamp database, wal;
  // Kept to ask for the data version; opened on the file database names.
  std::shared_ptr<DBStore::StoreConnection> connection;
  FileStamp connectionFile;
  int64_t dataVersion = -1;
  Components components;
  // Why the last reload could not read the store; empty when it could.
  // Lookups then fail with it rather than answer "no such schema", and the
  // next lookup tries again.
  std::string failure;

  void Refresh();
  void Forget();
  void Reload(const FileStamp& databaseNow, const FileStamp& walNow);
  bool ReadDataVersion(int64_t* version);
  void ThrowIfUnreadable() const;
  const Entry* Find(const std::string& component, const std::string& group,
                    const std::string& key) const;
};

void SchemaObjectCache::State::Forget() {
  loaded = false;
  failure.clear();
  database = wal = FileStamp();
  connection.reset();
  connectionFile = FileStamp();
  dataVersion = -1;
  components.clear();
}

bool SchemaObjectCache::State::ReadDataVersion(int64_t* version) {
  bool read = false;
  int rc = DBStore::ExecuteStmt(
      connection, kDataVersion, {},
      [&](int count, char** values, char**) {
        if (count > 0 && values[0] != nullptr) {
          *version = std::strtoll(values[0], nullptr, 10);
          read = true;
        }
        return 0;
      },
      DBStore::kDefaultTimeLimit);
  return rc == DBStore::kSuccess && read;
}

void SchemaObjectCache::State::Refresh() {
  const char* current = DBStore::SchemaStorePath();
  if (path != current) {
    Forget();
    path = current;
  }
  int64_t now = ClockNs(CLOCK_MONOTONIC);
  if (loaded && now - checkedNs < kRecheckNs) return;
  checkedNs = now;
  FileStamp databaseNow = Stamp(path);
  if (!databaseNow.exists) {
    if (connection || !components.empty() || !failure.empty()) Forget();
    loaded = true;
    return;
  }
  FileStamp walNow = Stamp(path + "-wal");
  if (loaded && databaseNow == database && walNow == wal &&
      ClockNs(CLOCK_REALTIME) - std::max(database.modifiedNs, wal.modifiedNs) >= kSettleNs)
    return;
  int64_t version = 0;
  if (loaded && connection && databaseNow.SameFile(connectionFile) && ReadDataVersion(&version) &&
      version == dataVersion) {
    database = databaseNow;
    wal = walNow;
    return;
  }
  Reload(databaseNow, walNow);
}

void SchemaObjectCache::State::Reload(const FileStamp& databaseNow, const FileStamp& walNow) {
  std::string reason;
  if (!connection || !databaseNow.SameFile(connectionFile)) {
    connection = DBStore::StoreConnection::Open(path, &reason);
    connectionFile = databaseNow;
  }
  database = databaseNow;
  wal = walNow;
  failure.clear();
  loaded = true;
  std::vector<SchemaRow> rows;
  if (!connection) {
    // No reason to open means the file went away since it was looked at: a
    // store that is not there holds no schemas.
    failure = reason;
  } else if (!ReadDataVersion(&dataVersion) ||
             ReadSchemaRows(connection, rows) != DBStore::kSuccess) {
    failure = connection->LastError();
    // The connection may be what broke: the next attempt opens a new one.
    connection.reset();
  }
  if (!connection) {
    components.clear();
    loaded = failure.empty();
    return;
  }
  Components fresh;
  for (SchemaRow& row : rows) {
    const Entry* old = Find(row.component, row.group, row.key);
    Entry entry;
    if (old != nullptr && old->text == row.document) {
      entry = *old;
    } else {
      try {
        entry.schema = MakeSchemaObject(row.component, row.group, row.key, row.document);
        entry.text = std::move(row.document);
      } catch (const std::exception& e) {
        CSLogger::Log(0, "Ignoring stored schema of %s.%s.%s: %s", row.component.c_str(),
                      row.group.c_str(), row.key.c_str(), e.what());
        continue;
      }
    }
    fresh[row.component][row.group][row.key] = std::move(entry);
  }
  components.swap(fresh);
}

void SchemaObjectCache::State::ThrowIfUnreadable() const {
  if (!failure.empty())
    DBStore::ThrowFailure("Cannot read schemas from " + path, failure);
}

const SchemaObjectCache::State::Entry* SchemaObjectCache::State::Find(
    const std::string& component, const std::string& group, const std::string& key) const {
  auto c = components.find(component);
  if (c == components.end()) return nullptr;
  auto g = c->second.find(group);
  if (g == c->second.end()) return nullptr;
  auto k = g->second.find(key);
  return k == g->second.end() ? nullptr : &k->second;
}

SchemaObjectCache::SchemaObjectCache() : state_(std::make_shared<State>()) {}

std::shared_ptr<SchemaObject> SchemaObjectCache::GetSchema(const std::string& component,
                                                           const std::string& group,
                                                           const std::string& key) {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->Refresh();
  state_->ThrowIfUnreadable();
  const State::Entry* entry = state_->Find(component, group, key);
  return entry != nullptr ? entry->schema : nullptr;
}

std::vector<std::shared_ptr<SchemaObject>> SchemaObjectCache::GetAllSchemas() {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->Refresh();
  state_->ThrowIfUnreadable();
  std::vector<std::shared_ptr<SchemaObject>> all;
  for (const auto& component : state_->components)
    for (const auto& group : component.second)
      for (const auto& key : group.second) all.push_back(key.second.schema);
  return all;
}

bool SchemaObjectCache::HasComponent(const std::string& component) {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->Refresh();
  state_->ThrowIfUnreadable();
  return state_->components.count(component) != 0;
}

bool SchemaObjectCache::HasGroup(const std::string& component, const std::string& group) {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->Refresh();
  state_->ThrowIfUnreadable();
  auto c = state_->components.find(component);
  return c != state_->components.end() && c->second.count(group) != 0;
}

void SchemaObjectCache::Invalidate() {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->loaded = false;
}

std::shared_ptr<SchemaStore> SchemaStore::GetStore() {
  static std::mutex mutex;
  static std::shared_ptr<SchemaStore> store;
  static std::string path;
  std::lock_guard<std::mutex> lock(mutex);
  const char* current = DBStore::SchemaStorePath();
  if (!store || path != current) {
    store = std::make_shared<SchemaStore>();
    path = current;
  }
  return store;
}

std::shared_ptr<SchemaObjectCache> SchemaStore::GetCache() {
  static const std::shared_ptr<SchemaObjectCache> cache = std::make_shared<SchemaObjectCache>();
  return cache;
}

std::shared_ptr<SchemaObject> SchemaStore::GetSchema(const std::string& component,
                                                     const std::string& group,
                                                     const std::string& key) {
  return GetCache()->GetSchema(component, group, key);
}

}  // namespace CorvSchemaStore
