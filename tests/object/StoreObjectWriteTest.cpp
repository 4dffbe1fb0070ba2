// Writes of a store object: scalar writes, lists and appends, removal,
// emptiness, whole-text replacement and construction.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/StoreObject.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "ObjectTestSupport.h"
#include "object/ObjectAccess.h"

using namespace CorvConfigStore;
using CorvTest::StoreObjectFrom;
using CorvTest::TestId;
using CorvTest::Throws;
using CorvTest::ThrowsJsonError;

namespace {

::testing::AssertionResult InvalidType(const std::function<void()>& f, const std::string& key) {
  return Throws<InvalidTypeException>(f, 2000, "Invalid type specified for: " + key);
}

}  // namespace

TEST(StoreObjectWriteTest, WritesEveryScalarType) {
  StoreObject object(TestId());
  object.SetValue("s", "text");
  object.SetValue("str", std::string("more"));
  object.SetValue("i", -3);
  object.SetValue("l", 5000000000L);
  object.SetValue("ll", -5000000000LL);
  object.SetValue("u", 4000000000u);
  object.SetValue("us", static_cast<unsigned short>(65535));
  object.SetValue("uc", static_cast<unsigned char>(255));
  object.SetValue("d", 2.5);
  object.SetValue("f", 1.5f);
  object.SetValue("b", false);
  EXPECT_EQ(object.GetData(), R"({"s":"text","str":"more","i":-3,"l":5000000000,"ll":-5000000000,)"
                              R"("u":4000000000,"us":65535,"uc":255,"d":2.5,"f":1.5,"b":false})");
  unsigned int u = 0;
  EXPECT_EQ(object.GetValue("us", &u), 1);
  EXPECT_EQ(u, 65535u);
  EXPECT_EQ(object.GetValue("uc", &u), 1);
  EXPECT_EQ(u, 255u);
  double d = 0;
  EXPECT_EQ(object.GetValue("f", &d), 1);
  EXPECT_EQ(d, 1.5);
}

TEST(StoreObjectWriteTest, DoubleWritesStayDoubles) {
  StoreObject object(TestId());
  object.SetValue("d", 5.0);
  double d = 0;
  int i = 0;
  EXPECT_EQ(object.GetValue("d", &d), 1);
  EXPECT_EQ(d, 5.0);
  EXPECT_TRUE(InvalidType([&] { object.GetValue("d", &i); }, "d"));
}

TEST(StoreObjectWriteTest, OverwriteKeepsPositionAndChangesType) {
  StoreObject object = StoreObjectFrom(R"({"a":1,"b":{"x":[1,2]},"c":3})");
  object.SetValue("a", "one");
  object.SetValue("b", true);
  EXPECT_EQ(object.GetData(), R"({"a":"one","b":true,"c":3})");
  object.SetValue("z", 9);
  EXPECT_EQ(object.GetData(), R"({"a":"one","b":true,"c":3,"z":9})");
}

TEST(StoreObjectWriteTest, StringValueCanComeFromTheObjectItself) {
  StoreObject object = StoreObjectFrom(R"({"a":"shared","b":"x"})");
  std::string a;
  object.GetValue("a", &a);
  const char* inside = ImplOf(object).GetValuePtr("a")->GetString();
  object.SetValue("a", inside);
  object.SetValue("c", inside);
  EXPECT_EQ(object.GetData(), R"({"a":"shared","b":"x","c":"shared"})");
}

TEST(StoreObjectWriteTest, NullMemberGetsASecondMemberBehindIt) {
  StoreObject object = StoreObjectFrom(R"({"a":null,"b":1})");
  object.SetValue("a", 5);
  EXPECT_EQ(object.GetData(), R"({"a":null,"b":1,"a":5})");
  int i = 0;
  EXPECT_EQ(object.GetValue("a", &i), 0);
  EXPECT_EQ(i, 0);
  object.Remove("a");
  object.Remove("a");
  object.SetValue("a", 6);
  EXPECT_EQ(object.GetValue("a", &i), 1);
  EXPECT_EQ(i, 6);
}

