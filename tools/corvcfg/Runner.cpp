// Running the parsed command line: command words, help, usage errors and
// failures become messages and exit statuses.
#include <corvconfigstore/Exceptions.h>

#include <iostream>

#include "Commands.h"
#include "Failures.h"
#include "Suggest.h"

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

// "next-boot delete": the command's words below the program.
std::string CommandWords(CLI::App* app) {
  std::string words;
  for (; app->get_parent() != nullptr; app = app->get_parent())
    words = words.empty() ? app->get_name() : app->get_name() + " " + words;
  return words;
}

std::vector<CLI::App*> CommandsOf(CLI::App* app) {
  return app->get_subcommands([](CLI::App*) { return true; });
}

bool IsGroup(CLI::App* app) { return !CommandsOf(app).empty(); }

// The command of the group the word names. A word that names none is a
// usage error, with the commands it may be a slip for.
CLI::App* CommandNamed(CLI::App* group, const std::string& word) {
  std::vector<std::string> names;
  for (CLI::App* command : CommandsOf(group)) {
    if (command->check_name(word)) return command;
    names.push_back(command->get_name());
  }
  const std::string prefix = group->get_parent() == nullptr ? "" : CommandWords(group) + " ";
  std::vector<std::string> nearest = Nearest(word, names);
  for (std::string& name : nearest) name = prefix + name;
  const std::string suggestion = DidYouMean(nearest);
  throw CLI::ValidationError("unknown command " + prefix + word +
                             (suggestion.empty() ? "" : "; " + suggestion));
}

// True when the option the word names (--name or --name=value) takes its
// value from the next word.
bool TakesValue(CLI::App* command, const std::string& word) {
  if (word.find('=') != std::string::npos) return false;
  for (CLI::App* app = command; app != nullptr; app = app->get_parent())
    if (const CLI::Option* option = app->get_option_no_throw(word))
      return option->get_items_expected_max() > 0;
  return false;
}

// Walks the command words of the command line down the command tree,
// stepping over options and their values, before the parser sees them: a
// word that names no command of a group is refused with suggestions (the
// parser would only call it unexpected), and "help [COMMAND...]" prints the
// help of the command named, as its --help would. Returns true when it
// printed help.
bool WalkCommandWords(CLI::App& app, const std::vector<std::string>& args) {
  CLI::App* command = &app;
  bool help = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& word = args[i];
    if (word == "--") break;
    if (word.size() > 1 && word[0] == '-') {
      // `corvcfg help --help` is the help of the help command.
      if (help && (word == "--help" || word == "-h")) return false;
      if (TakesValue(command, word)) ++i;
      continue;
    }
    if (!help && command == &app && word == "help") {
      help = true;
      continue;
    }
    if (!IsGroup(command)) break;  // the command's own arguments
    command = CommandNamed(command, word);
  }
  if (help) std::cout << command->help(ParentPath(command)) << std::flush;
  return help;
}

// What the command line named, for the hints of a failure.
Invocation InvocationOf(CLI::App& app) {
  CLI::App* chosen = Chosen(app);
  Invocation invocation;
  invocation.command = CommandWords(chosen);
  const CLI::Option* name = chosen->get_option_no_throw("NAME");
  if (name != nullptr && name->count() == 1) invocation.name = name->results().front();
  invocation.takesAll = chosen->get_option_no_throw("--all") != nullptr;
  invocation.takesContext = chosen->get_option_no_throw("--context") != nullptr;
  return invocation;
}

int Report(const Failure& failure) {
  failure.Print(std::cerr);
  return failure.Status();
}

}  // namespace

void AddHelpCommand(CLI::App& app) {
  // WalkCommandWords answers it; the parser sees it only for its own help.
  app.add_subcommand("help",
                     "Print the help of a command, as COMMAND --help does (of the program "
                     "without one)")
      ->add_option("COMMAND", "A command, and a command of its group")
      ->expected(0, CLI::detail::expected_max_vector_size)
      ->type_name("");
}

int RunCommandLine(CLI::App& app, int argc, char** argv) {
  try {
    if (WalkCommandWords(app, std::vector<std::string>(argv + 1, argv + argc))) return 0;
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
    // Prints the help or version that was asked for, or the usage error.
    return app.exit(error) == 0 ? 0 : kExitUsage;
  } catch (const Failure& failure) {
    return Report(failure);
  } catch (const CorvConfigStore::ConfigStoreException& error) {
    return Report(Explain(error, InvocationOf(app)));
  } catch (const std::exception& error) {
    std::cerr << error.what() << std::endl;
    return kExitFailure;
  }
}
