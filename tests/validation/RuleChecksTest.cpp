// Rule checks: the boot-context rule with and without an upgrade, the
// next-boot store's tag and its refusal of empty objects.
#include <corvconfigstore/UpgradeContext.h>

#include "validation/Validation.h"
#include "ValidationFixture.h"

using namespace CorvConfigStore;
using CorvTest::ExpectValidationException;

namespace {

class RuleChecksTest : public CorvTest::ValidationTest {
 protected:
  // Every test leaves the process without an upgrade in progress.
  void TearDown() override { SetUpgradeCtx(0); }
};

const char* kBootRefusal = "API cannot be invoked with EXTERNAL context during boot";

// The phase of an operation: the upgrade context and the boot flag.
OperationContext Phase(int upgrade, bool boot) { return OperationContext(upgrade, boot); }

TEST_F(RuleChecksTest, ExternalWritesAreRefusedDuringBoot) {
  auto e = ExpectValidationException([] { checkUserContext(Phase(0, true), EXTERNAL); }, 2000,
                                     kBootRefusal);
  EXPECT_TRUE(e.GetErrors().empty());
}

TEST_F(RuleChecksTest, OutsideBootOrInternalWritesPass) {
  EXPECT_NO_THROW(checkUserContext(Phase(0, false), EXTERNAL));
  EXPECT_NO_THROW(checkUserContext(Phase(0, false), INTERNAL));
  EXPECT_NO_THROW(checkUserContext(Phase(0, true), INTERNAL));
}

TEST_F(RuleChecksTest, AnUpgradeLetsExternalWritesThroughDuringBoot) {
  EXPECT_NO_THROW(checkUserContext(Phase(1, true), EXTERNAL));
  EXPECT_NO_THROW(checkUserContext(Phase(2, true), EXTERNAL));
  ExpectValidationException([] { checkUserContext(Phase(0, true), EXTERNAL); }, 2000,
                            kBootRefusal);
}

TEST_F(RuleChecksTest, ThePhaseIsTakenFromTheProcessWhenNotGiven) {
  SetUpgradeCtx(1);
  EXPECT_NO_THROW(checkUserContext(OperationContext(), EXTERNAL));
}

TEST_F(RuleChecksTest, NextBootStoreNeedsTheRebootRequiredTag) {
  EXPECT_NO_THROW(ValidateRebootRequiredConfig(Schema("net", "boot")));
  auto e = ExpectValidationException(
      [&] { ValidateRebootRequiredConfig(Schema("net", "dns")); }, 2000,
      "API should only be invoked for configurations tagged @rebootRequiredConfigStore.");
  EXPECT_TRUE(e.GetErrors().empty());
}

TEST_F(RuleChecksTest, NextBootStoreRefusesEmptyObjects) {
  auto e = ExpectValidationException(
      [&] { ValidateEmptyObject(Object("net", "boot", "{}")); }, 2000,
      "Empty object cannot be set for configurations tagged @rebootRequiredConfigStore.");
  EXPECT_TRUE(e.GetErrors().empty());
  EXPECT_NO_THROW(ValidateEmptyObject(Object("net", "boot", R"({"order": "disk"})")));
}

}  // namespace
