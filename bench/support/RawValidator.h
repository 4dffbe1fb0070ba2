// rapidjson's own SchemaValidator on a benchmark key's schema, as the
// schema store holds it: the raw side of Validate, and the check a raw twin
// of a bulk write makes when it validates what it writes.
#pragma once

#include <rapidjson/document.h>
#include <rapidjson/schema.h>

#include <memory>
#include <string>

namespace CorvBench {

class RawValidator {
 public:
  // The schema of key; for a key with instances, with items true, the
  // schema of one instance ("items").
  explicit RawValidator(const std::string& key, bool items = false);

  bool Valid(const rapidjson::Value& value);
  bool Valid(const std::string& text);

 private:
  rapidjson::Document schemaText_;
  std::unique_ptr<rapidjson::SchemaDocument> schema_;
  std::unique_ptr<rapidjson::SchemaValidator> validator_;
};

}  // namespace CorvBench
