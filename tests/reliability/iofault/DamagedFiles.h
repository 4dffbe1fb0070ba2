// Stores whose files are damaged before the library opens them: a store it
// may only read, an empty file, a file that is not a database, a store with
// a page overwritten in the middle, and a schema store that is not a
// database. Every read and write must then give a coded error or the right
// answer: never a crash, a silent empty result, or "schema not found" for a
// schema store that cannot be read.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "CampaignStore.h"

namespace IoFault {

class DamagedFiles {
 public:
  explicit DamagedFiles(CampaignStore& stores) : stores_(stores) {}

  void Run();
  void Print(std::ostream& out) const;
  int Violations() const { return static_cast<int>(violations_.size()); }

 private:
  struct Damage {
    std::string name;
    // Makes the trial's store (or schema store) larger first, when the
    // damage needs more than a few pages; may be empty.
    std::function<void(CampaignStore&)> prepare;
    std::function<void(CampaignStore&)> apply;
    std::function<void(CampaignStore&)> undo;  // may be empty
    bool schemaStore = false;                  // the schema store is damaged, not the store
    bool readsMayWork = false;                 // a read may still give the right answer
    // A write may still succeed: on a store damaged where the write does
    // not reach, or one that needs no schema when the schema store is
    // damaged (boot confirmation).
    bool writesMayWork = false;
    bool malformed = false;  // SQLite's integrity check must find the damage
    // What every failure must name: SQLite's reason for this damage.
    std::string cause;
  };
  struct Counts {
    int probes = 0;
    int codedErrors = 0;
    int correctReads = 0;
    int acceptedWrites = 0;
    int violations = 0;
  };

  void RunDamage(const Damage& damage);

  CampaignStore& stores_;
  std::vector<std::pair<std::string, Counts>> counts_;
  std::vector<std::string> violations_;
};

}  // namespace IoFault
