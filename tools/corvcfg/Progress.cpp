// The spinner of long imports and exports.
#include "Progress.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "Output.h"

namespace {

constexpr auto kTurn = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(const std::string& what) : what_(what) {
  if (!IsTerminal(STDERR_FILENO)) return;
  // The first frame is drawn before the work starts, however short it is.
  Draw(0);
  spinner_ = std::thread([this] {
    std::unique_lock<std::mutex> lock(mutex_);
    for (unsigned turn = 1; !stop_.wait_for(lock, kTurn, [this] { return stopping_; }); ++turn)
      Draw(turn);
  });
}

Progress::~Progress() {
  if (!spinner_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  stop_.notify_one();
  spinner_.join();
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

void Progress::Draw(unsigned turn) const {
  static const char kFrames[] = "|/-\\";
  std::fprintf(stderr, "\r%s ... %c", what_.c_str(), kFrames[turn % 4]);
  std::fflush(stderr);
}
