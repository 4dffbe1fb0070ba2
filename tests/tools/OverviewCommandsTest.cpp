// corvcfg keys, pending and diff: the overviews of a store, as JSON for
// programs and as tables at a terminal.
#include "CorvcfgSupport.h"

using CorvTest::Outcome;
using CorvTest::RunRequest;
using CorvTest::Stream;

namespace {

class OverviewCommandsTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override { SetUpStore(); }
};

TEST_F(OverviewCommandsTest, KeysListsWhatHoldsDataWithCounts) {
  EXPECT_EQ(Ok({"keys"}), "[]\n");
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0"}, {"name": "eth1"}])"});
  EXPECT_EQ(Ok({"keys"}),
            R"([{"key":"lab.net.dns","instances":1,"defaults":1},)"
            R"({"key":"lab.net.nics","instances":2,"defaults":1}])"
            "\n");
  EXPECT_EQ(Ok({"keys", "lab.net", "--table"}),
            "KEY           INSTANCES  DEFAULTS\n"
            "lab.net.dns   1          1\n"
            "lab.net.nics  2          1\n");
  EXPECT_EQ(Ok({"keys", "corv"}), "[]\n");
}

TEST_F(OverviewCommandsTest, KeysValuesReadsAComponentOrGroupInOnePass) {
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth1"}, {"name": "eth0"}])"});
  EXPECT_EQ(Ok({"keys", "lab", "--values"}),
            R"({"lab":{"net":{"dns":{"ndots":2},"nics":[{"name":"eth0"},{"name":"eth1"}]}}})"
            "\n");
  EXPECT_EQ(Ok({"keys", "lab.boot", "--values"}), R"({"lab":{}})" "\n");
  Outcome noName = Corvcfg({"keys", "--values"});
  EXPECT_EQ(noName.status, 2);
  EXPECT_NE(noName.err.find("--values needs a component or group NAME"), std::string::npos)
      << noName.err;
  Outcome both = Corvcfg({"keys", "lab", "--values", "--shared"});
  EXPECT_EQ(both.status, 2);
}

TEST_F(OverviewCommandsTest, KeysSharedPrintsWhatIsSharedWithASmartnic) {
  EXPECT_EQ(Ok({"keys", "--shared"}), "{}\n");
  Ok({"schema", "load",
      dir_.Write("shared.json", R"({"nic": {"fw": {"policy": {"type": "object",
          "valueType": "corv-shared", "properties": {"mode": {"type": "string"}}}}}})")});
  Ok({"set", "nic.fw.policy", "--json", R"({"mode": "strict"})"});
  EXPECT_EQ(Ok({"keys", "--shared"}), R"({"nic":{"fw":{"policy":{"mode":"strict"}}}})" "\n");
  Outcome named = Corvcfg({"keys", "nic", "--shared"});
  EXPECT_EQ(named.status, 2);
}

TEST_F(OverviewCommandsTest, KeysPrintsATableAtATerminal) {
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  RunRequest request;
  request.args = {"keys"};
  request.out = Stream::kTerminal;
  Outcome run = Corvcfg(request);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "KEY          INSTANCES  DEFAULTS\nlab.net.dns  1          1\n");
  request.args = {"keys", "--json"};
  run = Corvcfg(request);
  EXPECT_NE(run.out.find("\"key\": \"lab.net.dns\""), std::string::npos) << run.out;
}

TEST_F(OverviewCommandsTest, KeysTakesAComponentOrGroupOnly) {
  Outcome key = Corvcfg({"keys", "lab.net.dns"});
  EXPECT_EQ(key.status, 2);
  EXPECT_NE(key.err.find("NAME must be a component or component.group"), std::string::npos)
      << key.err;
  Outcome both = Corvcfg({"keys", "--json", "--table"});
  EXPECT_EQ(both.status, 2);
}

