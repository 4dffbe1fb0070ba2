// Drift objects: drifted properties, sub-object and instance drift, and the
// refusals of mismatched requests.
#include <corvconfigstore/DriftObject.h>
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ObjectTestSupport.h"
#include "core/Throw.h"
#include "object/DriftObjectImpl.h"
#include "support/LogCapture.h"

using namespace CorvConfigStore;
using CorvTest::Throws;
using CorvTest::ThrowsJsonError;

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

const ConfigStoreObjectId kId("nics", "net", "corv", "eth0");

std::shared_ptr<DriftObject> Drift(const std::string& text, const std::string& operation = "SET") {
  return std::make_shared<DriftObjectImpl>(kId, operation, text);
}

const char* const kNested = R"({
  "mtu": "UPDATE",
  "opts": {"DRIFTOBJ": {"speed": "DELETE", "duplex": 1}, "DRIFTOP": "ADD"},
  "plain": {"DRIFTOBJ": {"x": true}},
  "ips": [
    {"INSTANCEID": "ip1", "DRIFTOBJ": {"prefix": "SET"}},
    {"INSTANCEID": "ip2", "DRIFTOP": "DELETE", "DRIFTOBJ": {}}
  ]
})";

}  // namespace

TEST(DriftObjectTest, PairsInMemberOrder) {
  auto drift = Drift(R"({"a":"ADD","b":5,"c":{"DRIFTOBJ":{}},"d":[],"e":null})", "UPDATE");
  EXPECT_EQ(drift->Get(),
            (Pairs{{"a", "ADD"}, {"b", "SET"}, {"c", "SET"}, {"d", "SET"}, {"e", "SET"}}));
  EXPECT_EQ(drift->GetOperation(), "UPDATE");
  EXPECT_EQ(drift->GetConfigStoreObjectId(), kId);
  EXPECT_EQ(drift->GetData(), R"({"a":"ADD","b":5,"c":{"DRIFTOBJ":{}},"d":[],"e":null})");
}

TEST(DriftObjectTest, DescriptionMustBeAnObject) {
  auto drift = Drift("[1,2]");
  EXPECT_TRUE(ThrowsJsonError([&] { drift->Get(); }, "IsObject()"));
  EXPECT_EQ(drift->GetData(), "[1,2]");
}

TEST(DriftObjectTest, TextConstructorParsesOrFails) {
  EXPECT_EQ(Drift("")->GetData(), "{}");
  EXPECT_TRUE(Drift("")->Get().empty());
  try {
    Drift("{\"a\":");
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1080);
  }
}

TEST(DriftObjectTest, DocumentConstructorTakesTheDocument) {
  auto doc = CreateDocumentFromString(R"({"p":"DELETE"})");
  DriftObjectImpl drift(kId, "SET", doc);
  EXPECT_EQ(drift.Get(), (Pairs{{"p", "DELETE"}}));
  DriftObjectImpl none(kId, "SET", std::shared_ptr<JsonDoc>());
  EXPECT_EQ(none.GetData(), "{}");
}

TEST(DriftObjectTest, SingletonSubObjectDrift) {
  auto drift = Drift(kNested);
  auto opts = drift->GetSubObject(SubObjectId("opts"));
  ASSERT_TRUE(opts);
  EXPECT_EQ(opts->GetOperation(), "ADD");
  EXPECT_EQ(opts->GetConfigStoreObjectId(), ConfigStoreObjectId("opts", "net", "corv", ""));
  EXPECT_EQ(opts->Get(), (Pairs{{"speed", "DELETE"}, {"duplex", "SET"}}));
  auto plain = drift->GetSubObject(SubObjectId("plain"));
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->GetOperation(), "SET");
  EXPECT_EQ(plain->GetData(), R"({"x":true})");
}

