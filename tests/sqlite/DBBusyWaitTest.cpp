// Waiting for the write lock: how long a busy database is waited for, and
// that a writer among many that keep taking the lock still gets its turn
// within its time limit.
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "DBTestUtil.h"

namespace {

using Clock = std::chrono::steady_clock;
using DBStore::SqlParam;
using DBStore::SqlStatement;

const SqlStatement kInsert("INSERT INTO KeyValue (Key, Value) VALUES (?, 'v')");

class DBBusyWait : public CorvTest::StoreTest {
 protected:
  std::shared_ptr<DBStore::StoreConnection> Connect() {
    auto connection = DBStore::GetConnection(DBStore::CONFIG_STORE);
    EXPECT_NE(nullptr, connection);
    return connection;
  }
};

long ElapsedMs(Clock::time_point start) {
  return static_cast<long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

TEST_F(DBBusyWait, AWriteBlockedThroughoutGivesUpAfterItsTimeLimit) {
  auto holder = Connect();
  auto writer = Connect();
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(holder));
  auto start = Clock::now();
  EXPECT_EQ(DBStore::kFailure,
            DBStore::ExecuteStmt(writer, kInsert, {SqlParam::Text("k")}, nullptr, 300));
  long waited = ElapsedMs(start);
  EXPECT_EQ("database is locked", writer->LastError());
  EXPECT_GE(waited, 300);
  EXPECT_LT(waited, 1500);
  EXPECT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(holder));
}

// Six writers each run short write transactions for a while, preparing the
// next one for a millisecond in between, so the lock is nearly always held.
// Every one of them must get its turn within its time limit: a waiter that
// looks at the lock too seldom keeps finding it taken and fails although the
// lock was free many times.
TEST_F(DBBusyWait, WritersTakingTurnsAllGetTheLockWithinTheTimeLimit) {
  constexpr int kWriters = 6;
  constexpr int kTimeLimitMs = 1000;
  std::atomic<int> failures{0};
  std::atomic<int> commits{0};
  std::atomic<long> slowest{0};
  auto stop = Clock::now() + std::chrono::seconds(3);
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      auto connection = DBStore::GetConnection(DBStore::CONFIG_STORE);
      if (!connection) {
        ++failures;
        return;
      }
      for (int n = 0; Clock::now() < stop; ++n) {
        auto start = Clock::now();
        // The time limit of the last statement is that of the next begin.
        DBStore::PrepareStmt(connection, kInsert, kTimeLimitMs);
        if (DBStore::BeginTransaction(connection) != DBStore::kSuccess) {
          ++failures;
          continue;
        }
        std::string key = std::to_string(w) + "-" + std::to_string(n);
        bool ok = DBStore::ExecuteStmt(connection, kInsert, {SqlParam::Text(key)}, nullptr,
                                       kTimeLimitMs) == DBStore::kSuccess;
        // Holds the lock a little, as a write of several rows does.
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (ok && DBStore::CommitTransaction(connection) == DBStore::kSuccess) {
          ++commits;
        } else {
          ++failures;
          DBStore::CancelTransaction(connection);
        }
        long waited = ElapsedMs(start);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        long seen = slowest.load();
        while (waited > seen && !slowest.compare_exchange_weak(seen, waited)) {
        }
      }
    });
  }
  for (auto& writer : writers) writer.join();
  EXPECT_EQ(0, failures.load()) << commits.load() << " commits, slowest turn " << slowest.load()
                                << " ms";
  EXPECT_GT(commits.load(), kWriters);
}

}  // namespace
