// How results reach standard output: JSON, pretty for a person at a
// terminal and compact for programs, unless forced either way.
#pragma once

#include <string>

enum class OutputStyle { kAuto, kPretty, kCompact };

void SetOutputStyle(OutputStyle style);

// A JSON text (compact, as the library gives it) in the style in force for
// a destination that is or is not a terminal.
std::string StyledJson(const std::string& json, bool terminal);

// Prints a JSON text in the style for standard output, and a newline.
void PrintJson(const std::string& json);

// True when the file descriptor is a terminal.
bool IsTerminal(int fd);
