// How results reach standard output: JSON, pretty for a person at a
// terminal and compact for programs, unless forced either way.
#pragma once

#include <corvconfigstore/ImportExport.h>

#include <functional>
#include <string>

enum class OutputStyle { kAuto, kPretty, kCompact };

void SetOutputStyle(OutputStyle style);

// A JSON text (compact, as the library gives it) in the style in force for
// a destination that is or is not a terminal.
std::string StyledJson(const std::string& json, bool terminal);

// Prints a JSON text in the style for standard output, and a newline.
void PrintJson(const std::string& json);

// The library's layout for JSON text in the style in force for a
// destination that is or is not a terminal.
CorvConfigStore::JsonLayout LayoutFor(bool terminal);

// Prints the JSON text write hands its sink, in the layout it is given for
// standard output, as it comes, and a newline: a large result is never
// held whole.
void PrintJsonStream(
    const std::function<void(const CorvConfigStore::TextSink&, CorvConfigStore::JsonLayout)>& write);

// True when the file descriptor is a terminal.
bool IsTerminal(int fd);
