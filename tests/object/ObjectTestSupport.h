// Helpers shared by the object-model tests: checking thrown errors and
// building objects from JSON text.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/StoreObject.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "object/ConfigStoreObjectImpl.h"
#include "core/JsonDoc.h"
#include "object/StoreObjectImpl.h"
#include "schema/SchemaStore.h"

namespace CorvTest {

// Success when f throws an Exception (or a subclass) with exactly this code
// and message.
template <typename Exception, typename F>
::testing::AssertionResult Throws(F&& f, int code, const std::string& message) {
  try {
    f();
  } catch (const Exception& e) {
    if (e.GetErrorCode() == code && message == e.what()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "code " << e.GetErrorCode() << ", message \"" << e.what() << "\"";
  } catch (const std::exception& e) {
    return ::testing::AssertionFailure() << "another exception: " << e.what();
  }
  return ::testing::AssertionFailure() << "nothing thrown";
}

// Success when f raises the JSON layer's assertion (code 1082) whose message
// begins "JSON error:" and ends with the failed condition.
template <typename F>
::testing::AssertionResult ThrowsJsonError(F&& f, const std::string& condition) {
  try {
    f();
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    std::string text = e.what();
    bool endsWith = text.size() >= condition.size() &&
                    text.compare(text.size() - condition.size(), condition.size(), condition) == 0;
    if (e.GetErrorCode() == 1082 && text.rfind("JSON error:\"", 0) == 0 && endsWith)
      return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "code " << e.GetErrorCode() << ", message " << text;
  }
  return ::testing::AssertionFailure() << "nothing thrown";
}

inline CorvConfigStore::ConfigStoreObjectId TestId(const std::string& instanceId = "") {
  return CorvConfigStore::ConfigStoreObjectId("k", "g", "c", instanceId);
}

// A StoreObject holding a copy of the parsed text.
inline CorvConfigStore::StoreObject StoreObjectFrom(const std::string& text) {
  CorvConfigStore::StoreObject object(TestId());
  object.SetData(text.c_str());
  return object;
}

inline std::shared_ptr<CorvSchemaStore::SchemaObject> SchemaFrom(const std::string& key,
                                                                 const std::string& text) {
  return CorvSchemaStore::MakeSchemaObject("c", "g", key, text);
}

// A top-level configuration object of key (component c, group g) on the
// parsed data, its map, defaults and version taken from schema.
inline std::shared_ptr<CorvConfigStore::ConfigStoreObject> ObjectFrom(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema, const std::string& data,
    const std::string& instanceId = "", std::optional<unsigned long> index = std::nullopt) {
  CorvConfigStore::ConfigStoreObjectId id(schema->GetKey(), "g", "c", instanceId);
  return std::make_shared<CorvConfigStore::ConfigStoreObject>(
      std::make_shared<CorvConfigStore::ConfigStoreObjectImpl>(
          id, id, index, CorvConfigStore::CreateDocumentFromString(data), schema, "", "", "", -1,
          true, nullptr, nullptr));
}

}  // namespace CorvTest
