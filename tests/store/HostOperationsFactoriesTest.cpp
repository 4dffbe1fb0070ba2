// Object and drift-object factories, and the host utilities FileExists and
// ExecCommand.
#include <corvconfigstore/DriftObject.h>
#include <corvconfigstore/Exceptions.h>
#include <signal.h>

#include "object/ConfigStoreObjectImpl.h"
#include "support/HostFixture.h"
#include "object/ObjectAccess.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

class HostFactoriesTest : public HostFixture {};

const ConfigStoreObjectId kDns = Id("dns", "net");
const ConfigStoreObjectId kIface = Id("iface", "net");
const ConfigStoreObjectId kEth0 = Id("iface", "net", "eth0");
const ConfigStoreObjectId kRoutes = Id("routes", "gen");

// ---- CreateObject

TEST_F(HostFactoriesTest, ObjectFromTextOfASingleton) {
  auto object = CreateObject(kDns, R"({"domain":"a.org","ttl":60})");
  ASSERT_TRUE(object);
  EXPECT_EQ(kDns, object->GetConfigStoreObjectId());
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org","ttl":60})", object->GetData()));
  EXPECT_EQ("1.0", object->GetVersion());
  EXPECT_EQ(-1, object->GetRevision());
  EXPECT_EQ("", object->GetCreationTime());
  // The schema's map is known: the hosts list is a list of instances.
  EXPECT_TRUE(object->CreateSubObject(SubObjectId("hosts", "h1")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org","ttl":60,"hosts":[{"name":"h1"}]})",
                        object->GetData()));
}

TEST_F(HostFactoriesTest, ObjectVersionComesFromItsSchema) {
  EXPECT_EQ("2.5", CreateObject(Id("pinned", "ver"), R"({"a":"x"})")->GetVersion());
}

TEST_F(HostFactoriesTest, ObjectIdentifierTakesTheInstanceIdOfTheValue) {
  auto object = CreateObject(kIface, R"({"name":"eth0","mtu":1500})");
  EXPECT_EQ(kEth0, object->GetConfigStoreObjectId());
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500})", object->GetData()));
}

TEST_F(HostFactoriesTest, ObjectIdentifierInstanceIdWinsOverTheValue) {
  auto object = CreateObject(Id("iface", "net", "eth1"), R"({"name":"eth0","mtu":1500})");
  EXPECT_EQ(Id("iface", "net", "eth1"), object->GetConfigStoreObjectId());
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","mtu":1500})", object->GetData()));
}

TEST_F(HostFactoriesTest, ObjectWithGeneratedIdGetsOneAndIsNamedByIt) {
  auto object = CreateObject(kRoutes, R"({"dest":"10.0.0.0/8"})");
  const std::string instanceId = object->GetConfigStoreObjectId().instanceId;
  EXPECT_EQ(36u, instanceId.size()) << instanceId;
  // Kept in what is stored, never shown to callers.
  EXPECT_TRUE(JsonEqual(R"({"dest":"10.0.0.0/8","cs_generated_id":")" + instanceId + "\"}",
                        ImplOf(object).GetSerializedData()));
  EXPECT_TRUE(JsonEqual(R"({"dest":"10.0.0.0/8"})", object->GetData()));
  // One that already has an id keeps it.
  auto kept = CreateObject(kRoutes, R"({"dest":"a","cs_generated_id":"g-1"})");
  EXPECT_EQ(Id("routes", "gen", "g-1"), kept->GetConfigStoreObjectId());
}

TEST_F(HostFactoriesTest, ObjectIndexIsKeptOnlyForKeysWithInstances) {
  EXPECT_EQ("/corv/net/iface/3/mtu",
            CreateObject(kEth0, R"({"name":"eth0"})", 3ul)->GetPath("mtu"));
  EXPECT_EQ("/corv/net/iface/mtu",
            CreateObject(kEth0, R"({"name":"eth0"})", std::nullopt)->GetPath("mtu"));
  EXPECT_EQ("/corv/net/dns/ttl", CreateObject(kDns, R"({})", 3ul)->GetPath("ttl"));
}

TEST_F(HostFactoriesTest, ObjectFromBadTextIsRefused) {
  try {
    CreateObject(kDns, R"({"domain":)");
    ADD_FAILURE() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(1080, e.GetErrorCode());
  }
  try {
    CreateObject(kDns, R"(["domain"])");
    ADD_FAILURE() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(1082, e.GetErrorCode());
    EXPECT_NE(std::string::npos, std::string(e.what()).find("IsObject()")) << e.what();
  }
  EXPECT_TRUE(Throws<ConfigStoreException>([] { CreateObject(Id("nosuch", "net"), "{}"); }, 1037,
                                           "Schema not found for: comp corv grp net key nosuch"));
}

TEST_F(HostFactoriesTest, ObjectFromTextCanBeStored) {
  store_->Set(CreateObject(kIface, R"({"name":"eth0","mtu":9000,"speed":10})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":9000})", raw_->Column(kEth0, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","speed":10})", raw_->Column(kEth0, "VitalValue")));
}

