// Checking key schemas and names before they are loaded, so that a typo in
// a schema file is refused rather than silently ignored by validation.
#include "schema/KeySchemaCheck.h"

#include <cstring>

#include "core/Throw.h"
#include "jsonschema/JsonPattern.h"
#include "jsonschema/JsonValidator.h"
#include "schema/SchemaNodes.h"
#include "schema/SchemaStore.h"

namespace CorvSchemaStore {

using CorvConfigStore::JsonValue;

bool IsValidSchemaName(const std::string& name) {
  if (name.empty() || name.size() > 64) return false;
  for (char c : name) {
    bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
              c == '_' || c == '-';
    if (!ok) return false;
  }
  return true;
}

namespace {

// Where a schema node stands: some rules depend on it.
enum class Where {
  kRoot,              // the key schema itself
  kItems,             // the "items" of an array
  kInstanceProperty,  // a member of "properties" of an "items" node
  kProperty,          // any other member of "properties"
  kOther,             // under a combinator, additionalProperties, ...
};

std::string Name(const JsonValue& name) {
  return std::string(name.GetString(), name.GetStringLength());
}

// One JSON Pointer token (RFC 6901).
std::string Escape(const std::string& token) {
  std::string out;
  for (char c : token) {
    if (c == '~')
      out += "~0";
    else if (c == '/')
      out += "~1";
    else
      out += c;
  }
  return out;
}

bool IsNonNegativeInteger(const JsonValue& value) { return value.IsUint64(); }

bool IsStringList(const JsonValue& value) {
  if (!value.IsArray()) return false;
  for (const auto& element : value.GetArray())
    if (!element.IsString()) return false;
  return true;
}

bool IsTypeName(const JsonValue& value) {
  static const char* const kTypes[] = {"null",   "boolean", "object", "array",
                                       "number", "integer", "string"};
  if (!value.IsString()) return false;
  for (const char* type : kTypes)
    if (value == type) return true;
  return false;
}

class Checker {
 public:
  explicit Checker(const std::string& keyName) : keyName_(keyName) {}

  void Root(const JsonValue& schema) {
    if (!schema.IsObject() || !(HasType(schema, "object") || HasType(schema, "array")))
      CorvConfigStore::ThrowGeneral("Schema of " + keyName_ +
                                    " must be an object whose \"type\" is \"object\" or \"array\"");
    if (HasType(schema, "array")) {
      auto items = schema.FindMember("items");
      if (items == schema.MemberEnd() || !items->value.IsObject() ||
          !HasType(items->value, "object"))
        CorvConfigStore::ThrowGeneral("Schema of " + keyName_ +
                                      ": a key with instances needs \"items\" of type \"object\"");
    }
    Node(schema, "", Where::kRoot);
  }

 private:
  [[noreturn]] void Fail(const std::string& keyword, const std::string& pointer,
                         const std::string& fault) const {
    CorvConfigStore::ThrowGeneral("Keyword \"" + keyword + "\" in schema of " + keyName_ + " at " +
                                  (pointer.empty() ? "/" : pointer) + " " + fault);
  }

  void Node(const JsonValue& node, const std::string& pointer, Where where) {
    if (node.IsBool()) return;
    if (!node.IsObject())
      CorvConfigStore::ThrowGeneral("Schema of " + keyName_ + " at " +
                                    (pointer.empty() ? "/" : pointer) +
                                    " must be an object or a boolean");
    for (const auto& member : node.GetObject())
      Keyword(node, Name(member.name), member.value, pointer, where);
    if (where == Where::kItems) CheckSingleInstanceId(node, pointer);
    CheckDefault(node, pointer);
  }

