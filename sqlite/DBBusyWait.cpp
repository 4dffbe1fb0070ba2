// Waiting for a busy database: the busy handler of every store connection.
//
// SQLite's own busy time-out pauses ever longer between tries (up to 100 ms
// each) and counts the pauses rather than the time that passed. A waiter
// among writers that take the lock in turn then seldom looks while the lock
// is free, and fails with "database is locked" although the lock was free
// many times within its limit. This handler tries again after short pauses
// of random length, so that every waiter has its chance each time the lock
// is released, and gives up only when the limit has passed on the clock.
#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include "sqlite/DBConnectionImpl.h"

namespace DBStore {

namespace {

using Clock = std::chrono::steady_clock;

// The pauses between tries, in microseconds: short against a lock held for
// one write, random so that waiters do not try in step.
constexpr int kShortestPauseUs = 200;
constexpr int kLongestPauseUs = 2000;

std::chrono::microseconds RandomPause() {
  thread_local std::minstd_rand random(std::random_device{}());
  std::uniform_int_distribution<int> pause(kShortestPauseUs, kLongestPauseUs);
  return std::chrono::microseconds(pause(random));
}

// SQLite calls this each time it finds the database locked; attempt is 0 at
// the first try of a new wait. Returning 0 ends the wait with SQLITE_BUSY.
int WaitWhileBusy(void* data, int attempt) {
  ConnectionAccess::Impl& impl = *static_cast<ConnectionAccess::Impl*>(data);
  Clock::time_point now = Clock::now();
  if (attempt == 0) impl.busySince = now;
  Clock::time_point deadline = impl.busySince + std::chrono::milliseconds(impl.busyTimeLimit);
  if (now >= deadline) return 0;
  std::this_thread::sleep_for(std::min<Clock::duration>(RandomPause(), deadline - now));
  return 1;
}

}  // namespace

void SetBusyTimeLimit(ConnectionAccess::Impl& impl, int timeLimit) {
  impl.busyTimeLimit = timeLimit;
  sqlite3_busy_handler(impl.db, timeLimit > 0 ? WaitWhileBusy : nullptr, &impl);
}

}  // namespace DBStore