// ---- CreateDriftObject

TEST_F(HostFactoriesTest, DriftObjectTakesDescriptionThenOperation) {
  auto drift = CreateDriftObject(kDns, R"({"domain":"REMOVE","ttl":5})", "UPDATE");
  ASSERT_TRUE(drift);
  EXPECT_EQ(kDns, drift->GetConfigStoreObjectId());
  EXPECT_EQ("UPDATE", drift->GetOperation());
  EXPECT_EQ(R"({"domain":"REMOVE","ttl":5})", drift->GetData());
  auto members = drift->Get();
  ASSERT_EQ(2u, members.size());
  EXPECT_EQ(std::make_pair(std::string("domain"), std::string("REMOVE")), members[0]);
  EXPECT_EQ(std::make_pair(std::string("ttl"), std::string("SET")), members[1]);
}

TEST_F(HostFactoriesTest, DriftObjectOfBadTextIsRefused) {
  try {
    CreateDriftObject(kDns, "{oops", "SET");
    ADD_FAILURE() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(1080, e.GetErrorCode());
  }
}

// ---- FileExists

TEST_F(HostFactoriesTest, FileExistsExactlyWhenStatSucceeds) {
  EXPECT_TRUE(FileExists(env_.Dir().Write("present.txt", "x")));
  EXPECT_TRUE(FileExists(env_.Dir().Path()));
  EXPECT_FALSE(FileExists(env_.Dir().File("absent.txt")));
  EXPECT_FALSE(FileExists(""));
  EXPECT_FALSE(FileExists(env_.Dir().File("absent/below")));
}

// ---- ExecCommand

TEST(HostExecCommandTest, ASuccessfulProgramIsTrue) {
  LogCapture log(4);
  const char* argv[] = {"/bin/true", nullptr};
  EXPECT_TRUE(ExecCommand(argv));
  EXPECT_FALSE(log.Contains("[110"));
}

TEST(HostExecCommandTest, ArgumentsReachTheProgram) {
  const char* same[] = {"/bin/sh", "-c", "test \"$1\" = expected", "sh", "expected", nullptr};
  EXPECT_TRUE(ExecCommand(same));
  const char* other[] = {"/bin/sh", "-c", "test \"$1\" = expected", "sh", "other", nullptr};
  LogCapture log(0);
  EXPECT_FALSE(ExecCommand(other));
  EXPECT_TRUE(log.Has(0, "[1104] Command failed: /bin/sh exited with status 1"));
}

TEST(HostExecCommandTest, ANonZeroExitIsFalseAndLogged) {
  LogCapture log(0);
  const char* argv[] = {"/bin/sh", "-c", "exit 3", nullptr};
  EXPECT_FALSE(ExecCommand(argv));
  EXPECT_TRUE(log.Has(0, "[1104] Command failed: /bin/sh exited with status 3"));
}

TEST(HostExecCommandTest, AKilledProgramIsFalseAndLogged) {
  LogCapture log(0);
  const char* argv[] = {"/bin/sh", "-c", "kill -9 $$", nullptr};
  EXPECT_FALSE(ExecCommand(argv));
  EXPECT_TRUE(log.Has(0, "[1104] Command failed: /bin/sh ended by signal 9"));
}

TEST(HostExecCommandTest, AMissingProgramIsFalseAndLogged) {
  LogCapture log(0);
  const char* argv[] = {"/no/such/program", nullptr};
  EXPECT_FALSE(ExecCommand(argv));
  EXPECT_TRUE(log.Has(0, "[1102] Failed to start command: No such file or directory"));
  EXPECT_FALSE(log.Contains("[1104]"));
}

TEST(HostExecCommandTest, AnEmptyArgumentVectorIsFalseAndLogged) {
  LogCapture log(0);
  EXPECT_FALSE(ExecCommand(nullptr));
  const char* empty[] = {nullptr};
  EXPECT_FALSE(ExecCommand(empty));
  std::vector<std::pair<int, std::string>> expected(
      2, {0, "[1102] Failed to start command: Invalid argument"});
  EXPECT_EQ(expected, log.Lines());
}

TEST(HostExecCommandTest, AFailedWaitIsFalseAndLogged) {
  // With SIGCHLD ignored the kernel reaps children itself, so there is
  // nothing left to wait for.
  struct sigaction ignore {}, previous{};
  ignore.sa_handler = SIG_IGN;
  ASSERT_EQ(0, sigaction(SIGCHLD, &ignore, &previous));
  LogCapture log(0);
  const char* argv[] = {"/bin/true", nullptr};
  bool result = ExecCommand(argv);
  sigaction(SIGCHLD, &previous, nullptr);
  EXPECT_FALSE(result);
  EXPECT_TRUE(log.Has(0, "[1103] Failed to wait for command: No child processes"));
}

}  // namespace
