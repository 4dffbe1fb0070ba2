// The command groups of corvcfg, one registration function each, helpers
// several of them share, and the runner that turns failures into exit
// statuses.
#pragma once

#include <CLI/CLI.hpp>
#include <corvconfigstore/SchemaList.h>
#include <corvconfigstore/Types.h>

#include <stdexcept>
#include <string>
#include <vector>

// Exit statuses scripts branch on: 1 the store refused the command (a
// validation or a rule), 2 the command line cannot be used, 3 nothing is
// there (no value stored, no such instance, key-value entry or key), 4 the
// store or the schema store cannot be opened, or is locked, read-only or
// damaged.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitAbsent = 3;
constexpr int kExitUnavailable = 4;

// A failure the program finds itself, outside the store's own errors: its
// message goes to standard error as it is, and the program ends with the
// status (kExitAbsent when nothing is there).
class CommandFailure : public std::runtime_error {
 public:
  CommandFailure(int status, const std::string& message)
      : std::runtime_error(message), status_(status) {}
  int Status() const { return status_; }

 private:
  int status_;
};

// `corvcfg store ...`: setting up store databases.
void AddStoreCommands(CLI::App& app);
// `corvcfg kv ...`: the key-value table.
void AddKvCommands(CLI::App& app);
// `corvcfg schema ...` and `corvcfg defaults ...`: loading and showing schemas,
// loading defaults.
void AddSchemaCommands(CLI::App& app);
void AddDefaultsCommands(CLI::App& app);
// `corvcfg get`, `ids`, `revisions`.
void AddReadCommands(CLI::App& app);
// `corvcfg set`, `update`, `delete`.
void AddWriteCommands(CLI::App& app);
// `corvcfg validate`.
void AddValidateCommand(CLI::App& app);
// `corvcfg export`, `import`.
void AddDocumentCommands(CLI::App& app);
// `corvcfg keys`, `pending`, `diff`: overviews of the store.
void AddOverviewCommands(CLI::App& app);
// `corvcfg next-boot ...`.
void AddNextBootCommands(CLI::App& app);
// `corvcfg boot ...` and `corvcfg kernel-options ...`.
void AddBootCommands(CLI::App& app);

// What the next-boot store holds for the keys of schemas tagged
// @rebootRequiredConfigStore, as a document nested component, group, key; a
// key with nothing staged is null. Keys without the tag are left out.
std::string NextBootDocument(const std::vector<CorvConfigStore::SchemaInfo>& schemas);

// --context external|internal on a writing command.
CLI::Option* AddContextOption(CLI::App* command, std::string& context);
CorvConfigStore::USERDATA_CONTEXT ContextNamed(const std::string& name);

// Parses the command line and runs the chosen command. Returns the exit
// status: 0 on success (help included), kExitFailure when the command threw
// (a ConfigStoreException is printed as "[code] message" on standard error,
// followed by the records of a ValidationException, one a line), kExitUsage
// for a usage error, the status of a CommandFailure after its message.
int RunCommandLine(CLI::App& app, int argc, char** argv);
