// Basic host services: formatting, base64, UUIDs, error templates, the
// logger and the upgrade context.
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/UpgradeContext.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "core/Base64.h"
#include "core/ErrorMessages.h"
#include "core/Strings.h"
#include "core/Uuid.h"
#include "support/LogCapture.h"

using namespace CorvConfigStore;

namespace {

std::string Encode(const std::string& bytes) {
  std::string out(Base64_EncodedLength(bytes.size()), '\0');
  size_t written = 0;
  EXPECT_TRUE(Base64_Encode(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                            &out[0], out.size(), &written));
  out.resize(written);
  return out;
}

bool Decode(const std::string& text, std::string* bytes) {
  std::string out(Base64_DecodedLength(text.c_str(), text.size()), '\0');
  size_t written = 0;
  if (!Base64_Decode(text.c_str(), text.size(), reinterpret_cast<unsigned char*>(&out[0]),
                     out.size(), &written))
    return false;
  out.resize(written);
  *bytes = out;
  return true;
}

std::string MsgFmt(const char* format, std::initializer_list<uintptr_t> words) {
  std::vector<uintptr_t> args(words);
  char* out = nullptr;
  int length = MsgFmt_Asprintf(&out, format, args.data(), args.size());
  std::string text(out, static_cast<size_t>(length));
  std::free(out);
  return text;
}

}  // namespace

TEST(Base64Test, RfcVectors) {
  EXPECT_EQ(Encode(""), "");
  EXPECT_EQ(Encode("f"), "Zg==");
  EXPECT_EQ(Encode("fo"), "Zm8=");
  EXPECT_EQ(Encode("foo"), "Zm9v");
  EXPECT_EQ(Encode("foob"), "Zm9vYg==");
  EXPECT_EQ(Encode("fooba"), "Zm9vYmE=");
  EXPECT_EQ(Encode("foobar"), "Zm9vYmFy");
}

TEST(Base64Test, RoundTripOfEveryByte) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  std::string decoded;
  ASSERT_TRUE(Decode(Encode(bytes), &decoded));
  EXPECT_EQ(decoded, bytes);
}

TEST(Base64Test, DecoderIsStrict) {
  std::string out;
  EXPECT_FALSE(Decode("Zg=", &out));      // not a multiple of four
  EXPECT_FALSE(Decode("Zm9v\n", &out));   // white space
  EXPECT_FALSE(Decode("Z!9v", &out));     // outside the alphabet
  EXPECT_FALSE(Decode("Zg==Zm9v", &out)); // data after padding
  EXPECT_FALSE(Decode("Z===", &out));     // too much padding
  EXPECT_TRUE(Decode("", &out));
  EXPECT_EQ(out, "");
}

TEST(Base64Test, EncoderRefusesSmallBuffer) {
  char out[4];
  size_t written = 0;
  const unsigned char data[] = {1, 2, 3};
  EXPECT_FALSE(Base64_Encode(data, 3, out, sizeof out, &written));
  unsigned char small[1];
  EXPECT_FALSE(Base64_Decode("Zm9v", 4, small, sizeof small, &written));
}

TEST(StringsTest, StrAsprintf) {
  char* out = nullptr;
  EXPECT_EQ(Str_Asprintf(&out, "%s-%d", "a", 5), 3);
  EXPECT_STREQ(out, "a-5");
  std::free(out);
}

TEST(StringsTest, MsgFmtExpandsWords) {
  static const char* name = "eth0";
  EXPECT_EQ(MsgFmt("link %s down after %d s (%lu)", {reinterpret_cast<uintptr_t>(name), 3, 7}),
            "link eth0 down after 3 s (7)");
  EXPECT_EQ(MsgFmt("%x|%5d|%-3u|", {255, 42, 1}), "ff|   42|1  |");
  EXPECT_EQ(MsgFmt("100%% of %s", {reinterpret_cast<uintptr_t>(name)}), "100% of eth0");
}

