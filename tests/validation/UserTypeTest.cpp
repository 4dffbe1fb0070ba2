// isUserType: whether a write touches a member that is neither vital nor
// cached nor an instance id.
#include "validation/Validation.h"
#include "ValidationFixture.h"

using namespace CorvConfigStore;

namespace {

class UserTypeTest : public CorvTest::ValidationTest {
 protected:
  bool IsUser(const std::string& key, const std::string& text, const std::string& instance = "") {
    return isUserType(Object("net", key, text, instance), Schema("net", key));
  }
};

TEST_F(UserTypeTest, UserMembersMakeAUserWrite) {
  EXPECT_TRUE(IsUser("dns", R"({"mode": "static"})"));
  EXPECT_TRUE(IsUser("dns", R"({"servers": ["1.1.1.1"]})"));
  EXPECT_TRUE(IsUser("dns", R"({"resolver": {"port": 53}})"));
}

TEST_F(UserTypeTest, NestedVitalAndCachedMembersAreNot) {
  EXPECT_FALSE(IsUser("dns", R"({"stats": {"hits": 1}})"));
  EXPECT_FALSE(IsUser("dns", R"({"lease": {"left": 1}})"));
  EXPECT_FALSE(IsUser("dns", R"({"stats": {"hits": 1}, "lease": {"left": 1}})"));
  EXPECT_TRUE(IsUser("dns", R"({"stats": {"hits": 1}, "mode": "dhcp"})"));
}

TEST_F(UserTypeTest, VitalAndCachedConfigurationsAreNot) {
  EXPECT_FALSE(IsUser("health", R"({"state": "ok"})"));
  EXPECT_FALSE(IsUser("lease", R"({"left": 3})"));
}

TEST_F(UserTypeTest, InstanceIdsAreNotUserData) {
  EXPECT_FALSE(IsUser("routes", R"({"name": "r1"})", "r1"));
  EXPECT_FALSE(IsUser("routes", R"({"name": "r1", "metric": 5})", "r1"));
  EXPECT_TRUE(IsUser("routes", R"({"name": "r1", "gateway": "g"})", "r1"));
}

TEST_F(UserTypeTest, NestedListsAreWalkedElementByElement) {
  EXPECT_TRUE(IsUser("routes", R"({"name": "r1", "hops": [{"weight": 1}, {"via": "a"}]})", "r1"));
  EXPECT_FALSE(IsUser("routes", R"({"name": "r1", "hops": [{"weight": 1}]})", "r1"));
  EXPECT_FALSE(IsUser("routes", R"({"name": "r1", "hops": []})", "r1"));
}

TEST_F(UserTypeTest, EmptyValuesTouchNothing) {
  EXPECT_FALSE(IsUser("dns", "{}"));
  EXPECT_FALSE(IsUser("dns", R"({"resolver": {}})"));
}

TEST_F(UserTypeTest, MembersTheSchemaDoesNotDescribeAreUserData) {
  EXPECT_TRUE(IsUser("dns", R"({"color": "red"})"));
  EXPECT_TRUE(IsUser("dns", R"({"stats": {"hits": 1}, "color": {"r": 1}})"));
}

}  // namespace
