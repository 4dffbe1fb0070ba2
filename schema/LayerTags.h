// The layer tags of a value schema ("instanceId", "vital" and "cached" on
// each node), read once into a tree that mirrors the schema, so that the
// division of every value into its layers finds a member's schema node and
// its tags without searching the schema's JSON again for each value.
#pragma once

#include <deque>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Json.h"

namespace CorvSchemaStore {

// One node of a value schema as the layer split reads it.
struct LayerTagNode {
  // The schema node itself: a node that is not an object is reported by
  // the split as a look-up in it reports it.
  const CorvConfigStore::JsonValue* json = nullptr;
  bool isObject = false;
  // The node's first "instanceId", "vital" and "cached" members; null when
  // it has none.
  const CorvConfigStore::JsonValue* instanceId = nullptr;
  const CorvConfigStore::JsonValue* vital = nullptr;
  const CorvConfigStore::JsonValue* cached = nullptr;
  // The entries of the node's "properties", when that is an object, in
  // order, the first of each name.
  std::vector<std::pair<std::string_view, const LayerTagNode*>> properties;
  // "type" is the string "array".
  bool isArray = false;
  // "items" is an object whose "type" is the string "object": its node;
  // null otherwise.
  const LayerTagNode* objectItems = nullptr;

  // The schema node of a member of this node's value; null when the node
  // has no properties or none of that name.
  const LayerTagNode* Property(std::string_view name) const {
    for (const auto& property : properties)
      if (property.first == name) return property.second;
    return nullptr;
  }
};

class LayerTags {
 public:
  // Reads the tree of valueSchema, which must outlive it.
  explicit LayerTags(const CorvConfigStore::JsonValue& valueSchema);
  LayerTags(const LayerTags&) = delete;
  LayerTags& operator=(const LayerTags&) = delete;

  const LayerTagNode& Root() const { return *root_; }

 private:
  const LayerTagNode* Read(const CorvConfigStore::JsonValue& node);

  // A deque keeps every node where it was made.
  std::deque<LayerTagNode> nodes_;
  const LayerTagNode* root_;
};

}  // namespace CorvSchemaStore
