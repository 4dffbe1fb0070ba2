// `corvcfg keys`, `corvcfg pending` and `corvcfg diff`: overviews of a
// store for an administrator: which keys hold data, what the next boot
// changes, and how the layers of one key differ. JSON for programs, a table
// at a terminal.
#include <corvconfigstore/BulkReads.h>
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/StoreContents.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <optional>

#include "Commands.h"
#include "JsonText.h"
#include "Names.h"
#include "Objects.h"
#include "Output.h"
#include "Overview.h"

using CorvConfigStore::LayerValues;

namespace {

std::string DottedName(const std::string& component, const std::string& group,
                       const std::string& key) {
  return component + "." + group + "." + key;
}

// A value for a JSON result: the text, or null when the layer is empty.
void PutValue(JsonBuilder& out, const std::string& json) {
  if (json.empty())
    out->Null();
  else
    out.Raw(json);
}

// A value for a table cell: compact JSON, "-" when empty.
std::string Cell(const std::string& json) { return json.empty() ? "-" : json; }

// The scope a NAME names: a component or a group, or everything.
void Scope(const Target& target, std::string& component, std::string& group) {
  if (target.name.empty()) return;
  ConfigName name = target.Name();
  if (name.IsKey()) throw CLI::ValidationError("NAME must be a component or component.group");
  component = name.component;
  group = name.group;
}

// The keys' values as a document nested component, group, key: every
// stored object of the scope in one read, or what is shared with a SmartNIC.
void PrintKeyValues(const std::string& component, const std::string& group, bool shared) {
  if (shared) {
    if (!component.empty()) throw CLI::ValidationError("--shared takes no NAME");
    PrintJson(CorvConfigStore::GetSharedConfigDocument());
    return;
  }
  if (component.empty()) throw CLI::ValidationError("--values needs a component or group NAME");
  // Objects come ordered by group, key and instance id; a key's instances
  // are an array, as in an export.
  std::map<std::string, std::map<std::string, std::vector<ObjectPtr>>> keys;
  for (const ObjectPtr& object : CorvConfigStore::GetBulkConfig(component, group)) {
    const auto& id = object->GetConfigStoreObjectId();
    keys[id.group][id.key].push_back(object);
  }
  JsonBuilder out;
  out->StartObject();
  out.Key(component);
  out->StartObject();
  for (const auto& groupKeys : keys) {
    out.Key(groupKeys.first);
    out->StartObject();
    for (const auto& key : groupKeys.second) {
      out.Key(key.first);
      const bool instances = !key.second.front()->GetConfigStoreObjectId().instanceId.empty();
      if (instances) out->StartArray();
      for (const ObjectPtr& object : key.second) out.Raw(object->GetData());
      if (instances) out->EndArray();
    }
    out->EndObject();
  }
  out->EndObject();
  out->EndObject();
  PrintJson(out.Text());
}

struct KeysOptions {
  std::shared_ptr<Target> target;
  Format format;
  CLI::Option* values = nullptr;
  CLI::Option* shared = nullptr;
};

void RunKeys(const KeysOptions& options) {
  const Target& target = *options.target;
  const Format& format = options.format;
  std::string component, group;
  Scope(target, component, group);
  if (options.values->count() > 0 || options.shared->count() > 0) {
    PrintKeyValues(component, group, options.shared->count() > 0);
    return;
  }
  std::vector<CorvConfigStore::StoredKey> keys = CorvConfigStore::ListStoredKeys(component, group);
  if (format.Table()) {
    std::vector<std::vector<std::string>> rows{{"KEY", "INSTANCES", "DEFAULTS"}};
    for (const auto& key : keys)
      rows.push_back({DottedName(key.component, key.group, key.key),
                      std::to_string(key.instances), std::to_string(key.defaults)});
    PrintTable(rows);
    return;
  }
  JsonBuilder out;
  out->StartArray();
  for (const auto& key : keys) {
    out->StartObject();
    out.Key("key");
    out.String(DottedName(key.component, key.group, key.key));
    out.Key("instances");
    out->Uint64(key.instances);
    out.Key("defaults");
    out->Uint64(key.defaults);
    out->EndObject();
  }
  out->EndArray();
  PrintJson(out.Text());
}

void RunPending(const Target& target, const Format& format) {
  ConfigName name;
  if (!target.name.empty()) {
    name = target.Name();
    SchemasUnder(name);  // an unknown name is refused rather than listing nothing
  }
  std::vector<CorvConfigStore::PendingConfig> pending =
      CorvConfigStore::ListPendingConfig(name.component, name.group);
  if (name.IsKey())
    pending.erase(std::remove_if(pending.begin(), pending.end(),
                                 [&name](const CorvConfigStore::PendingConfig& entry) {
                                   return entry.id.key != name.key;
                                 }),
                  pending.end());
  if (format.Table()) {
    std::vector<std::vector<std::string>> rows{{"KEY", "ID", "STATE", "IN FORCE", "PENDING"}};
    for (const auto& entry : pending)
      rows.push_back({DottedName(entry.id.component, entry.id.group, entry.id.key),
                      entry.id.instanceId.empty() ? "-" : entry.id.instanceId,
                      CorvConfigStore::PendingStateName(entry.state), Cell(entry.inForce),
                      Cell(entry.pending)});
    PrintTable(rows);
    return;
  }
  JsonBuilder out;
  out->StartArray();
  for (const auto& entry : pending) {
    out->StartObject();
    out.Key("key");
    out.String(DottedName(entry.id.component, entry.id.group, entry.id.key));
    out.Key("id");
    out.String(entry.id.instanceId);
    out.Key("state");
    out.String(CorvConfigStore::PendingStateName(entry.state));
    out.Key("inForce");
    PutValue(out, entry.inForce);
    out.Key("pending");
    PutValue(out, entry.pending);
    out->EndObject();
  }
  out->EndArray();
  PrintJson(out.Text());
}

// JSON Pointers of the members that differ between two values: objects are
// compared member by member, anything else whole. An empty text stands for
// no value.
void DifferingMembers(const rapidjson::Value* before, const rapidjson::Value* after,
                      const std::string& pointer, std::vector<std::string>& paths) {
  if (before != nullptr && after != nullptr && before->IsObject() && after->IsObject()) {
    std::map<std::string, std::pair<const rapidjson::Value*, const rapidjson::Value*>> members;
    for (const auto& member : before->GetObject())
      members[member.name.GetString()].first = &member.value;
    for (const auto& member : after->GetObject())
      members[member.name.GetString()].second = &member.value;
    for (const auto& member : members) {
      std::string escaped;
      for (char c : member.first) escaped += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
      DifferingMembers(member.second.first, member.second.second, pointer + "/" + escaped, paths);
    }
    return;
  }
  if (before == nullptr && after == nullptr) return;
  if (before == nullptr || after == nullptr || *before != *after)
    paths.push_back(pointer.empty() ? "/" : pointer);
}

std::vector<std::string> ChangesAtNextBoot(const LayerValues& values) {
  rapidjson::Document before, after;
  if (!values.inForce.empty()) ParseCheckedJson(values.inForce, before);
  if (!values.atNextBoot.empty()) ParseCheckedJson(values.atNextBoot, after);
  std::vector<std::string> paths;
  DifferingMembers(values.inForce.empty() ? nullptr : &before,
                   values.atNextBoot.empty() ? nullptr : &after, "", paths);
  return paths;
}

// The layers in the order shown: label for the table, member for JSON.
struct LayerColumn {
  const char* label;
  const char* member;
  std::string LayerValues::*value;
};
const LayerColumn kLayers[] = {
    {"configured", "configured", &LayerValues::configured},
    {"user", "user", &LayerValues::user},
    {"auto-configured", "autoConfigured", &LayerValues::autoConfigured},
    {"vital", "vital", &LayerValues::vital},
    {"cached", "cached", &LayerValues::cached},
    {"desired", "desired", &LayerValues::desired},
    {"next-boot store", "nextBoot", &LayerValues::nextBoot},
    {"shipped default", "default", &LayerValues::shippedDefault},
    {"in force", "inForce", &LayerValues::inForce},
    {"at next boot", "atNextBoot", &LayerValues::atNextBoot},
};

void RunDiff(const Target& target, const Format& format) {
  const CorvConfigStore::ConfigStoreObjectId id = target.Id();
  std::vector<LayerValues> instances = CorvConfigStore::GetLayerValues(id);
  // The merged value a read returns now, per instance.
  auto store = CorvConfigStore::ConfigStore::GetStore("");
  std::map<std::string, std::string> current;
  std::optional<CorvConfigStore::SchemaInfo> schema = FindSchema(target.Name());
  if (schema && schema->hasInstances && id.instanceId.empty()) {
    for (const ObjectPtr& object :
         store->GetInstances(std::make_shared<CorvConfigStore::FilterSpecObject>(id)))
      current[object->GetConfigStoreObjectId().instanceId] = object->GetData();
  } else if (ObjectPtr object = store->Get(id)) {
    current[id.instanceId] = object->GetData();
  }
  const std::string name = target.Name().Text();
  if (format.Table()) {
    bool first = true;
    for (const LayerValues& values : instances) {
      if (!first) std::cout << '\n';
      first = false;
      std::cout << name << (values.instanceId.empty() ? "" : " --id " + values.instanceId)
                << (values.stored ? "" : " (no stored row)")
                << (values.stored && !values.confirmed ? " (awaiting boot confirmation)" : "")
                << '\n';
      std::vector<std::vector<std::string>> rows{{"LAYER", "VALUE"}};
      auto found = current.find(values.instanceId);
      rows.push_back({"current", Cell(found == current.end() ? "" : found->second)});
      for (const LayerColumn& layer : kLayers) {
        std::string label = layer.label;
        if (layer.value == &LayerValues::nextBoot && !values.nextBootAction.empty())
          label += " (" + values.nextBootAction + ")";
        rows.push_back({label, Cell(values.*layer.value)});
      }
      std::string changes;
      for (const std::string& path : ChangesAtNextBoot(values))
        changes += (changes.empty() ? "" : " ") + path;
      rows.push_back({"changes at next boot", changes.empty() ? "none" : changes});
      PrintTable(rows);
    }
    return;
  }
  JsonBuilder out;
  out->StartObject();
  out.Key("key");
  out.String(name);
  out.Key("instances");
  out->StartArray();
  for (const LayerValues& values : instances) {
    out->StartObject();
    out.Key("id");
    out.String(values.instanceId);
    out.Key("stored");
    out->Bool(values.stored);
    out.Key("confirmed");
    out->Bool(values.confirmed);
    out.Key("current");
    auto found = current.find(values.instanceId);
    PutValue(out, found == current.end() ? "" : found->second);
    for (const LayerColumn& layer : kLayers) {
      out.Key(layer.member);
      PutValue(out, values.*layer.value);
    }
    out.Key("nextBootAction");
    if (values.nextBootAction.empty())
      out->Null();
    else
      out.String(values.nextBootAction);
    out.Key("changesAtNextBoot");
    out->StartArray();
    for (const std::string& path : ChangesAtNextBoot(values)) out.String(path);
    out->EndArray();
    out->EndObject();
  }
  out->EndArray();
  out->EndObject();
  PrintJson(out.Text());
}

}  // namespace

