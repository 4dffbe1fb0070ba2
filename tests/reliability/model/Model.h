// The reference model: the store's value layers, next-boot rows, boot-mode
// marker and phase switches kept in plain maps, with the rules of the
// store's operations written out here, independently of the library. It
// answers what each operation must do (or refuse) and what every read must
// return.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Step.h"
#include "Value.h"

namespace ModelCampaign {

// One row of the live store.
struct Row {
  Layer user, desired, autoconf, vital, cached;
  int success = 1;
  int revision = 0;
};

// One next-boot row: "SET" with its layers, or a deletion.
struct NextRow {
  std::string action;
  Layer user, vital, cached;
};

using RowKey = std::pair<int, std::string>;  // key index, instance id

struct State {
  std::map<RowKey, Row> config;
  std::map<RowKey, NextRow> next;
  std::string bootMode;  // key-value "BOOT_MODE"
};

// What an operation did: done, or refused with a code (and, when the model
// knows it, the exact message).
struct Outcome {
  bool refused = false;
  int code = 0;
  std::string message;
};

class Model {
 public:
  // Whether the step may run in the present transaction depth and phase;
  // a step that may not is skipped by both sides.
  bool Applicable(const Step& step) const;
  Outcome Apply(const Step& step);

  int Depth() const { return static_cast<int>(saved_.size()); }
  bool BootFlag() const { return bootFlag_; }
  int Upgrade() const { return upgrade_; }
  bool Remediating() const { return state_.bootMode == "1"; }
  const State& Rows() const { return state_; }

  // Reads through the store handle (the open transaction's view).
  Layer Get(int key, const std::string& id) const;
  int Revision(int key, const std::string& id) const;
  std::vector<Value> Instances(int key, const Value& criteria) const;
  std::vector<std::string> InstanceIds(int key) const;
  std::vector<std::pair<std::string, int>> InstanceRevisions(int key) const;
  Layer NextBootGet(int key, const std::string& id) const;
  std::vector<Value> NextBootInstances(int key) const;

  // Reads on connections of their own: they see what is committed.
  Layer Desired(int key, const std::string& id, bool withLayers) const;
  std::vector<Value> DesiredInstances(int key, bool withLayers) const;
  Value ExportDocument(int mask) const;
  Layer KernelOptions() const;
  const std::string& CommittedBootMode() const { return Committed().bootMode; }

 private:
  const State& Committed() const { return saved_.empty() ? state_ : saved_.front(); }
  bool DuringBoot() const { return bootFlag_ && upgrade_ == 0; }
  Layer Current(const Row& row) const;
  Layer CallerView(const Row& row, bool internal) const;
  std::vector<std::string> Matching(int key, const Value& filter) const;
  void WriteWhole(int key, const std::string& id, const Value& value, bool internal,
                  bool successFlag);

  Outcome Update(const Step& step);
  Outcome SetLayerInstances(const Step& step);
  Outcome PartialBootStatus(const Step& step);
  Outcome UpdateKernelOptions(const Step& step);
  Outcome NextBoot(const Step& step);
  void ImportOfExport(int mask);

  State state_;
  std::vector<State> saved_;  // one per open transaction level
  bool bootFlag_ = false;
  int upgrade_ = 0;
};

}  // namespace ModelCampaign
