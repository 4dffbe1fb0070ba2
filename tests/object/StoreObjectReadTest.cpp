// Typed reads of a store object: scalar and vector reads, number kinds,
// results 0 and 1, and every refusal.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/StoreObject.h>
#include <gtest/gtest.h>

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

TEST(StoreObjectReadTest, ReadsEveryScalarType) {
  StoreObject object =
      StoreObjectFrom(R"({"s":"text","d":2.5,"i":-7,"big":5000000000,"u":4000000000,"b":true})");
  std::string s;
  double d = 0;
  int i = 0;
  long l = 0;
  long long ll = 0;
  unsigned int u = 0;
  unsigned short us = 0;
  unsigned char uc = 0;
  bool b = false;
  EXPECT_EQ(object.GetValue("s", &s), 1);
  EXPECT_EQ(s, "text");
  EXPECT_EQ(object.GetValue("d", &d), 1);
  EXPECT_EQ(d, 2.5);
  EXPECT_EQ(object.GetValue("i", &i), 1);
  EXPECT_EQ(i, -7);
  EXPECT_EQ(object.GetValue("big", &l), 1);
  EXPECT_EQ(l, 5000000000L);
  EXPECT_EQ(object.GetValue("big", &ll), 1);
  EXPECT_EQ(ll, 5000000000LL);
  EXPECT_EQ(object.GetValue("u", &u), 1);
  EXPECT_EQ(u, 4000000000u);
  EXPECT_EQ(object.GetValue("u", &us), 1);
  EXPECT_EQ(us, static_cast<unsigned short>(4000000000u));
  EXPECT_EQ(object.GetValue("u", &uc), 1);
  EXPECT_EQ(uc, static_cast<unsigned char>(4000000000u));
  EXPECT_EQ(object.GetValue("b", &b), 1);
  EXPECT_TRUE(b);
}

TEST(StoreObjectReadTest, StringKeepsEmbeddedNul) {
  StoreObject object = StoreObjectFrom(R"({"s":"a\u0000b"})");
  std::string s;
  EXPECT_EQ(object.GetValue("s", &s), 1);
  EXPECT_EQ(s, std::string("a\0b", 3));
}

TEST(StoreObjectReadTest, AbsentAndNullLeaveOutputUntouched) {
  StoreObject object = StoreObjectFrom(R"({"n":null})");
  for (const char* key : {"n", "missing"}) {
    std::string s = "keep";
    double d = 1.5;
    int i = 3;
    long l = 4;
    long long ll = 5;
    unsigned int u = 6;
    unsigned short us = 7;
    unsigned char uc = 8;
    bool b = true;
    std::vector<int> vi;
    std::vector<std::string> vs;
    EXPECT_EQ(object.GetValue(key, &s), 0);
    EXPECT_EQ(object.GetValue(key, &d), 0);
    EXPECT_EQ(object.GetValue(key, &i), 0);
    EXPECT_EQ(object.GetValue(key, &l), 0);
    EXPECT_EQ(object.GetValue(key, &ll), 0);
    EXPECT_EQ(object.GetValue(key, &u), 0);
    EXPECT_EQ(object.GetValue(key, &us), 0);
    EXPECT_EQ(object.GetValue(key, &uc), 0);
    EXPECT_EQ(object.GetValue(key, &b), 0);
    EXPECT_EQ(object.GetValue(key, &vi), 0);
    EXPECT_EQ(object.GetValue(key, &vs), 0);
    EXPECT_EQ(s, "keep");
    EXPECT_EQ(d, 1.5);
    EXPECT_EQ(i, 3);
    EXPECT_EQ(l, 4);
    EXPECT_EQ(ll, 5);
    EXPECT_EQ(u, 6u);
    EXPECT_EQ(us, 7);
    EXPECT_EQ(uc, 8);
    EXPECT_TRUE(b);
    EXPECT_TRUE(vi.empty());
    EXPECT_TRUE(vs.empty());
  }
}

