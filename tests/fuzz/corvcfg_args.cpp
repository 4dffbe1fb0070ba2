// Fuzz target: corvcfg's command line. The input, split at NUL bytes, is
// the argument vector, parsed by the program's own command tree with every
// command's action switched off (nothing is read or written). A tree is
// parsed again for many inputs, as CLI11 allows: building it took four
// fifths of an input's time. One input in 64 is also parsed by a tree built
// afresh, and both parses must agree, so state the reused tree kept from an
// earlier input would be a finding too; the fresh tree is then the one
// reused, since CLI11 keeps adding to a tree's record of the order of the
// options it parsed. What the parse accepts then goes through the
// program's value parsing as a command would: each NAME is taken apart and
// must give its own text back, and a --json value or a --filter becomes
// objects or a filter of the named key (example key schemas in a temporary
// schema store). Refusals are usage errors or coded exceptions. Uses the
// public headers only, as the program.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/Provisioning.h>
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "Names.h"
#include "Objects.h"
#include "support/TempDir.h"

namespace {

// More arguments than any command takes.
constexpr size_t kMaxArguments = 64;

CorvTest::TempDir* directory = nullptr;

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "fuzz property broken: %s\n", what.c_str());
  std::abort();
}

// The program's log goes nowhere; the databases are the temporary ones.
// Restored after every parse, since --db, --schema-db and -v change them.
void UseTemporaryEnvironment() {
  CorvConfigStore::CSLogger::SetLevel(3);
  CorvConfigStore::CSLogger::SetSink([](int, const std::string&) {});
  setenv("CORV_SCHEMASTORE_DB", directory->File("schema-store.db").c_str(), 1);
  setenv("CORV_CONFIGSTORE_DB", directory->File("store.db").c_str(), 1);
}

// The program's command line that stops once the parse is complete (every
// value given to its option and checked), before any command runs.
class ParseOnly : public CLI::App {
 public:
  struct Parsed {};

 private:
  void pre_callback() override { throw Parsed(); }
};

// The program's command tree that parses the inputs.
std::unique_ptr<ParseOnly> commandLine;

// The command the parse chose: the deepest one named.
CLI::App* Chosen(CLI::App* app) {
  while (!app->get_subcommands().empty()) app = app->get_subcommands().front();
  return app;
}

// What a parse gave: whether it was refused, and in words to compare the
// usage error, or the commands chosen with the values of each option given.
struct Outcome {
  bool refused;
  std::string words;
};

// Parses the arguments with the tree; a command that would have run is a
// broken property.
Outcome Parse(ParseOnly& app, std::vector<std::string> arguments) {
  try {
    app.parse(arguments);
    Fail("a command would have run");
  } catch (const ParseOnly::Parsed&) {
  } catch (const CLI::Error& error) {
    return {true, error.get_name() + ": " + error.what()};
  }
  std::string words;
  for (CLI::App* command = &app;;) {
    words += " " + command->get_name();
    for (const CLI::Option* option : command->get_options()) {
      if (option->count() == 0) continue;
      words += " " + option->get_name() + "=";
      for (const std::string& value : option->results()) words += "[" + value + "]";
    }
    if (command->get_subcommands().empty()) break;
    command = command->get_subcommands().front();
  }
  return {false, words};
}

// The values given to an option of the command, none when it has no such
// option or it was not given.
std::vector<std::string> ValuesOf(CLI::App* command, const std::string& name) {
  const CLI::Option* option = command->get_option_no_throw(name);
  if (option == nullptr || option->count() == 0) return {};
  return option->results();
}

void ParseValues(CLI::App* command) {
  std::vector<std::string> names = ValuesOf(command, "NAME");
  for (const std::string& name : names)
    if (ParseName(name).Text() != name) Fail("name does not give its text back: " + name);
  if (names.size() != 1) return;
  const ConfigName key = ParseName(names.front());
  std::vector<std::string> ids = ValuesOf(command, "--id");
  const std::string id = ids.empty() ? std::string() : ids.back();
  for (const std::string& json : ValuesOf(command, "--json")) ObjectsFromValue(key, id, json);
  for (const std::string& filter : ValuesOf(command, "--filter")) FilterFromValue(key, id, filter);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static CorvTest::TempDir made;
  directory = &made;
  UseTemporaryEnvironment();
  CorvConfigStore::LoadSchemaFile(std::string(CORV_SOURCE_DIR) +
                                  "/examples/schemas/host-schemas.json");
  commandLine = std::make_unique<ParseOnly>();
  BuildCommandLine(*commandLine);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // CLI11 takes the arguments last first.
  std::vector<std::string> arguments;
  const char* text = reinterpret_cast<const char*>(data);
  size_t start = 0;
  for (size_t i = 0; i <= size && arguments.size() < kMaxArguments; ++i) {
    if (i == size || text[i] == '\0') {
      arguments.insert(arguments.begin(), std::string(text + start, i - start));
      start = i + 1;
    }
  }

  const Outcome outcome = Parse(*commandLine, arguments);
  static uint64_t inputs = 0;
  if (++inputs % 64 == 0) {
    UseTemporaryEnvironment();
    auto fresh = std::make_unique<ParseOnly>();
    BuildCommandLine(*fresh);
    const Outcome freshOutcome = Parse(*fresh, arguments);
    if (freshOutcome.refused != outcome.refused || freshOutcome.words != outcome.words)
      Fail("the reused command tree parses otherwise than a fresh one: " + outcome.words + " | " +
           freshOutcome.words);
    commandLine = std::move(fresh);
  }
  UseTemporaryEnvironment();
  if (outcome.refused) return 0;
  try {
    ParseValues(Chosen(commandLine.get()));
  } catch (const CLI::Error&) {
  } catch (const CorvConfigStore::ConfigStoreException&) {
  }
  return 0;
}
