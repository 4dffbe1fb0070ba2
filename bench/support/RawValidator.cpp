// rapidjson's SchemaValidator on a benchmark key's schema.
#include "support/RawValidator.h"

#include "support/BenchStore.h"

namespace CorvBench {

RawValidator::RawValidator(const std::string& key, bool items) {
  schemaText_.Parse(SchemaOf(key).document.c_str());
  schema_ = std::make_unique<rapidjson::SchemaDocument>(items ? schemaText_["items"]
                                                              : schemaText_);
  validator_ = std::make_unique<rapidjson::SchemaValidator>(*schema_);
}

bool RawValidator::Valid(const rapidjson::Value& value) {
  validator_->Reset();
  return value.Accept(*validator_) && validator_->IsValid();
}

bool RawValidator::Valid(const std::string& text) {
  rapidjson::Document value;
  value.Parse(text.c_str());
  return Valid(value);
}

}  // namespace CorvBench
