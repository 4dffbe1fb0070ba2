// `corvcfg store`: setting up the store database.
#include <corvconfigstore/Provisioning.h>
#include <sys/stat.h>

#include <iostream>

#include "Commands.h"

namespace {

void InitStore() {
  std::string path = CorvConfigStore::ConfigStorePath();
  struct stat status;
  bool existed = stat(path.c_str(), &status) == 0;
  CorvConfigStore::ProvisionStore(path);
  if (existed)
    std::cout << "Store " << path << " already existed; its tables are complete" << std::endl;
  else
    std::cout << "Created store " << path << std::endl;
}

}  // namespace

void AddStoreCommands(CLI::App& app) {
  CLI::App* store = app.add_subcommand("store", "Set up the store database");
  store->add_subcommand("init",
                        "Create the store database named by --db (mode 0600) with its tables, "
                        "or complete an existing one")
      ->callback(InitStore);
}
