// Error records, JSON Pointers, value descriptions and member schema lookup
// for the validator.
#include "core/JsonSchemaNode.h"
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

void AddError(ErrorList& errors, const std::string& path, std::string text) {
  errors.push_back(ErrorRecord{path.empty() ? std::string("/") : path, std::move(text)});
}

void AppendName(std::string& path, const JsonValue& name) {
  path += '/';
  const char* text = name.GetString();
  for (rapidjson::SizeType i = 0; i < name.GetStringLength(); ++i) {
    if (text[i] == '~')
      path += "~0";
    else if (text[i] == '/')
      path += "~1";
    else
      path += text[i];
  }
}

void AppendIndex(std::string& path, size_t index) {
  path += '/';
  path += std::to_string(index);
}

std::string Describe(const JsonValue& value) {
  return CutShort(CorvConfigStore::JsonToString(value));
}

void FindMemberSchemas(const JsonValue& schema, const JsonValue& name,
                       std::vector<const JsonValue*>& schemas,
                       std::vector<PatternFailure>* failures) {
  const JsonValue* properties = CorvConfigStore::SchemaKeyword(schema, "properties");
  if (properties != nullptr && properties->IsObject()) {
    auto property = properties->FindMember(name);
    if (property != properties->MemberEnd()) schemas.push_back(&property->value);
  }
  const JsonValue* patterns = CorvConfigStore::SchemaKeyword(schema, "patternProperties");
  if (patterns == nullptr || !patterns->IsObject()) return;
  for (const auto& entry : patterns->GetObject()) {
    std::string reason;
    auto outcome = JsonPattern::Search(entry.name.GetString(), entry.name.GetStringLength(),
                                       name.GetString(), name.GetStringLength(), &reason);
    if (outcome == JsonPattern::Outcome::kMatch)
      schemas.push_back(&entry.value);
    else if (outcome != JsonPattern::Outcome::kNoMatch && failures != nullptr)
      failures->push_back(PatternFailure{&entry.name, outcome, std::move(reason)});
  }
}

}  // namespace JsonValidator
