// The campaign's own JSON value: what the reference model stores in its
// layers and what the library's answers are turned into for comparison.
// Objects keep their members sorted by name, so that two values are equal
// exactly when their canonical texts are.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ModelCampaign {

struct Value {
  enum Kind { kNull, kBool, kInt, kString, kObject, kArray };
  Kind kind = kObject;
  long long number = 0;  // kBool (0 or 1) and kInt
  std::string text;      // kString
  std::map<std::string, Value> members;
  std::vector<Value> items;

  static Value Int(long long n);
  static Value String(const std::string& s);

  bool IsObject() const { return kind == kObject; }
  bool IsEmptyObject() const { return kind == kObject && members.empty(); }

  // Canonical JSON text (members sorted, no blanks).
  std::string Text() const;
  bool operator==(const Value& other) const { return Text() == other.Text(); }
  bool operator!=(const Value& other) const { return !(*this == other); }
};

using Layer = std::optional<Value>;

// Parses JSON text; nullopt when it is not JSON.
std::optional<Value> ParseValue(const std::string& text);

// The text of a layer: "absent" or the value's canonical text.
std::string LayerText(const Layer& layer);

// Merges update into target member by member: objects recursively, any
// other value replaces the target's. Nothing is ever removed.
void MergeInto(Value& target, const Value& update);

}  // namespace ModelCampaign
