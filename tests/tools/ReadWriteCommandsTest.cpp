// corvcfg get, set, update, delete, ids and revisions, run as a separate
// process on a store it set up itself.
#include "CorvcfgSupport.h"

using CorvTest::Outcome;
using CorvTest::SameJson;

namespace {

class ReadWriteCommandsTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override { SetUpStore(); }
};

TEST_F(ReadWriteCommandsTest, SetThenGetAKeyWithoutInstances) {
  Outcome set = Corvcfg({"set", "lab.net.dns", "--json", R"({"servers": ["10.0.0.1"], "ndots": 2})"});
  EXPECT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(set.out, "");
  EXPECT_EQ(set.err, "");
  Outcome get = Corvcfg({"get", "lab.net.dns"});
  EXPECT_EQ(get.status, 0) << get.err;
  EXPECT_EQ(get.out, "{\"servers\":[\"10.0.0.1\"],\"ndots\":2}\n");
  EXPECT_EQ(get.err, "");
}

TEST_F(ReadWriteCommandsTest, GetOfNothingStoredPrintsNull) {
  EXPECT_EQ(Absent({"get", "lab.net.dns"}), "null\n");
  EXPECT_EQ(Absent({"get", "lab.net.nics", "--id", "eth7"}), "null\n");
  // Every instance of a key with instances: an empty array.
  EXPECT_EQ(Ok({"get", "lab.net.nics"}), "[]\n");
}

TEST_F(ReadWriteCommandsTest, ValuesComeFromAFileOrStandardInput) {
  std::string file = dir_.Write("dns.json", R"({"ndots": 4})");
  Ok({"set", "lab.net.dns", "--file", file});
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"ndots\":4}\n");
  Ok({"set", "lab.net.dns"}, R"({"ndots": 5})");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"ndots\":5}\n");
  Ok({"set", "lab.net.dns", "--file", "-"}, R"({"ndots": 6})");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"ndots\":6}\n");
}

TEST_F(ReadWriteCommandsTest, AValidatedWriteIsRefusedWithItsRecords) {
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  Outcome run = Corvcfg({"set", "lab.net.dns", "--json", R"({"ndots": 99, "servers": [1], "x": true})"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "[1084] Configuration failed schema validation\n"
            "  /ndots: value 99 is greater than maximum 15\n"
            "  /servers/0: expected type string, found number\n"
            "  /x: member \"x\" is not allowed by additionalProperties false\n");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"ndots\":2}\n");
}

TEST_F(ReadWriteCommandsTest, ValuesThatAreNotObjectsAreRefused) {
  Outcome text = Corvcfg({"set", "lab.net.dns", "--json", R"({"ndots": )"});
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.err, "[1080] Invalid JSON text: Invalid value. at offset 10 (line 1, column 11)\n");
  Outcome scalar = Corvcfg({"set", "lab.net.dns", "--json", "\"x\""});
  EXPECT_EQ(scalar.status, 1);
  EXPECT_EQ(scalar.err,
            "[1030] The value must be a JSON object, or an array of objects (one per instance)\n");
  Outcome element = Corvcfg({"set", "lab.net.nics", "--json", R"([{"name": "eth0"}, 3])"});
  EXPECT_EQ(element.status, 1);
  EXPECT_EQ(element.err, "[1030] Element 1 of the array is not a JSON object\n");
  Outcome empty = Corvcfg({"set", "lab.net.dns"}, "");
  EXPECT_EQ(empty.status, 1);
  EXPECT_EQ(empty.err,
            "[1080] Invalid JSON text: The document is empty. at offset 0 (line 1, column 1)\n");
  EXPECT_EQ(Ok({"get", "lab.net.nics"}), "[]\n");
}

