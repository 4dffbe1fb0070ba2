// The one way every file of the library includes rapidjson: the assertion
// hook (corvconfigstore/Json.h) throws ConfigStoreException 1082 instead of
// aborting the process, identically in every translation unit.
#pragma once

#include <corvconfigstore/Json.h>

#include <cstddef>
#include <string>

#include <rapidjson/error/en.h>
#include <rapidjson/pointer.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace CorvConfigStore {

using JsonValue = rapidjson::Value;
using JsonDocument = rapidjson::Document;
using JsonAllocator = rapidjson::Document::AllocatorType;

// Deepest nesting of arrays and objects accepted in JSON text. Deeper text
// is refused at parse time, so no later recursive walk can exhaust the stack.
constexpr int kMaxJsonDepth = 256;

// Parses text as exactly one JSON value (blanks, tabs, carriage returns and
// line feeds around it allowed) into document, without recursion and with
// the nesting limit. On failure returns false, leaves the document null and
// describes the fault in *error ("<reason> at offset N").
bool ParseJson(const char* text, size_t length, JsonDocument& document, std::string* error);

// Compact JSON text of a value.
std::string JsonToString(const JsonValue& value);

}  // namespace CorvConfigStore
