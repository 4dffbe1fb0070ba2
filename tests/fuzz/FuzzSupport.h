// What the fuzz targets share: a quiet logger, the checks they make of
// what the library hands back, and the process's temporary store with the
// example key schemas loaded. libFuzzer runs millions of inputs in one
// process, so everything here is made once and stays the same size.
#pragma once

#include <corvconfigstore/Logger.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/Json.h"
#include "support/StoreEnvironment.h"


namespace CorvFuzz {

// Log lines are formatted (the formatting of input text is exercised) and
// dropped: a run of millions of inputs must neither fill syslog nor slow
// down on output.
inline void QuietLog() {
  CorvConfigStore::CSLogger::SetLevel(3);
  CorvConfigStore::CSLogger::SetSink([](int, const std::string&) {});
}

// Reports a broken property and stops, so that libFuzzer keeps the input
// as a crash.
[[noreturn]] inline void Fail(const std::string& what) {
  std::fprintf(stderr, "fuzz property broken: %s\n", what.c_str());
  std::abort();
}

// True when text is one JSON value the library's parser accepts (which
// also means valid UTF-8).
inline bool IsJson(const std::string& text) {
  CorvConfigStore::JsonDocument document;
  return CorvConfigStore::ParseJson(text.data(), text.size(), document, nullptr);
}

// True when text is valid UTF-8 (what every message and every value the
// library hands out must be, so that JSON and Python callers can take it).
inline bool IsUtf8(const std::string& text) {
  return CorvConfigStore::IsUtf8(text.data(), text.size());
}

// The example key schemas (examples/schemas/host-schemas.json) in a
// temporary schema store, and a provisioned temporary store beside it;
// CORV_SCHEMASTORE_DB and CORV_CONFIGSTORE_DB name them. Made on the first
// call, removed when the process exits.
inline const CorvTest::StoreEnvironment& ExampleStore() {
  static const CorvTest::StoreEnvironment* made = [] {
    static CorvTest::StoreEnvironment environment;
    if (CorvConfigStore::LoadSchemaFile(std::string(CORV_SOURCE_DIR) +
                                        "/examples/schemas/host-schemas.json") <= 0 ||
        !environment.ProvisionStore())
      Fail("cannot set up the example store");
    return &environment;
  }();
  return *made;
}

}  // namespace CorvFuzz
