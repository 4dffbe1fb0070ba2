// Filter objects and their sub-object filters.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ObjectTestSupport.h"
#include "object/FilterSpecObjectImpl.h"
#include "support/LogCapture.h"
#include "object/ObjectAccess.h"

using namespace CorvConfigStore;
using CorvTest::TestId;
using CorvTest::Throws;

TEST(FilterSpecObjectTest, NewFilterIsEmptyAndTakesValues) {
  FilterSpecObject filter(TestId("i1"));
  EXPECT_TRUE(filter.IsEmpty());
  EXPECT_EQ(filter.GetConfigStoreObjectId(), TestId("i1"));
  filter.SetValue("mtu", 1500);
  int mtu = 0;
  EXPECT_EQ(filter.GetValue("mtu", &mtu), 1);
  EXPECT_EQ(mtu, 1500);
  EXPECT_EQ(filter.GetData(), R"({"mtu":1500})");
}

TEST(FilterSpecObjectTest, ImplementationFromKeyGroupComponent) {
  auto impl = std::make_shared<FilterSpecObjectImpl>("key", "group", "comp", nullptr);
  EXPECT_EQ(impl->GetConfigStoreObjectId(), ConfigStoreObjectId("key", "group", "comp", ""));
  EXPECT_EQ(impl->GetData(), "{}");
  auto doc = CreateDocumentFromString(R"({"a":1})");
  FilterSpecObject shared(std::make_shared<FilterSpecObjectImpl>("key", "group", "comp", doc));
  shared.SetValue("b", 2);
  EXPECT_EQ(JsonToString(*doc->GetJsonValuePtr()), R"({"a":1,"b":2})");
}

TEST(FilterSpecObjectTest, SubObjectFilterLandsInsideTheParent) {
  CorvTest::LogCapture log;
  FilterSpecObject filter(ConfigStoreObjectId("nics", "net", "corv"));
  filter.SetValue("name", "eth0");
  std::shared_ptr<FilterSpecObject> sub = filter.CreateSubObjectFilter(SubObjectId("opts"));
  ASSERT_TRUE(sub);
  EXPECT_TRUE(log.Has(4, "CreateSubObjectFilter : key opts"));
  EXPECT_EQ(sub->GetConfigStoreObjectId(), ConfigStoreObjectId("opts", "net", "corv", ""));
  sub->SetValue("speed", 100);
  EXPECT_EQ(filter.GetData(), R"({"name":"eth0","opts":{"speed":100}})");
  EXPECT_EQ(sub->GetData(), R"({"speed":100})");
}

TEST(FilterSpecObjectTest, CreatingTwiceIsRefused) {
  FilterSpecObject filter(TestId());
  filter.CreateSubObjectFilter(SubObjectId("s"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { filter.CreateSubObjectFilter(SubObjectId("s")); },
                                           2000, "SubObject filter already exists."));
  filter.SetValue("p", 1);
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { filter.CreateSubObjectFilter(SubObjectId("p")); },
                                           2000, "SubObject filter already exists."));
}

TEST(FilterSpecObjectTest, GetAndDeleteSubObjectFilter) {
  CorvTest::LogCapture log;
  FilterSpecObject filter(TestId());
  EXPECT_EQ(filter.GetSubObjectFilter(SubObjectId("s")), nullptr);
  filter.CreateSubObjectFilter(SubObjectId("s"))->SetValue("x", "y");
  auto again = filter.GetSubObjectFilter(SubObjectId("s"));
  ASSERT_TRUE(again);
  std::string x;
  EXPECT_EQ(again->GetValue("x", &x), 1);
  EXPECT_EQ(x, "y");
  filter.DeleteSubObjectFilter(SubObjectId("s"));
  EXPECT_EQ(filter.GetSubObjectFilter(SubObjectId("s")), nullptr);
  filter.DeleteSubObjectFilter(SubObjectId("s"));
  EXPECT_EQ(filter.GetData(), "{}");
  EXPECT_TRUE(log.Has(4, "GetSubObjectFilter : key s"));
  EXPECT_TRUE(log.Has(4, "DeleteSubObjectFilter : key s"));
}

TEST(FilterSpecObjectTest, OnlyTheKeyOfTheSubObjectIdCounts) {
  CorvTest::LogCapture log;
  FilterSpecObject filter(TestId());
  filter.CreateSubObjectFilter(SubObjectId("s", "i1"))->SetValue("a", 1);
  EXPECT_TRUE(log.Has(4, "CreateSubObjectFilter : key s id i1"));
  auto other = filter.GetSubObjectFilter(SubObjectId("s", "i2"));
  ASSERT_TRUE(other);
  EXPECT_EQ(other->GetConfigStoreObjectId().instanceId, "");
  EXPECT_EQ(other->GetData(), R"({"a":1})");
  filter.DeleteSubObjectFilter(SubObjectId("s", "zzz"));
  EXPECT_EQ(filter.GetData(), "{}");
}

TEST(FilterSpecObjectTest, NestedFiltersAndHandlesThatOutliveTheParent) {
  auto filter = std::make_shared<FilterSpecObject>(TestId());
  auto sub = filter->CreateSubObjectFilter(SubObjectId("a"));
  auto subsub = sub->CreateSubObjectFilter(SubObjectId("b"));
  filter.reset();
  sub.reset();
  subsub->SetValue("c", true);
  EXPECT_EQ(subsub->GetData(), R"({"c":true})");
  EXPECT_EQ(ImplOf(subsub).GetDoc()->GetPath().size(), 2u);
  EXPECT_EQ(JsonToString(*ImplOf(subsub).GetDoc()->GetDocument()), R"({"a":{"b":{"c":true}}})");
}

TEST(FilterSpecObjectTest, SubFilterOfADeletedMemberRaisesOnNextAccess) {
  FilterSpecObject filter(TestId());
  auto sub = filter.CreateSubObjectFilter(SubObjectId("s"));
  filter.DeleteSubObjectFilter(SubObjectId("s"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { sub->SetValue("x", 1); }, 2000,
                                           "Subobject does not exists."));
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { sub->GetData(); }, 2000, "Subobject does not exists."));
}

TEST(FilterSpecObjectTest, TypedReadsNeverReportDefaults) {
  FilterSpecObject filter(TestId());
  filter.SetValue("a", "x");
  bool fromDefault = true;
  EXPECT_NE(ImplOf(filter).GetValuePtrDefault("a", fromDefault), nullptr);
  EXPECT_FALSE(fromDefault);
  fromDefault = true;
  EXPECT_EQ(ImplOf(filter).GetValuePtrDefault("b", fromDefault), nullptr);
  EXPECT_FALSE(fromDefault);
}
