// The validator's entry point and its walk of schema and value together:
// types, members, items, required members, closed objects and the
// combinators. Value constraints and the layer annotations live in files of
// their own.
#include "jsonschema/JsonValidator.h"

#include <string>
#include <vector>

#include "core/JsonCompare.h"
#include "core/JsonSchemaNode.h"
#include "jsonschema/JsonValidatorInternal.h"
#include "core/GeneratedId.h"

namespace JsonValidator {

namespace {

using CorvConfigStore::kGeneratedIdProperty;
using CorvConfigStore::SchemaKeyword;

const char* TypeName(const JsonValue& value) {
  switch (value.GetType()) {
    case rapidjson::kNullType:
      return "null";
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
      return "boolean";
    case rapidjson::kObjectType:
      return "object";
    case rapidjson::kArrayType:
      return "array";
    case rapidjson::kStringType:
      return "string";
    case rapidjson::kNumberType:
      return "number";
  }
  return "unknown";
}

// "integer" is any number without fraction; unknown type names match
// nothing.
bool HasType(const JsonValue& value, const JsonValue& type) {
  if (type == "integer") return value.IsNumber() && CorvConfigStore::IsJsonInteger(value);
  if (type == "number") return value.IsNumber();
  return type == TypeName(value);
}

// "type" does not rule out an object: absent, malformed, or naming
// "object".
bool AllowsObject(const JsonValue& schema) {
  const JsonValue* type = SchemaKeyword(schema, "type");
  if (type == nullptr) return true;
  if (type->IsString()) return *type == "object";
  if (!type->IsArray()) return true;
  for (const auto& name : type->GetArray())
    if (name.IsString() && name == "object") return true;
  return false;
}

bool IsGeneratedId(const JsonValue& name) { return name == kGeneratedIdProperty; }

// The node, or a branch of its allOf, anyOf or oneOf at any depth, declares
// the member: names it in "properties", matches it with
// "patternProperties", or opens the object with "additionalProperties".
bool Declares(const JsonValue& schema, const JsonValue& name) {
  if (!schema.IsObject()) return false;
  std::vector<const JsonValue*> schemas;
  FindMemberSchemas(schema, name, schemas, nullptr);
  if (!schemas.empty()) return true;
  const JsonValue* additional = SchemaKeyword(schema, "additionalProperties");
  if (additional != nullptr && (additional->IsObject() || additional->IsTrue())) return true;
  for (const char* keyword : {"allOf", "anyOf", "oneOf"}) {
    const JsonValue* branches = SchemaKeyword(schema, keyword);
    if (branches == nullptr || !branches->IsArray()) continue;
    for (const auto& branch : branches->GetArray())
      if (Declares(branch, name)) return true;
  }
  return false;
}

class Walker {
 public:
  Walker(const Options& options, ErrorList& errors) : options_(options), errors_(&errors) {}

  // closes: the node decides which members the value may hold (option 8).
  // A combinator branch applied to the same value does not: its parent
  // decides, counting the members every branch declares.
  void Walk(const JsonValue& schema, const JsonValue& value, std::string& path, bool closes) {
    if (schema.IsBool()) {
      if (!schema.GetBool()) AddError(*errors_, path, "no value is allowed here (schema false)");
      return;
    }
    if (!schema.IsObject()) return;
    if (options_.types) CheckType(schema, value, path);
    if (options_.values) CheckValueConstraints(schema, value, path, *errors_);
    if (value.IsObject()) {
      if (options_.required) CheckRequired(schema, value, path);
      WalkMembers(schema, value, path, closes);
    } else if (value.IsArray()) {
      WalkItems(schema, value, path);
    }
    if (options_.types) CheckCombinators(schema, value, path);
  }

 private:
  void CheckType(const JsonValue& schema, const JsonValue& value, const std::string& path) {
    const JsonValue* type = SchemaKeyword(schema, "type");
    if (type == nullptr) return;
    std::string expected;
    if (type->IsString()) {
      if (HasType(value, *type)) return;
      expected = type->GetString();
    } else if (type->IsArray()) {
      for (const auto& name : type->GetArray()) {
        if (!name.IsString()) continue;
        if (HasType(value, name)) return;
        expected += expected.empty() ? "" : " or ";
        expected += name.GetString();
      }
      if (expected.empty()) return;
    } else {
      return;
    }
    AddError(*errors_, path, "expected type " + expected + ", found " + TypeName(value));
  }

  void CheckRequired(const JsonValue& schema, const JsonValue& value, const std::string& path) {
    const JsonValue* required = SchemaKeyword(schema, "required");
    if (required == nullptr || !required->IsArray()) return;
    for (const auto& name : required->GetArray())
      if (name.IsString() && !value.HasMember(name))
        AddError(*errors_, path, "missing required member " + Describe(name));
  }

  void WalkMembers(const JsonValue& schema, const JsonValue& value, std::string& path,
                   bool closes) {
    const JsonValue* additional = SchemaKeyword(schema, "additionalProperties");
    std::vector<const JsonValue*> schemas;
    std::vector<PatternFailure> failures;
    std::vector<const JsonValue*> reportedPatterns;
    for (const auto& member : value.GetObject()) {
      size_t mark = path.size();
      AppendName(path, member.name);
      schemas.clear();
      failures.clear();
      FindMemberSchemas(schema, member.name, schemas, &failures);
      ReportPatternFailures(failures, path, mark, reportedPatterns);
      for (const JsonValue* memberSchema : schemas) Walk(*memberSchema, member.value, path, true);
      if (schemas.empty() && failures.empty()) {
        if (additional != nullptr && additional->IsObject()) {
          Walk(*additional, member.value, path, true);
        } else if (additional != nullptr && additional->IsFalse()) {
          if (!IsGeneratedId(member.name))
            AddError(*errors_, path,
                     "member " + Describe(member.name) +
                         " is not allowed by additionalProperties false");
        } else if (options_.closed && closes && AllowsObject(schema) &&
                   !IsGeneratedId(member.name) && !Declares(schema, member.name)) {
          AddError(*errors_, path, "unknown member " + Describe(member.name));
        }
      }
      path.resize(mark);
    }
  }

