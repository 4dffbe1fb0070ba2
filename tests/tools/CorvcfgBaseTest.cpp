// The corvcfg program's base: global options, exit statuses, help, `store
// init` and `kv get` / `kv set`, run as a separate process.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <sstream>
#include <vector>

#include "support/RunProgram.h"
#include "support/TempDir.h"

namespace {

using Result = CorvTest::ProgramResult;

bool HasLine(const std::string& text, const std::string& line) {
  std::istringstream lines(text);
  for (std::string each; std::getline(lines, each);)
    if (each == line) return true;
  return false;
}

class Corvcfg : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = dir_.File("store.db");
    // By default the program finds no store of its own.
    environment_["CORV_CONFIGSTORE_DB"] = dir_.File("env-store.db");
    environment_["CORV_SCHEMASTORE_DB"] = dir_.File("env-schema.db");
  }

  // Runs corvcfg with the arguments, this process's environment and the
  // overrides of environment_.
  Result Run(const std::vector<std::string>& args) {
    Result result = CorvTest::RunProgram(CORV_BINARY_DIR "/tools/corvcfg", args, environment_, dir_);
    EXPECT_NE(-1, result.status) << "corvcfg did not run to its end";
    return result;
  }

  CorvTest::TempDir dir_;
  std::string store_;
  std::map<std::string, std::string> environment_;
};

mode_t ModeOf(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return 0;
  return status.st_mode & 07777;
}

TEST_F(Corvcfg, StoreInitCreatesTheStoreWithMode0600AndIsIdempotent) {
  Result first = Run({"--db", store_, "store", "init"});
  EXPECT_EQ(0, first.status) << first.err;
  EXPECT_EQ("Created store " + store_ + "\n", first.out);
  EXPECT_EQ(0600u, ModeOf(store_));

  Result again = Run({"--db", store_, "store", "init"});
  EXPECT_EQ(0, again.status) << again.err;
  EXPECT_EQ("Store " + store_ + " already existed; its tables are complete\n", again.out);
  EXPECT_EQ(0600u, ModeOf(store_));
}

TEST_F(Corvcfg, StoreInitUsesTheEnvironmentWithoutDb) {
  environment_["CORV_CONFIGSTORE_DB"] = store_;
  Result result = Run({"store", "init"});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_EQ(0600u, ModeOf(store_));
}

TEST_F(Corvcfg, StoreInitCreatesTheMissingDirectoriesWithMode0700) {
  const std::string path = dir_.File("etc/velmo/store.db");
  Result first = Run({"--db", path, "store", "init"});
  EXPECT_EQ(0, first.status) << first.err;
  EXPECT_EQ("Created directory " + dir_.File("etc") + "\nCreated directory " +
                dir_.File("etc/velmo") + "\nCreated store " + path + "\n",
            first.out);
  EXPECT_EQ("", first.err);
  EXPECT_EQ(0700u, ModeOf(dir_.File("etc")));
  EXPECT_EQ(0700u, ModeOf(dir_.File("etc/velmo")));
  EXPECT_EQ(0600u, ModeOf(path));
  Result again = Run({"--db", path, "store", "init"});
  EXPECT_EQ("Store " + path + " already existed; its tables are complete\n", again.out);
}

TEST_F(Corvcfg, StoreInitFailureIsReportedWithItsCode) {
  // A file where a directory belongs: nothing to create above the store,
  // and the store itself cannot be made.
  const std::string file = dir_.Write("plain-file", "text");
  std::string path = file + "/store.db";
  Result result = Run({"--db", path, "store", "init"});
  EXPECT_EQ(1, result.status);
  EXPECT_TRUE(HasLine(result.err, "[2000] Failed to provision store " + path +
                                      ": cannot create the file: Not a directory"))
      << result.err;
  Result deeper = Run({"--db", file + "/sub/store.db", "store", "init"});
  EXPECT_EQ(1, deeper.status);
  EXPECT_TRUE(HasLine(deeper.err, "[2000] Cannot create directory " + file + "/sub: Not a directory"))
      << deeper.err;
  EXPECT_EQ("", deeper.out);
}

