// The campaign's JSON value: parsing through rapidjson, canonical text and
// the member-wise merge.
#include "Value.h"

#include <rapidjson/document.h>

namespace ModelCampaign {

namespace {

Value FromRapid(const rapidjson::Value& in) {
  Value out;
  if (in.IsNull()) {
    out.kind = Value::kNull;
  } else if (in.IsBool()) {
    out.kind = Value::kBool;
    out.number = in.GetBool() ? 1 : 0;
  } else if (in.IsInt64()) {
    out.kind = Value::kInt;
    out.number = in.GetInt64();
  } else if (in.IsNumber()) {
    // Not produced by the campaign; kept distinguishable all the same.
    out.kind = Value::kString;
    out.text = "<number " + std::to_string(in.GetDouble()) + ">";
  } else if (in.IsString()) {
    out.kind = Value::kString;
    out.text.assign(in.GetString(), in.GetStringLength());
  } else if (in.IsArray()) {
    out.kind = Value::kArray;
    for (const auto& item : in.GetArray()) out.items.push_back(FromRapid(item));
  } else {
    out.kind = Value::kObject;
    for (const auto& member : in.GetObject())
      out.members[std::string(member.name.GetString(), member.name.GetStringLength())] =
          FromRapid(member.value);
  }
  return out;
}

void Quote(const std::string& s, std::string& out) {
  out += '"';
  for (char c : s) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  out += '"';
}

void Write(const Value& v, std::string& out) {
  switch (v.kind) {
    case Value::kNull:
      out += "null";
      break;
    case Value::kBool:
      out += v.number != 0 ? "true" : "false";
      break;
    case Value::kInt:
      out += std::to_string(v.number);
      break;
    case Value::kString:
      Quote(v.text, out);
      break;
    case Value::kArray: {
      out += '[';
      bool first = true;
      for (const auto& item : v.items) {
        if (!first) out += ',';
        first = false;
        Write(item, out);
      }
      out += ']';
      break;
    }
    case Value::kObject: {
      out += '{';
      bool first = true;
      for (const auto& member : v.members) {
        if (!first) out += ',';
        first = false;
        Quote(member.first, out);
        out += ':';
        Write(member.second, out);
      }
      out += '}';
      break;
    }
  }
}

}  // namespace

Value Value::Int(long long n) {
  Value v;
  v.kind = kInt;
  v.number = n;
  return v;
}

Value Value::String(const std::string& s) {
  Value v;
  v.kind = kString;
  v.text = s;
  return v;
}

std::string Value::Text() const {
  std::string out;
  Write(*this, out);
  return out;
}

std::optional<Value> ParseValue(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.c_str(), text.size());
  if (document.HasParseError()) return std::nullopt;
  return FromRapid(document);
}

std::string LayerText(const Layer& layer) { return layer ? layer->Text() : "absent"; }

void MergeInto(Value& target, const Value& update) {
  for (const auto& member : update.members) {
    auto found = target.members.find(member.first);
    if (member.second.IsObject() && found != target.members.end() && found->second.IsObject())
      MergeInto(found->second, member.second);
    else if (member.second.IsObject() && found == target.members.end())
      MergeInto(target.members[member.first], member.second);
    else
      target.members[member.first] = member.second;
  }
}

}  // namespace ModelCampaign
