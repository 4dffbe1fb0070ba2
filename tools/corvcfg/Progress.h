// Progress of long imports and exports on standard error, shown only when
// standard error is a terminal and the work lasts longer than a second: a
// bar with the count done out of the total, redrawn as the count moves, and
// cleared when the work is over.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

class Progress {
 public:
  // what names the work ("Importing"); total is the count when it is done,
  // in units ("instances"). With an extra unit, a second count follows the
  // first (", 5000 instances"). Nothing is drawn unless standard error is a
  // terminal and shown is true.
  Progress(const std::string& what, size_t total, const std::string& units,
           const std::string& extraUnits = "", bool shown = true);
  // Draws the final count when the work lasted long enough to be shown,
  // then clears the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // How much is done; may be called from any thread, as often as wanted.
  void Set(size_t done) { done_.store(done, std::memory_order_relaxed); }
  void SetTotal(size_t total) { total_.store(total, std::memory_order_relaxed); }
  void SetExtra(size_t count) { extra_.store(count, std::memory_order_relaxed); }

 private:
  void Draw();

  const std::string what_;
  const std::string units_;
  const std::string extraUnits_;
  std::atomic<size_t> total_;
  std::atomic<size_t> done_{0};
  std::atomic<size_t> extra_{0};
  bool active_ = false;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point start_;
  std::chrono::milliseconds delay_{0};
  std::mutex mutex_;
  std::condition_variable stop_;
  bool stopping_ = false;
  std::thread painter_;
};
