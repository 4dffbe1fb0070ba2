// `corvcfg set`, `corvcfg update` and `corvcfg delete`: writing and removing
// configuration of the current store.
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/FilterSpecObject.h>

#include "Commands.h"
#include "Deletion.h"
#include "Failures.h"
#include "Input.h"
#include "Names.h"
#include "Objects.h"

using CorvConfigStore::ConfigStore;
using CorvConfigStore::USERDATA_CONTEXT;

namespace {

struct SetOptions {
  std::shared_ptr<Target> target;
  std::shared_ptr<ValueSource> value;
  std::string layer = "all";
  std::string context = "external";
  CLI::Option* contextOption = nullptr;
};

void RunSet(const SetOptions& options) {
  const bool vitalOrCached = options.layer == "vital" || options.layer == "cached";
  if (vitalOrCached && options.contextOption->count() > 0)
    throw CLI::ValidationError("--context applies to --layer all and user only");
  const USERDATA_CONTEXT context = ContextNamed(options.context);
  ValueObjects value =
      ObjectsFromValue(options.target->Name(), options.target->id, ReadValue(*options.value));
  auto store = ConfigStore::GetStore("");
  if (value.isList) {
    if (options.layer == "user")
      store->SetUserDataInstances(value.objects, context);
    else if (options.layer == "vital")
      store->SetVitalDataInstances(value.objects);
    else if (options.layer == "cached")
      store->SetCachedDataInstances(value.objects);
    else
      store->SetInstances(value.objects, context);
    return;
  }
  const ObjectPtr& object = value.objects.front();
  if (options.layer == "user")
    store->SetUserData(object, context);
  else if (options.layer == "vital")
    store->SetVitalData(object);
  else if (options.layer == "cached")
    store->SetCachedData(object);
  else
    store->Set(object, context);
}

void RunUpdate(const SetOptions& options) {
  ValueObjects value =
      ObjectsFromValue(options.target->Name(), options.target->id, ReadValue(*options.value));
  auto store = ConfigStore::GetStore("");
  // Every instance of an array is updated, or none is.
  CorvConfigStore::ConfigStoreTransaction transaction(store);
  for (const ObjectPtr& object : value.objects) store->Update(object, ContextNamed(options.context));
  transaction.Commit();
}

}  // namespace

USERDATA_CONTEXT ContextNamed(const std::string& name) {
  return name == "internal" ? CorvConfigStore::INTERNAL : CorvConfigStore::EXTERNAL;
}

CLI::Option* AddContextOption(CLI::App* command, std::string& context) {
  return command
      ->add_option("--context", context,
                   "Who writes: external (a user; the user layer, refused while the host boots) "
                   "or internal (the host's own configuration; the auto-configuration layer)")
      ->check(CLI::IsMember({"external", "internal"}))
      ->capture_default_str();
}

void AddWriteCommands(CLI::App& app) {
  auto set = std::make_shared<SetOptions>();
  CLI::App* setCommand = app.add_subcommand(
      "set",
      "Write a key's value: a JSON object (a key without instances, or one instance), or a JSON "
      "array of objects that replaces every instance of a key with instances");
  set->target = AddTarget(setCommand);
  set->value = AddValueOptions(setCommand, "The value");
  setCommand
      ->add_option("--layer", set->layer,
                   "Layer written: all (every member to its layer, as the schema says), user, "
                   "vital or cached")
      ->check(CLI::IsMember({"all", "user", "vital", "cached"}))
      ->capture_default_str();
  set->contextOption = AddContextOption(setCommand, set->context);
  setCommand->callback([set] { RunSet(*set); });

  auto update = std::make_shared<SetOptions>();
  CLI::App* updateCommand = app.add_subcommand(
      "update",
      "Merge a partial value into a key's stored value (or into each instance of an array, in one "
      "transaction); members not given stay as they are");
  update->target = AddTarget(updateCommand);
  update->value = AddValueOptions(updateCommand, "The partial value");
  update->contextOption = AddContextOption(updateCommand, update->context);
  updateCommand->callback([update] { RunUpdate(*update); });

  CLI::App* deleteCommand = app.add_subcommand(
      "delete",
      "Delete a key's value, one instance (--id), every instance (--all) or the instances a "
      "filter matches (--filter)");
  auto deletion = AddDeletionOptions(deleteCommand);
  CLI::Option* mustExist = deleteCommand->add_flag(
      "--must-exist", "Exit with status 3 when there is nothing to delete (else that is success)");
  deleteCommand->callback([deletion, mustExist] {
    auto store = ConfigStore::GetStore("");
    if (mustExist->count() == 0) {
      RunDeletion(
          *deletion, [&store](const CorvConfigStore::ConfigStoreObjectId& id) { store->Delete(id); },
          [&store](const std::shared_ptr<CorvConfigStore::FilterSpecObject>& filter) {
            store->DeleteInstances(filter);
          });
      return;
    }
    // What is looked for is what is deleted: one transaction.
    CorvConfigStore::ConfigStoreTransaction transaction(store);
    bool found = false;
    RunDeletion(
        *deletion,
        [&store, &found](const CorvConfigStore::ConfigStoreObjectId& id) {
          found = store->Get(id) != nullptr;
          store->Delete(id);
        },
        [&store, &found](const std::shared_ptr<CorvConfigStore::FilterSpecObject>& filter) {
          found = !store->GetInstances(filter).empty();
          store->DeleteInstances(filter);
        });
    transaction.Commit();
    if (!found) ThrowAbsent(NothingToDelete(*deletion));
  });
}