// The byte offset of a fault is placed as an editor shows it: lines counted
// by line feeds, columns in characters, whichever way the text came.
TEST_F(ReadWriteCommandsTest, AFaultInJsonTextIsPlacedByLineAndColumn) {
  const std::string text = "{\n  \"servers\": [\"\xc3\xa9t\xc3\xa9\",\n    ]\n}";
  const std::string expected =
      "[1080] Invalid JSON text: Invalid value. at offset 29 (line 3, column 5)\n";
  Outcome fromInput = Corvcfg({"set", "lab.net.dns"}, text);
  EXPECT_EQ(fromInput.status, 1);
  EXPECT_EQ(fromInput.err, expected);
  Outcome fromOption = Corvcfg({"update", "lab.net.dns", "--json", text});
  EXPECT_EQ(fromOption.err, expected);
  Outcome fromFile = Corvcfg({"validate", "lab.net.dns", "--file", dir_.Write("v.json", text)});
  EXPECT_EQ(fromFile.err, expected);
  // Multi-byte characters on the line of the fault count one column each.
  Outcome wide = Corvcfg({"set", "lab.net.dns", "--json", "{\"servers\": [\"\xc3\xa9\xc3\xa9\" x]}"});
  EXPECT_EQ(wide.err, "[1080] Invalid JSON text: Missing a comma or ']' after an array element. at "
                      "offset 20 (line 1, column 19)\n");
}

// Found by fuzzing: the program read the instances of an array with
// rapidjson's exact number reading, which gives a zero written with an
// exponent an arbitrary value; it reads numbers as the library does.
TEST_F(ReadWriteCommandsTest, NumbersOfAnArrayAreReadAsTheLibraryReadsThem) {
  Outcome run = Corvcfg({"set", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 0e-23}])"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "[1084] Configuration failed schema validation\n"
            "  /mtu: value 0.0 is less than minimum 68\n");
}

TEST_F(ReadWriteCommandsTest, AnUnknownKeyIsReportedByTheStore) {
  Outcome run = Corvcfg({"get", "lab.net.nope"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "[1037] Schema not found for: lab.net.nope\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
  Outcome scope = Corvcfg({"get", "lab.nope"});
  EXPECT_EQ(scope.status, 3);
  EXPECT_EQ(scope.err,
            "[1037] Schema not found for: lab.nope\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
}

TEST_F(ReadWriteCommandsTest, UpdateMergesIntoTheStoredValue) {
  Ok({"set", "lab.net.dns", "--json", R"({"servers": ["10.0.0.1"], "ndots": 2})"});
  Outcome update = Corvcfg({"update", "lab.net.dns", "--json", R"({"rotate": true, "ndots": 3})"});
  EXPECT_EQ(update.status, 0) << update.err;
  EXPECT_EQ(update.out, "");
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.dns"}), R"({"servers":["10.0.0.1"],"ndots":3,"rotate":true})"));
  // The merged whole is validated; a refused update changes nothing.
  Outcome refused = Corvcfg({"update", "lab.net.dns", "--json", R"({"ndots": -1})"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err,
            "[1084] Configuration failed schema validation\n"
            "  /ndots: value -1 is less than minimum 0\n");
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.dns"}), R"({"servers":["10.0.0.1"],"ndots":3,"rotate":true})"));
}

TEST_F(ReadWriteCommandsTest, UpdateOfAnArrayUpdatesEveryInstanceOrNone) {
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 1500}, {"name": "eth1"}])"});
  Ok({"update", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 9000}, {"name": "eth1", "mtu": 1400}])"});
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.nics"}),
                       R"([{"name": "eth0", "mtu": 9000}, {"name": "eth1", "mtu": 1400}])"));
  Outcome refused = Corvcfg(
      {"update", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 1280}, {"name": "eth1", "mtu": 1}])"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err,
            "[1084] Configuration failed schema validation\n"
            "  /mtu: value 1 is less than minimum 68\n");
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.nics"}),
                       R"([{"name": "eth0", "mtu": 9000}, {"name": "eth1", "mtu": 1400}])"));
}

