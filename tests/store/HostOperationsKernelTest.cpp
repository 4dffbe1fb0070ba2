// The kernel options object: reads of what the next boot will use and
// updates merged into the pending options.
#include <corvconfigstore/Exceptions.h>

#include "support/HostFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

const ConfigStoreObjectId kOptions = Id("options", "kestrel");

class HostKernelTest : public HostFixture {};

TEST_F(HostKernelTest, OnlyTheKernelOptionsAreServed) {
  const char* message = "API should only be invoked for Kernel options configuration.";
  EXPECT_TRUE(Throws<ValidationException>([] { GetKernelOptions(Id("dns", "net")); }, 2000,
                                          message));
  EXPECT_TRUE(Throws<ValidationException>(
      [] { UpdateKernelOptions(MakeObject(Id("dns", "net"), R"({"domain":"a"})")); }, 2000,
      message));
  EXPECT_TRUE(Throws<ValidationException>(
      [] { GetKernelOptions(ConfigStoreObjectId("options", "kestrel", "other")); }, 2000,
      message));
}

TEST_F(HostKernelTest, OptionsAreNullBeforeTheFirstUpdate) {
  LogCapture log(4);
  EXPECT_FALSE(GetKernelOptions(kOptions));
  EXPECT_TRUE(log.Has(4, "GetKernelOptions invoked"));
}

TEST_F(HostKernelTest, AnInstanceIdIsRefused) {
  EXPECT_TRUE(Throws<ValidationException>(
      [] { GetKernelOptions(Id("options", "kestrel", "x")); }, 2000,
      "Singleton object cannot contain instanceId"));
}

TEST_F(HostKernelTest, UpdateStagesOptionsForTheNextBoot) {
  LogCapture log(4);
  UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"console=ttyS0","serial":115200})"));
  EXPECT_TRUE(log.Has(4, "UpdateKernelOptions invoked"));
  // Pending until a boot confirms them; the vital member has its own layer.
  EXPECT_EQ("<null>", raw_->Column(kOptions, "UserValue"));
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"console=ttyS0"})", raw_->Column(kOptions, "DesiredValue")));
  EXPECT_TRUE(JsonEqual(R"({"serial":115200})", raw_->Column(kOptions, "VitalValue")));

  auto options = GetKernelOptions(kOptions);
  ASSERT_TRUE(options);
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"console=ttyS0","serial":115200})", options->GetData()));
}

TEST_F(HostKernelTest, UpdatesMergeIntoThePendingOptions) {
  UpdateKernelOptions(MakeObject(
      kOptions, R"({"cmdline":"a","modules":[{"mod":"e1000","args":"x"},{"mod":"ixgbe"}]})"));
  UpdateKernelOptions(MakeObject(kOptions, R"({"quiet":true,"modules":[{"mod":"e1000","args":"y"}]})"));
  auto options = GetKernelOptions(kOptions);
  ASSERT_TRUE(options);
  EXPECT_TRUE(JsonEqual(
      R"({"cmdline":"a","modules":[{"mod":"e1000","args":"y"},{"mod":"ixgbe"}],"quiet":true})",
      options->GetData()));
}

TEST_F(HostKernelTest, AConfirmedBootMakesThemCurrent) {
  UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"a"})"));
  SetBootStatus(kOptions, true);
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"a"})", raw_->Column(kOptions, "UserValue")));
  EXPECT_EQ("<null>", raw_->Column(kOptions, "DesiredValue"));
  // A later update merges into the confirmed options.
  UpdateKernelOptions(MakeObject(kOptions, R"({"quiet":false})"));
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"a"})", raw_->Column(kOptions, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"a","quiet":false})", raw_->Column(kOptions, "DesiredValue")));
}

TEST_F(HostKernelTest, AnEmptyUpdateIsLoggedAndWritesNothing) {
  UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"a"})"));
  std::vector<std::string> before = DumpStore();
  LogCapture log(1);
  UpdateKernelOptions(MakeObject(kOptions, "{}"));
  EXPECT_TRUE(log.Has(1,
                      "Update called with empty object for comp corv grp kestrel key options, "
                      "deletes are not supported"));
  EXPECT_EQ(before, DumpStore());
}

TEST_F(HostKernelTest, ANullUpdateIsLoggedAndIgnored) {
  LogCapture log(1);
  UpdateKernelOptions(nullptr);
  EXPECT_TRUE(log.Has(1, "[1041] UpdateKernelOptions: Object handle is null"));
  EXPECT_FALSE(GetKernelOptions(kOptions));
}

TEST_F(HostKernelTest, AnInvalidUpdateWritesNothing) {
  UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"a"})"));
  std::vector<std::string> before = DumpStore();
  try {
    UpdateKernelOptions(MakeObject(kOptions, R"({"quiet":"yes"})"));
    ADD_FAILURE() << "no exception";
  } catch (const ValidationException& e) {
    EXPECT_EQ(1084, e.GetErrorCode());
    ASSERT_EQ(1u, e.GetErrors().size());
    EXPECT_EQ("/quiet", e.GetErrors()[0].location);
  }
  EXPECT_EQ(before, DumpStore());
}

TEST_F(HostKernelTest, RefusedDuringBootUnlessUpgrading) {
  StartBoot();
  EXPECT_TRUE(Throws<ValidationException>(
      [] { UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"a"})")); }, 2000,
      "API cannot be invoked with EXTERNAL context during boot"));
  EXPECT_EQ("<no row>", raw_->Column(kOptions, "DesiredValue"));

  SetUpgradeCtx(1);
  UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"a"})"));
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"a"})", raw_->Column(kOptions, "DesiredValue")));
}

TEST_F(HostKernelTest, AFailedWriteIsReportedAsTransactionFailedAndUndone) {
  UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"a"})"));
  ASSERT_EQ("", raw_->RefuseWrites("INSERT", "options"));
  std::vector<std::string> before = DumpStore();
  // No separator between the fixed text and the cause, deliberately.
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [] { UpdateKernelOptions(MakeObject(kOptions, R"({"quiet":true})")); }, 2000,
      "Transaction failedDatabase call to update Kernel options configuration failed for: "
      "comp corv grp kestrel key options"));
  EXPECT_EQ(before, DumpStore());
}

TEST_F(HostKernelTest, AnAllowlistedUpdateIsAnnounced) {
  env_.Dir().Write("allowlist.json", R"(["corv.kestrel.options"])");
  ResetNotifyAllowlistForTesting();
  EnableNotification();
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  UpdateKernelOptions(MakeObject(kOptions, R"({"cmdline":"a"})"));
  std::string request;
  ASSERT_TRUE(daemon.ReceiveOne(&request));
  EXPECT_NE(std::string::npos, request.find(R"("identifiers":["corv.kestrel.options"])"));
  EXPECT_EQ(0u, request.rfind("POST /api HTTP/1.1\r\n", 0));

  // A refused update announces nothing.
  EXPECT_THROW(UpdateKernelOptions(MakeObject(kOptions, R"({"quiet":1})")), ValidationException);
  EXPECT_FALSE(daemon.HasPendingConnection());
}

}  // namespace
