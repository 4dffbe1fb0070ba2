// `corvcfg export` and `corvcfg import`: whole-store documents nested
// component, group, key, to and from files or standard input and output.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/Provisioning.h>
#include <unistd.h>

#include <iostream>
#include <set>

#include "Commands.h"
#include "Input.h"
#include "JsonText.h"
#include "Names.h"
#include "Objects.h"
#include "Output.h"
#include "Progress.h"

using CorvConfigStore::SchemaInfo;

namespace {

struct ExportOptions {
  std::vector<std::string> names;
  std::string output;
  CLI::Option* outputOption = nullptr;
};

std::string Configurations(size_t count) {
  return std::to_string(count) + (count == 1 ? " configuration" : " configurations");
}

// The keys the names cover, each once, in the schema store's order; every
// key when no name is given.
std::vector<SchemaInfo> ExportedKeys(const std::vector<std::string>& names) {
  if (names.empty()) return KnownSchemas();
  std::set<std::string> wanted;
  for (const std::string& name : names) {
    for (const SchemaInfo& schema : SchemasUnder(ParseName(name))) wanted.insert(NameOf(schema).Text());
  }
  std::vector<SchemaInfo> keys;
  for (SchemaInfo& schema : CorvConfigStore::ListSchemas())
    if (wanted.count(NameOf(schema).Text()) > 0) keys.push_back(std::move(schema));
  return keys;
}

void RunExport(const ExportOptions& options) {
  std::vector<std::shared_ptr<CorvConfigStore::FilterSpecObject>> filters =
      KeyFilters(ExportedKeys(options.names));
  if (options.outputOption->count() == 0) {
    PrintJsonStream([&filters](const CorvConfigStore::TextSink& sink,
                               CorvConfigStore::JsonLayout layout) {
      CorvConfigStore::ExportTo(filters, sink, layout);
    });
    return;
  }
  {
    Progress progress("Exporting " + Configurations(filters.size()));
    WriteTextFile(options.output, [&filters](const CorvConfigStore::TextSink& sink) {
      CorvConfigStore::ExportTo(filters, sink, LayoutFor(false));
      sink("\n", 1);
    });
  }
  std::cout << "Exported " << Configurations(filters.size()) << " to " << options.output
            << std::endl;
}

// The number of keys a document names (null ones included); zero for a
// document of another shape, which the import refuses with its records.
size_t KeysIn(const rapidjson::Value& document) {
  size_t count = 0;
  if (!document.IsObject()) return count;
  for (const auto& component : document.GetObject()) {
    if (!component.value.IsObject()) continue;
    for (const auto& group : component.value.GetObject())
      if (group.value.IsObject()) count += group.value.MemberCount();
  }
  return count;
}

void RunImport(const std::string& file) {
  if (file == "-" && IsTerminal(STDIN_FILENO))
    throw CLI::ValidationError("A document is required: give FILE or standard input");
  const std::string text = ReadTextFile(file);
  rapidjson::Document parsed;
  ParseCheckedJson(text, parsed);
  const size_t keys = KeysIn(parsed);
  std::vector<CorvConfigStore::ErrorInfo> errors;
  bool imported;
  {
    Progress progress("Importing " + Configurations(keys));
    imported = CorvConfigStore::Import(text, errors);
  }
  if (!imported)
    throw CorvConfigStore::ValidationException(
        CorvConfigStore::CS_ERR_VALIDATION, "The document is not valid; nothing was imported",
        errors);
  std::cout << "Imported " << Configurations(keys) << " from "
            << (file == "-" ? std::string("standard input") : file) << " into "
            << CorvConfigStore::ConfigStorePath() << std::endl;
}

}  // namespace

void AddDocumentCommands(CLI::App& app) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* exportCommand = app.add_subcommand(
      "export",
      "Print the stored configuration of the named keys, groups and components (all of it when "
      "none is named) as a document nested component, group, key that import restores; a key "
      "with nothing stored is null");
  exportCommand
      ->add_option("NAME", options->names,
                   "Keys (component.group.key), groups (component.group) or components")
      ->check(NameChecker(true))
      ->type_name("");
  options->outputOption =
      exportCommand->add_option("--output,-o", options->output, "Write the document to a file (mode 0600)")
          ->type_name("PATH");
  exportCommand->callback([options] { RunExport(*options); });

  auto file = std::make_shared<std::string>("-");
  CLI::App* importCommand = app.add_subcommand(
      "import",
      "Replace the stored configuration of every key a document names by what it holds, in one "
      "transaction, after checking the whole document: a key's stored instances are replaced by "
      "the document's, null removes them all; an invalid document changes nothing");
  importCommand->add_option("FILE", *file, "Document file (\"-\" or none: standard input)")
      ->type_name("FILE");
  importCommand->callback([file] { RunImport(*file); });
}
