// The key schemas the validation tests use, as schema objects or loaded
// into a schema store of the test's own, and helpers that build objects
// from JSON text.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "core/Throw.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/JsonDoc.h"
#include "schema/SchemaStore.h"
#include "support/LogCapture.h"
#include "support/StoreEnvironment.h"
#include "object/ObjectAccess.h"

namespace CorvTest {

// corv/net/dns: a singleton with a required member, a nested object of user
// data, nested vital, cached and solutionUser members. corv/net/routes: instances named by "name", one
// vital member and a nested list. corv/net/pools: instances with generated
// ids. corv/net/boot: tagged for the next-boot store. corv/net/health and
// corv/net/lease: a vital and a cached configuration, each with a required
// member. corv/kestrel/options: the kernel options.
inline const char* kValidationSchemas = R"({"corv": {
  "net": {
    "dns": {"type": "object", "required": ["mode"], "properties": {
      "mode": {"type": "string", "enum": ["static", "dhcp"]},
      "domain": {"type": "string", "maxLength": 10},
      "servers": {"type": "array", "items": {"type": "string"}},
      "resolver": {"type": "object", "properties": {"port": {"type": "integer"}}},
      "stats": {"type": "object", "vital": true, "properties": {"hits": {"type": "integer"}}},
      "lease": {"type": "object", "cached": true, "properties": {"left": {"type": "integer"}}},
      "owner": {"type": "string", "solutionUser": true}}},
    "routes": {"type": "array", "items": {"type": "object", "required": ["gateway"],
      "properties": {
        "name": {"type": "string", "instanceId": true},
        "gateway": {"type": "string"},
        "metric": {"type": "integer", "vital": true},
        "hops": {"type": "array", "items": {"type": "object", "properties": {
          "via": {"type": "string"},
          "weight": {"type": "integer", "cached": true}}}}}}},
    "pools": {"type": "array", "items": {"type": "object", "properties": {
      "size": {"type": "integer"}}}},
    "boot": {"type": "object", "tags": ["@rebootRequiredConfigStore"], "properties": {
      "order": {"type": "string"}}},
    "health": {"type": "object", "vital": true, "required": ["state"], "properties": {
      "state": {"type": "string"}}},
    "lease": {"type": "object", "cached": true, "required": ["left"], "properties": {
      "left": {"type": "integer"}}}},
  "kestrel": {
    "options": {"type": "object", "properties": {"args": {"type": "string"}}}}}})";

// Schema objects made from kValidationSchemas without a database.
class ValidationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(CorvConfigStore::ParseJson(kValidationSchemas, std::strlen(kValidationSchemas),
                                           schemas_, nullptr));
  }

  // The schema of corv/<group>/<key>.
  std::shared_ptr<CorvSchemaStore::SchemaObject> Schema(const std::string& group,
                                                        const std::string& key) const {
    return std::make_shared<CorvSchemaStore::SchemaObject>("corv", group, key,
                                                           schemas_["corv"][group][key]);
  }

  // An object with the given identity and value (JSON text), its map and
  // defaults taken from schema when there is one.
  static std::shared_ptr<CorvConfigStore::ConfigStoreObject> Object(
      const CorvConfigStore::ConfigStoreObjectId& id, const std::string& text,
      const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema) {
    auto impl = std::make_shared<CorvConfigStore::ConfigStoreObjectImpl>(
        id, id, std::nullopt, CorvConfigStore::CreateDocumentFromString(text), schema, "", "", "",
        -1, schema != nullptr, nullptr, nullptr);
    return std::make_shared<CorvConfigStore::ConfigStoreObject>(impl);
  }

  // An object of corv/<group>/<key>[/<instance>] with its schema from the
  // store.
  std::shared_ptr<CorvConfigStore::ConfigStoreObject> Object(
      const std::string& group, const std::string& key, const std::string& text,
      const std::string& instance = "") {
    return Object(CorvConfigStore::ConfigStoreObjectId(key, group, "corv", instance), text,
                  Schema(group, key));
  }

  // The object's JSON as stored, generated ids included.
  static std::string Stored(const std::shared_ptr<CorvConfigStore::ConfigStoreObject>& object) {
    return ImplOf(object).GetSerializedData();
  }

  // The message text of a code, formatted with detail when given.
  static std::string CodeText(int code, const char* detail = nullptr) {
    const char* format = CorvConfigStore::ErrorMessageForId(code);
    return detail == nullptr ? CorvConfigStore::Format(format)
                             : CorvConfigStore::Format(format, detail);
  }

  CorvConfigStore::JsonDocument schemas_;
};

// The same schemas loaded into a schema store of the test's own, for the
// checks that look schemas up themselves.
class StoreValidationTest : public ValidationTest {
 protected:
  void SetUp() override {
    ValidationTest::SetUp();
    ASSERT_EQ(env_.LoadSchemas(kValidationSchemas), 7);
  }

  StoreEnvironment env_;
};

// Runs body, which must throw ValidationException with the code, and
// returns it.
inline CorvConfigStore::ValidationException ExpectValidationException(
    const std::function<void()>& body, int code, const std::string& message) {
  try {
    body();
  } catch (const CorvConfigStore::ValidationException& e) {
    EXPECT_EQ(e.GetErrorCode(), code);
    EXPECT_EQ(std::string(e.what()), message);
    return e;
  } catch (const std::exception& e) {
    ADD_FAILURE() << "unexpected exception: " << e.what();
    throw;
  }
  ADD_FAILURE() << "no exception";
  std::vector<CorvConfigStore::ErrorInfo> none;
  return CorvConfigStore::ValidationException(0, "", none);
}

// True when some record is at the location and its message contains the
// fragment.
inline bool HasRecord(const std::vector<CorvConfigStore::ErrorInfo>& errors,
                      const std::string& location, const std::string& fragment) {
  for (const auto& error : errors)
    if (error.location == location && error.message.find(fragment) != std::string::npos)
      return true;
  return false;
}

}  // namespace CorvTest