TEST(DriftObjectTest, InstanceDrift) {
  auto drift = Drift(kNested);
  auto ip2 = drift->GetSubObject(SubObjectId("ips", "ip2"));
  ASSERT_TRUE(ip2);
  EXPECT_EQ(ip2->GetOperation(), "DELETE");
  EXPECT_EQ(ip2->GetConfigStoreObjectId(), ConfigStoreObjectId("ips", "net", "corv", "ip2"));
  EXPECT_TRUE(ip2->Get().empty());
  auto all = drift->GetSubObjectInstances(SubObjectId("ips"));
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0]->GetConfigStoreObjectId().instanceId, "ip1");
  EXPECT_EQ(all[0]->GetOperation(), "SET");
  EXPECT_EQ(all[0]->Get(), (Pairs{{"prefix", "SET"}}));
  EXPECT_EQ(all[1]->GetConfigStoreObjectId().instanceId, "ip2");
  EXPECT_EQ(all[1]->GetOperation(), "DELETE");
}

TEST(DriftObjectTest, MissingDriftIsLoggedAndEmpty) {
  CorvTest::LogCapture log;
  auto drift = Drift(kNested);
  EXPECT_EQ(drift->GetSubObject(SubObjectId("zz")), nullptr);
  EXPECT_TRUE(log.Has(0, "property zz is not in drift"));
  EXPECT_TRUE(drift->GetSubObjectInstances(SubObjectId("yy")).empty());
  EXPECT_TRUE(log.Has(0, "property yy is not in drift"));
  EXPECT_EQ(drift->GetSubObject(SubObjectId("ips", "ip9")), nullptr);
  EXPECT_TRUE(log.Has(0, "subobject key ips id ip9 is not in drift"));
}

TEST(DriftObjectTest, MismatchedRequestsAreRefused) {
  auto drift = Drift(kNested);
  EXPECT_TRUE(
      Throws<InvalidArgumentException>([&] { drift->GetSubObject(SubObjectId("opts", "x")); }, 1049,
                                       Format(ErrorMessageForId(1049), "opts")));
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { drift->GetSubObject(SubObjectId("ips")); },
                                               1048, Format(ErrorMessageForId(1048), "ips")));
  EXPECT_TRUE(
      Throws<InvalidArgumentException>([&] { drift->GetSubObjectInstances(SubObjectId("opts")); },
                                       1049, Format(ErrorMessageForId(1049), "opts")));
}

TEST(DriftObjectTest, MalformedEntriesRaiseJsonErrors) {
  auto drift =
      Drift(R"({"noObj":{"DRIFTOP":"ADD"},"badOp":{"DRIFTOP":1,"DRIFTOBJ":{}},"num":5,)"
            R"("noId":[{"DRIFTOBJ":{}}],"numId":[{"INSTANCEID":1,"DRIFTOBJ":{}}],"notObj":[3]})");
  EXPECT_TRUE(ThrowsJsonError([&] { drift->GetSubObject(SubObjectId("noObj")); }, "false"));
  EXPECT_TRUE(ThrowsJsonError([&] { drift->GetSubObject(SubObjectId("badOp")); }, "IsString()"));
  EXPECT_TRUE(ThrowsJsonError([&] { drift->GetSubObject(SubObjectId("num")); }, "IsObject()"));
  EXPECT_TRUE(ThrowsJsonError([&] { drift->GetSubObject(SubObjectId("noId", "a")); }, "false"));
  EXPECT_TRUE(
      ThrowsJsonError([&] { drift->GetSubObjectInstances(SubObjectId("numId")); }, "IsString()"));
  EXPECT_TRUE(
      ThrowsJsonError([&] { drift->GetSubObjectInstances(SubObjectId("notObj")); }, "IsObject()"));
}

TEST(DriftObjectTest, SubObjectDriftOutlivesItsParent) {
  auto drift = Drift(kNested);
  auto opts = drift->GetSubObject(SubObjectId("opts"));
  drift.reset();
  EXPECT_EQ(opts->GetData(), R"({"speed":"DELETE","duplex":1})");
}