TEST(StoreObjectReadTest, DoubleReadRefusesIntegerWrittenNumbers) {
  StoreObject object = StoreObjectFrom(R"({"five":5,"fiveDot":5.0,"exp":1e2,"neg":-1})");
  double d = 0;
  EXPECT_TRUE(InvalidType([&] { object.GetValue("five", &d); }, "five"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("neg", &d); }, "neg"));
  EXPECT_EQ(object.GetValue("fiveDot", &d), 1);
  EXPECT_EQ(d, 5.0);
  EXPECT_EQ(object.GetValue("exp", &d), 1);
  EXPECT_EQ(d, 100.0);
}

TEST(StoreObjectReadTest, NarrowUnsignedReadsKeepLowBits) {
  StoreObject object = StoreObjectFrom(R"({"n":70000,"c":300,"neg":-1,"big":5000000000})");
  unsigned short us = 0;
  unsigned char uc = 0;
  EXPECT_EQ(object.GetValue("n", &us), 1);
  EXPECT_EQ(us, 4464);
  EXPECT_EQ(object.GetValue("c", &uc), 1);
  EXPECT_EQ(uc, 44);
  EXPECT_TRUE(InvalidType([&] { object.GetValue("neg", &us); }, "neg"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("neg", &uc); }, "neg"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("big", &us); }, "big"));
}

TEST(StoreObjectReadTest, IntegerRangesFollowNumberClasses) {
  StoreObject object =
      StoreObjectFrom(R"({"three":3000000000,"neg":-1,"huge":18446744073709551615,"frac":1.5})");
  int i = 0;
  long l = 0;
  long long ll = 0;
  unsigned int u = 0;
  EXPECT_TRUE(InvalidType([&] { object.GetValue("three", &i); }, "three"));
  EXPECT_EQ(object.GetValue("three", &l), 1);
  EXPECT_EQ(l, 3000000000L);
  EXPECT_EQ(object.GetValue("three", &u), 1);
  EXPECT_EQ(u, 3000000000u);
  EXPECT_TRUE(InvalidType([&] { object.GetValue("neg", &u); }, "neg"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("huge", &l); }, "huge"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("huge", &ll); }, "huge"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("frac", &i); }, "frac"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("frac", &l); }, "frac"));
}

TEST(StoreObjectReadTest, WrongTypesAreRefusedAndLeaveOutput) {
  StoreObject object = StoreObjectFrom(R"({"s":"1","n":1,"b":true,"o":{},"a":[]})");
  std::string s = "keep";
  int i = 9;
  bool b = false;
  EXPECT_TRUE(InvalidType([&] { object.GetValue("n", &s); }, "n"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("o", &s); }, "o"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("s", &i); }, "s"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("b", &i); }, "b"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("n", &b); }, "n"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("a", &b); }, "a"));
  EXPECT_EQ(s, "keep");
  EXPECT_EQ(i, 9);
  EXPECT_FALSE(b);
}

TEST(StoreObjectReadTest, KeyIsExactMemberName) {
  StoreObject object = StoreObjectFrom(R"({"a.b":1,"c/d":2,"Case":3,"x":{"y":4}})");
  int i = 0;
  EXPECT_EQ(object.GetValue("a.b", &i), 1);
  EXPECT_EQ(i, 1);
  EXPECT_EQ(object.GetValue("c/d", &i), 1);
  EXPECT_EQ(i, 2);
  EXPECT_EQ(object.GetValue("case", &i), 0);
  EXPECT_EQ(object.GetValue("x.y", &i), 0);
  EXPECT_EQ(object.GetValue("x/y", &i), 0);
  EXPECT_EQ(i, 2);
}

