// corvcfg next-boot, boot and kernel-options: staging configuration for the
// next boot, confirming what a boot applied, and the kernel options.
#include "CorvcfgSupport.h"

using CorvTest::Outcome;

namespace {

class BootCommandsTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override { SetUpStore(); }
};

TEST_F(BootCommandsTest, NextBootSetGetAndReset) {
  EXPECT_EQ(Absent({"next-boot", "get", "lab.boot.settings"}), "null\n");
  Outcome set = Corvcfg({"next-boot", "set", "lab.boot.settings", "--json", R"({"timeout": 10})"});
  EXPECT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(set.out, "");
  EXPECT_EQ(Ok({"next-boot", "get", "lab.boot.settings"}), "{\"timeout\":10}\n");
  EXPECT_EQ(Ok({"get", "lab.boot.settings", "--next-boot"}), "{\"timeout\":10}\n");
  EXPECT_EQ(Ok({"get", "lab", "--next-boot"}), "{\"lab\":{\"boot\":{\"settings\":{\"timeout\":10}}}}\n");
  // Staged configuration is not current configuration.
  EXPECT_EQ(Absent({"get", "lab.boot.settings"}), "null\n");
  // Pending next-boot configuration is marked in the key-value table.
  EXPECT_EQ(Ok({"kv", "get", "BOOT_MODE"}), "4\n");

  Ok({"next-boot", "set", "lab.boot.settings"}, R"({"timeout": 20})");
  EXPECT_EQ(Ok({"next-boot", "get", "lab.boot.settings"}), "{\"timeout\":20}\n");
  Outcome reset = Corvcfg({"next-boot", "reset", "lab.boot.settings"});
  EXPECT_EQ(reset.status, 0) << reset.err;
  EXPECT_EQ(Absent({"next-boot", "get", "lab.boot.settings"}), "null\n");
}

TEST_F(BootCommandsTest, NextBootDeleteStagesADeletion) {
  Ok({"next-boot", "set", "lab.boot.settings", "--json", R"({"timeout": 10})"});
  Ok({"next-boot", "delete", "lab.boot.settings"});
  // A staged deletion reads as nothing staged.
  EXPECT_EQ(Absent({"next-boot", "get", "lab.boot.settings"}), "null\n");
}

TEST_F(BootCommandsTest, NextBootRefusals) {
  Outcome untagged = Corvcfg({"next-boot", "set", "lab.net.dns", "--json", R"({"ndots": 1})"});
  EXPECT_EQ(untagged.status, 1);
  EXPECT_EQ(untagged.err,
            "[2000] API should only be invoked for configurations tagged "
            "@rebootRequiredConfigStore.\n");
  Outcome invalid = Corvcfg({"next-boot", "set", "lab.boot.settings", "--json", R"({"timeout": -1})"});
  EXPECT_EQ(invalid.status, 1);
  EXPECT_EQ(invalid.err,
            "[1084] Configuration failed schema validation\n"
            "  /timeout: value -1 is less than minimum 0\n");
  Outcome empty = Corvcfg({"next-boot", "set", "lab.boot.settings", "--json", "{}"});
  EXPECT_EQ(empty.status, 1);
  EXPECT_EQ(empty.err,
            "[2000] Empty object cannot be set for configurations tagged "
            "@rebootRequiredConfigStore.\n");
  Ok({"kv", "set", "IS_BOOT", "true"});
  Outcome booting = Corvcfg({"next-boot", "get", "lab.boot.settings"});
  EXPECT_EQ(booting.status, 1);
  EXPECT_EQ(booting.err,
            "[2000] NextBootStore is not supported during the upgrade or boot phase\n"
            "hint: the host is booting or upgrading; wait until it has ended\n");
  Ok({"kv", "set", "IS_BOOT", "false"});
  EXPECT_EQ(Absent({"next-boot", "get", "lab.boot.settings"}), "null\n");
}

TEST_F(BootCommandsTest, KernelOptionsAreConfirmedByTheBoot) {
  EXPECT_EQ(Absent({"kernel-options", "get"}), "null\n");
  Outcome update = Corvcfg({"kernel-options", "update", "--json", R"({"hugepages": 4})"});
  EXPECT_EQ(update.status, 0) << update.err;
  EXPECT_EQ(update.out, "");
  Ok({"kernel-options", "update"}, R"({"quiet": true})");
  EXPECT_TRUE(CorvTest::SameJson(Ok({"kernel-options", "get"}), R"({"hugepages": 4, "quiet": true})"));
  // Pending until a boot confirms it.
  EXPECT_EQ(Absent({"get", "corv.kestrel.options"}), "null\n");
  EXPECT_TRUE(CorvTest::SameJson(Ok({"get", "corv.kestrel.options", "--desired"}),
                                 R"({"hugepages": 4, "quiet": true})"));

  Outcome confirm = Corvcfg({"boot", "confirm", "corv.kestrel.options"});
  EXPECT_EQ(confirm.status, 0) << confirm.err;
  EXPECT_EQ(confirm.out, "");
  EXPECT_TRUE(CorvTest::SameJson(Ok({"get", "corv.kestrel.options"}), R"({"hugepages": 4, "quiet": true})"));
  EXPECT_EQ(Absent({"get", "corv.kestrel.options", "--desired"}), "null\n");

  Outcome invalid = Corvcfg({"kernel-options", "update", "--json", R"({"hugepages": -2})"});
  EXPECT_EQ(invalid.status, 1);
  EXPECT_EQ(invalid.err,
            "[1084] Configuration failed schema validation\n"
            "  /hugepages: value -2 is less than minimum 0\n");
  Outcome array = Corvcfg({"kernel-options", "update", "--json", "[]"});
  EXPECT_EQ(array.status, 2);
  EXPECT_EQ(array.err, "The kernel options are one JSON object\nRun with --help for more information.\n");
}