TEST_F(OverviewCommandsTest, PendingListsWhatTheNextBootChanges) {
  EXPECT_EQ(Ok({"pending"}), "[]\n");
  Ok({"next-boot", "set", "lab.boot.settings", "--json", R"({"timeout": 10})"});
  Ok({"kernel-options", "update", "--json", R"({"hugepages": 4})"});
  EXPECT_EQ(Ok({"pending"}),
            R"([{"key":"corv.kestrel.options","id":"","state":"desired","inForce":null,)"
            R"("pending":{"hugepages":4}},)"
            R"({"key":"lab.boot.settings","id":"","state":"next-boot","inForce":null,)"
            R"("pending":{"timeout":10}}])"
            "\n");
  EXPECT_EQ(Ok({"pending", "lab", "--table"}),
            "KEY                ID  STATE      IN FORCE  PENDING\n"
            "lab.boot.settings  -   next-boot  -         {\"timeout\":10}\n");
  Ok({"next-boot", "delete", "lab.boot.settings"});
  EXPECT_EQ(Ok({"pending", "lab"}),
            R"([{"key":"lab.boot.settings","id":"","state":"next-boot-delete","inForce":null,)"
            R"("pending":null}])"
            "\n");
}

TEST_F(OverviewCommandsTest, PendingOfOneKeyAndOfWhatAwaitsConfirmation) {
  Ok({"schema", "load", dir_.Write("upgrade.json", R"({"up": {"net": {"links": {"type": "array",
      "applyDuringUpgrade": false, "items": {"type": "object", "required": ["name"],
      "properties": {"name": {"type": "string", "instanceId": true},
                     "mtu": {"type": "integer"}}}}}}})")});
  Ok({"set", "up.net.links", "--json", R"({"name": "eth0", "mtu": 1500})"});
  Ok({"next-boot", "set", "lab.boot.settings", "--json", R"({"timeout": 10})"});
  // Written during an upgrade: in force only once a boot confirms it.
  RunRequest upgrade;
  upgrade.args = {"set", "up.net.links", "--json", R"({"name": "eth1", "mtu": 9000})"};
  upgrade.environment["CORV_UPGRADE_CTX"] = "2";
  ASSERT_EQ(Corvcfg(upgrade).status, 0);
  EXPECT_EQ(Ok({"pending", "up.net.links"}),
            R"([{"key":"up.net.links","id":"eth1","state":"awaiting-confirmation",)"
            R"("inForce":null,"pending":{"name":"eth1","mtu":9000}}])"
            "\n");
  EXPECT_EQ(Ok({"pending", "--table"}),
            "KEY                ID    STATE                  IN FORCE  PENDING\n"
            "lab.boot.settings  -     next-boot              -         {\"timeout\":10}\n"
            "up.net.links       eth1  awaiting-confirmation  -         {\"name\":\"eth1\",\"mtu\":9000}\n");
  EXPECT_EQ(Ok({"pending", "lab.net.dns"}), "[]\n");
  Outcome unknown = Corvcfg({"pending", "lab.nett"});
  EXPECT_EQ(unknown.status, 3);
  EXPECT_EQ(unknown.err, "[1037] Schema not found for: lab.nett\nhint: did you mean lab.net?\n");
}

TEST_F(OverviewCommandsTest, KvListPrintsTheKeyValueTable) {
  EXPECT_EQ(Ok({"kv", "list"}), "{}\n");
  Ok({"kv", "set", "NOTIFY_NEXD", "true"});
  Ok({"kv", "set", "BOOT_INFO", R"({"type": 3})"});
  EXPECT_EQ(Ok({"kv", "list"}), R"({"BOOT_INFO":"{\"type\": 3}","NOTIFY_NEXD":"true"})" "\n");
  EXPECT_EQ(Ok({"kv", "list", "--table"}),
            "KEY          VALUE\n"
            "BOOT_INFO    {\"type\": 3}\n"
            "NOTIFY_NEXD  true\n");
  RunRequest request;
  request.args = {"kv", "list"};
  request.out = Stream::kTerminal;
  Outcome run = Corvcfg(request);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "KEY          VALUE\nBOOT_INFO    {\"type\": 3}\nNOTIFY_NEXD  true\n");
  request.args = {"kv", "list", "--json"};
  EXPECT_EQ(Corvcfg(request).out,
            "{\n  \"BOOT_INFO\": \"{\\\"type\\\": 3}\",\n  \"NOTIFY_NEXD\": \"true\"\n}\n");
  EXPECT_EQ(Corvcfg({"kv", "list", "--json", "--table"}).status, 2);
}