TEST(StoreObjectReadTest, EmptyKeyRefusedInEveryRead) {
  StoreObject object = StoreObjectFrom(R"({"":1})");
  std::string s;
  double d;
  int i;
  long l;
  long long ll;
  unsigned int u;
  unsigned short us;
  unsigned char uc;
  bool b;
  std::vector<int> vi;
  std::vector<long long> vl;
  std::vector<double> vd;
  std::vector<bool> vb;
  std::vector<std::string> vs;
  unsigned char* data = nullptr;
  unsigned long length = 0;
  std::vector<std::function<void(const char*)>> reads = {
      [&](const char* k) { object.GetValue(k, &s); },
      [&](const char* k) { object.GetValue(k, &d); },
      [&](const char* k) { object.GetValue(k, &i); },
      [&](const char* k) { object.GetValue(k, &l); },
      [&](const char* k) { object.GetValue(k, &ll); },
      [&](const char* k) { object.GetValue(k, &u); },
      [&](const char* k) { object.GetValue(k, &us); },
      [&](const char* k) { object.GetValue(k, &uc); },
      [&](const char* k) { object.GetValue(k, &b); },
      [&](const char* k) { object.GetValue(k, &vi); },
      [&](const char* k) { object.GetValue(k, &vl); },
      [&](const char* k) { object.GetValue(k, &vd); },
      [&](const char* k) { object.GetValue(k, &vb); },
      [&](const char* k) { object.GetValue(k, &vs); },
      [&](const char* k) { object.GetValueBinary(k, &data, &length); },
      [&](const char* k) { ImplOf(object).GetValuePtr(k); },
  };
  for (auto& read : reads) {
    EXPECT_TRUE(Throws<InvalidArgumentException>([&] { read(""); }, 2000, "key cannot be empty"));
    EXPECT_TRUE(
        Throws<InvalidArgumentException>([&] { read(nullptr); }, 2000, "key cannot be empty"));
  }
}

TEST(StoreObjectReadTest, NullOutputIsRefused) {
  StoreObject object = StoreObjectFrom(R"({"a":1})");
  auto nullValue = [](const std::function<void()>& f) {
    return Throws<InvalidArgumentException>(f, 2000, "value cannot be null");
  };
  EXPECT_TRUE(nullValue([&] { object.GetValue("a", static_cast<int*>(nullptr)); }));
  EXPECT_TRUE(nullValue([&] { object.GetValue("a", static_cast<std::string*>(nullptr)); }));
  EXPECT_TRUE(nullValue([&] { object.GetValue("a", static_cast<std::vector<int>*>(nullptr)); }));
}

TEST(StoreObjectReadTest, VectorReadsOfEveryElementType) {
  StoreObject object =
      StoreObjectFrom(R"({"i":[1,-2,3],"l":[3000000000,-1],"d":[5,2.5,18446744073709551615,-3],)"
                      R"("b":[true,false],"s":["x","","y"],"e":[]})");
  std::vector<int> vi;
  std::vector<long long> vl;
  std::vector<double> vd;
  std::vector<bool> vb;
  std::vector<std::string> vs;
  std::vector<int> ve;
  EXPECT_EQ(object.GetValue("i", &vi), 1);
  EXPECT_EQ(vi, (std::vector<int>{1, -2, 3}));
  EXPECT_EQ(object.GetValue("l", &vl), 1);
  EXPECT_EQ(vl, (std::vector<long long>{3000000000LL, -1}));
  EXPECT_EQ(object.GetValue("d", &vd), 1);
  EXPECT_EQ(vd, (std::vector<double>{5.0, 2.5, 18446744073709551615.0, -3.0}));
  EXPECT_EQ(object.GetValue("b", &vb), 1);
  EXPECT_EQ(vb, (std::vector<bool>{true, false}));
  EXPECT_EQ(object.GetValue("s", &vs), 1);
  EXPECT_EQ(vs, (std::vector<std::string>{"x", "", "y"}));
  EXPECT_EQ(object.GetValue("e", &ve), 1);
  EXPECT_TRUE(ve.empty());
}

TEST(StoreObjectReadTest, VectorOutputMustBeEmpty) {
  StoreObject object = StoreObjectFrom(R"({"i":[1]})");
  std::vector<int> vi = {7};
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { object.GetValue("i", &vi); }, 2000,
                                               "Output vector must be empty."));
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { object.GetValue("missing", &vi); }, 2000,
                                               "Output vector must be empty."));
  EXPECT_EQ(vi, std::vector<int>{7});
}

