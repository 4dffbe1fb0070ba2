// Filtering of object lists by the value of a filter object.
#include <algorithm>

#include "RowsFixture.h"
#include "db/BulkReads.h"

namespace CorvTest {
namespace {

using namespace CorvConfigStore;

class FilterObjectsTest : public RowsTest {
 protected:
  void SetUp() override {
    RowsTest::SetUp();
    objects_ = {Make(Id("dns", "net"),
                     R"({"domain":"a","options":{"rotate":true,"ndots":1},"servers":["x"]})"),
                Make(Id("dns", "net"), R"({"domain":"b","options":{"rotate":false,"ndots":1}})"),
                Make(Id("dns", "net"), R"({"domain":"a","options":{"rotate":false}})"),
                Make(Id("dns", "net"), R"({"domain":"a","options":5})")};
  }

  std::shared_ptr<FilterSpecObject> Filter(const std::string& json) {
    auto filter = std::make_shared<FilterSpecObject>(Id("dns", "net"));
    filter->SetData(json.c_str());
    return filter;
  }

  // Positions (in objects_) of the objects the filter keeps.
  std::vector<int> Kept(const std::string& json) {
    ObjectList objects = objects_;
    FilterConfigStoreObjects(objects, Filter(json));
    std::vector<int> kept;
    for (const ObjectPtr& object : objects)
      kept.push_back(
          static_cast<int>(std::find(objects_.begin(), objects_.end(), object) - objects_.begin()));
    return kept;
  }

  ObjectList objects_;
};

TEST_F(FilterObjectsTest, EmptyFilterKeepsEverything) {
  EXPECT_EQ(Kept("{}"), (std::vector<int>{0, 1, 2, 3}));
  ObjectList objects = objects_;
  FilterConfigStoreObjects(objects, nullptr);
  EXPECT_EQ(objects.size(), 4u);
}

TEST_F(FilterObjectsTest, ScalarMembersMustBeEqualAndKeptOrderIsPreserved) {
  EXPECT_EQ(Kept(R"({"domain":"a"})"), (std::vector<int>{0, 2, 3}));
  EXPECT_EQ(Kept(R"({"domain":"c"})"), (std::vector<int>{}));
  // A member the object lacks is no match.
  EXPECT_EQ(Kept(R"({"ttl":1})"), (std::vector<int>{}));
  // Equality is by JSON type as well as value.
  EXPECT_EQ(Kept(R"({"domain":1})"), (std::vector<int>{}));
}

TEST_F(FilterObjectsTest, ObjectMembersMatchRecursively) {
  EXPECT_EQ(Kept(R"({"options":{"rotate":false}})"), (std::vector<int>{1, 2}));
  EXPECT_EQ(Kept(R"({"options":{"ndots":1}})"), (std::vector<int>{0, 1}));
  EXPECT_EQ(Kept(R"({"domain":"a","options":{}})"), (std::vector<int>{0, 2}));
}

TEST_F(FilterObjectsTest, ArrayMembersMatchNothingAndAreLoggedPerObject) {
  LogCapture log(0);
  EXPECT_EQ(Kept(R"({"servers":["x"]})"), (std::vector<int>{}));
  int lines = 0;
  for (const auto& line : log.Lines())
    if (line.first == 0 &&
        line.second == "csoMatchesFilter: Non-Singleton SubObject filtering not supported")
      ++lines;
  EXPECT_EQ(lines, 4);
}

TEST_F(FilterObjectsTest, ImplementationListsAreFilteredTheSameWay) {
  std::vector<std::shared_ptr<ConfigStoreObjectImpl>> impls;
  for (const ObjectPtr& object : objects_)
    impls.push_back(std::static_pointer_cast<ConfigStoreObjectImpl>(ObjectAccess::Shared(*object)));
  FilterConfigStoreObjects(impls, Filter(R"({"options":{"rotate":false}})"));
  ASSERT_EQ(impls.size(), 2u);
  EXPECT_EQ(impls[0].get(), &ImplOf(objects_[1]));
  EXPECT_EQ(impls[1].get(), &ImplOf(objects_[2]));
}

TEST_F(FilterObjectsTest, MatchOfJsonValues) {
  JsonDocument value, filter;
  value.Parse(R"({"a":{"b":{"c":1}},"d":null})");
  filter.Parse(R"({"a":{"b":{"c":1}},"d":null})");
  EXPECT_TRUE(csoMatchesFilter(value, filter));
  filter.Parse(R"({"a":{"b":{"c":2}}})");
  EXPECT_FALSE(csoMatchesFilter(value, filter));
  filter.Parse(R"({})");
  EXPECT_TRUE(csoMatchesFilter(value, filter));
  filter.Parse(R"([1])");
  try {
    csoMatchesFilter(value, filter);
    FAIL() << "a filter that is not an object was accepted";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1082);
  }
}

}  // namespace
}  // namespace CorvTest
