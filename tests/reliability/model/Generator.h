// Draws random steps: operations weighted towards writes, arguments from
// small domains so that steps keep meeting the same rows and values.
#pragma once

#include <random>

#include "Model.h"
#include "Step.h"

namespace ModelCampaign {

class Generator {
 public:
  explicit Generator(unsigned long long seed) : random_(seed) {}
  // A step that the model says may run now.
  Step Next(const Model& model);

 private:
  int Below(int n) { return static_cast<int>(random_() % static_cast<unsigned long long>(n)); }
  bool Chance(int percent) { return Below(100) < percent; }
  Value Plain(bool instances, const std::string& id);
  Value Whole(bool instances, const std::string& id);
  Value Criteria();
  Value Partial(const Model& model, int key, const std::string& id);
  std::string Instance(bool instances);
  Step Draw(const Model& model);

  std::mt19937_64 random_;
};

}  // namespace ModelCampaign
