// `corvcfg next-boot`: configuration staged for the next boot (keys tagged
// @rebootRequiredConfigStore).
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/NextBootStore.h>

#include "Commands.h"
#include "Deletion.h"
#include "Failures.h"
#include "Input.h"
#include "Names.h"
#include "Objects.h"
#include "Output.h"

using CorvConfigStore::ConfigStore;
using CorvConfigStore::NextBootStore;

namespace {

struct StageOptions {
  std::shared_ptr<Target> target;
  std::shared_ptr<ValueSource> value;
};

// The next-boot store; the store handle it comes from lives as long as it.
std::shared_ptr<NextBootStore> OpenNextBootStore() {
  return ConfigStore::GetStore("")->GetNextBootStore();
}

void RunGet(const Target& target) {
  const ConfigName name = target.Name();
  if (!name.IsKey()) {
    if (target.idOption->count() > 0)
      throw CLI::ValidationError("--id needs a key name component.group.key");
    PrintJson(NextBootDocument(SchemasUnder(name)));
    return;
  }
  std::optional<CorvConfigStore::SchemaInfo> schema = FindSchema(name);
  auto nextBoot = OpenNextBootStore();
  if (schema && schema->hasInstances && target.id.empty()) {
    PrintJson(ObjectsJson(nextBoot->GetInstances(
        std::make_shared<CorvConfigStore::FilterSpecObject>(target.Id()))));
    return;
  }
  const std::string value = ObjectJson(nextBoot->Get(target.Id()));
  PrintJson(value);
  if (value == "null") ThrowAbsent();
}

void RunSet(const StageOptions& options) {
  ValueObjects value =
      ObjectsFromValue(options.target->Name(), options.target->id, ReadValue(*options.value));
  auto nextBoot = OpenNextBootStore();
  if (value.isList)
    nextBoot->SetInstances(value.objects);
  else
    nextBoot->Set(value.objects.front());
}

}  // namespace

void AddNextBootCommands(CLI::App& app) {
  CLI::App* nextBoot = app.add_subcommand(
      "next-boot",
      "Stage configuration that takes effect at the next boot (keys tagged "
      "@rebootRequiredConfigStore); refused while the host boots or upgrades");

  CLI::App* get = nextBoot->add_subcommand(
      "get",
      "Print what is staged: the value, every instance (an array), one instance (--id), or for "
      "a group or component every key of it written for the next boot (a document nested "
      "component, group, key); null, and exit status 3, when nothing is");
  auto getTarget = AddTarget(get, kScopes);
  get->callback([getTarget] { RunGet(*getTarget); });

  auto stage = std::make_shared<StageOptions>();
  CLI::App* set = nextBoot->add_subcommand(
      "set",
      "Stage a value: a JSON object (the value, or one instance), or a JSON array of objects that "
      "replaces every staged instance");
  stage->target = AddTarget(set);
  stage->value = AddValueOptions(set, "The value");
  set->callback([stage] { RunSet(*stage); });

  CLI::App* remove = nextBoot->add_subcommand(
      "delete",
      "Stage the deletion of a value, of one instance (--id), of every instance (--all) or of "
      "the instances a filter matches (--filter)");
  auto deletion = AddDeletionOptions(remove);
  remove->callback([deletion] {
    auto store = OpenNextBootStore();
    RunDeletion(
        *deletion, [&store](const CorvConfigStore::ConfigStoreObjectId& id) { store->Delete(id); },
        [&store](const std::shared_ptr<CorvConfigStore::FilterSpecObject>& filter) {
          store->DeleteInstances(filter);
        });
  });

  CLI::App* reset = nextBoot->add_subcommand(
      "reset", "Drop everything staged for a key (every instance of a key with instances)");
  auto resetTarget = AddTarget(reset, kNoId);
  reset->callback([resetTarget] { OpenNextBootStore()->Reset(resetTarget->Id()); });
}
