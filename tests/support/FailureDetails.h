// Checking a failure together with the details that say why it happened.
#pragma once

#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace CorvTest {

// Runs f and checks that it throws ConfigStoreException with the code
// (2000 unless given), the message and exactly the details.
inline ::testing::AssertionResult ThrowsWithDetails(const std::function<void()>& f,
                                                    const std::string& message,
                                                    const std::vector<std::string>& details,
                                                    int code = 2000) {
  try {
    f();
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    if (e.GetErrorCode() == code && message == e.what() && details == e.GetDetails())
      return ::testing::AssertionSuccess();
    ::testing::AssertionResult failure = ::testing::AssertionFailure();
    failure << "threw [" << e.GetErrorCode() << "] " << e.what() << " with details:";
    for (const std::string& detail : e.GetDetails()) failure << " \"" << detail << "\"";
    return failure;
  }
  return ::testing::AssertionFailure() << "did not throw";
}

}  // namespace CorvTest
