// The raw twins' JSON work, done with rapidjson alone: parsing layer
// columns into one allocator, merging the layers of a row, splitting a value
// into its layers by the schema's tags, and serialising.
//
// The merge overrides top-level members. The library also merges lists of
// sub-object instances instance by instance; the benchmark values hold no
// such lists, so for them both merges give the same object, which every
// benchmark checks before it measures.
#pragma once

#include <corvconfigstore/Json.h>
#include <corvconfigstore/SchemaList.h>

#include <string>
#include <unordered_map>

#include "support/RawSql.h"

namespace CorvBench {

using JsonAllocator = rapidjson::MemoryPoolAllocator<>;

// What the raw twins take from a key schema once, before they measure:
// which layer each top-level member belongs to, the instance-id property
// and the version stored with each row.
struct KeyLayout {
  enum Layer { kUser, kVital, kCached };
  std::unordered_map<std::string, Layer> layers;
  std::string idProperty;
  std::string version;
};
KeyLayout LayoutOf(const CorvConfigStore::SchemaInfo& schema);

// The columns of a row's layers in a result; -1 for a layer not selected.
// The user layer counts only when the row's Success column is 1.
struct LayerColumns {
  int vital;
  int cached;
  int autoConf;
  int user;
  int success;
};
// The columns of Sql::kReadConfig and of Sql::kGetInstances.
extern const LayerColumns kReadConfigLayers;
extern const LayerColumns kGetInstancesLayers;

// Parses JSON texts into values owned by one allocator, reusing one parser.
class JsonParser {
 public:
  explicit JsonParser(JsonAllocator& allocator);
  // Ends the process on text that is not a JSON object: the texts are the
  // benchmark's own or the library's stored layers.
  rapidjson::Value Parse(const char* text, size_t length);
  rapidjson::Value Parse(const std::string& text) { return Parse(text.data(), text.size()); }
  // The row's layers merged as a read merges them: vital, then cached,
  // auto-configuration and user on top. Null when the row has no layer.
  rapidjson::Value MergeRow(const RawStatement& row, const LayerColumns& columns);
  JsonAllocator& allocator() const { return allocator_; }

 private:
  JsonAllocator& allocator_;
  rapidjson::Document parser_;
};

// Moves every member of layer into base, replacing a member of the same
// name. layer must share base's allocator.
void MergeMembers(rapidjson::Value& base, rapidjson::Value& layer, JsonAllocator& allocator);

// The texts of a value's layers as a write stores them; an empty text is a
// layer with no member. The instance-id property is repeated in a vital or
// cached layer that holds anything else.
struct LayerTexts {
  std::string user;
  std::string vital;
  std::string cached;
};
LayerTexts SplitLayers(rapidjson::Value& value, const KeyLayout& layout, JsonAllocator& allocator);

std::string Serialize(const rapidjson::Value& value);

// True when both texts parse to equal JSON (member order aside).
bool SameJson(const std::string& a, const std::string& b);
// The same for whole-store documents, whose lists of instances are
// compared in one order: an export lists instances in no particular order.
bool SameDocument(const std::string& a, const std::string& b);

}  // namespace CorvBench
