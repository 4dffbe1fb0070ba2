// The validator's entry points and its walk of schema and value together:
// types, members, items, required members, closed objects and the
// combinators. Value constraints and the layer annotations live in files of
// their own.
#include "jsonschema/JsonValidator.h"

#include <string>
#include <string_view>
#include <vector>

#include "core/GeneratedId.h"
#include "core/JsonCompare.h"
#include "jsonschema/CompiledSchema.h"
#include "jsonschema/JsonValidatorInternal.h"

namespace JsonValidator {

namespace {

using CorvConfigStore::kGeneratedIdProperty;

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

// The value is of a kind in types (TypeBit): "integer" is any number
// without fraction.
bool HasType(const JsonValue& value, uint8_t types) {
  switch (value.GetType()) {
    case rapidjson::kNullType:
      return (types & kNullBit) != 0;
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
      return (types & kBooleanBit) != 0;
    case rapidjson::kObjectType:
      return (types & kObjectBit) != 0;
    case rapidjson::kArrayType:
      return (types & kArrayBit) != 0;
    case rapidjson::kStringType:
      return (types & kStringBit) != 0;
    case rapidjson::kNumberType:
      return (types & kNumberBit) != 0 ||
             ((types & kIntegerBit) != 0 && CorvConfigStore::IsJsonInteger(value));
  }
  return false;
}

bool IsGeneratedId(const JsonValue& name) { return name == kGeneratedIdProperty; }

// The node, or a branch of its allOf, anyOf or oneOf at any depth, declares
// the member: names it in "properties", matches it with
// "patternProperties", or opens the object with "additionalProperties".
bool Declares(const SchemaNode& schema, const JsonValue& name) {
  std::vector<const SchemaNode*> schemas;
  FindMemberSchemas(schema, name, schemas, nullptr);
  if (!schemas.empty()) return true;
  const JsonValue* additional = schema.additionalProperties;
  if (additional != nullptr && (additional->IsObject() || additional->IsTrue())) return true;
  for (const SchemaNode::Branches* branches : {&schema.allOf, &schema.anyOf, &schema.oneOf})
    for (const SchemaNode* branch : branches->schemas)
      if (Declares(*branch, name)) return true;
  return false;
}

class Walker {
 public:
  Walker(const Options& options, ErrorList& errors) : options_(options), errors_(&errors) {}

  // closes: the node decides which members the value may hold (option 8).
  // A combinator branch applied to the same value does not: its parent
  // decides, counting the members every branch declares.
  void Walk(const SchemaNode& schema, const JsonValue& value, PointerPath& path, bool closes) {
    if (schema.json->IsBool()) {
      if (!schema.json->GetBool())
        AddError(*errors_, path, "no value is allowed here (schema false)");
      return;
    }
    if (!schema.json->IsObject()) return;
    if (options_.types) CheckType(schema, value, path);
    if (options_.values && schema.checksValues)
      CheckValueConstraints(schema, value, path, *errors_);
    if (value.IsObject()) {
      if (options_.required) CheckRequired(schema, value, path);
      WalkMembers(schema, value, path, closes);
    } else if (value.IsArray()) {
      WalkItems(schema, value, path);
    }
    if (options_.types && schema.checksCombinators) CheckCombinators(schema, value, path);
  }

 private:
  void CheckType(const SchemaNode& schema, const JsonValue& value, const PointerPath& path) {
    if (!schema.checksType || HasType(value, schema.types)) return;
    AddError(*errors_, path, "expected type " + schema.typeNames + ", found " + TypeName(value));
  }

  void CheckRequired(const SchemaNode& schema, const JsonValue& value, const PointerPath& path) {
    if (schema.required == nullptr) return;
    for (const auto& name : schema.required->GetArray())
      if (name.IsString() && !value.HasMember(name))
        AddError(*errors_, path, "missing required member " + Describe(name));
  }

  void WalkMembers(const SchemaNode& schema, const JsonValue& value, PointerPath& path,
                   bool closes) {
    const JsonValue* additional = schema.additionalProperties;
    // What FindMemberSchemas finds, taken in two parts so that a node
    // without patternProperties (most) fills no list.
    std::vector<const SchemaNode*> schemas;
    std::vector<PatternFailure> failures;
    std::vector<const JsonValue*> reportedPatterns;
    for (const auto& member : value.GetObject()) {
      path.PushName(member.name);
      const SchemaNode* property = schema.FindProperty(
          std::string_view(member.name.GetString(), member.name.GetStringLength()));
      if (!schema.patternProperties.empty()) {
        schemas.clear();
        failures.clear();
        FindPatternSchemas(schema, member.name, schemas, &failures);
        ReportPatternFailures(failures, path, reportedPatterns);
      }
      if (property != nullptr) Walk(*property, member.value, path, true);
      for (const SchemaNode* memberSchema : schemas) Walk(*memberSchema, member.value, path, true);
      if (property == nullptr && schemas.empty() && failures.empty()) {
        if (schema.additionalSchema != nullptr) {
          Walk(*schema.additionalSchema, member.value, path, true);
        } else if (additional != nullptr && additional->IsFalse()) {
          if (!IsGeneratedId(member.name))
            AddError(*errors_, path,
                     "member " + Describe(member.name) +
                         " is not allowed by additionalProperties false");
        } else if (options_.closed && closes && schema.allowsObject &&
                   !IsGeneratedId(member.name) && !Declares(schema, member.name)) {
          AddError(*errors_, path, "unknown member " + Describe(member.name));
        }
      }
      path.Pop();
    }
  }