  // A default must itself be a valid value of its schema (types, structure
  // and value constraints; it may be partial).
  void CheckDefault(const JsonValue& node, const std::string& pointer) {
    auto value = node.FindMember("default");
    if (value == node.MemberEnd()) return;
    CorvConfigStore::JsonDocument result;
    JsonValidator::Validate(node, value->value, result, {0, 1}, "");
    if (!result.IsArray() || result.Empty()) return;
    const JsonValue& first = result[0];
    std::string field =
        first.HasMember("field") && first["field"].IsString() ? Name(first["field"]) : "/";
    std::string error =
        first.HasMember("error") && first["error"].IsString() ? Name(first["error"]) : "";
    Fail("default", pointer, "does not satisfy its schema: " + field + ": " + error);
  }

  void Schemas(const std::string& keyword, const JsonValue& value, const std::string& pointer) {
    if (!value.IsArray() || value.Empty())
      Fail(keyword, pointer, "must be a non-empty list of schemas");
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i)
      Node(value[i], pointer + "/" + keyword + "/" + std::to_string(i), Where::kOther);
  }

  void Properties(const JsonValue& value, const std::string& pointer, Where where) {
    if (!value.IsObject()) Fail("properties", pointer, "must be an object of schemas");
    Where inner = where == Where::kItems ? Where::kInstanceProperty : Where::kProperty;
    for (const auto& property : value.GetObject()) {
      std::string name = Name(property.name);
      std::string at = pointer + "/properties/" + Escape(name);
      if (name == kGeneratedIdProperty &&
          !(property.value.IsObject() && IsFlagTrue(property.value, "instanceId")))
        CorvConfigStore::ThrowGeneral("Property \"" + name + "\" in schema of " + keyName_ +
                                      " at " + at + " is reserved for generated instance ids");
      Node(property.value, at, inner);
    }
  }

  void CheckSingleInstanceId(const JsonValue& node, const std::string& pointer) {
    auto properties = node.FindMember("properties");
    if (properties == node.MemberEnd()) return;
    int count = 0;
    for (const auto& property : properties->value.GetObject())
      if (property.value.IsObject() && IsFlagTrue(property.value, "instanceId")) ++count;
    if (count > 1) Fail("instanceId", pointer, "is given to more than one property");
  }