TEST(StoreObjectWriteTest, NullStringValueIsRefused) {
  StoreObject object(TestId());
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { object.SetValue("a", nullptr); }, 2000,
                                               "value cannot be null"));
  EXPECT_TRUE(object.IsEmpty());
}

TEST(StoreObjectWriteTest, EmptyKeyRefusedInEveryWrite) {
  StoreObject object(TestId());
  const unsigned char bytes[] = {1, 2};
  std::vector<std::function<void(const char*)>> writes = {
      [&](const char* k) { object.SetValue(k, "x"); },
      [&](const char* k) { object.SetValue(k, std::string("x")); },
      [&](const char* k) { object.SetValue(k, 1); },
      [&](const char* k) { object.SetValue(k, 1L); },
      [&](const char* k) { object.SetValue(k, 1LL); },
      [&](const char* k) { object.SetValue(k, 1u); },
      [&](const char* k) { object.SetValue(k, static_cast<unsigned short>(1)); },
      [&](const char* k) { object.SetValue(k, static_cast<unsigned char>(1)); },
      [&](const char* k) { object.SetValue(k, 1.0); },
      [&](const char* k) { object.SetValue(k, 1.0f); },
      [&](const char* k) { object.SetValue(k, true); },
      [&](const char* k) { object.SetValueBinary(k, bytes, sizeof bytes); },
      [&](const char* k) { object.SetValueEmptyList(k); },
      [&](const char* k) { object.SetValue(k, std::vector<int>{1}); },
      [&](const char* k) { object.SetValue(k, std::vector<std::string>{}); },
      [&](const char* k) { object.AppendValue(k, 1); },
      [&](const char* k) { object.AppendValue(k, std::string("x")); },
  };
  for (auto& write : writes) {
    EXPECT_TRUE(Throws<InvalidArgumentException>([&] { write(""); }, 2000, "key cannot be empty"));
    EXPECT_TRUE(
        Throws<InvalidArgumentException>([&] { write(nullptr); }, 2000, "key cannot be empty"));
  }
  EXPECT_TRUE(object.IsEmpty());
}

TEST(StoreObjectWriteTest, EmptyListMovesTheKeyToTheEnd) {
  StoreObject object = StoreObjectFrom(R"({"k":1,"z":2})");
  object.SetValue<int>("k", {});
  EXPECT_EQ(object.GetData(), R"({"z":2,"k":[]})");
  object.SetValueEmptyList("new");
  EXPECT_EQ(object.GetData(), R"({"z":2,"k":[],"new":[]})");
}

TEST(StoreObjectWriteTest, VectorWritesOfEveryElementType) {
  StoreObject object(TestId());
  object.SetValue("b", std::vector<bool>{true, false});
  object.SetValue("i", std::vector<int>{1, -2});
  object.SetValue("l", std::vector<long long>{5000000000LL});
  object.SetValue("d", std::vector<double>{0.5, 3.0});
  object.SetValue("s", std::vector<std::string>{"x", "y"});
  EXPECT_EQ(object.GetData(),
            R"({"b":[true,false],"i":[1,-2],"l":[5000000000],"d":[0.5,3.0],"s":["x","y"]})");
  std::vector<double> d;
  EXPECT_EQ(object.GetValue("d", &d), 1);
  EXPECT_EQ(d, (std::vector<double>{0.5, 3.0}));
  std::vector<long long> l;
  EXPECT_EQ(object.GetValue("l", &l), 1);
  EXPECT_EQ(l, std::vector<long long>{5000000000LL});
  // Rewriting a list removes the member (the last member takes its place)
  // and appends the new list at the end.
  object.SetValue("i", std::vector<int>{7});
  EXPECT_EQ(object.GetData(),
            R"({"b":[true,false],"s":["x","y"],"l":[5000000000],"d":[0.5,3.0],"i":[7]})");
}

TEST(StoreObjectWriteTest, AppendToMissingKeyIsRefused) {
  StoreObject object(TestId());
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { object.AppendValue("list", 1); }, 2000,
                                               "Key not found: list"));
}