TEST_F(ReadWriteCommandsTest, InstancesAreSetReadListedAndDeleted) {
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 1500}, {"name": "eth1"}])"});
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.nics"}), R"([{"name": "eth0", "mtu": 1500}, {"name": "eth1"}])"));
  EXPECT_EQ(Ok({"get", "lab.net.nics", "--id", "eth0"}), "{\"name\":\"eth0\",\"mtu\":1500}\n");
  EXPECT_TRUE(SameJson(Ok({"ids", "lab.net.nics"}), R"(["eth0", "eth1"])"));
  EXPECT_TRUE(SameJson(Ok({"revisions", "lab.net.nics", "--id", "eth1"}), R"([{"id": "eth1", "revision": 1}])"));

  // One instance, named by --id or by the value; --id fills in the value.
  Ok({"set", "lab.net.nics", "--id", "eth2", "--json", R"({"mtu": 1400})"});
  EXPECT_EQ(Ok({"get", "lab.net.nics", "--id", "eth2"}), "{\"mtu\":1400,\"name\":\"eth2\"}\n");
  Ok({"set", "lab.net.nics", "--json", R"({"name": "eth3", "mtu": 1300})"});
  EXPECT_TRUE(SameJson(Ok({"ids", "lab.net.nics"}), R"(["eth0", "eth1", "eth2", "eth3"])"));

  Ok({"delete", "lab.net.nics", "--id", "eth2"});
  EXPECT_EQ(Absent({"get", "lab.net.nics", "--id", "eth2"}), "null\n");
  Ok({"delete", "lab.net.nics", "--filter", R"({"mtu": 1300})"});
  EXPECT_TRUE(SameJson(Ok({"ids", "lab.net.nics"}), R"(["eth0", "eth1"])"));
  Ok({"delete", "lab.net.nics", "--all"});
  EXPECT_EQ(Ok({"ids", "lab.net.nics"}), "[]\n");
}

TEST_F(ReadWriteCommandsTest, AnArrayReplacesEveryInstance) {
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0"}, {"name": "eth1"}])"});
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth5"}])"});
  EXPECT_EQ(Ok({"ids", "lab.net.nics"}), "[\"eth5\"]\n");
}

TEST_F(ReadWriteCommandsTest, IdAndValueMustNameTheSameInstance) {
  Outcome run = Corvcfg({"set", "lab.net.nics", "--id", "eth1", "--json", R"({"name": "eth0"})"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "--id eth1 and the value's instance id eth0 differ\n"
            "Run with --help for more information.\n");
  Outcome array = Corvcfg({"set", "lab.net.nics", "--id", "eth1", "--json", R"([{"name": "eth1"}])"});
  EXPECT_EQ(array.status, 2);
  EXPECT_EQ(array.err,
            "--id cannot be used with an array of instances\n"
            "Run with --help for more information.\n");
  EXPECT_EQ(Ok({"ids", "lab.net.nics"}), "[]\n");
}

TEST_F(ReadWriteCommandsTest, DeleteOfAKeyWithoutInstances) {
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  Outcome run = Corvcfg({"delete", "lab.net.dns"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(Absent({"get", "lab.net.dns"}), "null\n");
  // --all is for keys with instances; the store says so.
  Outcome all = Corvcfg({"delete", "lab.net.dns", "--all"});
  EXPECT_EQ(all.status, 1);
  EXPECT_EQ(all.err,
            "[2000] API called for singleton object, non-singleton expected\n"
            "hint: lab.net.dns has no instances; leave out --all and --filter\n");
  Outcome filter = Corvcfg({"delete", "lab.net.nics", "--filter", "[1]"});
  EXPECT_EQ(filter.status, 1);
  EXPECT_EQ(filter.err, "[1030] The filter must be a JSON object\n");
  Outcome both = Corvcfg({"delete", "lab.net.nics", "--all", "--id", "eth0"});
  EXPECT_EQ(both.status, 2);
}

TEST_F(ReadWriteCommandsTest, LayersAreWrittenApartAndReadMerged) {
  Ok({"set", "lab.net.nics", "--json", R"({"name": "eth0", "mtu": 1500})"});
  Ok({"set", "lab.net.nics", "--layer", "vital", "--json", R"({"name": "eth0", "mac": "aa"})"});
  Ok({"set", "lab.net.nics", "--layer", "cached", "--json", R"({"name": "eth0", "speed": 100})"});
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.nics", "--id", "eth0"}),
                       R"({"name": "eth0", "mtu": 1500, "mac": "aa", "speed": 100})"));
  // The user layer takes no vital member.
  Outcome user = Corvcfg({"set", "lab.net.nics", "--layer", "user", "--json", R"({"name": "eth0", "mac": "bb"})"});
  EXPECT_EQ(user.status, 1);
  EXPECT_EQ(user.err,
            "[1084] Configuration failed schema validation\n"
            "  /mac: member \"mac\" is vital configuration, not user configuration\n");
  Ok({"set", "lab.net.nics", "--layer", "user", "--json", R"({"name": "eth0", "mtu": 9000})"});
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.nics", "--id", "eth0"}),
                       R"({"name": "eth0", "mtu": 9000, "mac": "aa", "speed": 100})"));
  Outcome context = Corvcfg({"set", "lab.net.nics", "--layer", "vital", "--context", "internal", "--json", "{}"});
  EXPECT_EQ(context.status, 2);
  EXPECT_EQ(context.err,
            "--context applies to --layer all and user only\n"
            "Run with --help for more information.\n");
  EXPECT_EQ(Corvcfg({"set", "lab.net.nics", "--layer", "other", "--json", "{}"}).status, 2);
}

