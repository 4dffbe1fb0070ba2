// How corvcfg talks to a person: indented or compact JSON by terminal and by
// option, where values come from, usage errors, help on every command, and
// the library's log on request.
#include "CorvcfgSupport.h"

using CorvTest::Outcome;
using CorvTest::RunRequest;
using CorvTest::Stream;

namespace {

const char* const kDnsIndented =
    "{\n"
    "  \"servers\": [\n"
    "    \"10.0.0.1\"\n"
    "  ],\n"
    "  \"ndots\": 2\n"
    "}\n";
const char* const kDnsCompact = "{\"servers\":[\"10.0.0.1\"],\"ndots\":2}\n";

class OutputAndUsageTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override {
    SetUpStore();
    Ok({"set", "lab.net.dns", "--json", R"({"servers": ["10.0.0.1"], "ndots": 2})"});
  }
};

TEST_F(OutputAndUsageTest, CompactThroughAPipeIndentedOnATerminal) {
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), kDnsCompact);
  RunRequest request;
  request.args = {"get", "lab.net.dns"};
  request.out = Stream::kTerminal;
  Outcome terminal = Corvcfg(request);
  EXPECT_EQ(terminal.status, 0) << terminal.err;
  EXPECT_EQ(terminal.out, kDnsIndented);
}

TEST_F(OutputAndUsageTest, PrettyAndCompactForceTheStyle) {
  EXPECT_EQ(Ok({"--pretty", "get", "lab.net.dns"}), kDnsIndented);
  // Global options may follow the command.
  EXPECT_EQ(Ok({"get", "lab.net.dns", "--pretty"}), kDnsIndented);
  RunRequest request;
  request.args = {"--compact", "get", "lab.net.dns"};
  request.out = Stream::kTerminal;
  Outcome terminal = Corvcfg(request);
  EXPECT_EQ(terminal.status, 0) << terminal.err;
  EXPECT_EQ(terminal.out, kDnsCompact);
  // Arrays and scalars are styled alike.
  EXPECT_EQ(Ok({"--pretty", "ids", "lab.net.nics"}), "[]\n");
  EXPECT_EQ(Ok({"--pretty", "revisions", "lab.net.dns"}), "1\n");

  Outcome both = Corvcfg({"--pretty", "--compact", "get", "lab.net.dns"});
  EXPECT_EQ(both.status, 2);
  EXPECT_EQ(both.out, "");
  EXPECT_EQ(both.err, "--pretty excludes --compact\nRun with --help for more information.\n");
}

TEST_F(OutputAndUsageTest, AValueIsNotAwaitedFromATerminal) {
  RunRequest request;
  request.args = {"set", "lab.net.dns"};
  request.in = Stream::kTerminal;
  Outcome run = Corvcfg(request);
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "A value is required: give --json TEXT, --file PATH or standard input\n"
            "Run with --help for more information.\n");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), kDnsCompact);
}

TEST_F(OutputAndUsageTest, FilesThatCannotBeReadAreReported) {
  std::string absent = dir_.File("absent.json");
  Outcome missing = Corvcfg({"set", "lab.net.dns", "--file", absent});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "[1081] Cannot read " + absent + ": No such file or directory\n");
  Outcome directory = Corvcfg({"set", "lab.net.dns", "--file", dir_.Path()});
  EXPECT_EQ(directory.status, 1);
  EXPECT_EQ(directory.err, "[1081] Cannot read " + dir_.Path() + ": Is a directory\n");
  Outcome both = Corvcfg({"set", "lab.net.dns", "--json", "{}", "--file", absent});
  EXPECT_EQ(both.status, 2);
  EXPECT_EQ(both.err, "--json excludes --file\nRun with --help for more information.\n");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), kDnsCompact);
}

TEST_F(OutputAndUsageTest, AMissingStoreIsAStoreError) {
  Outcome run = Corvcfg({"--db", dir_.File("absent.db"), "get", "lab.net.dns"});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "[2000] Failed to connect to database\n"
            "  cause: " + dir_.File("absent.db") + ": no such file\n"
            "hint: --db PATH or CORV_CONFIGSTORE_DB names the store; `corvcfg store init` "
            "creates one\n");
}

