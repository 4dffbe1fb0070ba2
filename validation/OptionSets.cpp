// The validator option sets of the checks.
#include "validation/OptionSets.h"

namespace CorvConfigStore {

const std::unordered_set<int> kUserConfigOptions{0, 1, 3, 7, 8};
const std::unordered_set<int> kSetOptions{0, 1, 7, 8};
const std::unordered_set<int> kUpdateOptions{0, 1};
const std::unordered_set<int> kPartialConfigOptions{0, 1, 7, 3};
const std::unordered_set<int> kVitalOptions{0, 1, 5};
const std::unordered_set<int> kCachedOptions{0, 1, 9};
const std::unordered_set<int> kApplyFileOptions{0, 1, 4, 8};

}  // namespace CorvConfigStore