TEST(StoreObjectWriteTest, AppendToNullOrNonArrayIsWrongType) {
  StoreObject object = StoreObjectFrom(R"({"n":null,"s":"x","o":{}})");
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("n", 1); }, "n"));
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("s", std::string("y")); }, "s"));
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("o", true); }, "o"));
}

TEST(StoreObjectWriteTest, AppendTestsOnlyTheFirstElement) {
  StoreObject object =
      StoreObjectFrom(R"({"strFirst":["a"],"intFirst":[1,"x"],"empty":[],"dbl":[2.5],"int":[5],)"
                      R"("bool":[true],"big":[5000000000]})");
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("strFirst", 1); }, "strFirst"));
  object.AppendValue("intFirst", 2);
  object.AppendValue("empty", std::string("any"));
  object.AppendValue("dbl", 1.0);
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("int", 1.0); }, "int"));
  object.AppendValue("int", 6LL);
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("big", 1); }, "big"));
  object.AppendValue("big", 7LL);
  object.AppendValue("bool", false);
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("bool", std::string("x")); }, "bool"));
  EXPECT_TRUE(InvalidType([&] { object.AppendValue("dbl", true); }, "dbl"));
  EXPECT_EQ(object.GetData(),
            R"({"strFirst":["a"],"intFirst":[1,"x",2],"empty":["any"],"dbl":[2.5,1.0],)"
            R"("int":[5,6],"bool":[true,false],"big":[5000000000,7]})");
}

TEST(StoreObjectWriteTest, AppendOfATextLiteralAppendsAString) {
  StoreObject object = StoreObjectFrom(R"({"s":[]})");
  object.AppendValue("s", "text");
  EXPECT_EQ(object.GetData(), R"({"s":["text"]})");
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { object.AppendValue("s", static_cast<const char*>(nullptr)); }, 2000,
      "value cannot be null"));
}

TEST(StoreObjectWriteTest, RemoveMayMoveTheLastMember) {
  StoreObject object = StoreObjectFrom(R"({"a":1,"b":2,"c":3})");
  object.Remove("missing");
  object.Remove(nullptr);
  EXPECT_EQ(object.GetData(), R"({"a":1,"b":2,"c":3})");
  object.Remove("a");
  EXPECT_EQ(object.GetData(), R"({"c":3,"b":2})");
}

TEST(StoreObjectWriteTest, IsEmptyFollowsWritesAndRemovals) {
  StoreObject object(TestId());
  EXPECT_TRUE(object.IsEmpty());
  object.SetValue("a", 1);
  EXPECT_FALSE(object.IsEmpty());
  object.Remove("a");
  EXPECT_TRUE(object.IsEmpty());
}

TEST(StoreObjectWriteTest, NonObjectValueRaisesJsonErrors) {
  StoreObject object = StoreObjectFrom("[1,2]");
  EXPECT_TRUE(ThrowsJsonError([&] { object.IsEmpty(); }, "IsObject()"));
  EXPECT_TRUE(ThrowsJsonError([&] { object.SetValue("a", 1); }, "IsObject()"));
  EXPECT_TRUE(ThrowsJsonError([&] { object.SetValueEmptyList("a"); }, "IsObject()"));
  int i = 5;
  EXPECT_EQ(object.GetValue("a", &i), 0);
  EXPECT_FALSE(object.CheckKey("a"));
  object.Remove("a");
  EXPECT_EQ(object.GetData(), "[1,2]");
}

TEST(StoreObjectWriteTest, SetDataReplacesTheValue) {
  StoreObject object = StoreObjectFrom(R"({"a":1})");
  object.SetData(nullptr);
  EXPECT_EQ(object.GetData(), R"({"a":1})");
  object.SetData(R"( {"b": [true]} )");
  EXPECT_EQ(object.GetData(), R"({"b":[true]})");
  try {
    object.SetData("{\"c\":");
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1080);
  }
  EXPECT_EQ(object.GetData(), R"({"b":[true]})");
}

// The handle made over a given implementation, as the object types built on
// StoreObject make it.
class HandleOver : public StoreObject {
 public:
  explicit HandleOver(const std::shared_ptr<StoreObjectImpl>& impl) : StoreObject(impl) {}
};

