// One run of the campaign: steps carried out on a fresh store and on the
// reference model side by side, every outcome and every read compared.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "Model.h"
#include "Step.h"

namespace ModelCampaign {

struct Figures {
  long long steps = 0;       // steps carried out
  long long refusals = 0;    // operations refused, alike, by both sides
  std::map<std::string, long long> refusalsByReason;  // "[code] message"
  long long checks = 0;      // outcomes and reads compared
  long long disagreements = 0;
  // How often the states worth reaching were there after a step: a row
  // whose user value is unconfirmed, a row with a pending desired value, a
  // next-boot value, a next-boot deletion, an open transaction.
  long long unconfirmedRows = 0;
  long long desiredRows = 0;
  long long nextBootValues = 0;
  long long nextBootDeletions = 0;
  long long inTransaction = 0;
  long long perOp[static_cast<int>(Op::kCount)] = {};
};

// Supplies the step of an index; false ends the run.
using StepSource = std::function<bool(long long index, const Model& model, Step& step)>;

// Runs the steps until the source ends or the two sides disagree. Returns
// -1, or the index of the step after which they disagreed, with the
// disagreement described in *report.
long long RunSequence(const StepSource& source, Figures& figures, std::string* report);

}  // namespace ModelCampaign
