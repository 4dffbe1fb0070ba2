// What `delete` and `next-boot delete` remove: a key's value or one
// instance (--id), every instance (--all), or the instances a filter
// matches (--filter).
#pragma once

#include <CLI/CLI.hpp>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ObjectId.h>

#include <functional>
#include <memory>
#include <string>

#include "Names.h"

struct Deletion {
  std::shared_ptr<Target> target;
  std::string filter;
  CLI::Option* filterOption = nullptr;
  CLI::Option* allOption = nullptr;
};

std::shared_ptr<Deletion> AddDeletionOptions(CLI::App* command);

// Deletes through deleteOne (a value or one instance) or deleteMatching
// (every instance, or those a filter matches), as the options say.
void RunDeletion(
    const Deletion& deletion,
    const std::function<void(const CorvConfigStore::ConfigStoreObjectId&)>& deleteOne,
    const std::function<void(const std::shared_ptr<CorvConfigStore::FilterSpecObject>&)>&
        deleteMatching);

// What a deletion that found nothing says: "Nothing to delete: lab.net.dns
// holds no value", "... lab.net.nics has no instance eth9", "... lab.net.nics
// has no instances", "... no instance of lab.net.nics matches the filter".
std::string NothingToDelete(const Deletion& deletion);
