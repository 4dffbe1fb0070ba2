// `corvcfg store`: setting up the store database.
#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Provisioning.h>
#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <iostream>
#include <string>
#include <vector>

#include "Commands.h"

namespace {

// Creates the directories missing above path, outermost first, each
// readable by its owner only like the store itself, and returns them.
std::vector<std::string> CreateParentDirectories(const std::string& path) {
  std::vector<std::string> created;
  for (size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string directory = path.substr(0, slash);
    struct stat status;
    if (stat(directory.c_str(), &status) == 0) continue;
    // The umask may only take bits away; chmod makes the mode exactly 0700.
    if (mkdir(directory.c_str(), 0700) != 0 || chmod(directory.c_str(), 0700) != 0) {
      const std::string message = "Cannot create directory " + directory + ": " + strerror(errno);
      throw CorvConfigStore::ConfigStoreException(CorvConfigStore::CS_ERR_GENERAL,
                                                  message.c_str());
    }
    created.push_back(directory);
  }
  return created;
}

void InitStore() {
  std::string path = CorvConfigStore::ConfigStorePath();
  struct stat status;
  bool existed = stat(path.c_str(), &status) == 0;
  for (const std::string& directory : CreateParentDirectories(path))
    std::cout << "Created directory " << directory << std::endl;
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
                        "and the directories above it that are missing (mode 0700), or complete "
                        "an existing one")
      ->callback(InitStore);
}
