// Progress of long imports and exports on standard error, shown only when
// standard error is a terminal: the work's description and a turning
// spinner while the library works, cleared when it is over.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

class Progress {
 public:
  // Shows "<what> ... |" at once and turns the spinner until destruction.
  explicit Progress(const std::string& what);
  // Stops the spinner and clears its line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void Draw(unsigned turn) const;

  std::string what_;
  std::mutex mutex_;
  std::condition_variable stop_;
  bool stopping_ = false;
  std::thread spinner_;
};
