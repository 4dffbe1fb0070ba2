// `corvcfg schema load` and `corvcfg defaults load`, run as separate
// processes: their output, their failures as "[code] message" with exit
// status 1, and schemas loaded by the program seen by this process's cache.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "core/Throw.h"
#include "schema/SchemaStore.h"
#include "support/RunProgram.h"
#include "support/StoreEnvironment.h"

using CorvTest::ProgramResult;
using CorvTest::QueryRows;

namespace {

const std::string kExamples = CORV_SOURCE_DIR "/examples/schemas/";

class SchemaCommandsTest : public ::testing::Test {
 protected:
  ProgramResult Run(const std::vector<std::string>& args) {
    return CorvTest::RunProgram(CORV_BINARY_DIR "/tools/corvcfg", args,
                                {{"CORV_SCHEMASTORE_DB", env_.SchemaStorePath()},
                                 {"CORV_CONFIGSTORE_DB", env_.StorePath()}},
                                env_.Dir());
  }

  CorvTest::StoreEnvironment env_;
};

}  // namespace

TEST_F(SchemaCommandsTest, SchemaLoadReportsHowManyKeySchemasWereLoaded) {
  std::string file = kExamples + "host-schemas.json";
  ProgramResult result = Run({"schema", "load", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "Loaded 7 key schemas from " + file + " into " + env_.SchemaStorePath() + "\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(QueryRows(env_.SchemaStorePath(), "SELECT count(*) FROM Schema"),
            (std::vector<std::string>{"7"}));

  std::string one = env_.Dir().Write("one.json", R"({"corv": {"x": {"y": {"type": "object"}}}})");
  result = Run({"schema", "load", one});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "Loaded 1 key schema from " + one + " into " + env_.SchemaStorePath() + "\n");
}

TEST_F(SchemaCommandsTest, SchemaLoadTakesTheSchemaStoreOption) {
  std::string other = env_.Dir().File("other-schema.db");
  std::string file = env_.Dir().Write("one.json", R"({"corv": {"x": {"y": {"type": "object"}}}})");
  ProgramResult result = Run({"--schema-db", other, "schema", "load", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "Loaded 1 key schema from " + file + " into " + other + "\n");
  EXPECT_EQ(QueryRows(other, "SELECT Name FROM Schema"), (std::vector<std::string>{"y"}));
}

TEST_F(SchemaCommandsTest, SchemaLoadFailuresPrintCodeAndMessage) {
  std::string file = env_.Dir().Write("bad.json", R"({"corv": {"net": {"dns": {"type": "object",
      "properties": {"mtu": {"type": "integer", "minimun": 68}}}}}})");
  ProgramResult result = Run({"schema", "load", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("[2000] Unknown keyword \"minimun\" in schema of corv.net.dns at "
                            "/properties/mtu\n"),
            std::string::npos)
      << result.err;

  result = Run({"schema", "load", env_.Dir().File("absent.json")});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("[2000] Cannot read schema file " + env_.Dir().File("absent.json") +
                            ": No such file or directory\n"),
            std::string::npos)
      << result.err;

  EXPECT_EQ(Run({"schema", "load"}).status, 2);
}

// The fault of a file that is not JSON is placed by line and column, as
// for documents.
TEST_F(SchemaCommandsTest, LoadsPlaceAJsonFaultByLineAndColumn) {
  ASSERT_TRUE(env_.ProvisionStore());
  std::string file = env_.Dir().Write("broken.json", "{\"corv\":\n  {\"net\": x}}");
  ProgramResult schemas = Run({"schema", "load", file});
  EXPECT_EQ(schemas.status, 1);
  EXPECT_NE(schemas.err.find("[2000] Invalid JSON in schema file " + file +
                             ": Invalid value. at offset 19 (line 2, column 11)\n"),
            std::string::npos)
      << schemas.err;
  ASSERT_EQ(Run({"schema", "load", kExamples + "host-schemas.json"}).status, 0);
  ProgramResult defaults = Run({"defaults", "load", file});
  EXPECT_EQ(defaults.status, 1);
  EXPECT_NE(defaults.err.find("[2000] Invalid JSON in defaults file " + file +
                              ": Invalid value. at offset 19 (line 2, column 11)\n"),
            std::string::npos)
      << defaults.err;
}

TEST_F(SchemaCommandsTest, DefaultsLoadWritesDefaultRows) {
  ASSERT_TRUE(env_.ProvisionStore());
  ASSERT_EQ(Run({"schema", "load", kExamples + "host-schemas.json"}).status, 0);
  std::string file = kExamples + "host-defaults.json";
  ProgramResult result = Run({"defaults", "load", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "Loaded 8 default rows from " + file + " into " + env_.StorePath() + "\n");
  EXPECT_EQ(QueryRows(env_.StorePath(),
                      "SELECT Name, Identifier FROM DefaultConfig WHERE Name = 'nics' ORDER BY 2"),
            (std::vector<std::string>{"nics|eth0", "nics|lo"}));
}

TEST_F(SchemaCommandsTest, DefaultsLoadFailuresPrintCodeAndMessage) {
  ASSERT_EQ(Run({"schema", "load", kExamples + "host-schemas.json"}).status, 0);
  std::string file = kExamples + "host-defaults.json";
  // No store database yet.
  ProgramResult result = Run({"defaults", "load", file});
  EXPECT_EQ(result.status, 4);
  EXPECT_NE(result.err.find("[1002] " +
                            CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1002),
                                                    env_.StorePath().c_str()) +
                            "\n"),
            std::string::npos)
      << result.err;

  ASSERT_TRUE(env_.ProvisionStore());
  std::string unknown = env_.Dir().Write("unknown.json", R"({"corv": {"net": {"vlans": []}}})");
  result = Run({"defaults", "load", unknown});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("[2000] Unknown configuration corv.net.vlans in defaults file " +
                            unknown + "\n"),
            std::string::npos)
      << result.err;
  EXPECT_EQ(QueryRows(env_.StorePath(), "SELECT count(*) FROM DefaultConfig"),
            (std::vector<std::string>{"0"}));
}

TEST_F(SchemaCommandsTest, SchemasLoadedByTheProgramAreSeenByThisProcess) {
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  EXPECT_FALSE(cache->GetSchema("corv", "x", "y"));
  std::string first = env_.Dir().Write(
      "first.json", R"({"corv": {"x": {"y": {"type": "object", "version": "1.0"}}}})");
  ASSERT_EQ(Run({"schema", "load", first}).status, 0);
  CorvTest::WaitForSchemaRecheck();
  auto loaded = cache->GetSchema("corv", "x", "y");
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->GetVersion(), "1.0");

  std::string second = env_.Dir().Write(
      "second.json", R"({"corv": {"x": {"y": {"type": "object", "version": "2.0"}}}})");
  ASSERT_EQ(Run({"schema", "load", second}).status, 0);
  CorvTest::WaitForSchemaRecheck();
  EXPECT_EQ(cache->GetSchema("corv", "x", "y")->GetVersion(), "2.0");
}
