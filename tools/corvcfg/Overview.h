// How overviews (lists of keys, of pending values, of the key-value table)
// are printed: JSON for programs, a table of padded columns at a terminal,
// either one when asked.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

struct Format {
  CLI::Option* json = nullptr;
  CLI::Option* table = nullptr;

  // True when the overview is printed as a table: standard output is a
  // terminal and --json was not given, or --table was.
  bool Table() const;
};

// Adds --json and --table (one of them at most) to the command.
Format AddFormat(CLI::App* command);

// Prints rows as columns padded to their widest cell; the last column is
// not padded.
void PrintTable(const std::vector<std::vector<std::string>>& rows);