void AddOverviewCommands(CLI::App& app) {
  CLI::App* keys = app.add_subcommand(
      "keys", "List the keys that hold data, with their stored instances and shipped defaults");
  auto keysOptions = std::make_shared<KeysOptions>();
  keysOptions->target = AddTarget(keys, kScopes | kNoId | kOptionalName);
  keysOptions->format = AddFormat(keys);
  keysOptions->values = keys->add_flag(
      "--values",
      "Print the stored value of every key of the component or group instead, read in one pass, "
      "as a document nested component, group, key");
  keysOptions->shared = keys->add_flag(
      "--shared",
      "Print the configuration shared with a SmartNIC instead (keys whose schema has the value "
      "type corv-shared), each value as the next boot will hold it, as a document");
  keysOptions->values->excludes(keysOptions->shared);
  keys->callback([keysOptions] { RunKeys(*keysOptions); });

  CLI::App* pending = app.add_subcommand(
      "pending",
      "List what the next boot changes, for every key or for the component, group or key "
      "NAME: values awaiting boot confirmation, desired values and the next-boot store, with "
      "the value in force beside each");
  auto pendingTarget = AddTarget(pending, kScopes | kNoId | kOptionalName);
  Format pendingFormat = AddFormat(pending);
  pending->callback(
      [pendingTarget, pendingFormat] { RunPending(*pendingTarget, pendingFormat); });

  CLI::App* diff = app.add_subcommand(
      "diff",
      "Show every layer of a key (or of one instance, --id) side by side, and the members the "
      "next boot changes");
  auto diffTarget = AddTarget(diff);
  Format diffFormat = AddFormat(diff);
  diff->callback([diffTarget, diffFormat] { RunDiff(*diffTarget, diffFormat); });
}
