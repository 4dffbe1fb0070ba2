// Configuration names on the command line. A key is named
// component.group.key; a whole group component.group; a whole component by
// its name alone. Each part is 1 to 64 letters, digits, '_' or '-', as in
// the schema store.
#pragma once

#include <CLI/CLI.hpp>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/SchemaList.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Failures.h"

struct ConfigName {
  std::string component;
  std::string group;  // empty when a component is named
  std::string key;    // empty when a component or a group is named

  bool IsKey() const { return !key.empty(); }
  // component.group.key, component.group or component.
  std::string Text() const;
};

// Checks a NAME argument: a key name, or with scopes a component or group
// name too.
CLI::Validator NameChecker(bool scopes);

// The parts of a name that passed NameChecker.
ConfigName ParseName(const std::string& text);

// The name of a key schema.
ConfigName NameOf(const CorvConfigStore::SchemaInfo& schema);

// The name and --id of the command's target; --id is meant for keys with
// instances.
struct Target {
  std::string name;
  std::string id;
  CLI::Option* nameOption = nullptr;
  CLI::Option* idOption = nullptr;  // null with kNoId

  ConfigName Name() const;
  // The identifier of the key and --id.
  CorvConfigStore::ConfigStoreObjectId Id() const;
};
// How a command takes its target: by default a key name, required, and
// --id.
enum TargetFlags : unsigned {
  kKeyName = 0,
  kScopes = 1,        // NAME may name a component or a group as well
  kNoId = 2,          // no --id
  kOptionalName = 4,  // NAME may be left out
};
std::shared_ptr<Target> AddTarget(CLI::App* command, unsigned flags = kKeyName);

// The identifier of a key with the instance id.
CorvConfigStore::ConfigStoreObjectId IdOf(const ConfigName& key, const std::string& instanceId = "");

// Every key schema of the schema store, in order. Throws a Failure (exit
// status 4) when the schema store cannot be read.
std::vector<CorvConfigStore::SchemaInfo> KnownSchemas();

// The schema of a key; none when the schema store has none (the library
// then reports the key as unknown).
std::optional<CorvConfigStore::SchemaInfo> FindSchema(const ConfigName& key);

// A name the schema store does not know: "[1037] Schema not found for:
// <name>" (exit status 3) with a hint: the names it may be a slip for, of
// keys, groups or components as the name is one. Exit status 4 and the
// cause when the schema store cannot be read.
Failure UnknownName(const std::string& name);
// Throws UnknownName(name).
[[noreturn]] void ThrowSchemaNotFound(const std::string& name);

// The key schemas a name covers, in order. Throws UnknownName when it
// covers none.
std::vector<CorvConfigStore::SchemaInfo> SchemasUnder(const ConfigName& name);
