// The bash completion of corvcfg: valid bash, every command of the program,
// and names from the schema store.
#include <stdio.h>

#include <set>

#include "CorvcfgSupport.h"

namespace {

const std::string kScript = CORV_SOURCE_DIR "/tools/corvcfg/corvcfg-completion.bash";

// What bash prints for the command, standard error included; status in
// *status. A bash that hangs is ended after a minute.
std::string Bash(const std::string& command, int* status) {
  std::string line = "timeout 60 bash -c '" + command + "' 2>&1";
  FILE* pipe = popen(line.c_str(), "r");
  if (pipe == nullptr) return "";
  std::string out;
  char chunk[4096];
  for (size_t count; (count = fread(chunk, 1, sizeof chunk, pipe)) > 0;) out.append(chunk, count);
  int result = pclose(pipe);
  *status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
  return out;
}

// The words the completion offers for the command line (the last word being
// completed), with the test's schema store.
std::set<std::string> Complete(const std::string& schemaStore, const std::string& words) {
  int status = -1;
  std::string out = Bash("source " + kScript + "; COMP_WORDS=(" CORV_BINARY_DIR "/tools/corvcfg " +
                             words + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                             "CORV_SCHEMASTORE_DB=" + schemaStore + " _corvcfg; "
                             "printf \"%s\\n\" \"${COMPREPLY[@]}\"",
                         &status);
  EXPECT_EQ(status, 0) << out;
  std::set<std::string> offered;
  std::istringstream lines(out);
  for (std::string each; std::getline(lines, each);)
    if (!each.empty()) offered.insert(each);
  return offered;
}

// The commands a help text lists under "Subcommands:".
std::set<std::string> CommandsInHelp(const std::string& help) {
  std::set<std::string> commands;
  std::istringstream lines(help);
  bool listing = false;
  for (std::string each; std::getline(lines, each);) {
    if (each == "Subcommands:") {
      listing = true;
    } else if (listing && each.empty()) {
      break;
    } else if (listing && each.rfind("  ", 0) == 0) {
      commands.insert(each.substr(2, each.find(' ', 2) - 2));
    }
  }
  return commands;
}

class CompletionTest : public CorvTest::CorvcfgTest {};

TEST_F(CompletionTest, TheScriptIsValidBash) {
  int status = -1;
  std::string out = Bash("bash -n " + kScript, &status);
  EXPECT_EQ(status, 0) << out;
  EXPECT_EQ(out, "");
}

TEST_F(CompletionTest, EveryCommandOfTheProgramIsCompleted) {
  std::set<std::string> commands = CommandsInHelp(Ok({"--help"}));
  EXPECT_EQ(commands.size(), 20u);
  EXPECT_EQ(Complete(schemaStore_, "\"\""), commands);
  // help takes the name of any other command.
  std::set<std::string> others = commands;
  others.erase("help");
  EXPECT_EQ(Complete(schemaStore_, "help \"\""), others);
  for (const char* group : {"next-boot", "boot", "kernel-options", "kv", "schema", "defaults", "store"})
    EXPECT_EQ(Complete(schemaStore_, std::string(group) + " \"\""),
              CommandsInHelp(Ok({group, "--help"})))
        << group;
}

TEST_F(CompletionTest, OptionsAndTheirValuesAreCompleted) {
  std::set<std::string> options = Complete(schemaStore_, "set lab.net.dns --");
  for (const char* option : {"--id", "--json", "--file", "--layer", "--context", "--db", "--pretty"})
    EXPECT_EQ(options.count(option), 1u) << option;
  EXPECT_EQ(Complete(schemaStore_, "delete lab.net.dns --must").count("--must-exist"), 1u);
  EXPECT_EQ(Complete(schemaStore_, "set lab.net.dns --layer \"\""),
            (std::set<std::string>{"all", "user", "vital", "cached"}));
  EXPECT_EQ(Complete(schemaStore_, "update lab.net.dns --context \"\""),
            (std::set<std::string>{"external", "internal"}));
}

TEST_F(CompletionTest, NamesComeFromTheSchemaStore) {
  SetUpStore();
  EXPECT_EQ(Complete(schemaStore_, "get lab.net."),
            (std::set<std::string>{"lab.net.dns", "lab.net.nics", "lab.net.routes"}));
  EXPECT_EQ(Complete(schemaStore_, "next-boot set l"),
            (std::set<std::string>{"lab", "lab.boot", "lab.boot.settings", "lab.net", "lab.net.dns",
                                   "lab.net.nics", "lab.net.routes"}));
  // Without schemas nothing is offered.
  EXPECT_TRUE(Complete(dir_.File("none.db"), "get l").empty());
}

}  // namespace