TEST(StringsTest, MsgFmtKeepsConversionsWithoutWords) {
  EXPECT_EQ(MsgFmt("%s and %d", {}), "%s and %d");
  EXPECT_EQ(MsgFmt("%d then %s", {5}), "5 then %s");
  EXPECT_EQ(MsgFmt("odd %y end %", {}), "odd %y end %");
  EXPECT_EQ(MsgFmt("null %s", {0}), "null (null)");
}

TEST(UuidTest, RandomLowerCaseText) {
  char* a = UUID_CreateRandom();
  char* b = UUID_CreateRandom();
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(std::strlen(a), 36u);
  EXPECT_STRNE(a, b);
  for (const char* p = a; *p; ++p) EXPECT_TRUE((*p >= '0' && *p <= '9') || (*p >= 'a' && *p <= 'f') || *p == '-');
  std::free(a);
  std::free(b);
}

TEST(ErrorMessagesTest, TemplatesHoldAtMostOneConversion) {
  for (int code : {1002, 1030, 1032, 1037, 1041, 1046, 1048, 1049, 1061, 1062, 1080, 1081, 1082,
                   1083, 1084, 1091, 1102, 1103, 1104, 2000, 9999}) {
    std::string text = ErrorMessageForId(code);
    EXPECT_FALSE(text.empty()) << code;
    size_t conversions = 0;
    for (size_t i = 0; i + 1 < text.size(); ++i) {
      if (text[i] == '%') {
        EXPECT_EQ(text[i + 1], 's') << code << ": " << text;
        ++conversions;
        ++i;
      }
    }
    EXPECT_LE(conversions, 1u) << code;
  }
  EXPECT_STREQ(ErrorMessageForId(9999), "Error 9999: %s");
}

TEST(LoggerTest, LevelFiltersAndSinkReceives) {
  CorvTest::LogCapture log(2);
  CSLogger::Log(0, "error %d", 1);
  CSLogger::Log(2, "info %s", "x");
  CSLogger::Log(3, "trace");
  CSLogger::LogErrCode(1, 1083, "%s: %s", "/a", "bad");
  auto lines = log.Lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0], std::make_pair(0, std::string("error 1")));
  EXPECT_EQ(lines[1], std::make_pair(2, std::string("info x")));
  EXPECT_EQ(lines[2], std::make_pair(1, std::string("[1083] /a: bad")));
  EXPECT_TRUE(CSLogger::IsEnabled(2));
  EXPECT_FALSE(CSLogger::IsEnabled(3));
}

TEST(LoggerTest, DisabledPriorityIsNotFormatted) {
  CorvTest::LogCapture log(0);
  int evaluated = 0;
  auto touch = [&] {
    ++evaluated;
    return "x";
  };
  if (CSLogger::IsEnabled(4)) CSLogger::Log(4, "%s", touch());
  EXPECT_EQ(evaluated, 0);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(LoggerTest, BacktraceOnlyAtTraceLevel) {
  {
    CorvTest::LogCapture log(3);
    CSLogger::LogBacktrace();
    EXPECT_TRUE(log.Lines().empty());
  }
  CorvTest::LogCapture log(4);
  CSLogger::LogBacktrace();
  ASSERT_FALSE(log.Lines().empty());
  EXPECT_EQ(log.Lines()[0].first, 4);
}

TEST(LoggerTest, EmptySinkRestoresDefaultDestination) {
  int received = 0;
  CSLogger::SetSink([&](int, const std::string&) { ++received; });
  CSLogger::Log(0, "to sink");
  CSLogger::SetSink(nullptr);
  CSLogger::Log(0, "to standard error");  // the tests run with CORV_LOG_STDERR=1
  EXPECT_EQ(received, 1);
}

TEST(UpgradeContextTest, SetAndGet) {
  int before = GetUpgradeCtx();
  SetUpgradeCtx(2);
  EXPECT_EQ(GetUpgradeCtx(), 2);
  SetUpgradeCtx(0);
  EXPECT_EQ(GetUpgradeCtx(), 0);
  SetUpgradeCtx(before);
}
