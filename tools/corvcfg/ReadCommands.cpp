// `corvcfg get`, `corvcfg ids` and `corvcfg revisions`: reading
// configuration in each of its views, instance ids and revisions.
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/NextBootStore.h>

#include "Commands.h"
#include "Failures.h"
#include "JsonText.h"
#include "Names.h"
#include "Objects.h"
#include "Output.h"

using CorvConfigStore::ConfigStore;
using CorvConfigStore::FilterSpecObject;
using CorvConfigStore::SchemaInfo;

namespace {

enum class View { kCurrent, kDefault, kDesired, kNextBoot };
enum class Defaults { kAsStored, kWith, kWithout };

// What a read shows: the view, the shipped defaults of the current
// instances, and the layers of a desired value.
struct Reading {
  View view = View::kCurrent;
  Defaults defaults = Defaults::kAsStored;
  CorvConfigStore::FLAG flag = CorvConfigStore::FLAG_USER_ONLY;
};

struct GetOptions {
  std::shared_ptr<Target> target;
  CLI::Option* defaultView = nullptr;
  CLI::Option* desiredView = nullptr;
  CLI::Option* nextBootView = nullptr;
  CLI::Option* allLayers = nullptr;
  CLI::Option* withDefaults = nullptr;
  CLI::Option* withoutDefaults = nullptr;

  View GetView() const {
    if (defaultView->count() > 0) return View::kDefault;
    if (desiredView->count() > 0) return View::kDesired;
    if (nextBootView->count() > 0) return View::kNextBoot;
    return View::kCurrent;
  }
  Defaults GetDefaults() const {
    if (withDefaults->count() > 0) return Defaults::kWith;
    if (withoutDefaults->count() > 0) return Defaults::kWithout;
    return Defaults::kAsStored;
  }
  CorvConfigStore::FLAG Flag() const {
    return allLayers->count() > 0 ? CorvConfigStore::FLAG_WITH_VITAL_CACHED
                                  : CorvConfigStore::FLAG_USER_ONLY;
  }
  Reading Chosen() const { return Reading{GetView(), GetDefaults(), Flag()}; }
};

// The stored instances of a key, with the shipped defaults added or taken
// out as asked.
ObjectList CurrentInstances(ConfigStore& store, const ConfigName& key, Defaults defaults) {
  ObjectList instances = store.GetInstances(std::make_shared<FilterSpecObject>(IdOf(key)));
  if (defaults == Defaults::kWith) CorvConfigStore::AddDefaultConfigInstances(IdOf(key), instances);
  // Filtering refuses an empty list; nothing stored leaves nothing to take out.
  if (defaults == Defaults::kWithout && !instances.empty())
    CorvConfigStore::FilterDefaultConfigInstances(instances);
  return instances;
}

// The JSON text of a key in a view: every instance of a key with instances
// as an array when no instance is named, else the one object (null when
// there is none).
std::string ReadKey(const std::shared_ptr<ConfigStore>& store, const ConfigName& key,
                    const std::string& instanceId, bool allInstances, const Reading& reading) {
  const CorvConfigStore::ConfigStoreObjectId id = IdOf(key, instanceId);
  auto filter = [&key] { return std::make_shared<FilterSpecObject>(IdOf(key)); };
  switch (reading.view) {
    case View::kCurrent:
      if (allInstances) return ObjectsJson(CurrentInstances(*store, key, reading.defaults));
      return ObjectJson(store->Get(id));
    case View::kDefault:
      if (allInstances) return ObjectsJson(store->GetDefaultConfigInstances(filter()));
      return ObjectJson(store->GetDefaultConfig(id));
    case View::kDesired:
      if (allInstances)
        return ObjectsJson(CorvConfigStore::GetDesiredUserConfigInstances(id, reading.flag));
      return ObjectJson(CorvConfigStore::GetDesiredUserConfig(id, reading.flag));
    case View::kNextBoot:
      if (allInstances) return ObjectsJson(store->GetNextBootStore()->GetInstances(filter()));
      return ObjectJson(store->GetNextBootStore()->Get(id));
  }
  return "null";
}

// A document nested component, group, key of every key in a view other
// than the current one; a key with nothing in the view is null, as in an
// export. The next-boot view covers only keys written for the next boot.
std::string ReadDocument(const std::vector<SchemaInfo>& schemas, const Reading& reading) {
  auto store = ConfigStore::GetStore("");
  JsonBuilder document;
  document->StartObject();
  const SchemaInfo* previous = nullptr;
  for (const SchemaInfo& schema : schemas) {
    if (reading.view == View::kNextBoot && !schema.rebootRequired) continue;
    bool newComponent = previous == nullptr || previous->component != schema.component;
    bool newGroup = newComponent || previous->group != schema.group;
    if (previous != nullptr && newGroup) document->EndObject();
    if (previous != nullptr && newComponent) document->EndObject();
    if (newComponent) {
      document.Key(schema.component);
      document->StartObject();
    }
    if (newGroup) {
      document.Key(schema.group);
      document->StartObject();
    }
    std::string value = ReadKey(store, NameOf(schema), "", schema.hasInstances, reading);
    document.Key(schema.key);
    document.Raw(value == "[]" ? "null" : value);
    previous = &schema;
  }
  if (previous != nullptr) {
    document->EndObject();
    document->EndObject();
  }
  document->EndObject();
  return document.Text();
}

void RunGet(const GetOptions& options) {
  ConfigName name = options.target->Name();
  const std::string& instanceId = options.target->id;
  if (!name.IsKey()) {
    if (options.target->idOption->count() > 0)
      throw CLI::ValidationError("--id needs a key name component.group.key");
    if (options.GetDefaults() != Defaults::kAsStored)
      throw CLI::ValidationError("--with-defaults and --without-defaults need a key name");
    std::vector<SchemaInfo> schemas = SchemasUnder(name);
    if (options.GetView() != View::kCurrent) {
      PrintJson(ReadDocument(schemas, options.Chosen()));
      return;
    }
    PrintJsonStream([&schemas](const CorvConfigStore::TextSink& sink,
                               CorvConfigStore::JsonLayout layout) {
      CorvConfigStore::ExportTo(KeyFilters(schemas), sink, layout);
    });
    return;
  }
  std::optional<SchemaInfo> schema = FindSchema(name);
  bool allInstances = schema && schema->hasInstances && instanceId.empty();
  if (options.GetDefaults() != Defaults::kAsStored &&
      (!allInstances || options.GetView() != View::kCurrent))
    throw CLI::ValidationError(
        "--with-defaults and --without-defaults apply to the current instances of a key with "
        "instances, without --id");
  if (allInstances && options.GetView() == View::kCurrent &&
      options.GetDefaults() == Defaults::kAsStored) {
    // Every stored instance: streamed, however many there are.
    PrintJsonStream([&name](const CorvConfigStore::TextSink& sink,
                            CorvConfigStore::JsonLayout layout) {
      CorvConfigStore::ExportInstancesTo(std::make_shared<FilterSpecObject>(IdOf(name)), sink,
                                         layout);
    });
    return;
  }
  const std::string value =
      ReadKey(ConfigStore::GetStore(""), name, instanceId, allInstances, options.Chosen());
  PrintJson(value);
  if (value == "null") ThrowAbsent();
}

void RunIds(const Target& target) {
  JsonBuilder ids;
  ids->StartArray();
  for (const std::string& id : ConfigStore::GetStore("")->GetInstanceIds(target.Id())) ids.String(id);
  ids->EndArray();
  PrintJson(ids.Text());
}

void RunRevisions(const Target& target) {
  auto store = ConfigStore::GetStore("");
  std::optional<SchemaInfo> schema = FindSchema(target.Name());
  if (!schema || !schema->hasInstances) {
    const int revision = store->GetRevision(target.Id());
    PrintJson(std::to_string(revision));
    if (revision < 0) ThrowAbsent();
    return;
  }
  JsonBuilder revisions;
  revisions->StartArray();
  for (const CorvConfigStore::RevisionInfo& info : store->GetInstancesRevision(target.Id())) {
    revisions->StartObject();
    revisions.Key("id");
    revisions.String(info.instanceId);
    revisions.Key("revision");
    revisions->Int(info.revision);
    revisions->EndObject();
  }
  revisions->EndArray();
  PrintJson(revisions.Text());
}

}  // namespace

