// Printing overviews as JSON or as tables.
#include "Overview.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "Output.h"

bool Format::Table() const {
  if (json->count() > 0) return false;
  return table->count() > 0 || IsTerminal(STDOUT_FILENO);
}

Format AddFormat(CLI::App* command) {
  Format format;
  format.json = command->add_flag("--json", "Print JSON, also at a terminal");
  format.table = command->add_flag("--table", "Print a table, also when not at a terminal");
  format.json->excludes(format.table);
  return format;
}

void PrintTable(const std::vector<std::vector<std::string>>& rows) {
  std::vector<size_t> widths;
  for (const auto& row : rows)
    for (size_t i = 0; i < row.size(); ++i) {
      if (widths.size() <= i) widths.push_back(0);
      widths[i] = std::max(widths[i], row[i].size());
    }
  for (const auto& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) {
      std::cout << row[i];
      if (i + 1 < row.size()) std::cout << std::string(widths[i] - row[i].size() + 2, ' ');
    }
    std::cout << '\n';
  }
  std::cout.flush();
}
