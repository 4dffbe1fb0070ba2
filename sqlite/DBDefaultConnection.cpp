// Where the databases are, and the connections handed out by type and per
// thread.
#include <corvconfigstore/Logger.h>
#include <sys/stat.h>

#include <cstdlib>

#include "sqlite/DBStore.h"

namespace DBStore {

const char* const kDefaultConfigStorePath = "/etc/velmo/configstore/current-store-1";
const char* const kDefaultSchemaStorePath = "/etc/velmo/configstore/schema-store-1";

namespace {

const char* PathFromEnvironment(const char* variable, const char* fallback) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0' ? value : fallback;
}

// This thread's default connection and the identity of the file it was
// opened on, so that a store replaced under the same name is reopened;
// inside a DefaultConnectionScope, whether the file was found since the
// outermost scope began.
struct DefaultConnection {
  std::shared_ptr<StoreConnection> connection;
  dev_t device = 0;
  ino_t inode = 0;
  int scopes = 0;
  bool foundInScope = false;
};

thread_local DefaultConnection tDefault;

}  // namespace

const char* ConfigStorePath() {
  return PathFromEnvironment("CORV_CONFIGSTORE_DB", kDefaultConfigStorePath);
}

const char* SchemaStorePath() {
  return PathFromEnvironment("CORV_SCHEMASTORE_DB", kDefaultSchemaStorePath);
}

std::shared_ptr<StoreConnection> GetConnection(Type type, std::string* reason) {
  if (type != CONFIG_STORE) {
    CorvConfigStore::CSLogger::Log(1, "Unknown database type %d", static_cast<int>(type));
    if (reason != nullptr) *reason = "unknown database type " + std::to_string(type);
    return nullptr;
  }
  std::string path = ConfigStorePath();
  std::string why;
  std::shared_ptr<StoreConnection> connection = StoreConnection::Open(path, &why);
  if (reason != nullptr && !why.empty()) *reason = path + ": " + why;
  return connection;
}

std::shared_ptr<StoreConnection> GetDefaultConnection(std::string* reason) {
  const char* path = ConfigStorePath();
  if (tDefault.foundInScope && tDefault.connection->Path() == path) return tDefault.connection;
  struct stat status;
  if (stat(path, &status) != 0) {
    tDefault.connection.reset();
    tDefault.foundInScope = false;
    return nullptr;
  }
  if (!tDefault.connection || tDefault.connection->Path() != path ||
      tDefault.device != status.st_dev || tDefault.inode != status.st_ino) {
    tDefault.connection = StoreConnection::Open(path, reason);
    tDefault.device = status.st_dev;
    tDefault.inode = status.st_ino;
  }
  tDefault.foundInScope = tDefault.scopes > 0 && tDefault.connection != nullptr;
  return tDefault.connection;
}

DefaultConnectionScope::DefaultConnectionScope() { ++tDefault.scopes; }

DefaultConnectionScope::~DefaultConnectionScope() {
  if (--tDefault.scopes == 0) tDefault.foundInScope = false;
}

}  // namespace DBStore
