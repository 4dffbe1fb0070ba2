// Error records, JSON Pointers, value descriptions and member schema lookup
// for the validator.
#include <algorithm>
#include <string_view>

#include "jsonschema/JsonValidatorInternal.h"

namespace JsonValidator {

namespace {

// Descriptions of values in messages stop after this many bytes.
constexpr size_t kDescriptionLimit = 64;

std::string CutShort(std::string text) {
  if (text.size() <= kDescriptionLimit) return text;
  size_t cut = kDescriptionLimit;
  // Never split a UTF-8 sequence.
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  text.resize(cut);
  return text + "...";
}

}  // namespace

// The prefix names the value itself; a trailing "/" would double the
// separator of every pointer behind it.
PointerPath::PointerPath(const std::string& prefix) : prefix_(prefix) {
  if (!prefix_.empty() && prefix_.back() == '/') prefix_.pop_back();
}

void PointerPath::Grow() {
  std::vector<Step> longer(2 * room_);
  std::copy(steps_, steps_ + depth_, longer.begin());
  deeper_.swap(longer);
  steps_ = deeper_.data();
  room_ = deeper_.size();
}

std::string PointerPath::Render(size_t depth) const {
  std::string text = prefix_;
  for (size_t i = 0; i < depth; ++i) {
    text += '/';
    const Step& step = steps_[i];
    if (step.name == nullptr) {
      text += std::to_string(step.index);
      continue;
    }
    const char* characters = step.name->GetString();
    for (rapidjson::SizeType j = 0; j < step.name->GetStringLength(); ++j) {
      if (characters[j] == '~')
        text += "~0";
      else if (characters[j] == '/')
        text += "~1";
      else
        text += characters[j];
    }
  }
  if (text.empty()) text = "/";
  return text;
}

void AddError(ErrorList& errors, const PointerPath& path, std::string text) {
  errors.push_back(ErrorRecord{path.Render(path.Depth()), std::move(text)});
}

std::string Describe(const JsonValue& value) {
  return CutShort(CorvConfigStore::JsonToString(value));
}

void FindMemberSchemas(const SchemaNode& schema, const JsonValue& name,
                       std::vector<const SchemaNode*>& schemas,
                       std::vector<PatternFailure>* failures) {
  const SchemaNode* property =
      schema.FindProperty(std::string_view(name.GetString(), name.GetStringLength()));
  if (property != nullptr) schemas.push_back(property);
  FindPatternSchemas(schema, name, schemas, failures);
}

void FindPatternSchemas(const SchemaNode& schema, const JsonValue& name,
                        std::vector<const SchemaNode*>& schemas,
                        std::vector<PatternFailure>* failures) {
  for (const auto& entry : schema.patternProperties) {
    std::string reason;
    auto outcome =
        JsonPattern::Search(entry.compiled, name.GetString(), name.GetStringLength(), &reason);
    if (outcome == JsonPattern::Outcome::kMatch)
      schemas.push_back(entry.schema);
    else if (outcome != JsonPattern::Outcome::kNoMatch && failures != nullptr)
      failures->push_back(PatternFailure{entry.pattern, outcome, std::move(reason)});
  }
}

}  // namespace JsonValidator
