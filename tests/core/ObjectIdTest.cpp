// Identifiers: construction order, text forms, equality, hashing.
#include <corvconfigstore/ObjectId.h>
#include <gtest/gtest.h>

#include <unordered_set>

using namespace CorvConfigStore;

TEST(ConfigStoreObjectIdTest, ConstructorsTakeKeyGroupComponentOrder) {
  ConfigStoreObjectId id("dns", "net", "corv", "i1");
  EXPECT_EQ(id.key, "dns");
  EXPECT_EQ(id.group, "net");
  EXPECT_EQ(id.component, "corv");
  EXPECT_EQ(id.instanceId, "i1");
  ConfigStoreObjectId fromChars("dns", "net", "corv");
  EXPECT_EQ(fromChars.instanceId, "");
  EXPECT_EQ(fromChars, ConfigStoreObjectId(std::string("dns"), std::string("net"),
                                           std::string("corv")));
  ConfigStoreObjectId fourChars("a", "b", "c", "d");
  ConfigStoreObjectId copy(fourChars);
  EXPECT_EQ(copy, fourChars);
}

TEST(ConfigStoreObjectIdTest, TextFormWithoutInstanceId) {
  EXPECT_EQ(ConfigStoreObjectId("dns", "net", "corv").toString(), "comp corv grp net key dns");
}

TEST(ConfigStoreObjectIdTest, TextFormPutsInstanceIdLast) {
  EXPECT_EQ(ConfigStoreObjectId("nics", "net", "corv", "eth0").toString(),
            "comp corv grp net key nics id eth0");
}

TEST(ConfigStoreObjectIdTest, EqualityComparesAllFourFields) {
  ConfigStoreObjectId a("k", "g", "c", "i");
  EXPECT_EQ(a, ConfigStoreObjectId("k", "g", "c", "i"));
  EXPECT_NE(a, ConfigStoreObjectId("k", "g", "c", "j"));
  EXPECT_NE(a, ConfigStoreObjectId("k", "g", "x", "i"));
  EXPECT_NE(a, ConfigStoreObjectId("k", "x", "c", "i"));
  EXPECT_NE(a, ConfigStoreObjectId("x", "g", "c", "i"));
}

TEST(ConfigStoreObjectIdTest, HashCollidesByDesignButCompareUnequal) {
  ConfigStoreObjectId a("ab", "c", "corv", "i");
  ConfigStoreObjectId b("a", "bc", "corv", "i");
  EXPECT_EQ(hashCsoId(a), hashCsoId(b));
  EXPECT_NE(a, b);
  std::unordered_set<ConfigStoreObjectId> set{a, b};
  EXPECT_EQ(set.size(), 2u);
}

TEST(ConfigStoreObjectIdTest, HashIsStringHashOfConcatenation) {
  ConfigStoreObjectId id("key", "grp", "comp", "id");
  EXPECT_EQ(hashCsoId(id), std::hash<std::string>()("keygrpcompid"));
  EXPECT_EQ(std::hash<ConfigStoreObjectId>()(id), hashCsoId(id));
}

TEST(SubObjectIdTest, TextForms) {
  EXPECT_EQ(SubObjectId("routes").toString(), "key routes");
  EXPECT_EQ(SubObjectId("routes", "r1").toString(), "key routes id r1");
}

TEST(GlobalsTest, DefaultComponentAndEmptyString) {
  EXPECT_EQ(kDefaultComponent, "corv");
  EXPECT_TRUE(kEmptyString.empty());
}

TEST(GenerateInstanceIdTest, ReturnsDistinctUuidTexts) {
  std::string a = GenerateInstanceId();
  std::string b = GenerateInstanceId();
  ASSERT_EQ(a.size(), 36u);
  EXPECT_EQ(a[8], '-');
  EXPECT_EQ(a[14], '4');  // version 4: random
  EXPECT_NE(a, b);
}

TEST(ErrorInfoTest, HoldsLocationAndMessage) {
  ErrorInfo info("/a", "bad");
  EXPECT_EQ(info.location, "/a");
  EXPECT_EQ(info.message, "bad");
  RevisionInfo revision{"i1", 3};
  EXPECT_EQ(revision.instanceId, "i1");
  EXPECT_EQ(revision.revision, 3);
}
