// Option 1 of the validator: the constraints on a value itself (enum,
// const, numeric bounds and multiples, string length, pattern and format,
// array size and uniqueness, object size). A keyword whose own value is
// malformed ("minimum": "x") is not in the compiled node, so it is ignored.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "core/JsonCompare.h"
#include "jsonschema/JsonValidatorInternal.h"

namespace JsonValidator {

namespace {

using CorvConfigStore::CompareJsonNumbers;
using CorvConfigStore::JsonEqual;

// The magnitude of a number without fraction below 2^64.
bool IntegerMagnitude(const JsonValue& number, uint64_t* magnitude) {
  if (number.IsUint64()) {
    *magnitude = number.GetUint64();
    return true;
  }
  if (number.IsInt64()) {
    int64_t value = number.GetInt64();
    *magnitude = value < 0 ? static_cast<uint64_t>(-(value + 1)) + 1 : static_cast<uint64_t>(value);
    return true;
  }
  double value = std::fabs(number.GetDouble());
  if (!CorvConfigStore::IsJsonInteger(number) || value >= 18446744073709551616.0) return false;
  *magnitude = static_cast<uint64_t>(value);
  return true;
}

// Integers divide exactly. Otherwise the quotient must lie within rounding
// error of a whole number: 0.0075 / 0.0001 gives 74.99999999999999, which
// counts, while 0.00751 / 0.0001 does not. An overflowing quotient decides
// nothing and counts as no multiple.
bool IsMultipleOf(const JsonValue& value, const JsonValue& divisor) {
  uint64_t valueMagnitude = 0, divisorMagnitude = 0;
  if (IntegerMagnitude(value, &valueMagnitude) && IntegerMagnitude(divisor, &divisorMagnitude))
    return valueMagnitude % divisorMagnitude == 0;
  double quotient = value.GetDouble() / divisor.GetDouble();
  if (!std::isfinite(quotient)) return false;
  double tolerance = std::max(1e-9, std::fabs(quotient) * 8 * DBL_EPSILON);
  return std::fabs(quotient - std::round(quotient)) <= tolerance;
}

// Code points of UTF-8 text: every byte that does not continue a sequence
// (a byte 10xxxxxx does). Eight bytes are counted at once: the top bit of
// each byte of continuing is set where a byte continues, and the multiply
// sums those bits into the top byte.
uint64_t CodePoints(const JsonValue& text) {
  constexpr uint64_t kTopBits = 0x8080808080808080;
  const char* bytes = text.GetString();
  const size_t length = text.GetStringLength();
  uint64_t count = length;
  size_t i = 0;
  for (; i + 8 <= length; i += 8) {
    uint64_t word;
    std::memcpy(&word, bytes + i, 8);
    uint64_t continuing = word & ~(word << 1) & kTopBits;
    count -= ((continuing >> 7) * 0x0101010101010101) >> 56;
  }
  for (; i < length; ++i) count -= (static_cast<unsigned char>(bytes[i]) & 0xC0) == 0x80;
  return count;
}

std::string Text(uint64_t count) { return std::to_string(count); }

void CheckNumber(const SchemaNode& schema, const JsonValue& value, const PointerPath& path,
                 ErrorList& errors) {
  auto report = [&](const char* rule, const JsonValue& bound) {
    AddError(errors, path, "value " + Describe(value) + rule + Describe(bound));
  };
  if (const JsonValue* bound = schema.minimum)
    if (CompareJsonNumbers(value, *bound) < 0) report(" is less than minimum ", *bound);
  if (const JsonValue* bound = schema.maximum)
    if (CompareJsonNumbers(value, *bound) > 0) report(" is greater than maximum ", *bound);
  if (const JsonValue* bound = schema.exclusiveMinimum)
    if (CompareJsonNumbers(value, *bound) <= 0)
      report(" is not greater than exclusiveMinimum ", *bound);
  if (const JsonValue* bound = schema.exclusiveMaximum)
    if (CompareJsonNumbers(value, *bound) >= 0)
      report(" is not less than exclusiveMaximum ", *bound);
  if (schema.multipleOf != nullptr && !IsMultipleOf(value, *schema.multipleOf))
    report(" is not a multiple of ", *schema.multipleOf);
}

void CheckString(const SchemaNode& schema, const JsonValue& value, const PointerPath& path,
                 ErrorList& errors) {
  if (schema.minLength || schema.maxLength) {
    uint64_t length = CodePoints(value);
    if (schema.minLength && length < *schema.minLength)
      AddError(errors, path,
               "string of " + Text(length) + " characters is shorter than minLength " +
                   Text(*schema.minLength));
    if (schema.maxLength && length > *schema.maxLength)
      AddError(errors, path,
               "string of " + Text(length) + " characters is longer than maxLength " +
                   Text(*schema.maxLength));
  }

  if (schema.pattern != nullptr) {
    const JsonValue& pattern = *schema.pattern;
    std::string reason;
    switch (JsonPattern::Search(schema.compiledPattern, value.GetString(), value.GetStringLength(),
                                &reason)) {
      case JsonPattern::Outcome::kMatch:
        break;
      case JsonPattern::Outcome::kNoMatch:
        AddError(errors, path,
                 "string " + Describe(value) + " does not match pattern " + Describe(pattern));
        break;
      case JsonPattern::Outcome::kInvalid:
        AddError(errors, path, "invalid pattern " + Describe(pattern) + ": " + reason);
        break;
      case JsonPattern::Outcome::kFailed:
        AddError(
            errors, path,
            "string could not be matched against pattern " + Describe(pattern) + ": " + reason);
        break;
    }
  }

  if (schema.formatCheck != nullptr &&
      !schema.formatCheck(value.GetString(), value.GetStringLength()))
    AddError(errors, path,
             "string " + Describe(value) + " does not match format " + schema.format->GetString());
}

// Each item equal to an earlier one is reported once, at the item, naming
// the first item it equals. Items are bucketed by hash so that a long array
// costs no quadratic number of comparisons.
void CheckUnique(const JsonValue& value, PointerPath& path, ErrorList& errors) {
  std::vector<std::pair<size_t, rapidjson::SizeType>> order;
  order.reserve(value.Size());
  for (rapidjson::SizeType i = 0; i < value.Size(); ++i)
    order.emplace_back(CorvConfigStore::JsonHash(value[i]), i);
  std::sort(order.begin(), order.end());
  std::vector<std::pair<rapidjson::SizeType, rapidjson::SizeType>> duplicates;  // item, original
  for (size_t start = 0; start < order.size();) {
    size_t end = start;
    while (end < order.size() && order[end].first == order[start].first) ++end;
    for (size_t i = start + 1; i < end; ++i) {
      for (size_t j = start; j < i; ++j) {
        if (JsonEqual(value[order[i].second], value[order[j].second])) {
          duplicates.emplace_back(order[i].second, order[j].second);
          break;
        }
      }
    }
    start = end;
  }
  // Run order within a bucket is index order, so the earlier item found is
  // the first one equal; report in item order.
  std::sort(duplicates.begin(), duplicates.end());
  for (const auto& duplicate : duplicates) {
    path.PushIndex(duplicate.first);
    AddError(errors, path,
             "item " + Text(duplicate.first) + " equals item " + Text(duplicate.second) +
                 " (uniqueItems)");
    path.Pop();
  }
}

void CheckArray(const SchemaNode& schema, const JsonValue& value, PointerPath& path,
                ErrorList& errors) {
  uint64_t size = value.Size();
  if (schema.minItems && size < *schema.minItems)
    AddError(
        errors, path,
        "array of " + Text(size) + " items is shorter than minItems " + Text(*schema.minItems));
  if (schema.maxItems && size > *schema.maxItems)
    AddError(errors, path,
             "array of " + Text(size) + " items is longer than maxItems " + Text(*schema.maxItems));
  if (schema.uniqueItems) CheckUnique(value, path, errors);
}

void CheckObject(const SchemaNode& schema, const JsonValue& value, const PointerPath& path,
                 ErrorList& errors) {
  uint64_t size = value.MemberCount();
  if (schema.minProperties && size < *schema.minProperties)
    AddError(errors, path,
             "object of " + Text(size) + " members has fewer than minProperties " +
                 Text(*schema.minProperties));
  if (schema.maxProperties && size > *schema.maxProperties)
    AddError(errors, path,
             "object of " + Text(size) + " members has more than maxProperties " +
                 Text(*schema.maxProperties));
}

}  // namespace

void CheckValueConstraints(const SchemaNode& schema, const JsonValue& value, PointerPath& path,
                           ErrorList& errors) {
  const JsonValue* allowed = schema.enumValues;
  if (allowed != nullptr &&
      std::none_of(allowed->Begin(), allowed->End(),
                   [&](const JsonValue& candidate) { return JsonEqual(value, candidate); }))
    AddError(errors, path,
             "value " + Describe(value) + " is not one of the enum values " + Describe(*allowed));
  const JsonValue* constant = schema.constValue;
  if (constant != nullptr && !JsonEqual(value, *constant))
    AddError(errors, path,
             "value " + Describe(value) + " is not the const value " + Describe(*constant));

  if (value.IsNumber())
    CheckNumber(schema, value, path, errors);
  else if (value.IsString())
    CheckString(schema, value, path, errors);
  else if (value.IsArray())
    CheckArray(schema, value, path, errors);
  else if (value.IsObject())
    CheckObject(schema, value, path, errors);
}

}  // namespace JsonValidator
