// Regular expressions of schemas ("pattern", "patternProperties"): PCRE2,
// each pattern compiled once per process, every match bounded so that no
// pattern or subject can hang or exhaust the process.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace JsonPattern {

enum class Outcome {
  kMatch,
  kNoMatch,
  kInvalid,  // the pattern does not compile
  kFailed,   // the search hit a limit
};

// A compiled pattern, or the reason it does not compile. Immutable: one
// serves any number of searches on any number of threads.
struct Compiled;
using CompiledPattern = std::shared_ptr<const Compiled>;

// The pattern, compiled (or found compiled) in the process-wide cache. A
// caller that searches with one pattern often keeps the result, so that no
// search pays for the cache lookup.
CompiledPattern Compile(const char* pattern, size_t patternLength);

// Searches subject (not anchored, like ECMAScript's RegExp.test) for
// pattern. For kInvalid and kFailed, *reason says why ("missing closing
// parenthesis at offset 1", "match limit exceeded").
Outcome Search(const CompiledPattern& pattern, const char* subject, size_t subjectLength,
               std::string* reason);
Outcome Search(const char* pattern, size_t patternLength, const char* subject, size_t subjectLength,
               std::string* reason);

}  // namespace JsonPattern
