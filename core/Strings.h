// printf-style formatting into heap strings, including the rendering of
// message formats whose arguments are stored as machine words.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

namespace CorvConfigStore {

// Formats into a new heap string (release with free). Returns the length, or
// -1 with *out null when formatting fails.
int Str_Asprintf(char** out, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Formats a message whose arguments are machine words, as stored in an
// event message: each conversion takes the next word (%s reads it as a C
// string, the integer conversions as an integer of their length). A
// conversion with no word left, or an unknown one, is written out as is.
// Returns the length and a new heap string in *out (release with free).
int MsgFmt_Asprintf(char** out, const char* format, const uintptr_t* args, size_t count);

// vsnprintf into a std::string.
std::string Str_Vformat(const char* format, va_list args);

}  // namespace CorvConfigStore