TEST_F(ReadWriteCommandsTest, DuringBootOnlyInternalWritesOfUserDataPass) {
  Ok({"kv", "set", "IS_BOOT", "true"});
  const std::string booting =
      "[2000] API cannot be invoked with EXTERNAL context during boot\n"
      "  cause: the host is booting: IS_BOOT is true in the key-value table of " + store_ + "\n"
      "hint: wait until the boot has ended, or write as the host itself with --context "
      "internal\n";
  Outcome external = Corvcfg({"set", "lab.net.dns", "--json", R"({"ndots": 3})"});
  EXPECT_EQ(external.status, 1);
  EXPECT_EQ(external.err, booting);
  Outcome update = Corvcfg({"update", "lab.net.dns", "--json", R"({"ndots": 3})"});
  EXPECT_EQ(update.status, 1);
  EXPECT_EQ(update.err, booting);
  EXPECT_EQ(Absent({"get", "lab.net.dns"}), "null\n");
  Ok({"set", "lab.net.dns", "--context", "internal", "--json", R"({"ndots": 3})"});
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"ndots\":3}\n");
  EXPECT_EQ(Corvcfg({"set", "lab.net.dns", "--context", "outside", "--json", "{}"}).status, 2);
}

TEST_F(ReadWriteCommandsTest, RevisionsOfAKeyWithoutInstancesAreOneNumber) {
  EXPECT_EQ(Absent({"revisions", "lab.net.dns"}), "-1\n");
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  EXPECT_EQ(Ok({"revisions", "lab.net.dns"}), "1\n");
}

TEST_F(ReadWriteCommandsTest, GeneratedIdsAreListedButNotShownInValues) {
  Ok({"set", "lab.net.routes", "--json", R"([{"to": "a", "via": "b"}, {"to": "c", "via": "d"}])"});
  std::string ids = Ok({"ids", "lab.net.routes"});
  CorvConfigStore::JsonDocument list;
  list.Parse(ids.c_str());
  ASSERT_TRUE(list.IsArray()) << ids;
  ASSERT_EQ(list.Size(), 2u);
  std::string first = list[0].GetString();
  EXPECT_EQ(first.size(), 36u) << first;  // a UUID
  // Each value, without the generated id.
  const std::string a = R"({"to":"a","via":"b"})", c = R"({"to":"c","via":"d"})";
  std::string one = Ok({"get", "lab.net.routes", "--id", first});
  ASSERT_TRUE(one == a + "\n" || one == c + "\n") << one;
  Ok({"delete", "lab.net.routes", "--id", first});
  EXPECT_EQ(Ok({"ids", "lab.net.routes"}), "[\"" + std::string(list[1].GetString()) + "\"]\n");
  EXPECT_EQ(Ok({"get", "lab.net.routes"}), "[" + (one == a + "\n" ? c : a) + "]\n");
}

