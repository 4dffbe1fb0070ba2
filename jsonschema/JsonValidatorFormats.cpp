// The checks behind the "format" keyword.
#include "jsonschema/JsonValidatorFormats.h"

#include <arpa/inet.h>

#include <cctype>
#include <cstring>
#include <string>

namespace JsonValidator {

namespace {

bool IsHex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAlnum(char c) { return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool IsIpv4(const char* text, size_t length) {
  size_t position = 0;
  for (int part = 0; part < 4; ++part) {
    if (part > 0) {
      if (position >= length || text[position] != '.') return false;
      ++position;
    }
    size_t start = position;
    unsigned value = 0;
    while (position < length && IsDigit(text[position]) && position - start < 3)
      value = value * 10 + static_cast<unsigned>(text[position++] - '0');
    size_t digits = position - start;
    if (digits == 0 || value > 255 || (digits > 1 && text[start] == '0')) return false;
  }
  return position == length;
}

// inet_pton reads the RFC 4291 text forms (with "::" and an IPv4 tail) and
// nothing else: no zone index, no brackets, no blanks.
bool IsIpv6(const char* text, size_t length) {
  if (length == 0 || length > 45 || std::memchr(text, '\0', length) != nullptr) return false;
  std::string copy(text, length);
  unsigned char address[16];
  return inet_pton(AF_INET6, copy.c_str(), address) == 1;
}

// Labels of 1 to 63 letters, digits and hyphens, neither starting nor
// ending with a hyphen, joined by dots; 253 characters at most.
bool IsHostname(const char* text, size_t length) {
  if (length == 0 || length > 253) return false;
  size_t labelStart = 0;
  for (size_t i = 0; i <= length; ++i) {
    if (i == length || text[i] == '.') {
      size_t labelLength = i - labelStart;
      if (labelLength == 0 || labelLength > 63) return false;
      if (text[labelStart] == '-' || text[i - 1] == '-') return false;
      labelStart = i + 1;
    } else if (!IsAlnum(text[i]) && text[i] != '-') {
      return false;
    }
  }
  return true;
}

// "aa:bb:cc:dd:ee:ff" or "aa-bb-cc-dd-ee-ff", either case.
bool IsMac(const char* text, size_t length) {
  if (length != 17) return false;
  char separator = text[2];
  if (separator != ':' && separator != '-') return false;
  for (size_t i = 0; i < length; ++i) {
    bool separatorPlace = i % 3 == 2;
    if (separatorPlace ? text[i] != separator : !IsHex(text[i])) return false;
  }
  return true;
}

// "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", hex digits in either case.
bool IsUuid(const char* text, size_t length) {
  if (length != 36) return false;
  for (size_t i = 0; i < length; ++i) {
    bool hyphenPlace = i == 8 || i == 13 || i == 18 || i == 23;
    if (hyphenPlace ? text[i] != '-' : !IsHex(text[i])) return false;
  }
  return true;
}

}  // namespace

FormatCheck FormatCheckOf(const char* format) {
  if (std::strcmp(format, "ipv4") == 0) return IsIpv4;
  if (std::strcmp(format, "ipv6") == 0) return IsIpv6;
  if (std::strcmp(format, "hostname") == 0) return IsHostname;
  if (std::strcmp(format, "mac") == 0) return IsMac;
  if (std::strcmp(format, "uuid") == 0) return IsUuid;
  return nullptr;
}

}  // namespace JsonValidator
