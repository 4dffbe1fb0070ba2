// The library's logger: syslog or standard error, numeric priorities
// (0 error, 1 warning, 2 information, 3 and 4 traces), and a sink that
// programs and tests can install to receive every line let through.
#pragma once

#include <corvconfigstore/Export.h>

#include <functional>
#include <string>

namespace CorvConfigStore {

class CORV_EXPORT CSLogger {
 public:
  using Sink = std::function<void(int priority, const std::string& text)>;

  // Logs the formatted text when the priority is within the level in force;
  // above it nothing is formatted.
  static void Log(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Logs "[code] " followed by the formatted text.
  static void LogErrCode(int priority, int code, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  // Logs the calling stack, one frame a line, at priority 4 when that
  // priority is enabled.
  static void LogBacktrace();

  static bool IsEnabled(int priority);
  // Highest priority that is logged; starts at CORV_LOG_LEVEL (default 1).
  static void SetLevel(int level);
  static int GetLevel();
  // Receives every line instead of syslog or standard error; an empty
  // function restores the default destination.
  static void SetSink(Sink sink);
};

}  // namespace CorvConfigStore