TEST_F(OverviewCommandsTest, DiffShowsEveryLayerAndWhatTheNextBootChanges) {
  Ok({"set", "lab.net.nics", "--context", "internal", "--json", R"({"name": "eth0", "mac": "aa"})"});
  Ok({"set", "lab.net.nics", "--layer", "user", "--json", R"({"name": "eth0", "mtu": 1500})"});
  EXPECT_EQ(
      Ok({"diff", "lab.net.nics", "--id", "eth0"}),
      R"({"key":"lab.net.nics","instances":[{"id":"eth0","stored":true,"confirmed":true,)"
      R"("current":{"name":"eth0","mac":"aa","mtu":1500},)"
      R"("configured":{"name":"eth0","mtu":1500},"user":{"name":"eth0","mtu":1500},)"
      R"("autoConfigured":{"name":"eth0"},"vital":{"name":"eth0","mac":"aa"},"cached":null,)"
      R"("desired":null,"nextBoot":null,"default":null,"inForce":{"name":"eth0","mtu":1500},)"
      R"("atNextBoot":{"name":"eth0","mtu":1500},"nextBootAction":null,"changesAtNextBoot":[]}]})"
      "\n");
  // Every instance, the shipped default "lo" among them.
  std::string all = Ok({"diff", "lab.net.nics"});
  EXPECT_NE(all.find(R"({"id":"lo","stored":false)"), std::string::npos) << all;
  EXPECT_NE(all.find(R"("default":{"name":"lo","mtu":65536})"), std::string::npos) << all;
}

TEST_F(OverviewCommandsTest, DiffNamesTheMembersTheNextBootChanges) {
  Ok({"kernel-options", "update", "--json", R"({"quiet": true})"});
  EXPECT_EQ(Ok({"diff", "corv.kestrel.options", "--table"}),
            "corv.kestrel.options\n"
            "LAYER                 VALUE\n"
            "current               -\n"
            "configured            -\n"
            "user                  -\n"
            "auto-configured       -\n"
            "vital                 -\n"
            "cached                -\n"
            "desired               {\"quiet\":true}\n"
            "next-boot store       -\n"
            "shipped default       -\n"
            "in force              -\n"
            "at next boot          {\"quiet\":true}\n"
            "changes at next boot  /\n");
  // Confirmed, then changed again: only the changed members differ.
  Ok({"boot", "confirm", "corv.kestrel.options"});
  Ok({"kernel-options", "update", "--json", R"({"hugepages": 2})"});
  std::string options = Ok({"diff", "corv.kestrel.options"});
  EXPECT_NE(options.find(R"("inForce":{"quiet":true},"atNextBoot":{"quiet":true,"hugepages":2})"),
            std::string::npos)
      << options;
  EXPECT_NE(options.find(R"("changesAtNextBoot":["/hugepages"])"), std::string::npos) << options;
  Ok({"next-boot", "set", "lab.boot.settings", "--json", R"({"timeout": 10})"});
  std::string settings = Ok({"diff", "lab.boot.settings"});
  EXPECT_NE(settings.find(R"("nextBoot":{"timeout":10})"), std::string::npos) << settings;
  EXPECT_NE(settings.find(R"("nextBootAction":"SET","changesAtNextBoot":["/"])"),
            std::string::npos)
      << settings;
}

TEST_F(OverviewCommandsTest, DiffRefusesUnknownKeysAndMisusedIds) {
  Outcome unknown = Corvcfg({"diff", "lab.net.nope"});
  EXPECT_EQ(unknown.status, 3);
  EXPECT_EQ(unknown.err,
            "[1037] Schema not found for: lab.net.nope\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
  Outcome singleton = Corvcfg({"diff", "lab.net.dns", "--id", "x"});
  EXPECT_EQ(singleton.status, 1);
  EXPECT_EQ(singleton.err,
            "[2000] Singleton object cannot contain instanceId\n"
            "hint: lab.net.dns has no instances; leave out --id\n");
}

}  // namespace
