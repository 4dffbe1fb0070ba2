// Str_Asprintf, MsgFmt_Asprintf and Str_Vformat.
#include "core/Strings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace CorvConfigStore {

std::string Str_Vformat(const char* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  int length = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (length <= 0) return std::string();
  std::string text(static_cast<size_t>(length) + 1, '\0');
  std::vsnprintf(&text[0], text.size(), format, args);
  text.resize(static_cast<size_t>(length));
  return text;
}

int Str_Asprintf(char** out, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string text = Str_Vformat(format, args);
  va_end(args);
  *out = static_cast<char*>(std::malloc(text.size() + 1));
  if (*out == nullptr) return -1;
  std::memcpy(*out, text.c_str(), text.size() + 1);
  return static_cast<int>(text.size());
}

namespace {

// Formats one conversion spec (from '%' to the conversion letter) with a word.
std::string FormatWord(const std::string& spec, char conversion, const std::string& length,
                       uintptr_t word) {
  char buffer[128];
  const char* text = spec.c_str();
  switch (conversion) {
    case 's': {
      const char* s = reinterpret_cast<const char*>(word);
      int n = std::snprintf(nullptr, 0, text, s ? s : "(null)");
      std::string result(static_cast<size_t>(n) + 1, '\0');
      std::snprintf(&result[0], result.size(), text, s ? s : "(null)");
      result.resize(static_cast<size_t>(n));
      return result;
    }
    case 'c':
      std::snprintf(buffer, sizeof buffer, text, static_cast<int>(word));
      return buffer;
    case 'p':
      std::snprintf(buffer, sizeof buffer, text, reinterpret_cast<void*>(word));
      return buffer;
    case 'd':
    case 'i':
      if (length.empty()) {
        std::snprintf(buffer, sizeof buffer, text, static_cast<int>(word));
      } else {
        // Long and wider lengths: print as long long whatever the modifier.
        std::string wide = spec.substr(0, spec.size() - 1 - length.size()) + "lld";
        std::snprintf(buffer, sizeof buffer, wide.c_str(), static_cast<long long>(word));
      }
      return buffer;
    default:  // u, x, X, o
      if (length.empty()) {
        std::snprintf(buffer, sizeof buffer, text, static_cast<unsigned>(word));
      } else {
        std::string wide = spec.substr(0, spec.size() - 1 - length.size()) + "ll" + conversion;
        std::snprintf(buffer, sizeof buffer, wide.c_str(), static_cast<unsigned long long>(word));
      }
      return buffer;
  }
}

}  // namespace

int MsgFmt_Asprintf(char** out, const char* format, const uintptr_t* args, size_t count) {
  std::string result;
  size_t next = 0;
  const char* p = format ? format : "";
  while (*p != '\0') {
    if (*p != '%') {
      result += *p++;
      continue;
    }
    if (p[1] == '%') {
      result += '%';
      p += 2;
      continue;
    }
    // Parse %[flags][width][.precision][length]conversion; '*' is not taken.
    const char* start = p++;
    while (*p != '\0' && std::strchr("-+ #0", *p) != nullptr) ++p;
    while (*p >= '0' && *p <= '9') ++p;
    if (*p == '.') {
      ++p;
      while (*p >= '0' && *p <= '9') ++p;
    }
    const char* lengthStart = p;
    while (*p != '\0' && std::strchr("hlLqjzt", *p) != nullptr) ++p;
    std::string length(lengthStart, p);
    char conversion = *p;
    if (conversion == '\0' || std::strchr("sdiuxXocp", conversion) == nullptr || next >= count) {
      // Unknown conversion or no argument left: keep the text as written.
      if (conversion != '\0') ++p;
      result.append(start, p);
      continue;
    }
    ++p;
    result += FormatWord(std::string(start, p), conversion, length, args[next++]);
  }
  *out = static_cast<char*>(std::malloc(result.size() + 1));
  if (*out == nullptr) return -1;
  std::memcpy(*out, result.c_str(), result.size() + 1);
  return static_cast<int>(result.size());
}

}  // namespace CorvConfigStore
