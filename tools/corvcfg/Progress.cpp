// The counted progress bar of long imports and exports.
#include "Progress.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "Output.h"

namespace {

constexpr auto kRedraw = std::chrono::milliseconds(100);
constexpr size_t kBarWidth = 30;

// How long work goes on before its bar is shown: a second, or the
// milliseconds CORVCFG_PROGRESS_AFTER_MS gives.
std::chrono::milliseconds DelayBeforeShowing() {
  const char* text = getenv("CORVCFG_PROGRESS_AFTER_MS");
  if (text == nullptr || *text == '\0') return std::chrono::seconds(1);
  char* end = nullptr;
  const long value = strtol(text, &end, 10);
  if (*end != '\0' || value < 0) return std::chrono::seconds(1);
  return std::chrono::milliseconds(value);
}

}  // namespace

Progress::Progress(const std::string& what, size_t total, const std::string& units,
                   const std::string& extraUnits, bool shown)
    : what_(what), units_(units), extraUnits_(extraUnits), total_(total) {
  if (!shown || !IsTerminal(STDERR_FILENO)) return;
  active_ = true;
  start_ = std::chrono::steady_clock::now();
  delay_ = DelayBeforeShowing();
  painter_ = std::thread([this] {
    std::unique_lock<std::mutex> lock(mutex_);
    if (stop_.wait_for(lock, delay_, [this] { return stopping_; })) return;
    do Draw();
    while (!stop_.wait_for(lock, kRedraw, [this] { return stopping_; }));
  });
}

Progress::~Progress() {
  if (!active_) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  stop_.notify_one();
  painter_.join();
  // Work that lasted long enough ends with its final count, however the
  // painter's turns fell.
  if (std::chrono::steady_clock::now() - start_ >= delay_) Draw();
  if (!drawn_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

void Progress::Draw() {
  const size_t total = total_.load(std::memory_order_relaxed);
  const size_t done = std::min(done_.load(std::memory_order_relaxed), total);
  const size_t filled = total == 0 ? kBarWidth : done * kBarWidth / total;
  const unsigned percent = total == 0 ? 100u : static_cast<unsigned>(done * 100 / total);
  std::string line = "\r" + what_ + " [" + std::string(filled, '#') +
                     std::string(kBarWidth - filled, ' ') + "] " + std::to_string(percent) +
                     "% " + std::to_string(done) + "/" + std::to_string(total) + " " + units_;
  if (!extraUnits_.empty())
    line += ", " + std::to_string(extra_.load(std::memory_order_relaxed)) + " " + extraUnits_;
  // The line is cleared to its end, so a shorter line leaves nothing behind.
  line += "\033[K";
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
  drawn_ = true;
}
