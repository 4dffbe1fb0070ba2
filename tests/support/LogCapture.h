// Captures the library's log lines for the life of a test.
#pragma once

#include <corvconfigstore/Logger.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace CorvTest {

class LogCapture {
 public:
  explicit LogCapture(int level = 4) : previousLevel_(CorvConfigStore::CSLogger::GetLevel()) {
    CorvConfigStore::CSLogger::SetLevel(level);
    CorvConfigStore::CSLogger::SetSink([this](int priority, const std::string& text) {
      std::lock_guard<std::mutex> lock(mutex_);
      lines_.emplace_back(priority, text);
    });
  }
  ~LogCapture() {
    CorvConfigStore::CSLogger::SetSink(nullptr);
    CorvConfigStore::CSLogger::SetLevel(previousLevel_);
  }

  std::vector<std::pair<int, std::string>> Lines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
  }
  // True when a line with exactly this priority and text was logged.
  bool Has(int priority, const std::string& text) const {
    for (const auto& line : Lines())
      if (line.first == priority && line.second == text) return true;
    return false;
  }
  // True when any line contains the fragment.
  bool Contains(const std::string& fragment) const {
    for (const auto& line : Lines())
      if (line.second.find(fragment) != std::string::npos) return true;
    return false;
  }
  void Clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    lines_.clear();
  }

 private:
  int previousLevel_;
  mutable std::mutex mutex_;
  std::vector<std::pair<int, std::string>> lines_;
};

}  // namespace CorvTest
