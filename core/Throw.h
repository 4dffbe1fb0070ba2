// Formatting of coded messages and the routines that raise them.
#pragma once

#include <corvconfigstore/Exceptions.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "core/ErrorMessages.h"
#include "core/Strings.h"

namespace CorvConfigStore {

// printf-style formatting into a string. Without arguments the format's
// conversions are kept as written rather than read from nowhere.
template <typename... Args>
std::string Format(const char* format, Args... args) {
  if constexpr (sizeof...(Args) == 0) {
    char* text = nullptr;
    int length = MsgFmt_Asprintf(&text, format, nullptr, 0);
    std::string result = length > 0 ? std::string(text, static_cast<size_t>(length)) : "";
    std::free(text);
    return result;
  } else {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    int length = std::snprintf(nullptr, 0, format, args...);
    if (length <= 0) return std::string();
    std::string result(static_cast<size_t>(length) + 1, '\0');
    std::snprintf(&result[0], result.size(), format, args...);
#pragma GCC diagnostic pop
    result.resize(static_cast<size_t>(length));
    return result;
  }
}

// Raises T with the code's message template.
template <typename T>
[[noreturn]] void ThrowException(CSErrorCodes code) {
  std::string message = Format(ErrorMessageForId(code));
  throw T(code, message.c_str());
}

// Raises T with the code's message template, its conversion taking detail.
template <typename T, typename D>
[[noreturn]] void ThrowException(CSErrorCodes code, D detail) {
  std::string message = Format(ErrorMessageForId(code), detail);
  throw T(code, message.c_str());
}

// "Begin Transaction failed for: <operation>", the message of the
// ConfigStoreException 2000 raised, with the database's reason as its
// detail, when a transaction cannot begin.
std::string BeginTransactionFailedMessage(const char* operation);

// InvalidTypeException 2000 "Invalid type specified for: <name>".
[[noreturn]] void ThrowInvalidType(const char* name);

// ConfigStoreException 2000 with a fixed message.
[[noreturn]] void ThrowGeneral(const std::string& message);

// ConfigStoreException 2000 with prefix followed by cause's what(). When the
// cause is a store exception its details go over to the new one, so that
// wrapping a failure in another message keeps why it happened.
[[noreturn]] void ThrowWrapped(const std::string& prefix, const std::exception& cause);

}  // namespace CorvConfigStore
