// `corvcfg kv`: reading and writing the store's key-value table.
#include <corvconfigstore/KeyValue.h>

#include <iostream>
#include <memory>

#include "Commands.h"
#include "Failures.h"

void AddKvCommands(CLI::App& app) {
  CLI::App* kv = app.add_subcommand("kv", "Read and write the key-value table");

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
}
