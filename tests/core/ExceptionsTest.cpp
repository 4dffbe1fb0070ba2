// The exception family: codes, messages, text forms, log lines, message
// chains and the throw routines.
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include "core/Throw.h"
#include "core/ErrorMessages.h"
#include "support/LogCapture.h"

using namespace CorvConfigStore;
using HostCtl::Lib::EventMessage;

TEST(ConfigStoreExceptionTest, CodeMessageAndText) {
  ConfigStoreException e(2000, "Get failed: comp c grp g key k");
  EXPECT_EQ(e.GetErrorCode(), 2000);
  EXPECT_STREQ(e.what(), "Get failed: comp c grp g key k");
  EXPECT_EQ(e.toString(), "Error Code: 2000\nMessage: Get failed: comp c grp g key k\n");
}

TEST(ConfigStoreExceptionTest, ConstructionLogsCodeAndMessageAtPriorityZero) {
  CorvTest::LogCapture log(4);
  ConfigStoreException e(1082, "JSON error: x");
  EXPECT_TRUE(log.Has(0, "[1082] JSON error: x"));
  // The backtrace follows at priority 4.
  bool backtrace = false;
  for (const auto& line : log.Lines()) backtrace |= line.first == 4;
  EXPECT_TRUE(backtrace);
}

TEST(ConfigStoreExceptionTest, BacktraceIsSkippedBelowTraceLevel) {
  CorvTest::LogCapture log(3);
  ConfigStoreException e(2000, "m");
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0], std::make_pair(0, std::string("[2000] m")));
}

TEST(ValidationExceptionTest, ToStringWithoutErrorsEndsAfterMessage) {
  std::vector<ErrorInfo> none;
  ValidationException e(2000, "Singleton object cannot contain instanceId", none);
  EXPECT_EQ(e.toString(), "Error Code: 2000\nMessage: Singleton object cannot contain instanceId\n");
  EXPECT_TRUE(e.GetErrors().empty());
}

TEST(ValidationExceptionTest, ToStringListsDetails) {
  std::vector<ErrorInfo> errors{ErrorInfo("/", "one"), ErrorInfo("/a/b", "two")};
  ValidationException e(1084, "failed", errors);
  EXPECT_EQ(e.toString(), "Error Code: 1084\nMessage: failed\nDetails: \n/: one\n/a/b: two\n");
  ASSERT_EQ(e.GetErrors().size(), 2u);
  errors.clear();  // the exception holds its own copy
  EXPECT_EQ(e.GetErrors()[1].message, "two");
  // Through the base type the base text is produced.
  const ConfigStoreException& base = e;
  EXPECT_EQ(base.toString(), "Error Code: 1084\nMessage: failed\n");
}

TEST(ExceptionTypesTest, DerivedTypesKeepCodeAndMessage) {
  InvalidArgumentException a(2000, "key cannot be empty");
  InvalidTypeException t(2000, "Invalid type specified for: k");
  EXPECT_EQ(a.GetErrorCode(), 2000);
  EXPECT_STREQ(t.what(), "Invalid type specified for: k");
  EXPECT_NE(dynamic_cast<const ConfigStoreException*>(&a), nullptr);
  EXPECT_NE(dynamic_cast<const std::exception*>(&t), nullptr);
}

TEST(ThrowExceptionTest, ThrowsWithFormattedTemplate) {
  try {
    ThrowException<InvalidArgumentException>(CS_ERR_EMPTY_OBJECT_LIST);
    FAIL();
  } catch (const InvalidArgumentException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1061);
    EXPECT_EQ(std::string(e.what()), Format(ErrorMessageForId(1061)));
  }
}

TEST(ThrowExceptionTest, DetailFillsTheTemplate) {
  try {
    ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, "comp c grp g key k");
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
    EXPECT_STREQ(e.what(), "Schema not found for: comp c grp g key k");
  }
}

TEST(ThrowExceptionTest, UnknownCodeGetsGenericTemplateNamingIt) {
  EXPECT_STREQ(ErrorMessageForId(4242), "Error 4242: %s");
  try {
    ThrowException<ConfigStoreException>(static_cast<CSErrorCodes>(4242));
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_STREQ(e.what(), "Error 4242: %s");
  }
}

TEST(ThrowExceptionTest, FixedMessageRoutines) {
  EXPECT_EQ(BeginTransactionFailedMessage("SetInstances"),
            "Begin Transaction failed for: SetInstances");
  try {
    ThrowInvalidType("mtu");
    FAIL();
  } catch (const InvalidTypeException& e) {
    EXPECT_EQ(e.GetErrorCode(), 2000);
    EXPECT_STREQ(e.what(), "Invalid type specified for: mtu");
  }
}

TEST(FormatTest, FormatsLikePrintf) {
  EXPECT_EQ(Format("plain"), "plain");
  EXPECT_EQ(Format("%s!", "hi"), "hi!");
  EXPECT_EQ(Format(""), "");
  EXPECT_EQ(Format("100%%"), "100%");
}

TEST(EventMessageTest, EmptyChainRendersNothing) {
  EXPECT_EQ(EventMessage::ToString(nullptr), "");
  HostCtl::Lib::HostCtlException e("msg");
  EXPECT_EQ(e.GetDetailedMessage(), "msg");
}

TEST(EventMessageTest, ChainRendersLastNodeFirst) {
  auto* first = new EventMessage;
  first->id = "first.id";
  first->format = "disk %s full";
  static const char* disk = "sda";
  first->args[0] = reinterpret_cast<uintptr_t>(disk);
  auto* second = new EventMessage;
  second->id = "second.id";
  second->format = "code %d";
  second->args[0] = 7;
  first->next = second;
  HostCtl::Lib::HostCtlException e("top");
  e.SetMessageChain(first);
  EXPECT_EQ(e.GetDetailedMessage(),
            "top\nEvent Stack: \n[second.id]: code 7[first.id]: disk sda full");
  // Copies own their chain.
  HostCtl::Lib::HostCtlException copy(e);
  EXPECT_EQ(copy.GetDetailedMessage(), e.GetDetailedMessage());
}