TEST_F(ReadWriteCommandsTest, ViewsOfAKey) {
  EXPECT_EQ(Ok({"get", "lab.net.dns", "--default"}), "{\"ndots\":1}\n");
  EXPECT_EQ(Ok({"get", "lab.net.nics", "--default"}), "[{\"name\":\"lo\",\"mtu\":65536}]\n");
  EXPECT_EQ(Ok({"get", "lab.net.nics", "--default", "--id", "lo"}), "{\"name\":\"lo\",\"mtu\":65536}\n");
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "lo", "mtu": 65536}, {"name": "eth0"}])"});
  EXPECT_EQ(Ok({"get", "lab.net.nics", "--without-defaults"}), "[{\"name\":\"eth0\"}]\n");
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0"}])"});
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net.nics", "--with-defaults"}),
                       R"([{"name": "eth0"}, {"name": "lo", "mtu": 65536}])"));
  // Nothing is pending for a boot to confirm.
  EXPECT_EQ(Absent({"get", "lab.net.dns", "--desired"}), "null\n");

  Outcome views = Corvcfg({"get", "lab.net.dns", "--default", "--next-boot"});
  EXPECT_EQ(views.status, 2);
  Outcome layers = Corvcfg({"get", "lab.net.dns", "--all-layers"});
  EXPECT_EQ(layers.status, 2);
  EXPECT_EQ(layers.err, "--all-layers requires --desired\nRun with --help for more information.\n");
  Outcome defaults = Corvcfg({"get", "lab.net.dns", "--with-defaults"});
  EXPECT_EQ(defaults.status, 2);
  EXPECT_EQ(defaults.err,
            "--with-defaults and --without-defaults apply to the current instances of a key with "
            "instances, without --id\nRun with --help for more information.\n");
}

TEST_F(ReadWriteCommandsTest, GroupsAndComponentsReadAsDocuments) {
  Ok({"set", "lab.net.dns", "--json", R"({"ndots": 2})"});
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0"}])"});
  EXPECT_TRUE(SameJson(Ok({"get", "lab.net"}),
                       R"({"lab": {"net": {"dns": {"ndots": 2}, "nics": [{"name": "eth0"}],
                                            "routes": null}}})"));
  EXPECT_TRUE(SameJson(Ok({"get", "lab"}),
                       R"({"lab": {"boot": {"settings": null},
                                   "net": {"dns": {"ndots": 2}, "nics": [{"name": "eth0"}],
                                           "routes": null}}})"));
  EXPECT_EQ(Ok({"get", "lab", "--default"}),
            "{\"lab\":{\"boot\":{\"settings\":null},\"net\":{\"dns\":{\"ndots\":1},"
            "\"nics\":[{\"name\":\"lo\",\"mtu\":65536}],\"routes\":null}}}\n");
  Outcome id = Corvcfg({"get", "lab.net", "--id", "eth0"});
  EXPECT_EQ(id.status, 2);
  EXPECT_EQ(id.err, "--id needs a key name component.group.key\nRun with --help for more information.\n");
}

TEST_F(ReadWriteCommandsTest, NamesAreChecked) {
  for (const char* name : {"lab.net.dns.x", "lab..dns", ".lab", "lab.n$t", ""}) {
    Outcome run = Corvcfg({"get", name});
    EXPECT_EQ(run.status, 2) << name;
    EXPECT_EQ(run.err, std::string("NAME: \"") + name +
                           "\" is not a component, component.group or component.group.key "
                           "(letters, digits, '_' and '-')\nRun with --help for more information.\n")
        << name;
  }
  Outcome group = Corvcfg({"set", "lab.net", "--json", "{}"});
  EXPECT_EQ(group.status, 2);
  EXPECT_EQ(group.err,
            "NAME: \"lab.net\" is not a key name component.group.key (letters, digits, '_' and "
            "'-')\nRun with --help for more information.\n");
}

}  // namespace
