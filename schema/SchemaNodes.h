// Small questions asked of one node of a key schema by every walk of it.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "core/Json.h"
#include "core/JsonDoc.h"

namespace CorvSchemaStore {

// The first member of node (an object) of each of names, null where there
// is none: what a look-up of each name finds, in one pass over its members.
template <size_t N>
std::array<const CorvConfigStore::JsonValue*, N> FirstMembersNamed(
    const CorvConfigStore::JsonValue& node, const std::array<std::string_view, N>& names) {
  std::array<const CorvConfigStore::JsonValue*, N> found{};
  for (const auto& member : node.GetObject()) {
    const std::string_view name(member.name.GetString(), member.name.GetStringLength());
    for (size_t i = 0; i < N; ++i) {
      if (name != names[i]) continue;
      if (found[i] == nullptr) found[i] = &member.value;
      break;
    }
  }
  return found;
}

// The node is an object whose member name is the boolean true.
bool IsFlagTrue(const CorvConfigStore::JsonValue& node, const char* name);

// The node's "type" when the node is an object whose "type" is a text;
// empty otherwise.
std::string_view TypeOf(const CorvConfigStore::JsonValue& node);

// The node is an object whose "type" is the one type name given (a name,
// never empty).
bool HasType(const CorvConfigStore::JsonValue& node, const char* type);

// The "items" of the node when it is an object whose "items" has "type"
// "object"; null otherwise.
const CorvConfigStore::JsonValue* ObjectItems(const CorvConfigStore::JsonValue& node);

// The node describes a list of instances: "type" "array" with "items" of
// "type" "object".
bool IsArrayOfObjects(const CorvConfigStore::JsonValue& node);

// The "properties" object of the node, or null.
const CorvConfigStore::JsonValue* FindProperties(const CorvConfigStore::JsonValue& node);

// The name of the property of an instance schema marked "instanceId", or
// empty when none is.
std::string FindInstanceIdProperty(const CorvConfigStore::JsonValue& items);

// The property of the key's objects that holds their instance id, from a
// schema's instance-id map (idMap may be null): false when the key has none.
bool FindInstanceIdProperty(const CorvConfigStore::JsonDoc* idMap, const std::string& key,
                            std::string* property);

}  // namespace CorvSchemaStore
