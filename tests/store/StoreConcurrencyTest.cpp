// Several processes updating different members of one object at the same
// time: each read-merge-write runs in a transaction that takes the write
// lock at its start, so no update is lost and none fails while the others
// hold the lock.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "StoreFixture.h"

extern char** environ;

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

constexpr int kWorkers = 4;
constexpr int kUpdatesPerWorker = 20;
const char kWorkerVariable[] = "CORV_TEST_STORE_WORKER";
const ConfigStoreObjectId kRace = Id("race", "sys");

const char* kRaceSchema = R"({"corv": {"sys": {"race": {
  "type": "object",
  "properties": {
    "c0": {"type": "integer"}, "c1": {"type": "integer"},
    "c2": {"type": "integer"}, "c3": {"type": "integer"},
    "entries": {"type": "array", "items": {"type": "object", "properties": {
      "name": {"type": "string", "instanceId": true}, "by": {"type": "integer"}}}}
  }
}}}})";

// The update of one worker's step: its own counter, and one instance of its
// own in the shared list.
std::string WorkerUpdate(int worker, int step) {
  std::string w = std::to_string(worker);
  return R"({"c)" + w + R"(":)" + std::to_string(step) + R"(,"entries":[{"name":"w)" + w + "-" +
         std::to_string(step) + R"(","by":)" + w + "}]}";
}

// Run by the test below in separate processes only: the process image is
// fresh, so no database connection is shared across a fork.
TEST(StoreConcurrencyWorker, DISABLED_UpdatesItsOwnMembers) {
  const char* index = getenv(kWorkerVariable);
  ASSERT_NE(nullptr, index) << "started only by StoreConcurrencyTest";
  int worker = std::atoi(index);
  std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");
  for (int step = 0; step < kUpdatesPerWorker; ++step)
    ASSERT_NO_THROW(store->Update(MakeObject(kRace, WorkerUpdate(worker, step)), EXTERNAL))
        << "worker " << worker << " step " << step;
}

class StoreConcurrencyTest : public StoreFixture {
 protected:
  // Starts this test program again as one worker.
  pid_t StartWorker(int worker) {
    std::vector<std::string> env;
    for (char** entry = environ; *entry != nullptr; ++entry) env.emplace_back(*entry);
    env.push_back(std::string(kWorkerVariable) + "=" + std::to_string(worker));
    std::vector<std::string> args{"/proc/self/exe", "--gtest_also_run_disabled_tests",
                                  "--gtest_filter=StoreConcurrencyWorker.*"};
    std::vector<char*> argv, envp;
    for (auto& arg : args) argv.push_back(&arg[0]);
    argv.push_back(nullptr);
    for (auto& entry : env) envp.push_back(&entry[0]);
    envp.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
      execve("/proc/self/exe", argv.data(), envp.data());
      _exit(127);
    }
    return pid;
  }

  // The worker's exit status; a worker still running after a minute is
  // killed and counts as failed.
  int WaitForWorker(pid_t pid) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > deadline) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        return -1;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
};

TEST_F(StoreConcurrencyTest, ConcurrentUpdatesOfDifferentMembersAllSurvive) {
  ASSERT_EQ(1, env_.LoadSchemas(kRaceSchema, "race.json"));
  store_->Set(MakeObject(kRace, R"({"entries":[{"name":"seed","by":-1}]})"), EXTERNAL);

  std::vector<pid_t> workers;
  for (int worker = 0; worker < kWorkers; ++worker) {
    pid_t pid = StartWorker(worker);
    ASSERT_GT(pid, 0);
    workers.push_back(pid);
  }
  for (int worker = 0; worker < kWorkers; ++worker)
    EXPECT_EQ(0, WaitForWorker(workers[worker])) << "worker " << worker;

  ObjectPtr result = store_->Get(kRace);
  ASSERT_TRUE(result);
  for (int worker = 0; worker < kWorkers; ++worker) {
    int counter = -1;
    std::string member = "c" + std::to_string(worker);
    EXPECT_EQ(1, result->GetValue(member.c_str(), &counter));
    EXPECT_EQ(kUpdatesPerWorker - 1, counter) << member;
  }
  auto all = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("entries", "sys", "corv"));
  ObjectList entries = result->GetSubObjectInstances(all);
  EXPECT_EQ(static_cast<size_t>(kWorkers * kUpdatesPerWorker + 1), entries.size());
  for (int worker = 0; worker < kWorkers; ++worker)
    for (int step = 0; step < kUpdatesPerWorker; ++step) {
      std::string name = "w" + std::to_string(worker) + "-" + std::to_string(step);
      EXPECT_TRUE(result->GetSubObject(CorvConfigStore::SubObjectId("entries", name)))
          << name << " was lost";
    }
}

}  // namespace
