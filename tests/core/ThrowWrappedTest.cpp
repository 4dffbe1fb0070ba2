// Wrapping a failure in another message keeps the failure's details.
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "core/Throw.h"

using namespace CorvConfigStore;

TEST(ThrowWrappedTest, MessageIsThePrefixFollowedByTheCause) {
  try {
    ThrowWrapped("Operation failed: ", std::runtime_error("disk full"));
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 2000);
    EXPECT_STREQ(e.what(), "Operation failed: disk full");
    EXPECT_TRUE(e.GetDetails().empty());
  }
}

TEST(ThrowWrappedTest, StoreExceptionsPassTheirDetailsOn) {
  ConfigStoreException inner(2000, "Begin Transaction failed for: Update");
  inner.AddDetail("database is locked");
  inner.AddDetail("second reason");
  try {
    ThrowWrapped("Transaction failed", inner);
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_STREQ(e.what(), "Transaction failedBegin Transaction failed for: Update");
    EXPECT_EQ(e.GetDetails(), (std::vector<std::string>{"database is locked", "second reason"}));
  }
}
