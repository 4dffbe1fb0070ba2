// The fault sweep of one write path and one kind of fault.
#include "FaultSweep.h"

#include "Outcome.h"

namespace IoFault {

using CorvTest::FaultPlan;
using CorvTest::FaultVfs;
using CorvTest::FileOp;

std::vector<FaultKind> FaultKinds(bool persistent) {
  std::vector<FaultKind> kinds;
  for (bool sticky : {false, true}) {
    if (sticky && !persistent) break;
    for (int i = 0; i < CorvTest::kFileOpCount; ++i) {
      FaultKind kind;
      kind.plan.op = static_cast<FileOp>(i);
      kind.plan.error = CorvTest::IoErrorOf(kind.plan.op);
      kind.plan.sticky = sticky;
      kind.name = std::string(CorvTest::FileOpName(kind.plan.op)) + (sticky ? "+" : "");
      kinds.push_back(kind);
    }
  }
  FaultKind full;
  full.name = "diskfull";
  full.plan.op = FileOp::kWrite;
  full.plan.error = SQLITE_FULL;
  full.plan.sticky = true;
  kinds.push_back(full);
  return kinds;
}

namespace {

Outcome Call(const WritePath& path, const CampaignStore& stores) {
  return Capture([&path, &stores] { path.run(stores); });
}

// The first line where two dumps differ, for a report.
std::string FirstDifference(const std::vector<std::string>& want,
                            const std::vector<std::string>& got) {
  for (size_t i = 0; i < want.size() || i < got.size(); ++i) {
    std::string a = i < want.size() ? want[i] : "<none>";
    std::string b = i < got.size() ? got[i] : "<none>";
    if (a != b) return "expected " + a + " got " + b;
  }
  return "";
}

// text with the trial's file names replaced by what they are, so that the
// same report of different trials reads the same.
std::string WithoutTrialPaths(std::string text, const CampaignStore& stores) {
  for (const auto& name : {std::make_pair(stores.SchemaStorePath(), "<schema store>"),
                           std::make_pair(stores.StorePath(), "<store>"),
                           std::make_pair(stores.Dir().Path(), "<dir>")}) {
    for (size_t at = text.find(name.first); at != std::string::npos; at = text.find(name.first, at))
      text.replace(at, name.first.size(), name.second);
  }
  return text;
}

}  // namespace

bool ExpectedAfter(CampaignStore& stores, const WritePath& path, Figures& figures,
                   ExpectedContent& expected) {
  stores.NewTrial();
  expected.before = stores.Dump(false);
  Outcome outcome = Call(path, stores);
  if (outcome.threw) {
    figures.Violation(figures.At(path.name, "none"),
                      path.name + " fails without any fault: " + outcome.text);
    return false;
  }
  expected.after = stores.Dump(true);
  return true;
}

void SweepFaults(CampaignStore& stores, const WritePath& path, const FaultKind& kind,
                 const ExpectedContent& expected, Figures& figures) {
  Tally& tally = figures.At(path.name, kind.name);
  FaultVfs& vfs = FaultVfs::Install();
  const std::string cause = sqlite3_errstr(kind.plan.error);
  for (int n = 1;; ++n) {
    std::string where = path.name + " " + kind.name + " #" + std::to_string(n) + ": ";
    stores.NewTrial();
    FaultPlan plan = kind.plan;
    plan.nth = n;
    vfs.Arm(plan);
    Outcome outcome = Call(path, stores);
    vfs.Disarm();
    ++tally.trials;
    if (vfs.Fired() == 0) {
      // Every operation of this kind passed: the call must have done its
      // work, and larger N would fire nothing either.
      if (outcome.threw)
        figures.Violation(tally, where + "failed without a fault: " + outcome.text);
      else if (stores.Dump(true) != expected.after)
        figures.Violation(tally, where + "wrong content without a fault: " +
                                     FirstDifference(expected.after, stores.Dump(true)));
      return;
    }
    ++tally.injected;
    if (outcome.threw) {
      if (!outcome.coded || outcome.text.find(cause) == std::string::npos) {
        figures.Violation(tally,
                          where + "reported without its cause (" + cause + "): " + outcome.text);
        continue;
      }
      ++tally.codedErrors;
      figures.Reported(kind.name, WithoutTrialPaths(outcome.text, stores));
      std::vector<std::string> now = stores.Dump(false);
      if (now != expected.before) {
        figures.Violation(tally, where + "store changed by a failed call (" + outcome.text +
                                     "): " + FirstDifference(expected.before, now));
        continue;
      }
      ++tally.unchanged;
    } else {
      // The fault hit an operation SQLite could do without, or came after
      // the commit: the write was acknowledged, so it must be whole.
      std::vector<std::string> now = stores.Dump(true);
      if (now != expected.after) {
        figures.Violation(tally, where + "acknowledged write not stored: " +
                                     FirstDifference(expected.after, now));
        continue;
      }
      ++tally.absorbed;
    }
    // The same call again, now without fault, works on the store the fault
    // left behind.
    Outcome again = Call(path, stores);
    if (again.threw) {
      figures.Violation(tally, where + "next call failed: " + again.text);
      continue;
    }
    if (outcome.threw && stores.Dump(true) != expected.after) {
      figures.Violation(tally, where + "next call wrote wrong content: " +
                                   FirstDifference(expected.after, stores.Dump(true)));
      continue;
    }
    ++tally.recoveries;
  }
}

}  // namespace IoFault
