// `corvcfg kv`: reading, writing and listing the store's key-value table.
#include <corvconfigstore/KeyValue.h>

#include <iostream>
#include <memory>

#include "Commands.h"
#include "Failures.h"
#include "JsonText.h"
#include "Output.h"
#include "Overview.h"

namespace {

// The table as one JSON object of texts, or as a table of keys and values.
void RunList(const Format& format) {
  const auto entries = CorvConfigStore::ListKeyValues();
  if (format.Table()) {
    std::vector<std::vector<std::string>> rows{{"KEY", "VALUE"}};
    for (const auto& entry : entries) rows.push_back({entry.first, entry.second});
    PrintTable(rows);
    return;
  }
  JsonBuilder out;
  out->StartObject();
  for (const auto& entry : entries) {
    out.Key(entry.first);
    out.String(entry.second);
  }
  out->EndObject();
  PrintJson(out.Text());
}

}  // namespace

void AddKvCommands(CLI::App& app) {
  CLI::App* kv = app.add_subcommand("kv", "Read, write and list the key-value table");

  // The subcommands outlive this function; their arguments live with them.
  auto getKey = std::make_shared<std::string>();
  CLI::App* get = kv->add_subcommand(
      "get",
      "Print the value of a key; nothing, and exit status 3, when the key holds none (it is "
      "absent, or its value is empty)");
  get->add_option("KEY", *getKey, "Key to read")->required();
  get->callback([getKey] {
    // The table does not tell an absent key from an empty value.
    const std::string value = CorvConfigStore::GetKeyValue(*getKey);
    if (value.empty()) ThrowAbsent();
    std::cout << value << std::endl;
  });

  auto setKey = std::make_shared<std::string>();
  auto setValue = std::make_shared<std::string>();
  CLI::App* set = kv->add_subcommand("set", "Write the value of a key");
  set->add_option("KEY", *setKey, "Key to write")->required();
  set->add_option("VALUE", *setValue, "Value to store")->required();
  set->callback([setKey, setValue] { CorvConfigStore::SetKeyValue(*setKey, *setValue); });

  CLI::App* list = kv->add_subcommand(
      "list",
      "Print every key and value of the table, ordered by key: a JSON object of texts, or a "
      "table at a terminal");
  Format format = AddFormat(list);
  list->callback([format] { RunList(format); });
}
