// The one way every file of the library includes rapidjson: the assertion
// hook (corvconfigstore/Json.h) throws ConfigStoreException 1082 instead of
// aborting the process, identically in every translation unit.
#pragma once

#include <corvconfigstore/Json.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

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

// A new null document whose values live in a pool of its own that starts
// with a block of about bytes (rapidjson's own documents start with 64 KB).
// A document's pool lives as long as the document, so a small object holds
// memory in proportion to its size, not to the pool's default block.
std::shared_ptr<JsonDocument> NewJsonDocument(size_t bytes = 1024);

// A document holding value, moved out of owner's document (value is left
// null). Its values stay in owner's pool, which it keeps alive, and what it
// allocates comes from that pool too: the documents of one pool must be used
// by one thread at a time, as the pool is.
std::shared_ptr<JsonDocument> MoveOntoPoolOf(std::shared_ptr<JsonDocument> owner,
                                             JsonValue& value);

// The block to start the pool of a document parsed from length bytes of
// text with: room for the parsed values of typical text in one block.
inline size_t ParsedDocumentBytes(size_t length) { return 2 * length + 64; }

// Parses text as exactly one JSON value (blanks, tabs, carriage returns and
// line feeds around it allowed) into document, recursing no deeper than
// the nesting limit; strings must be valid UTF-8. On failure returns false,
// leaves the document null and describes the fault in *error ("<reason> at
// offset N").
bool ParseJson(const char* text, size_t length, JsonDocument& document, std::string* error);

// Parses text as ParseJson does into value, allocating its strings, members
// and elements from allocator, which must outlive it: a value to move into a
// document of that allocator without a copy. On failure returns false and
// leaves value null.
bool ParseJsonOn(const char* text, size_t length, JsonAllocator& allocator, JsonValue& value,
                 std::string* error);

// What CheckJson tells of a value without building it.
struct JsonOutline {
  // Asked: a member of the value, when it is an object, and the string it
  // is expected to hold.
  std::string_view member;
  std::string_view expected;
  // Told: the value is a JSON object, and its first member named member is
  // the string expected.
  bool isObject = false;
  bool holdsExpected = false;
};

// Reads text as ParseJson does, accepting and refusing the same texts with
// the same *error, but builds nothing: it fills in what outline asks.
bool CheckJson(const char* text, size_t length, JsonOutline& outline, std::string* error);

// A compact writer of JSON text into a buffer.
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// Reads text as CheckJson does, filling in what outline asks, and writes its
// value to out as WriteWithoutGeneratedIds writes the parsed value: without
// the first "cs_generated_id" member of each object. No document is built.
// Refused text leaves part of it in out.
bool CopyJsonWithoutGeneratedIds(const char* text, size_t length, JsonOutline& outline,
                                 JsonWriter& out, std::string* error);

// True when the length bytes of text are valid UTF-8, the only text a JSON
// value may hold.
bool IsUtf8(const char* text, size_t length);

// Compact JSON text of a value.
std::string JsonToString(const JsonValue& value);

}  // namespace CorvConfigStore
