// An SQLite VFS that wraps the default one and fails chosen file operations
// on demand: the N-th read, write, sync, lock, truncate or size query after
// arming returns an I/O error (or "disk full"), once or from then on. Once
// installed it is the default VFS, so every connection the library opens
// goes through it; disarmed, it only forwards. It can also open chosen
// database files read-only, as the default VFS does for a file the process
// may not write (which a process running as root cannot otherwise meet).
#pragma once

#include <sqlite3.h>

#include <cstring>
#include <mutex>
#include <set>
#include <string>

namespace CorvTest {

// The file operations a fault can hit.
enum class FileOp { kRead, kWrite, kSync, kLock, kTruncate, kFileSize };
constexpr int kFileOpCount = 6;

inline const char* FileOpName(FileOp op) {
  static const char* const names[kFileOpCount] = {"read", "write",    "sync",
                                                  "lock", "truncate", "filesize"};
  return names[static_cast<int>(op)];
}

// The error an injected fault of op returns, as the default VFS reports
// the same failure of the system call.
inline int IoErrorOf(FileOp op) {
  static const int codes[kFileOpCount] = {SQLITE_IOERR_READ,     SQLITE_IOERR_WRITE,
                                          SQLITE_IOERR_FSYNC,    SQLITE_IOERR_LOCK,
                                          SQLITE_IOERR_TRUNCATE, SQLITE_IOERR_FSTAT};
  return codes[static_cast<int>(op)];
}

// Which call fails and how: the nth call of op after arming (1 for the
// first) returns error; with sticky, every later call of op does too (a
// disk that stays full).
struct FaultPlan {
  FileOp op = FileOp::kWrite;
  int nth = 1;
  int error = SQLITE_IOERR_WRITE;
  bool sticky = false;
};

class FaultVfs {
 public:
  // The process's one shim, registered as the default VFS on first use.
  static FaultVfs& Install() {
    static FaultVfs* vfs = new FaultVfs();
    return *vfs;
  }

