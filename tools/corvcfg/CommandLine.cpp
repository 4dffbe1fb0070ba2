// The whole command line of corvcfg: its global options and every command
// group. Each group registers itself below; a new group is one line.
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/Provisioning.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "Commands.h"
#include "Output.h"

namespace {

const char* const kFooter =
    "Names: component.group.key names a key; component.group a group and component a "
    "component, where a command takes them.\n"
    "Values: --json TEXT, --file PATH, or standard input when neither is given.\n"
    "Output: JSON, indented when standard output is a terminal, compact otherwise.\n"
    "Exit status: 0 success; 1 the store refused the command or it failed (\"[code] message\" "
    "on standard error, validation records below it as \"  location: message\"); 2 usage "
    "error; 3 nothing there: no value stored (get prints null), no such instance, key-value "
    "entry or key; 4 the store or the schema store cannot be opened, or is locked, read-only "
    "or damaged.\n"
    "A failure whose cause the store knows, such as a locked or unusable database, is followed "
    "by \"  cause: reason\" lines. Where there is something to try, \"hint: ...\" lines "
    "follow.";

void AddFooter(CLI::App* app) {
  app->footer(kFooter);
  for (CLI::App* command : app->get_subcommands([](CLI::App*) { return true; })) AddFooter(command);
}

// The library's log lines up to the priority go to standard error.
void LogToStandardError(int priority) {
  CorvConfigStore::CSLogger::SetLevel(priority);
  CorvConfigStore::CSLogger::SetSink([](int level, const std::string& text) {
    std::fprintf(stderr, "corvcfg: log %d: %s\n", level, text.c_str());
  });
}

}  // namespace

void BuildCommandLine(CLI::App& app) {
  app.name("corvcfg");
  app.description("Sets up, reads and writes the host configuration store.");
  // Global options are accepted after a command's name too.
  app.fallthrough();
  app.set_version_flag("--version", "corvcfg " CORVCFG_VERSION, "Print the program's version");

  // The library finds its databases through the environment, so the global
  // options set it; option callbacks run before any command. The variable
  // an option writes lives as long as the option: its callback owns it.
  auto store = std::make_shared<std::string>(CorvConfigStore::ConfigStorePath());
  app.add_option("--db", *store, "Store database (sets CORV_CONFIGSTORE_DB)")
      ->type_name("PATH")
      ->capture_default_str()
      ->each([store](const std::string& path) { setenv("CORV_CONFIGSTORE_DB", path.c_str(), 1); });
  auto schemaStore = std::make_shared<std::string>(CorvConfigStore::SchemaStorePath());
  app.add_option("--schema-db", *schemaStore, "Schema store database (sets CORV_SCHEMASTORE_DB)")
      ->type_name("PATH")
      ->capture_default_str()
      ->each([schemaStore](const std::string& path) {
        setenv("CORV_SCHEMASTORE_DB", path.c_str(), 1);
      });
  CLI::Option* pretty = app.add_flag_callback(
      "--pretty", [] { SetOutputStyle(OutputStyle::kPretty); }, "Indent JSON output");
  CLI::Option* compact = app.add_flag_callback(
      "--compact", [] { SetOutputStyle(OutputStyle::kCompact); }, "Print JSON output on one line");
  pretty->excludes(compact);
  app.add_flag_function(
      "-v,--verbose",
      [](int64_t count) { LogToStandardError(static_cast<int>(std::min<int64_t>(1 + count, 4))); },
      "Show the library's log on standard error (-v information, -vv and -vvv traces)")
      // CLI11 reads the flag's values with std::stoll, which throws a bare
      // std::invalid_argument on --verbose=TEXT, and sums them unchecked,
      // which overflows on huge counts: refuse such a value first, as the
      // usage error it is. No count beyond 100 means anything more.
      ->check([](const std::string& value) -> std::string {
        try {
          const int64_t count = CLI::detail::to_flag_value(value);
          if (count >= -100 && count <= 100) return {};
        } catch (const std::exception&) {
        }
        return "not a count: " + value;
      });

  // The order of the help's command list: everyday commands first.
  AddReadCommands(app);
  AddWriteCommands(app);
  AddValidateCommand(app);
  AddDocumentCommands(app);
  AddOverviewCommands(app);
  AddNextBootCommands(app);
  AddBootCommands(app);
  AddKvCommands(app);
  AddSchemaCommands(app);
  AddDefaultsCommands(app);
  AddStoreCommands(app);
  AddHelpCommand(app);
  AddFooter(&app);
}