TEST_F(BootCommandsTest, APartOfThePendingValueIsConfirmed) {
  Ok({"kernel-options", "update", "--json", R"({"hugepages": 4})"});
  Ok({"boot", "confirm", "corv.kestrel.options"});
  Ok({"kernel-options", "update", "--json", R"({"hugepages": 8, "quiet": true})"});
  Outcome partial = Corvcfg({"boot", "confirm-partial", "corv.kestrel.options", "--json", R"({"quiet": true})"});
  EXPECT_EQ(partial.status, 0) << partial.err;
  EXPECT_TRUE(CorvTest::SameJson(Ok({"get", "corv.kestrel.options"}), R"({"hugepages": 4, "quiet": true})"));
  // The rest is still pending.
  EXPECT_TRUE(CorvTest::SameJson(Ok({"get", "corv.kestrel.options", "--desired"}),
                                 R"({"hugepages": 8, "quiet": true})"));
  Outcome foreign = Corvcfg({"boot", "confirm-partial", "corv.kestrel.options", "--json", R"({"hugepages": 16})"});
  EXPECT_EQ(foreign.status, 1);
  EXPECT_EQ(foreign.err, "[2000] partial config being restored is not part of desired config\n");
}

TEST_F(BootCommandsTest, BootInfoPrintsTheBootType) {
  Ok({"kv", "set", "BOOT_INFO", R"({"type": 3, "at": "now"})"});
  EXPECT_EQ(Ok({"boot", "info"}), "3\n");
  Ok({"kv", "set", "BOOT_INFO", "{}"});
  EXPECT_EQ(Ok({"boot", "info"}), "0\n");
  Ok({"kv", "set", "BOOT_INFO", "not json"});
  Outcome broken = Corvcfg({"boot", "info"});
  EXPECT_EQ(broken.status, 1);
  EXPECT_EQ(broken.err, "[2000] Failed to read BOOT_INFO database.\n");
}

// The library refuses an absent record as it refuses a broken one; the
// program tells a store where no boot has recorded one yet apart.
TEST_F(BootCommandsTest, BootInfoOnAStoreThatRecordedNoBootSaysSo) {
  Outcome fresh = Corvcfg({"boot", "info"});
  EXPECT_EQ(fresh.status, 3);
  EXPECT_EQ(fresh.out, "");
  EXPECT_EQ(fresh.err, "No boot has been recorded: the key-value entry BOOT_INFO is empty\n");
  Ok({"kv", "set", "BOOT_INFO", ""});
  EXPECT_EQ(Corvcfg({"boot", "info"}).status, 3);
  Ok({"kv", "set", "BOOT_INFO", R"({"type": 1})"});
  EXPECT_EQ(Ok({"boot", "info"}), "1\n");
}

TEST_F(BootCommandsTest, NextBootGetOfAGroupOrComponent) {
  EXPECT_EQ(Ok({"next-boot", "get", "lab"}), R"({"lab":{"boot":{"settings":null}}})" "\n");
  Ok({"next-boot", "set", "lab.boot.settings", "--json", R"({"timeout": 10})"});
  // Only keys written for the next boot are shown; a group of none is empty.
  EXPECT_EQ(Ok({"next-boot", "get", "lab"}), R"({"lab":{"boot":{"settings":{"timeout":10}}}})" "\n");
  EXPECT_EQ(Ok({"next-boot", "get", "lab.boot"}), Ok({"get", "lab.boot", "--next-boot"}));
  EXPECT_EQ(Ok({"next-boot", "get", "lab.net"}), "{}\n");
  Outcome id = Corvcfg({"next-boot", "get", "lab.boot", "--id", "x"});
  EXPECT_EQ(id.status, 2);
  EXPECT_EQ(id.err, "--id needs a key name component.group.key\nRun with --help for more information.\n");
  Outcome unknown = Corvcfg({"next-boot", "get", "nope"});
  EXPECT_EQ(unknown.status, 3);
  EXPECT_EQ(unknown.err,
            "[1037] Schema not found for: nope\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
}

}  // namespace
