// Meaningful equality, ordering of numbers and hashing of JSON values.
#include "core/JsonCompare.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>
#include <unordered_map>

namespace CorvConfigStore {

namespace {

// Objects larger than this are compared through a name index instead of a
// linear search per member.
constexpr rapidjson::SizeType kIndexedObjectSize = 32;

std::string_view NameOf(const JsonValue& name) {
  return std::string_view(name.GetString(), name.GetStringLength());
}

bool ObjectsEqual(const JsonValue& a, const JsonValue& b) {
  if (a.MemberCount() != b.MemberCount()) return false;
  if (a.MemberCount() <= kIndexedObjectSize) {
    for (const auto& member : a.GetObject()) {
      auto found = b.FindMember(member.name);
      if (found == b.MemberEnd() || !JsonEqual(member.value, found->value)) return false;
    }
    return true;
  }
  std::unordered_map<std::string_view, const JsonValue*> index;
  for (const auto& member : b.GetObject()) index.emplace(NameOf(member.name), &member.value);
  for (const auto& member : a.GetObject()) {
    auto found = index.find(NameOf(member.name));
    if (found == index.end() || !JsonEqual(member.value, *found->second)) return false;
  }
  return true;
}

size_t Mix(size_t seed, size_t value) {
  return seed ^ (value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}

}  // namespace

bool IsJsonInteger(const JsonValue& value) {
  if (value.IsInt64() || value.IsUint64()) return true;
  if (!value.IsDouble()) return false;
  double number = value.GetDouble();
  return std::isfinite(number) && std::trunc(number) == number;
}

int CompareJsonNumbers(const JsonValue& a, const JsonValue& b) {
  if (a.IsInt64() && b.IsInt64()) {
    int64_t x = a.GetInt64(), y = b.GetInt64();
    return x < y ? -1 : (x > y ? 1 : 0);
  }
  if (a.IsUint64() && b.IsUint64()) {
    uint64_t x = a.GetUint64(), y = b.GetUint64();
    return x < y ? -1 : (x > y ? 1 : 0);
  }
  // Two integers fitting no common type: one is negative, the other beyond
  // the signed range.
  if ((a.IsInt64() || a.IsUint64()) && (b.IsInt64() || b.IsUint64())) return a.IsUint64() ? 1 : -1;
  // long double holds every 64-bit integer and every double exactly where
  // the platform gives it a 64-bit mantissa; elsewhere this degrades to a
  // double comparison.
  long double x = a.IsDouble() ? a.GetDouble()
                               : (a.IsUint64() ? static_cast<long double>(a.GetUint64())
                                               : static_cast<long double>(a.GetInt64()));
  long double y = b.IsDouble() ? b.GetDouble()
                               : (b.IsUint64() ? static_cast<long double>(b.GetUint64())
                                               : static_cast<long double>(b.GetInt64()));
  if (x < y) return -1;
  if (x > y) return 1;
  return x == y ? 0 : 1;  // NaN equals nothing
}

bool JsonEqual(const JsonValue& a, const JsonValue& b) {
  if (a.IsNumber() || b.IsNumber())
    return a.IsNumber() && b.IsNumber() && CompareJsonNumbers(a, b) == 0;
  if (a.GetType() != b.GetType()) return false;
  switch (a.GetType()) {
    case rapidjson::kNullType:
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
      return true;
    case rapidjson::kStringType:
      return a.GetStringLength() == b.GetStringLength() &&
             std::memcmp(a.GetString(), b.GetString(), a.GetStringLength()) == 0;
    case rapidjson::kArrayType:
      if (a.Size() != b.Size()) return false;
      for (rapidjson::SizeType i = 0; i < a.Size(); ++i)
        if (!JsonEqual(a[i], b[i])) return false;
      return true;
    case rapidjson::kObjectType:
      return ObjectsEqual(a, b);
    default:
      return false;
  }
}

size_t JsonHash(const JsonValue& value) {
  switch (value.GetType()) {
    case rapidjson::kNullType:
      return 0x6e756c6cULL;
    case rapidjson::kFalseType:
      return 0x66616c73ULL;
    case rapidjson::kTrueType:
      return 0x74727565ULL;
    case rapidjson::kNumberType: {
      // Equal numbers convert to the same double; -0 and 0 are equal.
      double number = value.GetDouble();
      if (number == 0) number = 0;
      return std::hash<double>()(number);
    }
    case rapidjson::kStringType:
      return std::hash<std::string_view>()(NameOf(value));
    case rapidjson::kArrayType: {
      size_t hash = 0x61727279ULL;
      for (const auto& element : value.GetArray()) hash = Mix(hash, JsonHash(element));
      return hash;
    }
    case rapidjson::kObjectType: {
      // A sum does not depend on member order.
      size_t hash = 0x6f626a65ULL;
      for (const auto& member : value.GetObject())
        hash += Mix(std::hash<std::string_view>()(NameOf(member.name)), JsonHash(member.value));
      return hash;
    }
  }
  return 0;
}

}  // namespace CorvConfigStore
