// Compiled patterns: a pattern compiled once answers every search alike,
// and an invalid one keeps its reason.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "jsonschema/JsonPattern.h"

using JsonPattern::Outcome;

namespace {

JsonPattern::CompiledPattern Compile(const char* pattern) {
  return JsonPattern::Compile(pattern, std::strlen(pattern));
}

Outcome Search(const JsonPattern::CompiledPattern& pattern, const std::string& subject,
               std::string* reason = nullptr) {
  std::string ignored;
  return JsonPattern::Search(pattern, subject.data(), subject.size(),
                             reason == nullptr ? &ignored : reason);
}

TEST(JsonPatternTest, ACompiledPatternAnswersEverySearchAlike) {
  auto pattern = Compile("^[a-z][a-z0-9-]*$");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Search(pattern, "bench-host"), Outcome::kMatch);
    EXPECT_EQ(Search(pattern, "Not A Hostname"), Outcome::kNoMatch);
    EXPECT_EQ(Search(pattern, ""), Outcome::kNoMatch);
  }
  // The text form compiles through the same cache and agrees.
  std::string reason;
  EXPECT_EQ(JsonPattern::Search("^[a-z][a-z0-9-]*$", 17, "Not", 3, &reason), Outcome::kNoMatch);
  EXPECT_EQ(Compile("^[a-z][a-z0-9-]*$"), pattern);
}

TEST(JsonPatternTest, AnInvalidPatternKeepsItsReason) {
  auto pattern = Compile("(ab");
  for (int i = 0; i < 2; ++i) {
    std::string reason;
    EXPECT_EQ(Search(pattern, "ab", &reason), Outcome::kInvalid);
    EXPECT_EQ(reason, "missing closing parenthesis at offset 3");
  }
}

}  // namespace
