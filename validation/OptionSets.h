// The validator option sets each check passes: which schema rules apply
// (0 types and structure, 1 value constraints, 3 user configuration only,
// 4 no read-only members, 5 vital only, 7 required members, 8 closed
// objects, 9 cached only). Built once when the library is loaded and only
// read afterwards.
#pragma once

#include <unordered_set>

namespace CorvConfigStore {

// validateObject, ValidateUserConfig, ValidateDocument.
extern const std::unordered_set<int> kUserConfigOptions;
// ValidateSet, ValidateImportDocument, ValidateCSO of user configuration.
extern const std::unordered_set<int> kSetOptions;
// ValidateUpdate: a partial object, so required members may be missing and
// members of other layers may appear.
extern const std::unordered_set<int> kUpdateOptions;
// ValidatePartialConfig.
extern const std::unordered_set<int> kPartialConfigOptions;
// ValidateVitalConfig, ValidateCSO of vital configuration.
extern const std::unordered_set<int> kVitalOptions;
// ValidateCachedConfig, ValidateCSO of cached configuration.
extern const std::unordered_set<int> kCachedOptions;
// ValidateApplyFile.
extern const std::unordered_set<int> kApplyFileOptions;

}  // namespace CorvConfigStore
