// Binary values: base64 text in a JSON string, read back byte for byte.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/StoreObject.h>
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "ObjectTestSupport.h"

using namespace CorvConfigStore;
using CorvTest::StoreObjectFrom;
using CorvTest::TestId;
using CorvTest::Throws;

TEST(BinaryValueTest, RoundTripsEveryByteValue) {
  std::vector<unsigned char> bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<unsigned char>(i));
  for (size_t length : {size_t{1}, size_t{2}, size_t{3}, size_t{256}}) {
    StoreObject object(TestId());
    object.SetValueBinary("bin", bytes.data(), length);
    unsigned char* data = nullptr;
    unsigned long read = 0;
    ASSERT_EQ(object.GetValueBinary("bin", &data, &read), 1);
    std::unique_ptr<unsigned char[]> owned(data);
    ASSERT_EQ(read, length);
    EXPECT_EQ(std::vector<unsigned char>(data, data + read),
              std::vector<unsigned char>(bytes.begin(), bytes.begin() + length));
  }
}

TEST(BinaryValueTest, StoredAsPlainBase64Text) {
  StoreObject object(TestId());
  const unsigned char man[] = {'M', 'a', 'n', 0, 0xff};
  object.SetValueBinary("bin", man, sizeof man);
  std::string text;
  EXPECT_EQ(object.GetValue("bin", &text), 1);
  EXPECT_EQ(text, "TWFuAP8=");
  EXPECT_EQ(object.GetData(), R"({"bin":"TWFuAP8="})");
}

TEST(BinaryValueTest, NullDataOrZeroLengthIsRefused) {
  StoreObject object(TestId());
  const unsigned char byte = 1;
  const std::string message = "Value pointer cannot be null and length cannot be zero";
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { object.SetValueBinary("b", &byte, 0); }, 2000,
                                               message));
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { object.SetValueBinary("b", nullptr, 1); },
                                               2000, message));
  EXPECT_TRUE(object.IsEmpty());
}

TEST(BinaryValueTest, LengthTooLargeToEncodeFails) {
  StoreObject object(TestId());
  const unsigned char byte = 1;
  // Neither length is ever read: the encoded size is refused first.
  for (unsigned long length : {ULONG_MAX, 5000000000UL}) {
    EXPECT_TRUE(Throws<ConfigStoreException>([&] { object.SetValueBinary("b", &byte, length); },
                                             2000, "Failed to encode input binary value"));
  }
  EXPECT_TRUE(object.IsEmpty());
}

TEST(BinaryValueTest, MalformedTextFailsToDecode) {
  StoreObject object = StoreObjectFrom(R"({"a":"abc","b":"ab=c","c":"a b=","d":"####"})");
  for (const char* key : {"a", "b", "c", "d"}) {
    unsigned char* data = nullptr;
    unsigned long length = 77;
    EXPECT_TRUE(Throws<ConfigStoreException>([&] { object.GetValueBinary(key, &data, &length); },
                                             2000, "Failed to decode binary value"))
        << key;
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 77u);
  }
}

TEST(BinaryValueTest, AbsentNullAndWrongType) {
  StoreObject object = StoreObjectFrom(R"({"n":null,"i":5})");
  unsigned char* data = nullptr;
  unsigned long length = 77;
  EXPECT_EQ(object.GetValueBinary("n", &data, &length), 0);
  EXPECT_EQ(object.GetValueBinary("missing", &data, &length), 0);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(length, 77u);
  EXPECT_TRUE(Throws<InvalidTypeException>([&] { object.GetValueBinary("i", &data, &length); },
                                           2000, "Invalid type specified for: i"));
}

TEST(BinaryValueTest, EmptyTextIsZeroBytes) {
  StoreObject object = StoreObjectFrom(R"({"e":""})");
  unsigned char* data = nullptr;
  unsigned long length = 77;
  EXPECT_EQ(object.GetValueBinary("e", &data, &length), 1);
  std::unique_ptr<unsigned char[]> owned(data);
  EXPECT_NE(data, nullptr);
  EXPECT_EQ(length, 0u);
}

TEST(BinaryValueTest, NullOutputsAreRefused) {
  StoreObject object = StoreObjectFrom(R"({"b":"AQ=="})");
  unsigned char* data = nullptr;
  unsigned long length = 0;
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { object.GetValueBinary("b", nullptr, &length); }, 2000, "value cannot be null"));
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { object.GetValueBinary("b", &data, nullptr); },
                                               2000, "value cannot be null"));
}
