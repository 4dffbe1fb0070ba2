// Parsing the JSON texts tests are written with: a text that does not parse
// fails the test that wrote it, with the parser's reason.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/Json.h"

namespace CorvTest {

inline CorvConfigStore::JsonDocument Parse(const std::string& text) {
  CorvConfigStore::JsonDocument document;
  std::string error;
  if (!CorvConfigStore::ParseJson(text.data(), text.size(), document, &error))
    ADD_FAILURE() << "bad JSON in test: " << error << "\n" << text;
  return document;
}

}  // namespace CorvTest
