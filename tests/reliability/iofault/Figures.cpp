// Printing the campaign's tallies.
#include "Figures.h"

#include <cstdio>

namespace IoFault {

Tally& Tally::operator+=(const Tally& other) {
  trials += other.trials;
  injected += other.injected;
  codedErrors += other.codedErrors;
  unchanged += other.unchanged;
  absorbed += other.absorbed;
  recoveries += other.recoveries;
  violations += other.violations;
  return *this;
}

void Figures::Violation(Tally& tally, const std::string& what) {
  ++tally.violations;
  violations_.push_back(what);
}

namespace {

std::string Line(const std::string& path, const std::string& kind, const Tally& t) {
  char text[200];
  std::snprintf(text, sizeof text, "%-22s %-9s %7d %8d %6d %9d %8d %9d %10d", path.c_str(),
                kind.c_str(), t.trials, t.injected, t.codedErrors, t.unchanged, t.absorbed,
                t.recoveries, t.violations);
  return text;
}

}  // namespace

void Figures::Print(std::ostream& out) const {
  char header[200];
  std::snprintf(header, sizeof header, "%-22s %-9s %7s %8s %6s %9s %8s %9s %10s", "path", "kind",
                "trials", "injected", "coded", "unchanged", "absorbed", "recovered", "violations");
  out << header << "\n";
  std::map<std::string, Tally> perKind;
  Tally all;
  for (const auto& path : rows_) {
    for (const auto& kind : path.second) {
      out << Line(path.first, kind.first, kind.second) << "\n";
      perKind[kind.first] += kind.second;
      all += kind.second;
    }
  }
  for (const auto& kind : perKind) out << Line("all paths", kind.first, kind.second) << "\n";
  out << Line("all", "all", all) << "\n";
  out << "errors reported, per kind of fault:\n";
  for (const auto& kind : reports_)
    for (const auto& text : kind.second)
      out << "  " << kind.first << " x" << text.second << ": " << text.first << "\n";
  for (const std::string& violation : violations_) out << "VIOLATION: " << violation << "\n";
}

}  // namespace IoFault
