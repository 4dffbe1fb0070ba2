// A schema prepared for validation: every node of a schema document with
// its keywords found, its "type" decoded, its counts read and its patterns
// compiled once, so that validating many values against one schema repeats
// none of that work.
#pragma once

#include <cstdint>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Json.h"
#include "jsonschema/JsonPattern.h"
#include "jsonschema/JsonValidatorFormats.h"

namespace JsonValidator {

using CorvConfigStore::JsonValue;

// The kinds of value "type" can name, as bits of SchemaNode::types.
enum TypeBit : uint8_t {
  kNullBit = 1 << 0,
  kBooleanBit = 1 << 1,
  kObjectBit = 1 << 2,
  kArrayBit = 1 << 3,
  kStringBit = 1 << 4,
  kNumberBit = 1 << 5,
  kIntegerBit = 1 << 6,  // a number without fraction
};

// A name's length and up to eight of its bytes (all of a shorter name):
// names that differ there (most pairs) are told apart without comparing
// their texts. Made with fixed-size loads, since it is made for every
// member of every value checked.
struct NameSignature {
  uint64_t head = 0;
  size_t length = 0;

  static NameSignature Of(std::string_view name) {
    NameSignature signature;
    const char* bytes = name.data();
    const size_t n = name.size();
    signature.length = n;
    if (n >= 8) {
      std::memcpy(&signature.head, bytes, 8);
    } else if (n >= 4) {  // the first and the last four bytes, overlapping
      uint32_t first, last;
      std::memcpy(&first, bytes, 4);
      std::memcpy(&last, bytes + n - 4, 4);
      signature.head = first | static_cast<uint64_t>(last) << 32;
    } else if (n > 0) {  // the first, middle and last byte
      signature.head = static_cast<uint8_t>(bytes[0]) |
                       static_cast<uint64_t>(static_cast<uint8_t>(bytes[n / 2])) << 8 |
                       static_cast<uint64_t>(static_cast<uint8_t>(bytes[n - 1])) << 16;
    }
    return signature;
  }
  bool operator==(const NameSignature& other) const {
    return head == other.head && length == other.length;
  }
  // A name of up to eight bytes is whole in its signature: two such names
  // with equal signatures are equal.
  bool Whole() const { return length <= 8; }
};

// One node of a schema (an object, a boolean, or anything else written
// where a schema belongs). A keyword is taken where the node first names
// it; one that is absent or whose own value is malformed is left null,
// empty or false, so a node that is no object has nothing set.
struct SchemaNode {
  // A schema, with the name or pattern that selects it.
  struct Member {
    std::string_view name;
    NameSignature signature;  // of name
    const SchemaNode* schema;
  };
  struct PatternMember {
    const JsonValue* pattern;  // the name in "patternProperties"
    JsonPattern::CompiledPattern compiled;
    const SchemaNode* schema;
  };
  // "allOf", "anyOf", "oneOf": present only when a list.
  struct Branches {
    bool present = false;
    std::vector<const SchemaNode*> schemas;
  };

  const JsonValue* json = nullptr;  // the node in the schema document

  // "type": the value must be of a kind in types; typeNames lists the
  // names for the message. A list naming no type by a text checks nothing.
  bool checksType = false;
  uint8_t types = 0;
  std::string typeNames;
  // "type" does not rule out an object: absent, malformed, or naming
  // "object".
  bool allowsObject = true;

  // The schema "properties" gives member name: its first entry of that
  // name, as a lookup by name in the document finds it; null when none.
  const SchemaNode* FindProperty(std::string_view name) const;

  // Members and items.
  std::vector<Member> properties;
  std::vector<PatternMember> patternProperties;
  const JsonValue* additionalProperties = nullptr;  // whatever it holds
  const SchemaNode* additionalSchema = nullptr;     // when it is an object
  const JsonValue* required = nullptr;              // a list
  const SchemaNode* items = nullptr;                // whatever it holds

  // Combinators.
  Branches allOf, anyOf, oneOf;
  const SchemaNode* notSchema = nullptr;  // an object or a boolean
  // The node has a combinator to check: a branch of allOf, an anyOf or
  // oneOf list (even an empty one, which no value matches), or a not. Most
  // nodes have none, and the walk passes them over on this one test.
  bool checksCombinators = false;

  // Value constraints.
  const JsonValue* enumValues = nullptr;  // a list
  const JsonValue* constValue = nullptr;
  const JsonValue* minimum = nullptr;  // the bounds: numbers
  const JsonValue* maximum = nullptr;
  const JsonValue* exclusiveMinimum = nullptr;
  const JsonValue* exclusiveMaximum = nullptr;
  const JsonValue* multipleOf = nullptr;  // a number above zero
  // Counts: non-negative numbers without fraction.
  std::optional<uint64_t> minLength, maxLength, minItems, maxItems, minProperties, maxProperties;
  const JsonValue* pattern = nullptr;  // a text
  JsonPattern::CompiledPattern compiledPattern;
  const JsonValue* format = nullptr;  // a text
  FormatCheck formatCheck = nullptr;  // null: the format is an annotation
  bool uniqueItems = false;
  // The node has one of the value constraints above to check. Many nodes
  // only name a type, and the walk passes them over on this one test.
  bool checksValues = false;

  // Annotations, each written as true.
  bool vital = false;
  bool cached = false;
  bool solutionUser = false;
  bool readOnly = false;
  bool instanceId = false;
};

// The nodes of one schema document. It points into the document, which
// must outlive it unchanged. Built whole by the constructor and never
// changed afterwards, so any number of threads may validate with it at once.
class CompiledSchema {
 public:
  explicit CompiledSchema(const JsonValue& schema);
  CompiledSchema(const CompiledSchema&) = delete;
  CompiledSchema& operator=(const CompiledSchema&) = delete;

  const SchemaNode& Root() const { return nodes_.front(); }
  // The node that describes value (see CorvConfigStore::InstanceSchema):
  // "items" of an array schema given an object, the root otherwise.
  const SchemaNode& InstanceNode(const JsonValue& value) const {
    return value.IsObject() ? *objectNode_ : Root();
  }

 private:
  const SchemaNode* Compile(const JsonValue& schema);

  // A deque keeps every node in place while later ones are added.
  std::deque<SchemaNode> nodes_;
  const SchemaNode* objectNode_;  // the instance node of any object
};

}  // namespace JsonValidator
