// Identity checks: schema presence, singleton and non-singleton identities,
// instance operations, instance ids and the kernel-options identity.
#include <corvconfigstore/FilterSpecObject.h>

#include "validation/Validation.h"
#include "ValidationFixture.h"

using namespace CorvConfigStore;
using CorvTest::ExpectValidationException;

namespace {

class IdentityChecksTest : public CorvTest::ValidationTest {};

const char* kSingletonWithId = "Singleton object cannot contain instanceId";
const char* kNonSingletonWithoutId = "Non-Singleton object should contain instanceId";
const char* kSingletonForInstances = "API called for singleton object, non-singleton expected";

TEST_F(IdentityChecksTest, CheckSchemaRaises1037NamingTheIdentity) {
  ConfigStoreObjectId id("nokey", "net", "corv", "i1");
  try {
    CheckSchema(id, nullptr);
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
    EXPECT_EQ(std::string(e.what()), CodeText(1037, "comp corv grp net key nokey id i1"));
  }
  EXPECT_NO_THROW(CheckSchema(ConfigStoreObjectId("dns", "net", "corv"), Schema("net", "dns")));
}

TEST_F(IdentityChecksTest, SingletonKeyRefusesAnInstanceId) {
  auto e = ExpectValidationException(
      [&] {
        validateSingletonNonSingleton(ConfigStoreObjectId("dns", "net", "corv", "x"),
                                      Schema("net", "dns"));
      },
      2000, kSingletonWithId);
  EXPECT_TRUE(e.GetErrors().empty());
  EXPECT_NO_THROW(
      validateSingletonNonSingleton(ConfigStoreObjectId("dns", "net", "corv"), Schema("net", "dns")));
}

TEST_F(IdentityChecksTest, NonSingletonKeyRequiresAnInstanceId) {
  auto e = ExpectValidationException(
      [&] {
        validateSingletonNonSingleton(ConfigStoreObjectId("routes", "net", "corv"),
                                      Schema("net", "routes"));
      },
      2000, kNonSingletonWithoutId);
  EXPECT_TRUE(e.GetErrors().empty());
  EXPECT_NO_THROW(validateSingletonNonSingleton(ConfigStoreObjectId("routes", "net", "corv", "r1"),
                                                Schema("net", "routes")));
}

TEST_F(IdentityChecksTest, ObjectFormChecksTheObjectsIdentity) {
  auto routes = Schema("net", "routes");
  ExpectValidationException(
      [&] { validateSingletonNonSingleton(Object("net", "routes", "{}"), routes); }, 2000,
      kNonSingletonWithoutId);
  EXPECT_NO_THROW(
      validateSingletonNonSingleton(Object("net", "routes", "{}", "r1"), routes));
  ExpectValidationException(
      [&] { validateSingletonNonSingleton(Object("net", "dns", "{}", "x"), Schema("net", "dns")); },
      2000, kSingletonWithId);
}

TEST_F(IdentityChecksTest, ValidateCsoIdChecksTheSchemaFirst) {
  // The identity would also be refused as a singleton with an instance id:
  // the missing schema is reported first.
  try {
    ValidateCsoId(ConfigStoreObjectId("dns", "net", "corv", "x"), nullptr);
    FAIL() << "no exception";
  } catch (const ValidationException&) {
    FAIL() << "singleton rule checked before the schema";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
  }
  ExpectValidationException(
      [&] { ValidateCsoId(ConfigStoreObjectId("dns", "net", "corv", "x"), Schema("net", "dns")); },
      2000, kSingletonWithId);
  ExpectValidationException(
      [&] { ValidateCsoId(ConfigStoreObjectId("routes", "net", "corv"), Schema("net", "routes")); },
      2000, kNonSingletonWithoutId);
  EXPECT_NO_THROW(ValidateCsoId(ConfigStoreObjectId("dns", "net", "corv"), Schema("net", "dns")));
  EXPECT_NO_THROW(
      ValidateCsoId(ConfigStoreObjectId("routes", "net", "corv", "r1"), Schema("net", "routes")));
}

TEST_F(IdentityChecksTest, ValidateCsoIdObjectForm) {
  auto object = Object("net", "dns", "{}", "x");
  ExpectValidationException([&] { ValidateCsoId(object, Schema("net", "dns")); }, 2000,
                            kSingletonWithId);
  try {
    ValidateCsoId(object, nullptr);
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
    EXPECT_EQ(std::string(e.what()), CodeText(1037, "comp corv grp net key dns id x"));
  }
  EXPECT_NO_THROW(ValidateCsoId(Object("net", "dns", "{}"), Schema("net", "dns")));
}

TEST_F(IdentityChecksTest, ValidateCsoIdInstancesNeedsAKeyWithInstances) {
  auto e = ExpectValidationException(
      [&] { ValidateCsoIdInstances(ConfigStoreObjectId("dns", "net", "corv"), Schema("net", "dns")); },
      2000, kSingletonForInstances);
  EXPECT_TRUE(e.GetErrors().empty());
  // An instance operation may name all instances (no instance id) or one.
  EXPECT_NO_THROW(
      ValidateCsoIdInstances(ConfigStoreObjectId("routes", "net", "corv"), Schema("net", "routes")));
  EXPECT_NO_THROW(ValidateCsoIdInstances(ConfigStoreObjectId("routes", "net", "corv", "r1"),
                                         Schema("net", "routes")));
  try {
    ValidateCsoIdInstances(ConfigStoreObjectId("routes", "net", "corv"), nullptr);
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
    EXPECT_EQ(std::string(e.what()), CodeText(1037, "comp corv grp net key routes"));
  }
}

TEST_F(IdentityChecksTest, ValidateCsoIdInstancesFilterForm) {
  auto singleton = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("dns", "net", "corv"));
  ExpectValidationException([&] { ValidateCsoIdInstances(singleton, Schema("net", "dns")); }, 2000,
                            kSingletonForInstances);
  auto list = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("routes", "net", "corv"));
  EXPECT_NO_THROW(ValidateCsoIdInstances(list, Schema("net", "routes")));
  try {
    ValidateCsoIdInstances(list, nullptr);
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
  }
}

TEST_F(IdentityChecksTest, ValidateInstanceIdRequiresOne) {
  auto e = ExpectValidationException(
      [] { validateInstanceId(ConfigStoreObjectId("routes", "net", "corv")); }, 2000,
      kNonSingletonWithoutId);
  EXPECT_TRUE(e.GetErrors().empty());
  EXPECT_NO_THROW(validateInstanceId(ConfigStoreObjectId("routes", "net", "corv", "r1")));
}

TEST_F(IdentityChecksTest, KernelOptionsIdentityIsExact) {
  const char* message = "API should only be invoked for Kernel options configuration.";
  EXPECT_NO_THROW(ValidateKernelOptionsCsoId(ConfigStoreObjectId("options", "kestrel", "corv")));
  auto e = ExpectValidationException(
      [] { ValidateKernelOptionsCsoId(ConfigStoreObjectId("options", "Kestrel", "corv")); }, 2000,
      message);
  EXPECT_TRUE(e.GetErrors().empty());
  ExpectValidationException(
      [] { ValidateKernelOptionsCsoId(ConfigStoreObjectId("Options", "kestrel", "corv")); }, 2000,
      message);
  ExpectValidationException(
      [] { ValidateKernelOptionsCsoId(ConfigStoreObjectId("options", "kestrel", "velmo")); }, 2000,
      message);
  ExpectValidationException(
      [] { ValidateKernelOptionsCsoId(ConfigStoreObjectId("dns", "net", "corv")); }, 2000, message);
}

}  // namespace
