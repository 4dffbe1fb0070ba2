// The campaign's tallies, per write path and fault kind, and the report
// printed at the end.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace IoFault {

struct Tally {
  int trials = 0;       // runs with a fault armed
  int injected = 0;     // runs in which the fault fired
  int codedErrors = 0;  // ... and the call threw a coded error with the cause
  int unchanged = 0;    // ... and the store was left exactly as it was
  int absorbed = 0;     // ... or the call succeeded and its write is whole
  int recoveries = 0;   // the next call, without fault, succeeded as expected
  int violations = 0;

  Tally& operator+=(const Tally& other);
};

class Figures {
 public:
  Tally& At(const std::string& path, const std::string& kind) { return rows_[path][kind]; }
  // Records a broken promise, with what was seen.
  void Violation(Tally& tally, const std::string& what);
  int Violations() const { return static_cast<int>(violations_.size()); }
  // Counts an error text a fault gave (paths of trial files already
  // replaced), to show which messages and causes callers get.
  void Reported(const std::string& kind, const std::string& text) { reports_[kind][text]++; }

  // One line per path and kind, totals per kind and overall, the error
  // texts reported per kind, then the violations seen.
  void Print(std::ostream& out) const;

 private:
  std::map<std::string, std::map<std::string, Tally>> rows_;
  std::vector<std::string> violations_;
  std::map<std::string, std::map<std::string, int>> reports_;
};

}  // namespace IoFault
