// CSLogger: level filtering, syslog or standard-error output, the capture
// sink and backtraces.
#include <corvconfigstore/Logger.h>

#include <execinfo.h>
#include <syslog.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "core/Strings.h"

namespace CorvConfigStore {
namespace {

int LevelFromEnvironment() {
  const char* text = std::getenv("CORV_LOG_LEVEL");
  if (text == nullptr || *text == '\0') return 1;
  char* end = nullptr;
  long level = std::strtol(text, &end, 10);
  if (*end != '\0' || level < 0) return 1;
  return level > 4 ? 4 : static_cast<int>(level);
}

std::atomic<int>& Level() {
  static std::atomic<int> level{LevelFromEnvironment()};
  return level;
}

struct Destination {
  std::mutex mutex;
  CSLogger::Sink sink;
  bool toStderr = false;
  bool syslogOpen = false;
};

Destination& TheDestination() {
  static Destination* destination = [] {
    auto* d = new Destination;
    const char* value = std::getenv("CORV_LOG_STDERR");
    d->toStderr = value != nullptr && std::string(value) == "1";
    return d;
  }();
  return *destination;
}

int SyslogPriority(int priority) {
  switch (priority) {
    case 0: return LOG_ERR;
    case 1: return LOG_WARNING;
    case 2: return LOG_INFO;
    default: return LOG_DEBUG;
  }
}

void Emit(int priority, const std::string& text) {
  Destination& d = TheDestination();
  CSLogger::Sink sink;
  {
    std::lock_guard<std::mutex> lock(d.mutex);
    sink = d.sink;
    if (!sink) {
      if (d.toStderr) {
        std::fprintf(stderr, "corvconfigstore[%d]: %s\n", priority, text.c_str());
      } else {
        if (!d.syslogOpen) {
          openlog("corvconfigstore", LOG_PID, LOG_USER);
          d.syslogOpen = true;
        }
        syslog(SyslogPriority(priority), "%s", text.c_str());
      }
      return;
    }
  }
  sink(priority, text);
}

}  // namespace

bool CSLogger::IsEnabled(int priority) { return priority <= Level().load(std::memory_order_relaxed); }

void CSLogger::SetLevel(int level) { Level().store(level, std::memory_order_relaxed); }

int CSLogger::GetLevel() { return Level().load(std::memory_order_relaxed); }

void CSLogger::SetSink(Sink sink) {
  Destination& d = TheDestination();
  std::lock_guard<std::mutex> lock(d.mutex);
  d.sink = std::move(sink);
}

void CSLogger::Log(int priority, const char* format, ...) {
  if (!IsEnabled(priority)) return;
  va_list args;
  va_start(args, format);
  std::string text = Str_Vformat(format, args);
  va_end(args);
  Emit(priority, text);
}

void CSLogger::LogErrCode(int priority, int code, const char* format, ...) {
  if (!IsEnabled(priority)) return;
  va_list args;
  va_start(args, format);
  std::string text = Str_Vformat(format, args);
  va_end(args);
  Emit(priority, "[" + std::to_string(code) + "] " + text);
}

void CSLogger::LogBacktrace() {
  if (!IsEnabled(4)) return;
  void* frames[64];
  int count = backtrace(frames, 64);
  char** symbols = backtrace_symbols(frames, count);
  if (symbols == nullptr) return;
  // Frame 0 is this function.
  for (int i = 1; i < count; ++i) Emit(4, std::string("  at ") + symbols[i]);
  std::free(symbols);
}

}  // namespace CorvConfigStore