  // Counts calls from zero and fails those the plan names.
  void Arm(const FaultPlan& plan) {
    std::lock_guard<std::mutex> lock(mutex_);
    plan_ = plan;
    armed_ = true;
    fired_ = 0;
    std::memset(calls_, 0, sizeof calls_);
  }
  void Disarm() {
    std::lock_guard<std::mutex> lock(mutex_);
    armed_ = false;
  }
  // Faults injected since the last Arm.
  int Fired() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return fired_;
  }
  // Calls of op since the last Arm.
  int Calls(FileOp op) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_[static_cast<int>(op)];
  }

  // Opens of the database file at path (the name SQLite is given) are
  // read-only from now on, or again read-write.
  void SetReadOnly(const std::string& path, bool readOnly) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (readOnly)
      readOnly_.insert(path);
    else
      readOnly_.erase(path);
  }

 private:
  // The shim's file: its own header, then the default VFS's file.
  struct File {
    sqlite3_file base;
    sqlite3_file* real;
  };

  // Opening a file, and the calls that the default VFS answers from its
  // own state, go through the shim; the rest (time, randomness, sleeping,
  // loading extensions) ignore their VFS argument and are taken as they are.
  FaultVfs() : real_(sqlite3_vfs_find(nullptr)) {
    vfs_ = *real_;
    vfs_.szOsFile = static_cast<int>(sizeof(File)) + real_->szOsFile;
    vfs_.zName = "corv-fault";
    vfs_.pNext = nullptr;
    vfs_.pAppData = this;
    vfs_.xOpen = &Open;
    vfs_.xDelete = [](sqlite3_vfs* v, const char* name, int sync) {
      return Self(v).real_->xDelete(Self(v).real_, name, sync);
    };
    vfs_.xAccess = [](sqlite3_vfs* v, const char* name, int flags, int* out) {
      return Self(v).real_->xAccess(Self(v).real_, name, flags, out);
    };
    vfs_.xFullPathname = [](sqlite3_vfs* v, const char* name, int size, char* out) {
      return Self(v).real_->xFullPathname(Self(v).real_, name, size, out);
    };
    vfs_.xGetLastError = [](sqlite3_vfs* v, int size, char* out) {
      return Self(v).real_->xGetLastError(Self(v).real_, size, out);
    };
    sqlite3_vfs_register(&vfs_, 1);
  }

  static FaultVfs& Self(sqlite3_vfs* vfs) { return *static_cast<FaultVfs*>(vfs->pAppData); }
  static sqlite3_file* Real(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }

  // Whether this call of op is to fail; counts it.
  static bool Fails(FileOp op) {
    FaultVfs& self = Install();
    std::lock_guard<std::mutex> lock(self.mutex_);
    if (!self.armed_) return false;
    int n = ++self.calls_[static_cast<int>(op)];
    if (op != self.plan_.op) return false;
    if (n == self.plan_.nth || (self.plan_.sticky && n > self.plan_.nth)) {
      ++self.fired_;
      return true;
    }
    return false;
  }
  static int ErrorOf() {
    FaultVfs& self = Install();
    std::lock_guard<std::mutex> lock(self.mutex_);
    return self.plan_.error;
  }

  static int Open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags,
                  int* outFlags) {
    FaultVfs& self = Self(vfs);
    File* shim = reinterpret_cast<File*>(file);
    shim->real = reinterpret_cast<sqlite3_file*>(shim + 1);
    if ((flags & SQLITE_OPEN_MAIN_DB) != 0 && name != nullptr) {
      std::lock_guard<std::mutex> lock(self.mutex_);
      if (self.readOnly_.count(name) != 0)
        flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
    }
    int rc = self.real_->xOpen(self.real_, name, shim->real, flags, outFlags);
    // SQLite closes a file whose methods are set, even after a failed open.
    shim->base.pMethods = shim->real->pMethods != nullptr ? &kMethods : nullptr;
    return rc;
  }

  static int Close(sqlite3_file* f) { return Real(f)->pMethods->xClose(Real(f)); }
  static int Read(sqlite3_file* f, void* buffer, int amount, sqlite3_int64 offset) {
    if (Fails(FileOp::kRead)) return ErrorOf();
    return Real(f)->pMethods->xRead(Real(f), buffer, amount, offset);
  }
  static int Write(sqlite3_file* f, const void* buffer, int amount, sqlite3_int64 offset) {
    if (Fails(FileOp::kWrite)) return ErrorOf();
    return Real(f)->pMethods->xWrite(Real(f), buffer, amount, offset);
  }
  static int Truncate(sqlite3_file* f, sqlite3_int64 size) {
    if (Fails(FileOp::kTruncate)) return ErrorOf();
    return Real(f)->pMethods->xTruncate(Real(f), size);
  }
  static int Sync(sqlite3_file* f, int flags) {
    if (Fails(FileOp::kSync)) return ErrorOf();
    return Real(f)->pMethods->xSync(Real(f), flags);
  }
  static int FileSize(sqlite3_file* f, sqlite3_int64* size) {
    if (Fails(FileOp::kFileSize)) return ErrorOf();
    return Real(f)->pMethods->xFileSize(Real(f), size);
  }
  static int Lock(sqlite3_file* f, int level) {
    if (Fails(FileOp::kLock)) return ErrorOf();
    return Real(f)->pMethods->xLock(Real(f), level);
  }
  static int Unlock(sqlite3_file* f, int level) {
    return Real(f)->pMethods->xUnlock(Real(f), level);
  }
  static int CheckReservedLock(sqlite3_file* f, int* out) {
    return Real(f)->pMethods->xCheckReservedLock(Real(f), out);
  }
  static int FileControl(sqlite3_file* f, int op, void* arg) {
    return Real(f)->pMethods->xFileControl(Real(f), op, arg);
  }
  static int SectorSize(sqlite3_file* f) { return Real(f)->pMethods->xSectorSize(Real(f)); }
  static int DeviceCharacteristics(sqlite3_file* f) {
    return Real(f)->pMethods->xDeviceCharacteristics(Real(f));
  }
  static int ShmMap(sqlite3_file* f, int region, int size, int extend, void volatile** out) {
    return Real(f)->pMethods->xShmMap(Real(f), region, size, extend, out);
  }
  static int ShmLock(sqlite3_file* f, int offset, int n, int flags) {
    return Real(f)->pMethods->xShmLock(Real(f), offset, n, flags);
  }
  static void ShmBarrier(sqlite3_file* f) { Real(f)->pMethods->xShmBarrier(Real(f)); }
  static int ShmUnmap(sqlite3_file* f, int deleteFlag) {
    return Real(f)->pMethods->xShmUnmap(Real(f), deleteFlag);
  }
  // Never maps the file, so that every page is read through Read.
  static int Fetch(sqlite3_file*, sqlite3_int64, int, void** out) {
    *out = nullptr;
    return SQLITE_OK;
  }
  static int Unfetch(sqlite3_file* f, sqlite3_int64 offset, void* p) {
    return Real(f)->pMethods->xUnfetch(Real(f), offset, p);
  }

  // Version 3: every method, shared memory and memory mapping included.
  static constexpr sqlite3_io_methods kMethods = {3,
                                                  &Close,
                                                  &Read,
                                                  &Write,
                                                  &Truncate,
                                                  &Sync,
                                                  &FileSize,
                                                  &Lock,
                                                  &Unlock,
                                                  &CheckReservedLock,
                                                  &FileControl,
                                                  &SectorSize,
                                                  &DeviceCharacteristics,
                                                  &ShmMap,
                                                  &ShmLock,
                                                  &ShmBarrier,
                                                  &ShmUnmap,
                                                  &Fetch,
                                                  &Unfetch};

  sqlite3_vfs* real_;
  sqlite3_vfs vfs_;
  mutable std::mutex mutex_;
  bool armed_ = false;
  FaultPlan plan_;
  int fired_ = 0;
  int calls_[kFileOpCount] = {};
  std::set<std::string> readOnly_;
};

}  // namespace CorvTest