TEST(StoreObjectWriteTest, ConstructionCopiesTheGivenValue) {
  auto source = CreateDocumentFromString(R"({"a":{"b":[1,2]},"s":"x"})");
  auto impl = std::make_shared<StoreObjectImpl>(TestId("i"), source->GetJsonValuePtr());
  HandleOver object(impl);
  object.SetValue("s", "changed");
  object.Remove("a");
  EXPECT_EQ(JsonToString(*source->GetJsonValuePtr()), R"({"a":{"b":[1,2]},"s":"x"})");
  EXPECT_EQ(object.GetData(), R"({"s":"changed"})");
  EXPECT_EQ(object.GetConfigStoreObjectId(), TestId("i"));
  HandleOver empty(std::make_shared<StoreObjectImpl>(TestId(), nullptr));
  EXPECT_EQ(empty.GetData(), "{}");
}

TEST(StoreObjectWriteTest, HandleCopiesShareTheObject) {
  StoreObject object(TestId());
  StoreObject copy = object;
  copy.SetValue("a", 1);
  EXPECT_EQ(object.GetData(), R"({"a":1})");
  EXPECT_EQ(&ImplOf(object), &ImplOf(copy));
}

TEST(StoreObjectWriteTest, NullImplementationIsRefused) {
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [] { HandleOver object(std::shared_ptr<StoreObjectImpl>{}); }, 2000,
      "value cannot be null"));
}

// Text that is not UTF-8 would make the object's JSON text invalid: it is
// refused like text that is not JSON, and the object stays as it was.
TEST(StoreObjectWriteTest, TextThatIsNotUtf8IsRefused) {
  StoreObject object(TestId());
  object.SetValue("s", "ok");
  object.SetValueEmptyList("list");
  const std::string message = "Invalid JSON text: Invalid encoding in string.";
  auto refused = [&](const std::function<void()>& write) {
    return Throws<ConfigStoreException>(write, 1080, message);
  };
  EXPECT_TRUE(refused([&] { object.SetValue("s", "\xff\xfe"); }));
  EXPECT_TRUE(refused([&] { object.SetValue("s", std::string("a\xc3")); }));  // cut short
  EXPECT_TRUE(refused([&] { object.SetValue("\xed\xa0\x80", 1); }));         // a surrogate
  EXPECT_TRUE(refused([&] { object.SetValueEmptyList("\xc0\xaf"); }));       // overlong
  EXPECT_TRUE(refused([&] { object.AppendValue("list", "\x9c"); }));
  EXPECT_EQ(object.GetData(), R"({"s":"ok","list":[]})");
  object.SetValue("s", "caf\xc3\xa9");
  EXPECT_EQ(object.GetData(), "{\"s\":\"caf\xc3\xa9\",\"list\":[]}");
}

// JSON has no text for infinities and NaN: writing one would leave the
// object's text cut short, so such numbers are refused and the object
// stays as it was.
TEST(StoreObjectWriteTest, NumbersWithoutJsonTextAreRefused) {
  StoreObject object(TestId());
  object.SetValue("d", 1.5);
  object.SetValueEmptyList("list");
  const double infinity = std::numeric_limits<double>::infinity();
  const std::string tooBig = "Invalid JSON text: Number too big to be stored in double.";
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { object.SetValue("d", infinity); }, 1080, tooBig));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { object.SetValue("e", -infinity); }, 1080, tooBig));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { object.SetValue("d", std::numeric_limits<float>::infinity()); }, 1080, tooBig));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { object.SetValue("d", std::nan("")); }, 1080, "Invalid JSON text: Invalid value."));
  object.AppendValue("list", 2.5);
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { object.AppendValue("list", infinity); }, 1080, tooBig));
  EXPECT_EQ(object.GetData(), R"({"d":1.5,"list":[2.5]})");
  object.SetValue("d", std::numeric_limits<double>::max());
  EXPECT_EQ(object.GetData(), R"({"d":1.7976931348623157e308,"list":[2.5]})");
}
