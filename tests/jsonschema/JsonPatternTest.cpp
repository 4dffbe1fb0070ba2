// Compiled patterns: a pattern compiled once answers every search alike,
// an invalid one keeps its reason, and a search that needed much
// backtracking memory or hit a limit leaves later searches of its thread
// unharmed.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

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

TEST(JsonPatternTest, DeepAndFailedSearchesLeaveLaterSearchesUnharmed) {
  auto simple = Compile("^v[0-9]$");
  // Backtracking 1000 levels deep needs some 300 KiB of working memory, far
  // more than a thread keeps between searches, and stays within the limits.
  auto deep = Compile("^(a|b)*[0-9]");
  auto catastrophic = Compile("(a+)+$");
  std::string deepSubject = std::string(1000, 'a') + "1";
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Search(simple, "v1"), Outcome::kMatch);
    EXPECT_EQ(Search(deep, deepSubject), Outcome::kMatch);
    EXPECT_EQ(Search(simple, "w1"), Outcome::kNoMatch);
    std::string reason;
    EXPECT_EQ(Search(catastrophic, std::string(5000, 'a') + "b", &reason), Outcome::kFailed);
    EXPECT_EQ(reason, "match limit exceeded");
    EXPECT_EQ(Search(simple, "v2"), Outcome::kMatch);
    EXPECT_EQ(Search(catastrophic, "aaa"), Outcome::kMatch);
  }
}

// Machine-code searches stop on limits of their own; whichever limit stops
// a search, the reason is the one the interpreter gives.
TEST(JsonPatternTest, ASearchStoppedByALimitGivesTheInterpretersReason) {
  auto deep = Compile("^(a|b)*[0-9]");
  std::string reason;
  EXPECT_EQ(Search(deep, std::string(20000, 'a') + "1", &reason), Outcome::kFailed);
  EXPECT_EQ(reason, "depth limit exceeded");
  EXPECT_EQ(Search(deep, std::string(2000, 'b') + "1"), Outcome::kMatch);
}

TEST(JsonPatternTest, EachThreadSearchesOnItsOwn) {
  auto pattern = Compile("^(a|b)*[0-9]");
  std::vector<int> failures(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) {
        std::string subject = std::string(100 * (i % 5) + t, 'b') + (i % 2 ? "7" : "x");
        Outcome expected = i % 2 ? Outcome::kMatch : Outcome::kNoMatch;
        if (Search(pattern, subject) != expected) ++failures[t];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
