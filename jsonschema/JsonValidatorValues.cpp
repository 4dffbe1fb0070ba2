// Option 1 of the validator: the constraints on a value itself (enum,
// const, numeric bounds and multiples, string length, pattern and format,
// array size and uniqueness, object size). A keyword whose own value is
// malformed ("minimum": "x") is ignored.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/JsonCompare.h"
#include "core/JsonSchemaNode.h"
#include "jsonschema/JsonValidatorFormats.h"
#include "jsonschema/JsonValidatorInternal.h"

namespace JsonValidator {

namespace {

using CorvConfigStore::CompareJsonNumbers;
using CorvConfigStore::JsonEqual;
using CorvConfigStore::SchemaKeyword;

// A number keyword, or null when absent or not a number.
const JsonValue* NumberKeyword(const JsonValue& schema, const char* name) {
  const JsonValue* keyword = SchemaKeyword(schema, name);
  return keyword != nullptr && keyword->IsNumber() ? keyword : nullptr;
}

// A count keyword (minLength, maxItems, ...): a non-negative number without
// fraction; false when absent or malformed.
bool CountKeyword(const JsonValue& schema, const char* name, uint64_t* count) {
  const JsonValue* keyword = NumberKeyword(schema, name);
  if (keyword == nullptr || !CorvConfigStore::IsJsonInteger(*keyword)) return false;
  if (keyword->IsUint64()) {
    *count = keyword->GetUint64();
    return true;
  }
  if (keyword->IsInt64()) return false;  // negative
  double number = keyword->GetDouble();
  if (number < 0) return false;
  *count = number >= 18446744073709551615.0 ? UINT64_MAX : static_cast<uint64_t>(number);
  return true;
}

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

// Code points of UTF-8 text: every byte that does not continue a sequence.
uint64_t CodePoints(const JsonValue& text) {
  uint64_t count = 0;
  const char* bytes = text.GetString();
  for (rapidjson::SizeType i = 0; i < text.GetStringLength(); ++i)
    count += (static_cast<unsigned char>(bytes[i]) & 0xC0) != 0x80;
  return count;
}

std::string Text(uint64_t count) { return std::to_string(count); }

void CheckNumber(const JsonValue& schema, const JsonValue& value, const std::string& path,
                 ErrorList& errors) {
  auto report = [&](const char* rule, const JsonValue& bound) {
    AddError(errors, path, "value " + Describe(value) + rule + Describe(bound));
  };
  if (const JsonValue* bound = NumberKeyword(schema, "minimum"))
    if (CompareJsonNumbers(value, *bound) < 0) report(" is less than minimum ", *bound);
  if (const JsonValue* bound = NumberKeyword(schema, "maximum"))
    if (CompareJsonNumbers(value, *bound) > 0) report(" is greater than maximum ", *bound);
  if (const JsonValue* bound = NumberKeyword(schema, "exclusiveMinimum"))
    if (CompareJsonNumbers(value, *bound) <= 0)
      report(" is not greater than exclusiveMinimum ", *bound);
  if (const JsonValue* bound = NumberKeyword(schema, "exclusiveMaximum"))
    if (CompareJsonNumbers(value, *bound) >= 0)
      report(" is not less than exclusiveMaximum ", *bound);
  const JsonValue* divisor = NumberKeyword(schema, "multipleOf");
  if (divisor != nullptr && divisor->GetDouble() > 0 && !IsMultipleOf(value, *divisor))
    report(" is not a multiple of ", *divisor);
}

void CheckString(const JsonValue& schema, const JsonValue& value, const std::string& path,
                 ErrorList& errors) {
  uint64_t limit = 0;
  bool hasMin = CountKeyword(schema, "minLength", &limit);
  uint64_t length = CodePoints(value);
  if (hasMin && length < limit)
    AddError(errors, path,
             "string of " + Text(length) + " characters is shorter than minLength " + Text(limit));
  if (CountKeyword(schema, "maxLength", &limit) && length > limit)
    AddError(errors, path,
             "string of " + Text(length) + " characters is longer than maxLength " + Text(limit));

  const JsonValue* pattern = SchemaKeyword(schema, "pattern");
  if (pattern != nullptr && pattern->IsString()) {
    std::string reason;
    switch (JsonPattern::Search(pattern->GetString(), pattern->GetStringLength(), value.GetString(),
                                value.GetStringLength(), &reason)) {
      case JsonPattern::Outcome::kMatch:
        break;
      case JsonPattern::Outcome::kNoMatch:
        AddError(errors, path,
                 "string " + Describe(value) + " does not match pattern " + Describe(*pattern));
        break;
      case JsonPattern::Outcome::kInvalid:
        AddError(errors, path, "invalid pattern " + Describe(*pattern) + ": " + reason);
        break;
      case JsonPattern::Outcome::kFailed:
        AddError(
            errors, path,
            "string could not be matched against pattern " + Describe(*pattern) + ": " + reason);
        break;
    }
  }

  const JsonValue* format = SchemaKeyword(schema, "format");
  if (format != nullptr && format->IsString() &&
      !MatchesFormat(format->GetString(), value.GetString(), value.GetStringLength()))
    AddError(errors, path,
             "string " + Describe(value) + " does not match format " + format->GetString());
}

// Each item equal to an earlier one is reported once, at the item, naming
// the first item it equals. Items are bucketed by hash so that a long array
// costs no quadratic number of comparisons.
void CheckUnique(const JsonValue& value, std::string path, ErrorList& errors) {
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
    size_t mark = path.size();
    AppendIndex(path, duplicate.first);
    AddError(errors, path,
             "item " + Text(duplicate.first) + " equals item " + Text(duplicate.second) +
                 " (uniqueItems)");
    path.resize(mark);
  }
}

void CheckArray(const JsonValue& schema, const JsonValue& value, const std::string& path,
                ErrorList& errors) {
  uint64_t limit = 0;
  uint64_t size = value.Size();
  if (CountKeyword(schema, "minItems", &limit) && size < limit)
    AddError(errors, path,
             "array of " + Text(size) + " items is shorter than minItems " + Text(limit));
  if (CountKeyword(schema, "maxItems", &limit) && size > limit)
    AddError(errors, path,
             "array of " + Text(size) + " items is longer than maxItems " + Text(limit));
  if (CorvConfigStore::SchemaFlag(schema, "uniqueItems")) CheckUnique(value, path, errors);
}

void CheckObject(const JsonValue& schema, const JsonValue& value, const std::string& path,
                 ErrorList& errors) {
  uint64_t limit = 0;
  uint64_t size = value.MemberCount();
  if (CountKeyword(schema, "minProperties", &limit) && size < limit)
    AddError(errors, path,
             "object of " + Text(size) + " members has fewer than minProperties " + Text(limit));
  if (CountKeyword(schema, "maxProperties", &limit) && size > limit)
    AddError(errors, path,
             "object of " + Text(size) + " members has more than maxProperties " + Text(limit));
}

}  // namespace

void CheckValueConstraints(const JsonValue& schema, const JsonValue& value, const std::string& path,
                           ErrorList& errors) {
  const JsonValue* allowed = SchemaKeyword(schema, "enum");
  if (allowed != nullptr && allowed->IsArray() &&
      std::none_of(allowed->Begin(), allowed->End(),
                   [&](const JsonValue& candidate) { return JsonEqual(value, candidate); }))
    AddError(errors, path,
             "value " + Describe(value) + " is not one of the enum values " + Describe(*allowed));
  const JsonValue* constant = SchemaKeyword(schema, "const");
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
