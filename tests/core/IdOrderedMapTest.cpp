// IdOrderedMap: entries in the order their identities were first added.
#include "core/IdOrderedMap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace CorvConfigStore;

namespace {

std::vector<std::string> Instances(const IdOrderedMap<int>& map) {
  std::vector<std::string> instances;
  for (const auto& entry : map) instances.push_back(entry.first.instanceId);
  return instances;
}

ConfigStoreObjectId Port(const std::string& instance) {
  return ConfigStoreObjectId("ports", "net", "corv", instance);
}

}  // namespace

TEST(IdOrderedMapTest, PassesGoInTheOrderKeysWereFirstAdded) {
  IdOrderedMap<int> map;
  EXPECT_TRUE(map.empty());
  // Names whose hash order is unlike their order of addition.
  const std::vector<std::string> order = {"p9", "p1", "p5", "p3", "p7", "p0", "p8", "p2"};
  for (size_t i = 0; i < order.size(); ++i) map[Port(order[i])] = static_cast<int>(i);
  EXPECT_EQ(Instances(map), order);
  EXPECT_EQ(map.size(), order.size());
  EXPECT_FALSE(map.empty());
}

TEST(IdOrderedMapTest, SettingAKeyAgainReplacesItsValueInPlace) {
  IdOrderedMap<int> map;
  map[Port("a")] = 1;
  map[Port("b")] = 2;
  map[Port("a")] = 3;
  EXPECT_EQ(Instances(map), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(map.begin()->second, 3);
  EXPECT_EQ(map.size(), 2u);
}

TEST(IdOrderedMapTest, KeysDifferingInAnyPartAreDistinct) {
  IdOrderedMap<int> map;
  map[ConfigStoreObjectId("k", "g", "c", "i")] = 1;
  map[ConfigStoreObjectId("k", "g", "c")] = 2;
  map[ConfigStoreObjectId("k", "g", "x", "i")] = 3;
  map[ConfigStoreObjectId("k", "x", "c", "i")] = 4;
  map[ConfigStoreObjectId("x", "g", "c", "i")] = 5;
  EXPECT_EQ(map.size(), 5u);
  EXPECT_EQ(map.count(ConfigStoreObjectId("k", "g", "c")), 1u);
  EXPECT_EQ(map.count(ConfigStoreObjectId("k", "g", "c", "j")), 0u);
  EXPECT_EQ(map[ConfigStoreObjectId("k", "x", "c", "i")], 4);
}

TEST(IdOrderedMapTest, ValuesCanBeChangedThroughAPass) {
  IdOrderedMap<int> map;
  map[Port("a")] = 1;
  map[Port("b")] = 2;
  for (auto& entry : map) entry.second *= 10;
  EXPECT_EQ(map[Port("a")], 10);
  EXPECT_EQ(map[Port("b")], 20);
}

TEST(IdOrderedMapTest, RoomMadeAheadKeepsEntriesWhereTheyAre) {
  IdOrderedMap<int> map;
  map.reserve(100);
  map[Port("first")] = 1;
  const int* first = &map[Port("first")];
  for (int i = 0; i < 99; ++i) map[Port("p" + std::to_string(i))] = i;
  EXPECT_EQ(first, &map[Port("first")]);
  EXPECT_EQ(map.size(), 100u);
  EXPECT_EQ(Instances(map).front(), "first");
}
