// What the files of the validator share: the decoded options, the JSON
// Pointer of the value being checked, error records, descriptions of
// values for messages, and the lookup of the schemas that apply to an
// object member.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "core/Json.h"
#include "jsonschema/CompiledSchema.h"
#include "jsonschema/JsonValidator.h"

namespace JsonValidator {

// The option integers, decoded.
struct Options {
  bool types = false;       // 0: type and the combinators
  bool values = false;      // 1: value constraints
  bool userOnly = false;    // 3: no vital, cached or solutionUser member
  bool noReadOnly = false;  // 4: no readOnly member
  bool vitalOnly = false;   // 5: only vital members and the instance id
  bool required = false;    // 7: required
  bool closed = false;      // 8: only declared members
  bool cachedOnly = false;  // 9: only cached members and the instance id
};

// The JSON Pointer of the value being checked, behind the caller's prefix,
// kept as the member names and item indexes on the way down. Most values
// hold no error, so the text is made only for a record. The steps of
// typical values fit in the path itself, so that a validation allocates
// nothing for them; only a deeper value grows a list for the rest.
class PointerPath {
 public:
  explicit PointerPath(const std::string& prefix);
  // The steps may point into the path itself.
  PointerPath(const PointerPath&) = delete;
  PointerPath& operator=(const PointerPath&) = delete;

  void PushName(const JsonValue& name) { Push(Step{&name, 0}); }
  void PushIndex(size_t index) { Push(Step{nullptr, index}); }
  void Pop() { --depth_; }
  size_t Depth() const { return depth_; }

  // The pointer of the value depth steps down: the prefix, then "/" and
  // each name (with "~" and "/" escaped as "~0", "~1") or index. An empty
  // pointer stands for "/".
  std::string Render(size_t depth) const;

 private:
  struct Step {
    const JsonValue* name;  // null for an index
    size_t index;
  };
  static constexpr size_t kInlineSteps = 16;

  void Push(const Step& step) {
    if (depth_ == room_) Grow();
    steps_[depth_++] = step;
  }
  // Moves the steps to a list with room for twice as many.
  void Grow();

  std::string prefix_;
  Step* steps_ = inline_;  // inline_, or deeper_'s once a value is deeper
  size_t depth_ = 0;
  size_t room_ = kInlineSteps;
  Step inline_[kInlineSteps];
  std::vector<Step> deeper_;
};

// Appends an error about the value at path.
void AddError(ErrorList& errors, const PointerPath& path, std::string text);

// The value (or a member name) as JSON text for a message, cut short when
// long.
std::string Describe(const JsonValue& value);

// The schemas that apply to member name of an object under schema: the
// "properties" entry and every "patternProperties" entry whose pattern the
// name matches. "additionalProperties" is left to the caller, since it
// applies only when this finds nothing.
struct PatternFailure {
  const JsonValue* pattern;
  JsonPattern::Outcome outcome;  // kInvalid or kFailed
  std::string reason;
};
void FindMemberSchemas(const SchemaNode& schema, const JsonValue& name,
                       std::vector<const SchemaNode*>& schemas,
                       std::vector<PatternFailure>* failures);
// Only the "patternProperties" part of FindMemberSchemas.
void FindPatternSchemas(const SchemaNode& schema, const JsonValue& name,
                        std::vector<const SchemaNode*>& schemas,
                        std::vector<PatternFailure>* failures);

// Option 1: enum, const and the numeric, length, size, pattern, format
// and uniqueness keywords of one schema node, for the value itself.
void CheckValueConstraints(const SchemaNode& schema, const JsonValue& value, PointerPath& path,
                           ErrorList& errors);

// Adds a record, at the second member of the name, for every object
// within value (value included) that holds two members of one name.
void CheckRepeatedNames(const JsonValue& value, PointerPath& path, ErrorList& errors);

// Options 3, 4, 5 and 9: the annotations of the members value holds,
// walked from the key schema.
void CheckLayers(const CompiledSchema& schema, const JsonValue& value, PointerPath& path,
                 const Options& options, ErrorList& errors);

}  // namespace JsonValidator