TEST_F(Corvcfg, KvSetAndGetRoundTrip) {
  ASSERT_EQ(0, Run({"--db", store_, "store", "init"}).status);
  Result set = Run({"--db", store_, "kv", "set", "IS_BOOT", "true"});
  EXPECT_EQ(0, set.status) << set.err;
  EXPECT_EQ("", set.out);
  Result get = Run({"--db", store_, "kv", "get", "IS_BOOT"});
  EXPECT_EQ(0, get.status) << get.err;
  EXPECT_EQ("true\n", get.out);
  // Global options are also accepted after the command.
  Result after = Run({"kv", "get", "IS_BOOT", "--db", store_});
  EXPECT_EQ(0, after.status) << after.err;
  EXPECT_EQ("true\n", after.out);
}

TEST_F(Corvcfg, KvGetOfAnAbsentKeyPrintsNothingAndExitsWithThree) {
  ASSERT_EQ(0, Run({"--db", store_, "store", "init"}).status);
  Result get = Run({"--db", store_, "kv", "get", "NOTIFY_NEXD"});
  EXPECT_EQ(3, get.status) << get.err;
  EXPECT_EQ("", get.out);
  EXPECT_EQ("", get.err);
}

TEST_F(Corvcfg, KvGetOnAMissingStoreFailsWithCode1002) {
  Result result = Run({"--db", store_, "kv", "get", "IS_BOOT"});
  EXPECT_EQ(4, result.status);
  EXPECT_EQ("", result.out);
  EXPECT_TRUE(HasLine(result.err,
                      "[1002] Cannot open the configuration store database: "
                      "/etc/velmo/configstore/current-store-1"))
      << result.err;
  // The message names the default store; the cause names the one in force.
  EXPECT_TRUE(HasLine(result.err, "  cause: " + store_ + ": no such file")) << result.err;
  EXPECT_EQ(0u, ModeOf(store_));  // not created
}

TEST_F(Corvcfg, UsageErrorsExitWithTwo) {
  Result unknown = Run({"no-such-command"});
  EXPECT_EQ(2, unknown.status);
  EXPECT_TRUE(HasLine(unknown.err, "unknown command no-such-command")) << unknown.err;
  EXPECT_EQ(2, Run({}).status);
  Result group = Run({"kv"});
  EXPECT_EQ(2, group.status);
  EXPECT_TRUE(HasLine(group.err, "A command is required")) << group.err;
  EXPECT_TRUE(HasLine(group.err, "Usage: corvcfg kv [OPTIONS] [SUBCOMMAND]")) << group.err;
  EXPECT_EQ(2, Run({"kv", "no-such-command"}).status);
  EXPECT_EQ(2, Run({"kv", "get"}).status);
  EXPECT_EQ(2, Run({"kv", "set", "only-key"}).status);
  EXPECT_EQ(2, Run({"store", "init", "extra"}).status);
  Result result = Run({"--no-such-option", "kv", "get", "K"});
  EXPECT_EQ(2, result.status);
  EXPECT_NE(std::string::npos, result.err.find("--no-such-option")) << result.err;
}

TEST_F(Corvcfg, HelpWorksOnEveryCommand) {
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"--help"},
                                             {"store", "--help"},
                                             {"store", "init", "--help"},
                                             {"kv", "--help"},
                                             {"kv", "get", "--help"},
                                             {"kv", "set", "--help"}}) {
    Result result = Run(args);
    EXPECT_EQ(0, result.status) << args[0];
    EXPECT_NE(std::string::npos, result.out.find("Usage:")) << result.out;
  }
  Result top = Run({"--help"});
  EXPECT_NE(std::string::npos, top.out.find("store")) << top.out;
  EXPECT_NE(std::string::npos, top.out.find("kv")) << top.out;
}

TEST_F(Corvcfg, HelpShowsTheDatabasesInForce) {
  environment_["CORV_CONFIGSTORE_DB"] = dir_.File("from-env.db");
  environment_["CORV_SCHEMASTORE_DB"] = dir_.File("from-env-schema.db");
  Result result = Run({"--help"});
  EXPECT_EQ(0, result.status);
  EXPECT_NE(std::string::npos, result.out.find(dir_.File("from-env.db"))) << result.out;
  EXPECT_NE(std::string::npos, result.out.find(dir_.File("from-env-schema.db"))) << result.out;
}

}  // namespace
