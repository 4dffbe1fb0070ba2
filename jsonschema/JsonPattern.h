// Regular expressions of schemas ("pattern", "patternProperties"): PCRE2,
// each pattern compiled once per process, every match bounded so that no
// pattern or subject can hang or exhaust the process.
#pragma once

#include <cstddef>
#include <string>

namespace JsonPattern {

enum class Outcome {
  kMatch,
  kNoMatch,
  kInvalid,  // the pattern does not compile
  kFailed,   // the search hit a limit
};

// Searches subject (not anchored, like ECMAScript's RegExp.test) for
// pattern. For kInvalid and kFailed, *reason says why ("missing closing
// parenthesis at offset 1", "match limit exceeded").
Outcome Search(const char* pattern, size_t patternLength, const char* subject, size_t subjectLength,
               std::string* reason);

}  // namespace JsonPattern
