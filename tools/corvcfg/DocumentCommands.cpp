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

// "1 key", "3 keys".
std::string Counted(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// What a document holds: its keys (null ones included) and their instances
// (a key without instances counts one, a null key none).
struct DocumentCount {
  size_t keys = 0;
  size_t instances = 0;

  std::string Text() const { return Counted(keys, "key") + ", " + Counted(instances, "instance"); }
};

// Counts the keys and instances of a document's JSON text as it streams
// past, piece by piece: keys are the values three levels down, instances
// the objects among them and in their arrays.
class StreamCounter {
 public:
  void Feed(const char* text, size_t length) {
    for (size_t i = 0; i < length; ++i) Step(text[i]);
  }
  const DocumentCount& Count() const { return count_; }

 private:
  static constexpr size_t kKeyLevel = 3;

  void Step(char c) {
    if (inString_) {
      if (escaped_)
        escaped_ = false;
      else if (c == '\\')
        escaped_ = true;
      else if (c == '"')
        inString_ = false;
      return;
    }
    switch (c) {
      case '"':
        inString_ = true;
        break;
      case '{':
      case '[':
        if (depth_ == kKeyLevel) {
          ++count_.keys;
          keyIsArray_ = c == '[';
          if (c == '{') ++count_.instances;
        } else if (depth_ == kKeyLevel + 1 && keyIsArray_ && c == '{') {
          ++count_.instances;
        }
        ++depth_;
        break;
      case '}':
      case ']':
        if (depth_ > 0) --depth_;
        break;
      case 'n':  // null: the only bare word at the level of keys
        if (depth_ == kKeyLevel) ++count_.keys;
        break;
      default:
        break;
    }
  }

  DocumentCount count_;
  size_t depth_ = 0;
  bool inString_ = false;
  bool escaped_ = false;
  bool keyIsArray_ = false;
};

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

// Exports the keys to sink, counting what passes and showing it on the
// progress bar (unless the bar would fall among the document's own lines).
DocumentCount ExportCounted(
    const std::vector<std::shared_ptr<CorvConfigStore::FilterSpecObject>>& filters,
    const CorvConfigStore::TextSink& sink, CorvConfigStore::JsonLayout layout, bool barShown) {
  StreamCounter counter;
  Progress progress("Exporting", filters.size(), "keys", "instances", barShown);
  CorvConfigStore::ExportTo(
      filters,
      [&](const char* text, size_t length) {
        counter.Feed(text, length);
        progress.Set(counter.Count().keys);
        progress.SetExtra(counter.Count().instances);
        sink(text, length);
      },
      layout);
  return counter.Count();
}

void RunExport(const ExportOptions& options) {
  std::vector<std::shared_ptr<CorvConfigStore::FilterSpecObject>> filters =
      KeyFilters(ExportedKeys(options.names));
  DocumentCount count;
  if (options.outputOption->count() == 0) {
    PrintJsonStream([&](const CorvConfigStore::TextSink& sink, CorvConfigStore::JsonLayout layout) {
      count = ExportCounted(filters, sink, layout, !IsTerminal(STDOUT_FILENO));
    });
    // Standard output holds the document alone; a person watching is told
    // what it holds.
    if (IsTerminal(STDERR_FILENO)) std::cerr << "Exported " << count.Text() << std::endl;
    return;
  }
  WriteTextFile(options.output, [&](const CorvConfigStore::TextSink& sink) {
    count = ExportCounted(filters, sink, LayoutFor(false), true);
    sink("\n", 1);
  });
  std::cout << "Exported " << count.Text() << " to " << options.output << std::endl;
}

// The keys and instances of a parsed document; nothing for a document of
// another shape, which the import refuses with its records.
DocumentCount CountDocument(const rapidjson::Value& document) {
  DocumentCount count;
  if (!document.IsObject()) return count;
  for (const auto& component : document.GetObject()) {
    if (!component.value.IsObject()) continue;
    for (const auto& group : component.value.GetObject()) {
      if (!group.value.IsObject()) continue;
      for (const auto& key : group.value.GetObject()) {
        ++count.keys;
        if (key.value.IsArray())
          count.instances += key.value.Size();
        else if (!key.value.IsNull())
          ++count.instances;
      }
    }
  }
  return count;
}

void RunImport(const std::string& file) {
  const std::string text = ReadDocument(file);
  rapidjson::Document parsed;
  ParseCheckedJson(text, parsed);
  const DocumentCount count = CountDocument(parsed);
  std::vector<CorvConfigStore::ErrorInfo> errors;
  bool imported;
  {
    Progress progress("Importing", count.instances, "instances");
    imported = CorvConfigStore::Import(text, errors, [&progress](size_t written, size_t total) {
      progress.SetTotal(total);
      progress.Set(written);
    });
  }
  if (!imported)
    throw CorvConfigStore::ValidationException(
        CorvConfigStore::CS_ERR_VALIDATION, "The document is not valid; nothing was imported",
        errors);
  std::cout << "Imported " << count.Text() << " from "
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
