// What corvcfg tells an administrator when something is wrong or absent:
// the exit status of each outcome, the cause and hint lines around the
// library's "[code] message", did-you-mean suggestions for names and
// commands, help and the version, and reads that never create a store.
#include <sys/stat.h>

#include "CorvcfgSupport.h"

using CorvTest::Outcome;

namespace {

const std::string kUsage = "Run with --help for more information.\n";
const std::string kStoreHint =
    "hint: --db PATH or CORV_CONFIGSTORE_DB names the store; `corvcfg store init` creates one\n";
const std::string kSchemaStoreHint =
    "hint: --schema-db PATH or CORV_SCHEMASTORE_DB names the schema store; `corvcfg schema load "
    "FILE` fills one\n";

bool Exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

class ErrorsAndStatusesTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override { SetUpStore(); }
};

TEST_F(ErrorsAndStatusesTest, EachOutcomeHasItsExitStatus) {
  // 0: done.
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  // 1: refused by the store.
  EXPECT_EQ(Corvcfg({"set", "lab.net.dns", "--json", R"({"ndots": 99})"}).status, 1);
  // 2: a command line that cannot be used.
  EXPECT_EQ(Corvcfg({"get"}).status, 2);
  // 3: nothing there.
  EXPECT_EQ(Absent({"get", "lab.net.nics", "--id", "eth9"}), "null\n");
  EXPECT_EQ(Absent({"get", "lab.boot.settings"}), "null\n");
  EXPECT_EQ(Absent({"kv", "get", "NOPE"}), "");
  EXPECT_EQ(Corvcfg({"get", "lab.net.nope"}).status, 3);
  // 4: a store that cannot be opened.
  EXPECT_EQ(Corvcfg({"--db", dir_.File("absent.db"), "get", "lab.net.dns"}).status, 4);
  EXPECT_EQ(Corvcfg({"--schema-db", dir_.File("absent.db"), "schema", "list"}).status, 4);
}

TEST_F(ErrorsAndStatusesTest, AStoreThatDoesNotExistIsNamed) {
  const std::string absent = dir_.File("absent.db");
  Outcome run = Corvcfg({"--db", absent, "get", "lab.net.dns"});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "[2000] Failed to connect to database\n  cause: " + absent +
                         ": no such file\n" + kStoreHint);
  // No store set: the default is named.
  Outcome unset = Corvcfg({"--db", "", "get", "lab.net.dns"});
  EXPECT_EQ(unset.status, 4);
  EXPECT_NE(unset.err.find("  cause: /etc/velmo/configstore/current-store-1: "), std::string::npos)
      << unset.err;
}

TEST_F(ErrorsAndStatusesTest, ReadsNeverCreateTheStore) {
  const std::string absent = dir_.File("absent.db");
  const std::vector<std::vector<std::string>> reads = {
      {"get", "lab.net.dns"},       {"get", "lab.net"},
      {"get", "lab.net.nics"},      {"ids", "lab.net.nics"},
      {"revisions", "lab.net.dns"}, {"export"},
      {"keys"},                     {"pending"},
      {"diff", "lab.net.dns"},      {"next-boot", "get", "lab.boot.settings"},
      {"kernel-options", "get"},    {"kv", "get", "IS_BOOT"},
      {"validate", "lab.net.dns", "--json", "{}"}};
  for (std::vector<std::string> read : reads) {
    std::string line;
    for (const std::string& word : read) line += " " + word;
    read.insert(read.begin(), {"--db", absent});
    Outcome run = Corvcfg(read);
    EXPECT_EQ(run.status, 4) << line << "\n" << run.err;
    EXPECT_EQ(run.out, "") << line;
    EXPECT_NE(run.err.find("\n  cause: " + absent + ": no such file\n" + kStoreHint),
              std::string::npos)
        << line << "\n" << run.err;
    for (const char* suffix : {"", "-wal", "-shm", "-journal"})
      EXPECT_FALSE(Exists(absent + suffix)) << line << " created " << absent << suffix;
  }
}

