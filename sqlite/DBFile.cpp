// Creating and removing database files: a new database file is made here
// rather than by SQLite, so that it has mode 0600 whatever the umask (SQLite
// gives its journal files the database's mode).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "sqlite/DBStore.h"

namespace DBStore {

int CreateDatabaseFile(const std::string& path, bool* created, std::string* error) {
  *created = false;
  if (path.empty()) {
    *error = "no database path";
    return kFailure;
  }
  int fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) {
    if (errno == EEXIST) return kSuccess;
    *error = std::string("cannot create the file: ") + std::strerror(errno);
    return kFailure;
  }
  int rc = fchmod(fd, 0600);
  int saved = errno;
  close(fd);
  if (rc != 0) {
    RemoveDatabaseFiles(path);
    *error = std::string("cannot set the file mode: ") + std::strerror(saved);
    return kFailure;
  }
  *created = true;
  return kSuccess;
}

void RemoveDatabaseFiles(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) unlink((path + suffix).c_str());
}

}  // namespace DBStore