  // An invalid pattern is reported once per object, at the object; a
  // pattern that cannot be decided for a name, at that member.
  void ReportPatternFailures(const std::vector<PatternFailure>& failures, const std::string& path,
                             size_t objectPathLength,
                             std::vector<const JsonValue*>& reportedPatterns) {
    for (const auto& failure : failures) {
      if (failure.outcome == JsonPattern::Outcome::kFailed) {
        AddError(*errors_, path,
                 "member name could not be matched against patternProperties pattern " +
                     Describe(*failure.pattern) + ": " + failure.reason);
        continue;
      }
      bool reported = false;
      for (const JsonValue* pattern : reportedPatterns) reported |= pattern == failure.pattern;
      if (reported) continue;
      reportedPatterns.push_back(failure.pattern);
      AddError(*errors_, path.substr(0, objectPathLength),
               "invalid patternProperties pattern " + Describe(*failure.pattern) + ": " +
                   failure.reason);
    }
  }

  // Only the one-schema form of "items"; the list form is not supported.
  void WalkItems(const JsonValue& schema, const JsonValue& value, std::string& path) {
    const JsonValue* items = SchemaKeyword(schema, "items");
    if (items == nullptr || !(items->IsObject() || items->IsBool())) return;
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
      size_t mark = path.size();
      AppendIndex(path, i);
      Walk(*items, value[i], path, true);
      path.resize(mark);
    }
  }

  // allOf reports what its branches find; anyOf, oneOf and not decide on
  // whether a branch holds errors and report one error of their own.
  void CheckCombinators(const JsonValue& schema, const JsonValue& value, std::string& path) {
    const JsonValue* allOf = SchemaKeyword(schema, "allOf");
    if (allOf != nullptr && allOf->IsArray())
      for (const auto& branch : allOf->GetArray()) Walk(branch, value, path, false);

    const JsonValue* anyOf = SchemaKeyword(schema, "anyOf");
    if (anyOf != nullptr && anyOf->IsArray()) {
      bool matched = false;
      for (const auto& branch : anyOf->GetArray())
        if ((matched = Passes(branch, value, path))) break;
      if (!matched) AddError(*errors_, path, "value does not match any schema of anyOf");
    }

    const JsonValue* oneOf = SchemaKeyword(schema, "oneOf");
    if (oneOf != nullptr && oneOf->IsArray()) {
      std::vector<size_t> matches;
      for (rapidjson::SizeType i = 0; i < oneOf->Size() && matches.size() < 2; ++i)
        if (Passes((*oneOf)[i], value, path)) matches.push_back(i);
      if (matches.empty())
        AddError(*errors_, path, "value does not match any schema of oneOf");
      else if (matches.size() > 1)
        AddError(*errors_, path,
                 "value matches more than one schema of oneOf (schemas " +
                     std::to_string(matches[0]) + " and " + std::to_string(matches[1]) + ")");
    }

    const JsonValue* notSchema = SchemaKeyword(schema, "not");
    if (notSchema != nullptr && (notSchema->IsObject() || notSchema->IsBool()) &&
        Passes(*notSchema, value, path))
      AddError(*errors_, path, "value matches the schema of not");
  }

  // Evaluates a branch into scratch errors.
  bool Passes(const JsonValue& schema, const JsonValue& value, std::string& path) {
    ErrorList scratch;
    ErrorList* saved = errors_;
    errors_ = &scratch;
    Walk(schema, value, path, false);
    errors_ = saved;
    return scratch.empty();
  }

  const Options& options_;
  ErrorList* errors_;
};

Options Decode(const std::unordered_set<int>& options) {
  Options decoded;
  decoded.types = options.count(0) != 0;
  decoded.values = options.count(1) != 0;
  decoded.userOnly = options.count(3) != 0;
  decoded.noReadOnly = options.count(4) != 0;
  decoded.vitalOnly = options.count(5) != 0;
  decoded.required = options.count(7) != 0;
  decoded.closed = options.count(8) != 0;
  decoded.cachedOnly = options.count(9) != 0;
  return decoded;
}

}  // namespace

void Validate(const CorvConfigStore::JsonValue& schema, const CorvConfigStore::JsonValue& value,
              CorvConfigStore::JsonDocument& result, const std::unordered_set<int>& options,
              const std::string& prefix) {
  Options decoded = Decode(options);
  ErrorList errors;
  // The prefix names the value itself; a trailing "/" would double the
  // separator of every pointer behind it.
  std::string path = prefix;
  if (!path.empty() && path.back() == '/') path.pop_back();
  Walker(decoded, errors).Walk(CorvConfigStore::InstanceSchema(schema, value), value, path, true);
  if (decoded.userOnly || decoded.noReadOnly || decoded.vitalOnly || decoded.cachedOnly)
    CheckLayers(schema, value, path, decoded, errors);

  result.SetArray();
  auto& allocator = result.GetAllocator();
  for (const auto& record : errors) {
    CorvConfigStore::JsonValue entry(rapidjson::kObjectType);
    entry.AddMember("field", CorvConfigStore::JsonValue(record.field, allocator), allocator);
    entry.AddMember("error", CorvConfigStore::JsonValue(record.error, allocator), allocator);
    result.PushBack(entry, allocator);
  }
}

}  // namespace JsonValidator