TEST_F(ErrorsAndStatusesTest, ASchemaStoreThatCannotBeReadIsNamedWithItsReason) {
  const std::string absent = dir_.File("absent-schemas.db");
  Outcome list = Corvcfg({"--schema-db", absent, "schema", "list"});
  EXPECT_EQ(list.status, 4);
  EXPECT_EQ(list.out, "");
  EXPECT_EQ(list.err,
            "Cannot read the schema store " + absent + ": no such file\n" + kSchemaStoreHint);
  EXPECT_FALSE(Exists(absent));

  const std::string junk = dir_.Write("junk.db", "this is no database, only some text");
  Outcome get = Corvcfg({"--schema-db", junk, "get", "lab.net.dns"});
  EXPECT_EQ(get.status, 4);
  EXPECT_EQ(get.err, "[2000] Cannot read schemas from " + junk +
                         "\n  cause: file is not a database\n" + kSchemaStoreHint);
  // A write reaches the library first; the answer is the same.
  Outcome set = Corvcfg({"--schema-db", junk, "set", "lab.net.dns", "--json", "{}"});
  EXPECT_EQ(set.status, 4);
  EXPECT_EQ(set.err, get.err);
  // The store database is no schema store.
  Outcome store = Corvcfg({"--schema-db", store_, "export"});
  EXPECT_EQ(store.status, 4);
  EXPECT_EQ(store.err, "[2000] Cannot read schemas from " + store_ +
                           "\n  cause: no such table: Schema\n" + kSchemaStoreHint);
}

TEST_F(ErrorsAndStatusesTest, AnEmptySchemaStoreSaysSo) {
  schemaStore_ = dir_.File("empty.db");
  Ok({"schema", "load", dir_.Write("none.json", "{}")});
  Outcome run = Corvcfg({"get", "lab.net.dns"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "[1037] Schema not found for: lab.net.dns\nhint: the schema store " +
                         schemaStore_ +
                         " holds no key schema; `corvcfg schema load FILE` loads them\n");
}

TEST_F(ErrorsAndStatusesTest, UnknownNamesAreAnsweredWithTheNearestKnownOnes) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"get", "lab.net.dnss"}, "lab.net.dns"},
      {{"get", "lab.net.nic"}, "lab.net.nics"},
      {{"set", "lab.nte.dns", "--json", "{}"}, "lab.net.dns"},
      {{"delete", "lab.net.dsn"}, "lab.net.dns"},
      {{"get", "lab.nett"}, "lab.net"},
      {{"export", "labb"}, "lab"},
      {{"schema", "show", "corv.kestrel.option"}, "corv.kestrel.options"},
      {{"ids", "lab.net.nicks"}, "lab.net.nics"},
  };
  for (const auto& each : cases) {
    Outcome run = Corvcfg(each.first);
    const std::string name = each.first[each.first[0] == "schema" ? 2 : 1];
    EXPECT_EQ(run.status, 3) << name;
    EXPECT_EQ(run.out, "") << name;
    EXPECT_EQ(run.err, "[1037] Schema not found for: " + name + "\nhint: did you mean " +
                           each.second + "?\n");
  }
  // Nothing near: where to look instead.
  Outcome far = Corvcfg({"get", "lab.net.xyzzy"});
  EXPECT_EQ(far.err, "[1037] Schema not found for: lab.net.xyzzy\n"
                     "hint: `corvcfg schema list --names` lists the known keys\n");
}

TEST_F(ErrorsAndStatusesTest, MistypedCommandsAreAnsweredWithTheNearestCommands) {
  Outcome gte = Corvcfg({"gte", "lab.net.dns"});
  EXPECT_EQ(gte.status, 2);
  EXPECT_EQ(gte.out, "");
  EXPECT_EQ(gte.err, "unknown command gte; did you mean get?\n" + kUsage);
  // Global options and their values before the command are stepped over.
  Outcome options = Corvcfg({"--db", store_, "-vv", "--pretty", "imprt", "x.json"});
  EXPECT_EQ(options.status, 2);
  EXPECT_EQ(options.err, "unknown command imprt; did you mean import?\n" + kUsage);
  Outcome group = Corvcfg({"kv", "et", "IS_BOOT"});
  EXPECT_EQ(group.status, 2);
  EXPECT_EQ(group.err, "unknown command kv et; did you mean kv get or kv set?\n" + kUsage);
  Outcome nested = Corvcfg({"next-boot", "rest", "lab.boot.settings"});
  EXPECT_EQ(nested.err, "unknown command next-boot rest; did you mean next-boot reset?\n" + kUsage);
  Outcome far = Corvcfg({"frobnicate"});
  EXPECT_EQ(far.status, 2);
  EXPECT_EQ(far.err, "unknown command frobnicate\n" + kUsage);
}