std::string NextBootDocument(const std::vector<SchemaInfo>& schemas) {
  Reading reading;
  reading.view = View::kNextBoot;
  return ReadDocument(schemas, reading);
}

void AddReadCommands(CLI::App& app) {
  auto options = std::make_shared<GetOptions>();
  CLI::App* get = app.add_subcommand(
      "get",
      "Print configuration as JSON: a key's value, every instance of a key with instances (an "
      "array), one instance (--id), or a whole group or component (a document nested component, "
      "group, key); null, and exit status 3, when the value or instance is not there");
  options->target = AddTarget(get, kScopes);
  options->defaultView = get->add_flag("--default", "The shipped default configuration");
  options->desiredView =
      get->add_flag("--desired",
                    "The desired user value that a boot has still to confirm (null when none is "
                    "pending)");
  options->nextBootView = get->add_flag("--next-boot", "What is staged for the next boot");
  options->defaultView->excludes(options->desiredView)->excludes(options->nextBootView);
  options->desiredView->excludes(options->nextBootView);
  options->allLayers =
      get->add_flag("--all-layers", "With --desired: merge in the vital and cached layers")
          ->needs(options->desiredView);
  options->withDefaults = get->add_flag(
      "--with-defaults", "Add the shipped default instances that are not stored");
  options->withoutDefaults = get->add_flag(
      "--without-defaults", "Leave out the instances equal to a shipped default");
  options->withDefaults->excludes(options->withoutDefaults);
  get->callback([options] { RunGet(*options); });

  CLI::App* ids = app.add_subcommand(
      "ids", "Print the instance ids stored for a key with instances, as a JSON array");
  auto idsTarget = AddTarget(ids, kNoId);
  ids->callback([idsTarget] { RunIds(*idsTarget); });

  CLI::App* revisions = app.add_subcommand(
      "revisions",
      "Print stored revisions: for a key with instances an array of {\"id\", \"revision\"} (every "
      "instance, or the one --id names); otherwise one number, -1 (exit status 3) when nothing is "
      "stored");
  auto revisionsTarget = AddTarget(revisions);
  revisions->callback([revisionsTarget] { RunRevisions(*revisionsTarget); });
}
