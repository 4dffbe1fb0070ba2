// The allowlist file: parsing, its failures, and the process-wide copy read
// once and retried after a failure.
#include "notify/Allowlist.h"

#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "core/Throw.h"
#include "support/TempDir.h"

using namespace CorvConfigStore;

namespace {

class AllowlistTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.File("allowlist.json");
    setenv("CORV_NOTIFY_ALLOWLIST", path_.c_str(), 1);
    ResetNotifyAllowlistForTesting();
  }
  void TearDown() override {
    ResetNotifyAllowlistForTesting();
    unsetenv("CORV_NOTIFY_ALLOWLIST");
  }
  void WriteAllowlist(const std::string& text) { dir_.Write("allowlist.json", text); }

  CorvTest::TempDir dir_;
  std::string path_;
};

// The code and message of the ConfigStoreException that action throws.
template <typename Action>
std::pair<int, std::string> FailureOf(Action action) {
  try {
    action();
  } catch (const ConfigStoreException& e) {
    return {e.GetErrorCode(), e.what()};
  }
  return {0, "(no error)"};
}

TEST_F(AllowlistTest, PathComesFromTheEnvironment) { EXPECT_EQ(NotifyAllowlistPath(), path_); }

TEST_F(AllowlistTest, PathDefaultsWhenTheVariableIsUnsetOrEmpty) {
  unsetenv("CORV_NOTIFY_ALLOWLIST");
  EXPECT_EQ(NotifyAllowlistPath(), "/usr/lib/velmo/configmanager/notify-list/allowlist.json");
  setenv("CORV_NOTIFY_ALLOWLIST", "", 1);
  EXPECT_EQ(NotifyAllowlistPath(), "/usr/lib/velmo/configmanager/notify-list/allowlist.json");
}

TEST_F(AllowlistTest, ReadsNamesAndWildcardsAndCollapsesDuplicates) {
  WriteAllowlist(
      "[\"corv.kestrel.options\", \"corv.network.*\", \"corv.kestrel.options\", \"a*b.c.d\"]");
  EXPECT_EQ(ReadNotifyAllowlist(),
            (NotifyAllowlist{"corv.kestrel.options", "corv.network.*", "a*b.c.d"}));
}

TEST_F(AllowlistTest, EmptyArrayIsAnEmptyList) {
  WriteAllowlist(" [ ]\n");
  EXPECT_TRUE(ReadNotifyAllowlist().empty());
}

TEST_F(AllowlistTest, MissingFileFailsWithItsPath) {
  EXPECT_EQ(FailureOf([] { ReadNotifyAllowlist(); }),
            std::make_pair(2000, "Notification allowlist " + path_ + " missing."));
}

TEST_F(AllowlistTest, TextThatIsNotJsonFailsAsAnUnreadableFile) {
  WriteAllowlist("[\"corv.kestrel.options\",");
  EXPECT_EQ(FailureOf([] { ReadNotifyAllowlist(); }),
            std::make_pair(1081, Format(ErrorMessageForId(1081), path_.c_str())));
}

TEST_F(AllowlistTest, ObjectRootFailsAsAJsonStructureError) {
  WriteAllowlist("{\"corv.kestrel.options\": true}");
  auto failure = FailureOf([] { ReadNotifyAllowlist(); });
  EXPECT_EQ(failure.first, 1082);
  EXPECT_EQ(failure.second.rfind("JSON error:", 0), 0u) << failure.second;
}

TEST_F(AllowlistTest, NonStringElementFailsAsAJsonStructureError) {
  WriteAllowlist("[\"corv.kestrel.options\", 7]");
  auto failure = FailureOf([] { ReadNotifyAllowlist(); });
  EXPECT_EQ(failure.first, 1082);
  EXPECT_EQ(failure.second.rfind("JSON error:", 0), 0u) << failure.second;
}

TEST_F(AllowlistTest, ProcessWideListIsReadOnceAndThenFixed) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  const NotifyAllowlist& first = GetNotifyAllowlist();
  EXPECT_EQ(first, NotifyAllowlist{"corv.kestrel.options"});
  // Neither a changed nor a removed file is seen once the list is loaded.
  WriteAllowlist("[\"corv.network.*\"]");
  EXPECT_EQ(&GetNotifyAllowlist(), &first);
  EXPECT_EQ(GetNotifyAllowlist(), NotifyAllowlist{"corv.kestrel.options"});
  std::remove(path_.c_str());
  EXPECT_EQ(GetNotifyAllowlist(), NotifyAllowlist{"corv.kestrel.options"});
}

TEST_F(AllowlistTest, MissingFileIsRetriedOnTheNextUse) {
  EXPECT_EQ(FailureOf([] { GetNotifyAllowlist(); }).first, 2000);
  EXPECT_EQ(FailureOf([] { GetNotifyAllowlist(); }).first, 2000);
  WriteAllowlist("[\"corv.kestrel.options\"]");
  EXPECT_EQ(GetNotifyAllowlist(), NotifyAllowlist{"corv.kestrel.options"});
}

TEST_F(AllowlistTest, MalformedFileIsRetriedOnTheNextUse) {
  WriteAllowlist("[1]");
  EXPECT_EQ(FailureOf([] { GetNotifyAllowlist(); }).first, 1082);
  WriteAllowlist("{}");
  EXPECT_EQ(FailureOf([] { GetNotifyAllowlist(); }).first, 1082);
  WriteAllowlist("[\"corv.network.*\"]");
  EXPECT_EQ(GetNotifyAllowlist(), NotifyAllowlist{"corv.network.*"});
}

TEST_F(AllowlistTest, ResetMakesTheNextUseReadTheFileAgain) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  EXPECT_EQ(GetNotifyAllowlist(), NotifyAllowlist{"corv.kestrel.options"});
  WriteAllowlist("[\"corv.network.*\"]");
  ResetNotifyAllowlistForTesting();
  EXPECT_EQ(GetNotifyAllowlist(), NotifyAllowlist{"corv.network.*"});
}

TEST_F(AllowlistTest, ConcurrentFirstUsesShareOneList) {
  WriteAllowlist("[\"corv.kestrel.options\", \"corv.network.*\"]");
  constexpr int kThreads = 8;
  std::vector<const NotifyAllowlist*> seen(kThreads, nullptr);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&seen, i] { seen[i] = &GetNotifyAllowlist(); });
  for (std::thread& thread : threads) thread.join();
  for (const NotifyAllowlist* list : seen) EXPECT_EQ(list, seen[0]);
  EXPECT_EQ(*seen[0], (NotifyAllowlist{"corv.kestrel.options", "corv.network.*"}));
}

}  // namespace