TEST_F(ErrorsAndStatusesTest, KeysWithAndWithoutInstancesAreExplained) {
  Outcome set = Corvcfg({"set", "lab.net.nics", "--json", R"({"mtu": 1500})"});
  EXPECT_EQ(set.status, 1);
  EXPECT_EQ(set.err,
            "[2000] Non-Singleton object should contain instanceId\n"
            "hint: lab.net.nics has instances; name one with --id ID, or give a JSON array of "
            "instances\n");
  Outcome remove = Corvcfg({"delete", "lab.net.nics"});
  EXPECT_EQ(remove.status, 1);
  EXPECT_EQ(remove.err,
            "[2000] Non-Singleton object should contain instanceId\n"
            "hint: lab.net.nics has instances; name one with --id ID, or use --all\n");
  Outcome ids = Corvcfg({"ids", "lab.net.dns"});
  EXPECT_EQ(ids.status, 1);
  EXPECT_EQ(ids.err,
            "[2000] API called for singleton object, non-singleton expected\n"
            "hint: lab.net.dns has no instances; `corvcfg get lab.net.dns` prints its value\n");
  Outcome id = Corvcfg({"get", "lab.net.dns", "--id", "x"});
  EXPECT_EQ(id.status, 1);
  EXPECT_EQ(id.err,
            "[2000] Singleton object cannot contain instanceId\n"
            "hint: lab.net.dns has no instances; leave out --id\n");
}

TEST_F(ErrorsAndStatusesTest, AnExternalWriteDuringBootIsExplained) {
  Ok({"kv", "set", "IS_BOOT", "true"});
  Outcome run = Corvcfg({"set", "lab.net.dns", "--json", R"({"ndots": 3})"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "[2000] API cannot be invoked with EXTERNAL context during boot\n"
            "  cause: the host is booting: IS_BOOT is true in the key-value table of " +
                store_ +
                "\n"
                "hint: wait until the boot has ended, or write as the host itself with --context "
                "internal\n");
  // The kernel options have no --context to offer.
  Outcome kernel = Corvcfg({"kernel-options", "update", "--json", R"({"hugepages": 1})"});
  EXPECT_EQ(kernel.status, 1);
  EXPECT_EQ(kernel.err,
            "[2000] API cannot be invoked with EXTERNAL context during boot\n"
            "  cause: the host is booting: IS_BOOT is true in the key-value table of " +
                store_ + "\nhint: wait until the boot has ended\n");
}

TEST_F(ErrorsAndStatusesTest, DeleteOfNothingSucceedsUnlessItMustExist) {
  Ok({"delete", "lab.net.dns"});
  Ok({"delete", "lab.net.nics", "--id", "eth9"});
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"delete", "lab.net.dns"}, "Nothing to delete: lab.net.dns holds no value\n"},
      {{"delete", "lab.net.nics", "--id", "eth9"},
       "Nothing to delete: lab.net.nics has no instance eth9\n"},
      {{"delete", "lab.net.nics", "--all"}, "Nothing to delete: lab.net.nics has no instances\n"},
      {{"delete", "lab.net.nics", "--filter", R"({"mtu": 1})"},
       "Nothing to delete: no instance of lab.net.nics matches the filter\n"},
  };
  for (auto each : cases) {
    each.first.push_back("--must-exist");
    Outcome run = Corvcfg(each.first);
    EXPECT_EQ(run.status, 3) << each.second;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, each.second);
  }
  // What is there is deleted.
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 1500}, {"name": "eth1"}])"});
  Ok({"delete", "lab.net.dns", "--must-exist"});
  EXPECT_EQ(Absent({"get", "lab.net.dns"}), "null\n");
  Ok({"delete", "lab.net.nics", "--id", "eth1", "--must-exist"});
  Ok({"delete", "lab.net.nics", "--filter", R"({"mtu": 1500})", "--must-exist"});
  EXPECT_EQ(Ok({"ids", "lab.net.nics"}), "[]\n");
}

TEST_F(ErrorsAndStatusesTest, HelpOfACommandIsItsHelpOption) {
  EXPECT_EQ(Ok({"help"}), Ok({"--help"}));
  EXPECT_EQ(Ok({"help", "get"}), Ok({"get", "--help"}));
  EXPECT_EQ(Ok({"help", "next-boot"}), Ok({"next-boot", "--help"}));
  EXPECT_EQ(Ok({"help", "next-boot", "set"}), Ok({"next-boot", "set", "--help"}));
  EXPECT_NE(Ok({"help", "--help"}).find("Usage: corvcfg help [OPTIONS] [COMMAND...]"),
            std::string::npos);
  Outcome unknown = Corvcfg({"help", "kv", "gett"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.out, "");
  EXPECT_EQ(unknown.err, "unknown command kv gett; did you mean kv get?\n" + kUsage);
}

TEST_F(ErrorsAndStatusesTest, VersionIsTheProjects) {
  EXPECT_EQ(Ok({"--version"}), "corvcfg " CORV_PROJECT_VERSION "\n");
}

}  // namespace
