// The "format" keyword: which formats are checked and how.
#pragma once

#include <cstddef>

namespace JsonValidator {

// True when text is in the format.
using FormatCheck = bool (*)(const char* text, size_t length);

// The check of the named format: "ipv4" (dotted quad, no leading zeros),
// "ipv6" (RFC 4291 text, an embedded IPv4 tail allowed), "hostname"
// (RFC 1123), "mac" (six hex pairs joined by ':' or by '-') or "uuid"
// (8-4-4-4-12 hex digits). Any other format name is an annotation only:
// null, every text satisfies it.
FormatCheck FormatCheckOf(const char* format);

}  // namespace JsonValidator
