// corvcfg schema list, show and version: what the schema store holds.
#include "CorvcfgSupport.h"

using CorvTest::Outcome;

namespace {

class SchemaListCommandsTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override { SetUpStore(); }
};

TEST_F(SchemaListCommandsTest, ListShowsEveryKeyInOrder) {
  EXPECT_EQ(Ok({"schema", "list"}),
            "[{\"name\":\"corv.kestrel.options\",\"version\":\"1.0\",\"instances\":false,"
            "\"nextBoot\":true},"
            "{\"name\":\"lab.boot.settings\",\"version\":\"1.0\",\"instances\":false,"
            "\"nextBoot\":true},"
            "{\"name\":\"lab.net.dns\",\"version\":\"2.1\",\"instances\":false,\"nextBoot\":false},"
            "{\"name\":\"lab.net.nics\",\"version\":\"1.0\",\"instances\":true,"
            "\"instanceId\":\"name\",\"nextBoot\":false},"
            "{\"name\":\"lab.net.routes\",\"version\":\"1.0\",\"instances\":true,"
            "\"instanceId\":\"cs_generated_id\",\"nextBoot\":false}]\n");
}

TEST_F(SchemaListCommandsTest, ListOfAComponentGroupOrKeyAndNamesOnly) {
  EXPECT_EQ(Ok({"schema", "list", "--names"}),
            "corv.kestrel.options\nlab.boot.settings\nlab.net.dns\nlab.net.nics\nlab.net.routes\n");
  EXPECT_EQ(Ok({"schema", "list", "lab.net", "--names"}), "lab.net.dns\nlab.net.nics\nlab.net.routes\n");
  EXPECT_EQ(Ok({"schema", "list", "corv", "--names"}), "corv.kestrel.options\n");
  EXPECT_EQ(Ok({"schema", "list", "lab.net.dns"}),
            "[{\"name\":\"lab.net.dns\",\"version\":\"2.1\",\"instances\":false,\"nextBoot\":false}]\n");
  Outcome none = Corvcfg({"schema", "list", "lab.none"});
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.err,
            "[1037] Schema not found for: lab.none\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
}

TEST_F(SchemaListCommandsTest, AnEmptySchemaStoreListsNothing) {
  schemaStore_ = dir_.File("empty-schema.db");
  Ok({"schema", "load", dir_.Write("none.json", "{}")});
  EXPECT_EQ(Ok({"schema", "list"}), "[]\n");
  EXPECT_EQ(Ok({"schema", "list", "--names"}), "");
}

TEST_F(SchemaListCommandsTest, ShowPrintsTheSchemaTheStoreUses) {
  EXPECT_EQ(Ok({"schema", "show", "lab.boot.settings"}),
            "{\"type\":\"object\",\"tags\":[\"@rebootRequiredConfigStore\"],"
            "\"additionalProperties\":false,\"properties\":{\"timeout\":{\"type\":\"integer\","
            "\"minimum\":0}}}\n");
  std::string routes = Ok({"--pretty", "schema", "show", "lab.net.routes"});
  EXPECT_NE(routes.find("      \"cs_generated_id\": {\n        \"type\": \"string\",\n"
                        "        \"instanceId\": true\n      }"),
            std::string::npos)
      << routes;
  Outcome unknown = Corvcfg({"schema", "show", "lab.net.nope"});
  EXPECT_EQ(unknown.status, 3);
  EXPECT_EQ(unknown.out, "");
  EXPECT_EQ(unknown.err,
            "[1037] Schema not found for: lab.net.nope\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
  EXPECT_EQ(Corvcfg({"schema", "show", "lab.net"}).status, 2);
}

TEST_F(SchemaListCommandsTest, VersionPrintsTheSchemaVersion) {
  EXPECT_EQ(Ok({"schema", "version", "lab.net.dns"}), "2.1\n");
  EXPECT_EQ(Ok({"schema", "version", "lab.net.nics"}), "1.0\n");
  Outcome unknown = Corvcfg({"schema", "version", "lab.net.nope"});
  EXPECT_EQ(unknown.status, 3);
  EXPECT_EQ(unknown.err,
            "[1037] Schema not found for: lab.net.nope\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
}

}  // namespace