TEST_F(OutputAndUsageTest, EveryCommandHasHelpWithTheExitStatuses) {
  const std::vector<std::vector<std::string>> commands = {
      {},
      {"get"},
      {"ids"},
      {"revisions"},
      {"set"},
      {"update"},
      {"delete"},
      {"validate"},
      {"export"},
      {"import"},
      {"next-boot"},
      {"next-boot", "get"},
      {"next-boot", "set"},
      {"next-boot", "delete"},
      {"next-boot", "reset"},
      {"boot"},
      {"boot", "confirm"},
      {"boot", "confirm-partial"},
      {"boot", "info"},
      {"kernel-options"},
      {"kernel-options", "get"},
      {"kernel-options", "update"},
      {"kv"},
      {"kv", "get"},
      {"kv", "set"},
      {"schema"},
      {"schema", "list"},
      {"schema", "show"},
      {"schema", "version"},
      {"schema", "load"},
      {"defaults"},
      {"defaults", "load"},
      {"store"},
      {"store", "init"},
      {"help"}};
  for (std::vector<std::string> command : commands) {
    std::string name = "corvcfg";
    for (const std::string& word : command) name += " " + word;
    command.push_back("--help");
    Outcome run = Corvcfg(command);
    EXPECT_EQ(run.status, 0) << name;
    EXPECT_NE(run.out.find("Usage: " + name + " "), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\nExit status: 0 success; 1 the store refused the command or it "
                           "failed (\"[code] message\" on standard error, validation records "
                           "below it as \"  location: message\"); 2 usage error; 3 nothing "
                           "there: no value stored (get prints null), no such instance, "
                           "key-value entry or key; 4 the store or the schema store cannot be "
                           "opened, or is locked, read-only or damaged.\n"),
              std::string::npos)
        << name << "\n"
        << run.out;
  }
}

TEST_F(OutputAndUsageTest, VerboseShowsTheLibrarysLog) {
  // The log has the library's own words; the failure names the key dotted.
  const std::string unknown =
      "[1037] Schema not found for: lab.net.nope\n"
      "hint: `corvcfg schema list --names` lists the known keys\n";
  Outcome quiet = Corvcfg({"get", "lab.net.nope"});
  EXPECT_EQ(quiet.err, unknown);
  Outcome verbose = Corvcfg({"-v", "get", "lab.net.nope"});
  EXPECT_EQ(verbose.status, 3);
  EXPECT_EQ(verbose.err,
            "corvcfg: log 0: [1037] Schema not found for: comp lab grp net key nope\n" + unknown);
  // -vvv lets the traces of the store's operations through.
  Outcome traces = Corvcfg({"-vvv", "get", "lab.net.dns"});
  EXPECT_EQ(traces.status, 0);
  EXPECT_EQ(traces.out, kDnsCompact);
  EXPECT_NE(traces.err.find("corvcfg: log 4: Get : comp lab grp net key dns, context: 1\n"),
            std::string::npos)
      << traces.err;
}

TEST_F(OutputAndUsageTest, VerboseWithAValueThatIsNoCountIsAUsageError) {
  // A count up to 100 or a yes/no word is taken; any other text is refused
  // before a command runs, where it once escaped as a bare "stoll", and so
  // is a count so large that the sum of two overflowed.
  for (const std::string value :
       {"Orr", "x", "99999999999999999999999", "6688888888888888887", "101", "-101"}) {
    Outcome run = Corvcfg({"--verbose=" + value, "get", "lab.net.dns"});
    EXPECT_EQ(run.status, 2) << value;
    EXPECT_EQ(run.out, "") << value;
    EXPECT_EQ(run.err,
              "--verbose: not a count: " + value + "\nRun with --help for more information.\n")
        << value;
  }
  for (const std::string value : {"2", "100", "no"}) {
    Outcome counted = Corvcfg({"--verbose=" + value, "get", "lab.net.dns"});
    EXPECT_EQ(counted.status, 0) << value << ": " << counted.err;
    EXPECT_EQ(counted.out, kDnsCompact) << value;
  }
}

}  // namespace
