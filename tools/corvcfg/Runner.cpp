// Running the parsed command line: usage errors, help and library failures
// become messages and exit statuses.
#include <corvconfigstore/Exceptions.h>

#include <iostream>

#include "Commands.h"

namespace {

// The last command named on the command line; a group of commands (the
// program itself included) when no command of the group was named.
CLI::App* Chosen(CLI::App& app) {
  CLI::App* chosen = &app;
  while (!chosen->get_subcommands().empty()) chosen = chosen->get_subcommands().front();
  return chosen;
}

// "corvcfg kv" for the kv group: the names above the command, for its help.
std::string ParentPath(CLI::App* app) {
  std::string path;
  for (CLI::App* parent = app->get_parent(); parent != nullptr; parent = parent->get_parent())
    path = path.empty() ? parent->get_name() : parent->get_name() + " " + path;
  return path;
}

bool IsGroup(CLI::App* app) {
  return !app->get_subcommands([](CLI::App*) { return true; }).empty();
}

// "[code] message", then one line per detail the library gave of why it
// failed (the database's own reason: "database is locked", a path that is
// not a database), so that an administrator sees what to fix.
void PrintStoreFailure(const CorvConfigStore::ConfigStoreException& error) {
  std::cerr << "[" << error.GetErrorCode() << "] " << error.what() << std::endl;
  for (const std::string& detail : error.GetDetails())
    std::cerr << "  cause: " << detail << std::endl;
}

}  // namespace

int RunCommandLine(CLI::App& app, int argc, char** argv) {
  try {
    // Groups do not require a command through the parser, which would report
    // a missing command before an unknown one; the check comes after.
    app.parse(argc, argv);
    CLI::App* chosen = Chosen(app);
    if (IsGroup(chosen)) {
      std::cerr << "A command is required" << std::endl << chosen->help(ParentPath(chosen));
      return kExitUsage;
    }
    return 0;
  } catch (const CLI::ParseError& error) {
    // Prints the help that was asked for, or the usage error.
    return app.exit(error) == 0 ? 0 : kExitUsage;
  } catch (const CorvConfigStore::ValidationException& error) {
    PrintStoreFailure(error);
    for (const CorvConfigStore::ErrorInfo& record : error.GetErrors())
      std::cerr << "  " << record.location << ": " << record.message << std::endl;
    return kExitFailure;
  } catch (const CorvConfigStore::ConfigStoreException& error) {
    PrintStoreFailure(error);
    return kExitFailure;
  } catch (const CommandFailure& failure) {
    std::cerr << failure.what() << std::endl;
    return failure.Status();
  } catch (const std::exception& error) {
    std::cerr << error.what() << std::endl;
    return kExitFailure;
  }
}
