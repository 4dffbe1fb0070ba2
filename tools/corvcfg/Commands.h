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
// `corvcfg help [COMMAND...]`.
void AddHelpCommand(CLI::App& app);

// What the next-boot store holds for the keys of schemas tagged
// @rebootRequiredConfigStore, as a document nested component, group, key; a
// key with nothing staged is null. Keys without the tag are left out.
std::string NextBootDocument(const std::vector<CorvConfigStore::SchemaInfo>& schemas);

// --context external|internal on a writing command.
CLI::Option* AddContextOption(CLI::App* command, std::string& context);
CorvConfigStore::USERDATA_CONTEXT ContextNamed(const std::string& name);

// Makes app the program's command line: its name, global options and every
// command, each command running when a parse chooses it.
void BuildCommandLine(CLI::App& app);

// Parses the command line and runs the chosen command. Returns the exit
// status: 0 on success (help and version included), kExitUsage for a usage
// error (an unknown command with the commands it may be a slip for), else
// the status of the Failure the command threw, or of the library's failure
// as Explain reports it (printed on standard error).
int RunCommandLine(CLI::App& app, int argc, char** argv);
