// The sweep: for one write path and one kind of fault, fail the N-th file
// operation of that kind for N = 1, 2, 3, ... until the call completes
// without the fault firing, and check after each fault that the failure was
// reported with its cause, that the store is as it was, and that the next
// call works.
#pragma once

#include <string>
#include <vector>

#include "CampaignStore.h"
#include "Figures.h"
#include "WritePaths.h"
#include "support/FaultVfs.h"

namespace IoFault {

struct FaultKind {
  std::string name;
  CorvTest::FaultPlan plan;  // nth is set by the sweep
};

// An I/O error on each operation the shim can fail, once, and a disk that
// fills up at a write and stays full; with persistent, also each I/O error
// repeated on every later call of its operation (a failing device).
std::vector<FaultKind> FaultKinds(bool persistent);

// The stores' content before any write path runs (unmasked) and after
// path ran without fault (times masked).
struct ExpectedContent {
  std::vector<std::string> before;
  std::vector<std::string> after;
};

// Runs path once on a fresh trial without faults; false (with a violation
// recorded) when it fails.
bool ExpectedAfter(CampaignStore& stores, const WritePath& path, Figures& figures,
                   ExpectedContent& expected);

void SweepFaults(CampaignStore& stores, const WritePath& path, const FaultKind& kind,
                 const ExpectedContent& expected, Figures& figures);

}  // namespace IoFault
