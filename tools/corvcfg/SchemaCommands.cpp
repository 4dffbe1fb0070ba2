// `corvcfg schema` and `corvcfg defaults`: filling the schema store and the
// shipped defaults of the store from JSON files, and showing the schemas.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/Provisioning.h>
#include <corvconfigstore/SchemaList.h>

#include <iostream>
#include <memory>

#include "Commands.h"
#include "Input.h"
#include "JsonText.h"
#include "Names.h"
#include "Output.h"

namespace {

std::string Count(int count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

struct ListOptions {
  std::string scope;
  CLI::Option* scopeOption = nullptr;
  CLI::Option* namesOption = nullptr;
};

void RunList(const ListOptions& options) {
  std::vector<CorvConfigStore::SchemaInfo> schemas = options.scopeOption->count() > 0
                                                         ? SchemasUnder(ParseName(options.scope))
                                                         : KnownSchemas();
  if (options.namesOption->count() > 0) {
    for (const CorvConfigStore::SchemaInfo& schema : schemas)
      std::cout << NameOf(schema).Text() << "\n";
    std::cout.flush();
    return;
  }
  JsonBuilder list;
  list->StartArray();
  for (const CorvConfigStore::SchemaInfo& schema : schemas) {
    list->StartObject();
    list.Key("name");
    list.String(NameOf(schema).Text());
    list.Key("version");
    list.String(schema.version);
    list.Key("instances");
    list->Bool(schema.hasInstances);
    if (schema.hasInstances) {
      list.Key("instanceId");
      list.String(schema.instanceIdProperty);
    }
    list.Key("nextBoot");
    list->Bool(schema.rebootRequired);
    list->EndObject();
  }
  list->EndArray();
  PrintJson(list.Text());
}

// The schema of one key; ConfigStoreException 1037 when there is none.
CorvConfigStore::SchemaInfo SchemaOf(const Target& target) {
  std::optional<CorvConfigStore::SchemaInfo> schema = FindSchema(target.Name());
  if (!schema) ThrowSchemaNotFound(target.name);
  return *schema;
}

void RunVersion(const Target& target) {
  std::string version = CorvConfigStore::GetSchemaVersion(target.Id());
  // An empty version means the schema store has no schema for the key.
  if (version.empty()) ThrowSchemaNotFound(target.name);
  std::cout << version << std::endl;
}

// Loads a file with the library; a fault in its JSON text is placed by line
// and column, read from the file again only then.
int LoadPlacingJsonFaults(const std::string& file, int (*load)(const std::string&)) {
  try {
    return load(file);
  } catch (const CorvConfigStore::ConfigStoreException&) {
    std::string text;
    bool readable = true;
    try {
      text = ReadTextFile(file);
    } catch (const CorvConfigStore::ConfigStoreException&) {
      readable = false;
    }
    // A file that cannot be read again leaves the first failure as it was.
    if (!readable) throw;
    RethrowWithPosition(text);
  }
}

}  // namespace

void AddSchemaCommands(CLI::App& app) {
  CLI::App* schema = app.add_subcommand("schema", "Manage the schema store");
  CLI::App* load = schema->add_subcommand(
      "load",
      "Load a file of key schemas, nested component, group, key, into the schema store named by "
      "--schema-db (created when missing); a file with any fault loads nothing");
  auto file = std::make_shared<std::string>();
  load->add_option("FILE", *file, "Schema file")->required()->type_name("FILE");
  load->callback([file] {
    int count = LoadPlacingJsonFaults(*file, CorvConfigStore::LoadSchemaFile);
    std::cout << "Loaded " << Count(count, "key schema", "key schemas") << " from " << *file
              << " into " << CorvConfigStore::SchemaStorePath() << std::endl;
  });

  auto list = std::make_shared<ListOptions>();
  CLI::App* listCommand = schema->add_subcommand(
      "list",
      "List the key schemas (of a component or group when one is named) as a JSON array of "
      "{\"name\", \"version\", \"instances\", \"instanceId\", \"nextBoot\"}");
  list->scopeOption =
      listCommand
          ->add_option("NAME", list->scope,
                       "A component, a group (component.group) or a key (component.group.key)")
          ->check(NameChecker(true))
          ->type_name("");
  list->namesOption =
      listCommand->add_flag("--names", "Print only the key names, one a line, as plain text");
  listCommand->callback([list] { RunList(*list); });

  CLI::App* show = schema->add_subcommand(
      "show",
      "Print a key's schema as the store uses it (arrays of objects without an instance-id "
      "property show the generated \"cs_generated_id\")");
  auto showTarget = AddTarget(show, kNoId);
  show->callback([showTarget] { PrintJson(SchemaOf(*showTarget).document); });

  CLI::App* version = schema->add_subcommand("version", "Print a key's schema version");
  auto versionTarget = AddTarget(version, kNoId);
  version->callback([versionTarget] { RunVersion(*versionTarget); });
}

void AddDefaultsCommands(CLI::App& app) {
  CLI::App* defaults = app.add_subcommand("defaults", "Manage the shipped default configuration");
  CLI::App* load = defaults->add_subcommand(
      "load",
      "Load a defaults document, nested component, group, key, into the store named by --db; "
      "the defaults of each key named replace its earlier ones; a file with any fault loads "
      "nothing");
  auto file = std::make_shared<std::string>();
  load->add_option("FILE", *file, "Defaults file")->required()->type_name("FILE");
  load->callback([file] {
    int count = LoadPlacingJsonFaults(*file, CorvConfigStore::LoadDefaultsFile);
    std::cout << "Loaded " << Count(count, "default row", "default rows") << " from " << *file
              << " into " << CorvConfigStore::ConfigStorePath() << std::endl;
  });
}