  // An invalid pattern is reported once per object, at the object; a
  // pattern that cannot be decided for a name, at that member (the last
  // step of path).
  void ReportPatternFailures(const std::vector<PatternFailure>& failures, const PointerPath& path,
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
      errors_->push_back(ErrorRecord{path.Render(path.Depth() - 1),
                                     "invalid patternProperties pattern " +
                                         Describe(*failure.pattern) + ": " + failure.reason});
    }
  }

  // Only the one-schema form of "items"; the list form is not supported.
  void WalkItems(const SchemaNode& schema, const JsonValue& value, PointerPath& path) {
    const SchemaNode* items = schema.items;
    if (items == nullptr || !(items->json->IsObject() || items->json->IsBool())) return;
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
      path.PushIndex(i);
      Walk(*items, value[i], path, true);
      path.Pop();
    }
  }

  // allOf reports what its branches find; anyOf, oneOf and not decide on
  // whether a branch holds errors and report one error of their own.
  void CheckCombinators(const SchemaNode& schema, const JsonValue& value, PointerPath& path) {
    for (const SchemaNode* branch : schema.allOf.schemas) Walk(*branch, value, path, false);

    if (schema.anyOf.present) {
      bool matched = false;
      for (const SchemaNode* branch : schema.anyOf.schemas)
        if ((matched = Passes(*branch, value, path))) break;
      if (!matched) AddError(*errors_, path, "value does not match any schema of anyOf");
    }

    if (schema.oneOf.present) {
      const std::vector<const SchemaNode*>& branches = schema.oneOf.schemas;
      std::vector<size_t> matches;
      for (size_t i = 0; i < branches.size() && matches.size() < 2; ++i)
        if (Passes(*branches[i], value, path)) matches.push_back(i);
      if (matches.empty())
        AddError(*errors_, path, "value does not match any schema of oneOf");
      else if (matches.size() > 1)
        AddError(*errors_, path,
                 "value matches more than one schema of oneOf (schemas " +
                     std::to_string(matches[0]) + " and " + std::to_string(matches[1]) + ")");
    }

    if (schema.notSchema != nullptr && Passes(*schema.notSchema, value, path))
      AddError(*errors_, path, "value matches the schema of not");
  }

  // Evaluates a branch into scratch errors.
  bool Passes(const SchemaNode& schema, const JsonValue& value, PointerPath& path) {
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

// One pass over the set: the sets the library passes hold a few options.
Options Decode(const std::unordered_set<int>& options) {
  Options decoded;
  for (int option : options) {
    switch (option) {
      case 0:
        decoded.types = true;
        break;
      case 1:
        decoded.values = true;
        break;
      case 3:
        decoded.userOnly = true;
        break;
      case 4:
        decoded.noReadOnly = true;
        break;
      case 5:
        decoded.vitalOnly = true;
        break;
      case 7:
        decoded.required = true;
        break;
      case 8:
        decoded.closed = true;
        break;
      case 9:
        decoded.cachedOnly = true;
        break;
    }
  }
  return decoded;
}

}  // namespace

void Validate(const CompiledSchema& schema, const JsonValue& value, ErrorList& errors,
              const std::unordered_set<int>& options, const std::string& prefix) {
  Options decoded = Decode(options);
  PointerPath path(prefix);
  Walker(decoded, errors).Walk(schema.InstanceNode(value), value, path, true);
  if (decoded.userOnly || decoded.noReadOnly || decoded.vitalOnly || decoded.cachedOnly)
    CheckLayers(schema, value, path, decoded, errors);
  CheckRepeatedNames(value, path, errors);
}

void Validate(const JsonValue& schema, const JsonValue& value,
              CorvConfigStore::JsonDocument& result, const std::unordered_set<int>& options,
              const std::string& prefix) {
  ErrorList errors;
  Validate(CompiledSchema(schema), value, errors, options, prefix);
  result.SetArray();
  auto& allocator = result.GetAllocator();
  for (const auto& record : errors) {
    JsonValue entry(rapidjson::kObjectType);
    entry.AddMember("field", JsonValue(record.field, allocator), allocator);
    entry.AddMember("error", JsonValue(record.error, allocator), allocator);
    result.PushBack(entry, allocator);
  }
}

}  // namespace JsonValidator
