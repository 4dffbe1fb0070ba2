// Parsing, merging, splitting and serialising for the raw twins.
#include "support/RawJson.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

namespace CorvBench {

// Sql::kReadConfig: Version, AutoConfValue, UserValue, VitalValue,
// CachedValue, DesiredValue, Success, ...
const LayerColumns kReadConfigLayers = {3, 4, 1, 2, 6};
// Sql::kGetInstances: Version, Success, Identifier, UserValue, VitalValue,
// CachedValue, AutoConfValue, ...
const LayerColumns kGetInstancesLayers = {4, 5, 6, 3, 1};

namespace {

bool Parsed(const std::string& text, rapidjson::Document& document) {
  document.Parse(text.c_str(), text.size());
  return !document.HasParseError();
}

// Orders every list of objects under value by the elements' text.
void OrderInstances(rapidjson::Value& value) {
  if (value.IsObject()) {
    for (auto& member : value.GetObject()) OrderInstances(member.value);
    return;
  }
  if (!value.IsArray()) return;
  for (auto& element : value.GetArray()) OrderInstances(element);
  if (value.Empty() || !value[0].IsObject()) return;
  std::vector<std::pair<std::string, rapidjson::Value>> keyed;
  for (auto& element : value.GetArray()) keyed.emplace_back(Serialize(element), std::move(element));
  std::sort(keyed.begin(), keyed.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  rapidjson::SizeType index = 0;
  for (auto& entry : keyed) value[index++] = entry.second;
}

bool Tagged(const rapidjson::Value& schema, const char* annotation) {
  auto member = schema.FindMember(annotation);
  return member != schema.MemberEnd() && member->value.IsTrue();
}

}  // namespace

KeyLayout LayoutOf(const CorvConfigStore::SchemaInfo& schema) {
  rapidjson::Document document;
  document.Parse(schema.document.c_str());
  const rapidjson::Value& value = schema.hasInstances ? document["items"] : document;
  KeyLayout layout;
  for (const auto& property : value["properties"].GetObject()) {
    KeyLayout::Layer layer = Tagged(property.value, "vital")    ? KeyLayout::kVital
                             : Tagged(property.value, "cached") ? KeyLayout::kCached
                                                                : KeyLayout::kUser;
    layout.layers[property.name.GetString()] = layer;
  }
  layout.idProperty = schema.instanceIdProperty;
  layout.version = schema.version;
  return layout;
}

JsonParser::JsonParser(JsonAllocator& allocator) : allocator_(allocator), parser_(&allocator) {}

rapidjson::Value JsonParser::Parse(const char* text, size_t length) {
  parser_.Parse(text, length);
  if (parser_.HasParseError() || !parser_.IsObject()) {
    std::fprintf(stderr, "raw JSON: not an object: %.*s\n", static_cast<int>(length), text);
    std::abort();
  }
  rapidjson::Value value;
  value.Swap(parser_);
  return value;
}

rapidjson::Value JsonParser::MergeRow(const RawStatement& row, const LayerColumns& columns) {
  const bool confirmed = columns.success < 0 || row.Int(columns.success) == 1;
  rapidjson::Value merged;
  for (int column :
       {columns.vital, columns.cached, columns.autoConf, confirmed ? columns.user : -1}) {
    if (column < 0) continue;
    const char* text = row.Text(column);
    if (text == nullptr) continue;
    rapidjson::Value layer = Parse(text, row.TextLength(column));
    if (merged.IsNull())
      merged.Swap(layer);
    else
      MergeMembers(merged, layer, allocator_);
  }
  return merged;
}

void MergeMembers(rapidjson::Value& base, rapidjson::Value& layer, JsonAllocator& allocator) {
  for (auto& member : layer.GetObject()) {
    auto existing = base.FindMember(member.name);
    if (existing != base.MemberEnd())
      existing->value = member.value;
    else
      base.AddMember(member.name, member.value, allocator);
  }
}

LayerTexts SplitLayers(rapidjson::Value& value, const KeyLayout& layout, JsonAllocator& allocator) {
  rapidjson::Value parts[3] = {rapidjson::Value(rapidjson::kObjectType),
                               rapidjson::Value(rapidjson::kObjectType),
                               rapidjson::Value(rapidjson::kObjectType)};
  rapidjson::Value id;
  if (!layout.idProperty.empty()) {
    auto member = value.FindMember(layout.idProperty.c_str());
    if (member != value.MemberEnd()) id.CopyFrom(member->value, allocator);
  }
  for (auto& member : value.GetObject()) {
    auto layer = layout.layers.find(member.name.GetString());
    int part = layer == layout.layers.end() ? KeyLayout::kUser : layer->second;
    parts[part].AddMember(member.name, member.value, allocator);
  }
  LayerTexts texts;
  std::string* out[3] = {&texts.user, &texts.vital, &texts.cached};
  for (int part = 0; part < 3; ++part) {
    if (parts[part].MemberCount() == 0) continue;
    if (part != KeyLayout::kUser && !id.IsNull())
      parts[part].AddMember(rapidjson::StringRef(layout.idProperty.c_str()),
                            rapidjson::Value(id, allocator), allocator);
    *out[part] = Serialize(parts[part]);
  }
  return texts;
}

std::string Serialize(const rapidjson::Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

bool SameJson(const std::string& a, const std::string& b) {
  rapidjson::Document first;
  rapidjson::Document second;
  return Parsed(a, first) && Parsed(b, second) && first == second;
}

bool SameDocument(const std::string& a, const std::string& b) {
  rapidjson::Document first;
  rapidjson::Document second;
  if (!Parsed(a, first) || !Parsed(b, second)) return false;
  OrderInstances(first);
  OrderInstances(second);
  return first == second;
}

}  // namespace CorvBench
