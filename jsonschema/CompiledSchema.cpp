// Building the nodes of a compiled schema: one pass over the members of each
// schema object picks out the keywords the validator reads, and each is
// decoded once here instead of at every value it checks.
#include "jsonschema/CompiledSchema.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "core/JsonCompare.h"
#include "core/JsonSchemaNode.h"

namespace JsonValidator {

namespace {

enum Keyword {
  kType,
  kProperties,
  kPatternProperties,
  kAdditionalProperties,
  kRequired,
  kItems,
  kAllOf,
  kAnyOf,
  kOneOf,
  kNot,
  kEnum,
  kConst,
  kMinimum,
  kMaximum,
  kExclusiveMinimum,
  kExclusiveMaximum,
  kMultipleOf,
  kMinLength,
  kMaxLength,
  kMinItems,
  kMaxItems,
  kMinProperties,
  kMaxProperties,
  kPattern,
  kFormat,
  kUniqueItems,
  kVital,
  kCached,
  kSolutionUser,
  kReadOnly,
  kInstanceId,
  kKeywordCount,
};

struct KeywordName {
  std::string_view name;
  Keyword keyword;
};
constexpr KeywordName kKeywordNames[] = {
    {"type", kType},
    {"properties", kProperties},
    {"patternProperties", kPatternProperties},
    {"additionalProperties", kAdditionalProperties},
    {"required", kRequired},
    {"items", kItems},
    {"allOf", kAllOf},
    {"anyOf", kAnyOf},
    {"oneOf", kOneOf},
    {"not", kNot},
    {"enum", kEnum},
    {"const", kConst},
    {"minimum", kMinimum},
    {"maximum", kMaximum},
    {"exclusiveMinimum", kExclusiveMinimum},
    {"exclusiveMaximum", kExclusiveMaximum},
    {"multipleOf", kMultipleOf},
    {"minLength", kMinLength},
    {"maxLength", kMaxLength},
    {"minItems", kMinItems},
    {"maxItems", kMaxItems},
    {"minProperties", kMinProperties},
    {"maxProperties", kMaxProperties},
    {"pattern", kPattern},
    {"format", kFormat},
    {"uniqueItems", kUniqueItems},
    {"vital", kVital},
    {"cached", kCached},
    {"solutionUser", kSolutionUser},
    {"readOnly", kReadOnly},
    {"instanceId", kInstanceId},
};

std::string_view Text(const JsonValue& text) {
  return std::string_view(text.GetString(), text.GetStringLength());
}

constexpr size_t LongestKeyword() {
  size_t longest = 0;
  for (const KeywordName& keyword : kKeywordNames) longest = std::max(longest, keyword.name.size());
  return longest;
}
constexpr size_t kLongestKeyword = LongestKeyword();

// kKeywordCount for a member the validator does not read. The name is
// compared only with the keywords of its length.
Keyword KeywordOf(const JsonValue& name) {
  static const auto byLength = [] {
    std::array<std::vector<KeywordName>, kLongestKeyword + 1> table;
    for (const KeywordName& keyword : kKeywordNames) table[keyword.name.size()].push_back(keyword);
    return table;
  }();
  std::string_view text = Text(name);
  if (text.size() > kLongestKeyword) return kKeywordCount;
  for (const KeywordName& keyword : byLength[text.size()])
    if (keyword.name == text) return keyword.keyword;
  return kKeywordCount;
}

// The kind a type name stands for; 0 for a name that is no type.
uint8_t TypeBitOf(const JsonValue& name) {
  std::string_view text = Text(name);
  if (text == "integer") return kIntegerBit;
  if (text == "number") return kNumberBit;
  if (text == "null") return kNullBit;
  if (text == "boolean") return kBooleanBit;
  if (text == "object") return kObjectBit;
  if (text == "array") return kArrayBit;
  if (text == "string") return kStringBit;
  return 0;
}

// The names, joined by " or ", are those the message of a failed check
// lists.
void DecodeType(const JsonValue& type, SchemaNode& node) {
  if (type.IsString()) {
    node.checksType = true;
    node.types = TypeBitOf(type);
    node.typeNames = type.GetString();
    node.allowsObject = node.types == kObjectBit;
  } else if (type.IsArray()) {
    node.allowsObject = false;
    for (const auto& name : type.GetArray()) {
      if (!name.IsString()) continue;
      node.types |= TypeBitOf(name);
      node.allowsObject |= TypeBitOf(name) == kObjectBit;
      node.typeNames += node.typeNames.empty() ? "" : " or ";
      node.typeNames += name.GetString();
    }
    node.checksType = !node.typeNames.empty();
  }
}

const JsonValue* IfNumber(const JsonValue* keyword) {
  return keyword != nullptr && keyword->IsNumber() ? keyword : nullptr;
}

// A count keyword (minLength, maxItems, ...): a non-negative number without
// fraction, one larger than 64 bits hold counting as the largest. Left
// unset when absent or malformed.
void ReadCount(const JsonValue* keyword, std::optional<uint64_t>& count) {
  if (IfNumber(keyword) == nullptr || !CorvConfigStore::IsJsonInteger(*keyword)) return;
  if (keyword->IsUint64()) {
    count = keyword->GetUint64();
  } else if (!keyword->IsInt64()) {  // held as a double: 2.0, 1e30, -1.0
    double number = keyword->GetDouble();
    if (number >= 0)
      count = number >= 18446744073709551615.0 ? UINT64_MAX : static_cast<uint64_t>(number);
  }
}

bool IsTrue(const JsonValue* keyword) {
  return keyword != nullptr && keyword->IsBool() && keyword->GetBool();
}

}  // namespace

// Properties are few, and a scan of their signatures meets the first entry
// of a name first; the texts are compared only where signatures agree.
const SchemaNode* SchemaNode::FindProperty(std::string_view name) const {
  if (properties.empty()) return nullptr;
  const NameSignature signature = NameSignature::Of(name);
  for (const Member& property : properties)
    if (property.signature == signature && (signature.Whole() || property.name == name))
      return property.schema;
  return nullptr;
}

CompiledSchema::CompiledSchema(const JsonValue& schema) {
  Compile(schema);
  // Which node describes a value depends only on whether the value is an
  // object, so any object finds it once for all.
  static const JsonValue kObject(rapidjson::kObjectType);
  objectNode_ =
      &CorvConfigStore::InstanceSchema(schema, kObject) == &schema ? &Root() : Root().items;
}

const SchemaNode* CompiledSchema::Compile(const JsonValue& schema) {
  SchemaNode& node = nodes_.emplace_back();
  node.json = &schema;
  if (!schema.IsObject()) return &node;

  // Where the node first names each keyword, as a lookup by name finds it.
  const JsonValue* found[kKeywordCount] = {};
  for (const auto& member : schema.GetObject()) {
    Keyword keyword = KeywordOf(member.name);
    if (keyword < kKeywordCount && found[keyword] == nullptr) found[keyword] = &member.value;
  }

  if (found[kType] != nullptr) DecodeType(*found[kType], node);

  if (const JsonValue* properties = found[kProperties]; properties && properties->IsObject())
    for (const auto& property : properties->GetObject())
      node.properties.push_back(
          {Text(property.name), NameSignature::Of(Text(property.name)), Compile(property.value)});
  if (const JsonValue* patterns = found[kPatternProperties]; patterns && patterns->IsObject())
    for (const auto& entry : patterns->GetObject())
      node.patternProperties.push_back(
          {&entry.name, JsonPattern::Compile(entry.name.GetString(), entry.name.GetStringLength()),
           Compile(entry.value)});
  if (const JsonValue* additional = found[kAdditionalProperties]) {
    node.additionalProperties = additional;
    if (additional->IsObject()) node.additionalSchema = Compile(*additional);
  }
  if (found[kRequired] != nullptr && found[kRequired]->IsArray()) node.required = found[kRequired];
  if (found[kItems] != nullptr) node.items = Compile(*found[kItems]);

  const std::pair<Keyword, SchemaNode::Branches*> combinators[] = {
      {kAllOf, &node.allOf}, {kAnyOf, &node.anyOf}, {kOneOf, &node.oneOf}};
  for (const auto& [keyword, branches] : combinators) {
    if (found[keyword] == nullptr || !found[keyword]->IsArray()) continue;
    branches->present = true;
    for (const auto& branch : found[keyword]->GetArray())
      branches->schemas.push_back(Compile(branch));
  }
  const JsonValue* notSchema = found[kNot];
  if (notSchema != nullptr && (notSchema->IsObject() || notSchema->IsBool()))
    node.notSchema = Compile(*notSchema);
  node.checksCombinators = !node.allOf.schemas.empty() || node.anyOf.present ||
                           node.oneOf.present || node.notSchema != nullptr;

  if (found[kEnum] != nullptr && found[kEnum]->IsArray()) node.enumValues = found[kEnum];
  node.constValue = found[kConst];
  node.minimum = IfNumber(found[kMinimum]);
  node.maximum = IfNumber(found[kMaximum]);
  node.exclusiveMinimum = IfNumber(found[kExclusiveMinimum]);
  node.exclusiveMaximum = IfNumber(found[kExclusiveMaximum]);
  const JsonValue* divisor = IfNumber(found[kMultipleOf]);
  if (divisor != nullptr && divisor->GetDouble() > 0) node.multipleOf = divisor;
  ReadCount(found[kMinLength], node.minLength);
  ReadCount(found[kMaxLength], node.maxLength);
  ReadCount(found[kMinItems], node.minItems);
  ReadCount(found[kMaxItems], node.maxItems);
  ReadCount(found[kMinProperties], node.minProperties);
  ReadCount(found[kMaxProperties], node.maxProperties);
  if (const JsonValue* pattern = found[kPattern]; pattern && pattern->IsString()) {
    node.pattern = pattern;
    node.compiledPattern = JsonPattern::Compile(pattern->GetString(), pattern->GetStringLength());
  }
  if (const JsonValue* format = found[kFormat]; format && format->IsString()) {
    node.format = format;
    node.formatCheck = FormatCheckOf(format->GetString());
  }
  node.uniqueItems = IsTrue(found[kUniqueItems]);
  node.checksValues = node.enumValues || node.constValue || node.minimum || node.maximum ||
                      node.exclusiveMinimum || node.exclusiveMaximum || node.multipleOf ||
                      node.minLength || node.maxLength || node.minItems || node.maxItems ||
                      node.minProperties || node.maxProperties || node.pattern ||
                      node.formatCheck || node.uniqueItems;

  node.vital = IsTrue(found[kVital]);
  node.cached = IsTrue(found[kCached]);
  node.solutionUser = IsTrue(found[kSolutionUser]);
  node.readOnly = IsTrue(found[kReadOnly]);
  node.instanceId = IsTrue(found[kInstanceId]);
  return &node;
}

}  // namespace JsonValidator