TEST(StoreObjectReadTest, VectorReadOfNonArrayIsWrongType) {
  StoreObject object = StoreObjectFrom(R"({"n":1,"o":{"a":1},"s":"x"})");
  std::vector<int> vi;
  std::vector<std::string> vs;
  EXPECT_TRUE(InvalidType([&] { object.GetValue("n", &vi); }, "n"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("o", &vi); }, "o"));
  EXPECT_TRUE(InvalidType([&] { object.GetValue("s", &vs); }, "s"));
}

TEST(StoreObjectReadTest, VectorElementOfAnotherKindStopsWithJsonError) {
  StoreObject object = StoreObjectFrom(
      R"({"i":[1,"x",3],"big":[1,3000000000],"d":[1.5,"x"],"b":[true,1],"s":["a",null],)"
      R"("l":[1,18446744073709551615]})");
  std::vector<int> vi;
  EXPECT_TRUE(ThrowsJsonError([&] { object.GetValue("i", &vi); }, "data_.f.flags & kIntFlag"));
  EXPECT_EQ(vi, std::vector<int>{1});
  std::vector<int> vbig;
  EXPECT_TRUE(ThrowsJsonError([&] { object.GetValue("big", &vbig); }, "data_.f.flags & kIntFlag"));
  EXPECT_EQ(vbig, std::vector<int>{1});
  std::vector<double> vd;
  EXPECT_TRUE(ThrowsJsonError([&] { object.GetValue("d", &vd); }, "IsNumber()"));
  EXPECT_EQ(vd, std::vector<double>{1.5});
  std::vector<bool> vb;
  EXPECT_TRUE(ThrowsJsonError([&] { object.GetValue("b", &vb); }, "IsBool()"));
  EXPECT_EQ(vb, std::vector<bool>{true});
  std::vector<std::string> vs;
  EXPECT_TRUE(ThrowsJsonError([&] { object.GetValue("s", &vs); }, "IsString()"));
  EXPECT_EQ(vs, std::vector<std::string>{"a"});
  std::vector<long long> vl;
  EXPECT_TRUE(ThrowsJsonError([&] { object.GetValue("l", &vl); }, "data_.f.flags & kInt64Flag"));
  EXPECT_EQ(vl, std::vector<long long>{1});
}

TEST(StoreObjectReadTest, ReadsNeverChangeTheObject) {
  const std::string text = R"({"n":null,"a":[1,"x"],"s":"v","d":5})";
  StoreObject object = StoreObjectFrom(text);
  std::string before = object.GetData();
  std::vector<int> vi;
  double d;
  int i;
  object.GetValue("n", &i);
  EXPECT_ANY_THROW(object.GetValue("a", &vi));
  EXPECT_ANY_THROW(object.GetValue("d", &d));
  EXPECT_EQ(object.GetData(), before);
  EXPECT_EQ(before, text);
}

TEST(StoreObjectReadTest, GetValuePtrSkipsNull) {
  StoreObject object = StoreObjectFrom(R"({"n":null,"a":{"b":1}})");
  EXPECT_EQ(ImplOf(object).GetValuePtr("n"), nullptr);
  EXPECT_EQ(ImplOf(object).GetValuePtr("missing"), nullptr);
  const JsonValue* value = ImplOf(object).GetValuePtr("a");
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(JsonToString(*value), R"({"b":1})");
}

TEST(StoreObjectReadTest, CheckKeySeesNullMembers) {
  StoreObject object = StoreObjectFrom(R"({"n":null,"a":1})");
  EXPECT_TRUE(object.CheckKey("n"));
  EXPECT_TRUE(object.CheckKey("a"));
  EXPECT_FALSE(object.CheckKey("b"));
  EXPECT_FALSE(object.CheckKey(nullptr));
}

TEST(StoreObjectReadTest, PlainObjectsNeverReportDefaults) {
  StoreObject object(TestId());
  object.SetValue("a", 1);
  int i = 0;
  EXPECT_EQ(object.GetValue("a", &i), 1);
}