  void Keyword(const JsonValue& node, const std::string& keyword, const JsonValue& value,
               const std::string& pointer, Where where) {
    // Validation keywords first, then documentation and the store's own
    // annotations; anything else is unknown.
    const char* k = keyword.c_str();
    if (keyword == "type") {
      bool ok = IsTypeName(value);
      if (value.IsArray()) {
        ok = !value.Empty();
        for (const auto& type : value.GetArray()) ok = ok && IsTypeName(type);
      }
      if (!ok) Fail(k, pointer, "must be a type name or a non-empty list of type names");
    } else if (keyword == "properties") {
      Properties(value, pointer, where);
    } else if (keyword == "patternProperties") {
      if (!value.IsObject()) Fail(k, pointer, "must be an object of schemas");
      for (const auto& property : value.GetObject()) {
        CheckPattern(k, property.name, pointer);
        Node(property.value, pointer + "/patternProperties/" + Escape(Name(property.name)),
             Where::kOther);
      }
    } else if (keyword == "additionalProperties" || keyword == "not") {
      if (!value.IsBool() && !value.IsObject()) Fail(k, pointer, "must be a schema");
      Node(value, pointer + "/" + keyword, Where::kOther);
    } else if (keyword == "items") {
      if (!value.IsBool() && !value.IsObject()) Fail(k, pointer, "must be one schema");
      Node(value, pointer + "/items", Where::kItems);
    } else if (keyword == "allOf" || keyword == "anyOf" || keyword == "oneOf") {
      Schemas(keyword, value, pointer);
    } else if (keyword == "required") {
      if (!IsStringList(value)) Fail(k, pointer, "must be a list of strings");
    } else if (keyword == "minItems" || keyword == "maxItems" || keyword == "minLength" ||
               keyword == "maxLength" || keyword == "minProperties" || keyword == "maxProperties") {
      if (!IsNonNegativeInteger(value)) Fail(k, pointer, "must be a non-negative integer");
    } else if (keyword == "minimum" || keyword == "maximum" || keyword == "exclusiveMinimum" ||
               keyword == "exclusiveMaximum") {
      if (!value.IsNumber()) Fail(k, pointer, "must be a number");
    } else if (keyword == "multipleOf") {
      if (!value.IsNumber() || value.GetDouble() <= 0) Fail(k, pointer, "must be a number above 0");
    } else if (keyword == "uniqueItems" || keyword == "readOnly") {
      if (!value.IsBool()) Fail(k, pointer, "must be true or false");
    } else if (keyword == "enum") {
      if (!value.IsArray() || value.Empty()) Fail(k, pointer, "must be a non-empty list");
    } else if (keyword == "const" || keyword == "default") {
      // Any value.
    } else if (keyword == "pattern") {
      if (!value.IsString()) Fail(k, pointer, "must be a string");
      CheckPattern(k, value, pointer);
    } else if (keyword == "format") {
      static const char* const kFormats[] = {"ipv4", "ipv6", "hostname", "mac", "uuid"};
      bool known = false;
      for (const char* format : kFormats) known = known || (value.IsString() && value == format);
      if (!known) Fail(k, pointer, "must be one of ipv4, ipv6, hostname, mac, uuid");
    } else if (keyword == "description" || keyword == "title" || keyword == "$comment") {
      if (!value.IsString()) Fail(k, pointer, "must be a string");
    } else if (keyword == "examples") {
      if (!value.IsArray()) Fail(k, pointer, "must be a list");
    } else if (keyword == "vital" || keyword == "cached" || keyword == "solutionUser") {
      if (!(value.IsBool() && value.GetBool())) Fail(k, pointer, "must be true");
    } else if (keyword == "instanceId") {
      if (!(value.IsBool() && value.GetBool())) Fail(k, pointer, "must be true");
      if (where != Where::kInstanceProperty || !HasType(node, "string"))
        Fail(k, pointer, "is allowed only on a string property of the items of an array");
    } else {
      RootKeyword(node, keyword, value, pointer, where);
    }
  }

  // Annotations that describe the whole key.
  void RootKeyword(const JsonValue& node, const std::string& keyword, const JsonValue& value,
                   const std::string& pointer, Where where) {
    const char* k = keyword.c_str();
    bool known = true;
    if (keyword == "version" || keyword == "valueType") {
      if (!value.IsString() || value.GetStringLength() == 0)
        Fail(k, pointer, "must be a non-empty string");
    } else if (keyword == "tags") {
      if (!IsStringList(value)) Fail(k, pointer, "must be a list of strings");
    } else if (keyword == "bootExempt" || keyword == "applyDuringUpgrade" ||
               keyword == "internal") {
      if (!value.IsBool()) Fail(k, pointer, "must be true or false");
    } else if (keyword == "systemInstances") {
      if (!IsStringList(value) || value.Empty())
        Fail(k, pointer, "must be a non-empty list of strings");
      if (!HasType(node, "array")) Fail(k, pointer, "is allowed only on a key with instances");
    } else {
      known = false;
    }
    if (!known)
      CorvConfigStore::ThrowGeneral("Unknown keyword \"" + keyword + "\" in schema of " + keyName_ +
                                    " at " + (pointer.empty() ? "/" : pointer));
    if (where != Where::kRoot) Fail(k, pointer, "is allowed only at the key root");
  }

  void CheckPattern(const char* keyword, const JsonValue& pattern, const std::string& pointer) {
    std::string reason;
    if (JsonPattern::Search(pattern.GetString(), pattern.GetStringLength(), "", 0, &reason) ==
        JsonPattern::Outcome::kInvalid)
      Fail(keyword, pointer, "holds an invalid regular expression: " + reason);
  }

  const std::string& keyName_;
};

}  // namespace

void CheckKeySchema(const std::string& keyName, const JsonValue& schema) {
  Checker(keyName).Root(schema);
}

}  // namespace CorvSchemaStore
