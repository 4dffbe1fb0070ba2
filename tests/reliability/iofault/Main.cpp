// The I/O fault campaign: every write path of the library under injected
// read, write, sync, lock, truncate and size-query failures and a full disk,
// for every N from the first call of that operation to the last; then stores
// that are read-only, empty, not a database or corrupted. Prints its
// figures; exits 1 when any promise was broken.
//
//   iofault_campaign           short mode (the test suite's): each fault
//                              once, on a store of a few pages
//   iofault_campaign --long    also each I/O error repeated on every later
//                              call, and everything again on a store of
//                              many pages
#include <corvconfigstore/Logger.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <iostream>

#include "CampaignStore.h"
#include "DamagedFiles.h"
#include "FaultSweep.h"
#include "WritePaths.h"
#include "support/FaultVfs.h"

namespace {

// Sweeps every write path under every kind of fault on stores; returns the
// violations.
int Sweep(IoFault::CampaignStore& stores, bool persistent, const char* title) {
  IoFault::Figures figures;
  for (const IoFault::WritePath& path : IoFault::WritePaths()) {
    IoFault::ExpectedContent expected;
    if (!IoFault::ExpectedAfter(stores, path, figures, expected)) continue;
    for (const IoFault::FaultKind& kind : IoFault::FaultKinds(persistent))
      IoFault::SweepFaults(stores, path, kind, expected, figures);
  }
  std::cout << "== " << title << "\n";
  figures.Print(std::cout);
  return figures.Violations();
}

}  // namespace

int main(int argc, char** argv) {
  bool longMode = argc == 2 && std::strcmp(argv[1], "--long") == 0;
  if (argc > 2 || (argc == 2 && !longMode)) {
    std::cerr << "usage: " << argv[0] << " [--long]\n";
    return 2;
  }
  // The failures are the point here, not their log lines (IOFAULT_LOG set
  // keeps them).
  if (getenv("IOFAULT_LOG") == nullptr)
    CorvConfigStore::CSLogger::SetSink([](int, const std::string&) {});
  // Thousands of commits: in a memory-backed directory, when there is one,
  // each costs no flush to disk. The faults are injected above the file
  // system all the same.
  struct stat status;
  if (getenv("TMPDIR") == nullptr && stat("/dev/shm", &status) == 0 && S_ISDIR(status.st_mode) &&
      access("/dev/shm", W_OK) == 0)
    setenv("TMPDIR", "/dev/shm", 1);
  CorvTest::FaultVfs::Install();

  std::cout << "I/O fault campaign, " << (longMode ? "long" : "short") << " mode\n";
  int violations = 0;
  {
    IoFault::CampaignStore stores;
    violations += Sweep(stores, longMode, "store of a few pages");
    IoFault::DamagedFiles damaged(stores);
    damaged.Run();
    std::cout << "== damaged files\n";
    damaged.Print(std::cout);
    violations += damaged.Violations();
  }
  if (longMode) {
    IoFault::CampaignStore stores(2000);
    violations += Sweep(stores, true, "store of many pages (2000 more instances)");
  }
  std::cout << "violations: " << violations << "\n";
  return violations == 0 ? 0 : 1;
}
