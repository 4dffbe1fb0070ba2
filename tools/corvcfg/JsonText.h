// JSON text in the program: checking what a person typed, taking it apart,
// building results and printing them.
#pragma once

#include <corvconfigstore/Json.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>
#include <vector>

// Parses text into document after the library has checked it, so that text
// that is not JSON is refused with the library's own error (code 1080) and
// nesting is bounded as everywhere else. The error's message is followed by
// the position of the fault: "... at offset 10 (line 1, column 11)".
void ParseCheckedJson(const std::string& text, rapidjson::Document& document);

// Called while a failure is handled: the library's refusal of text that is
// not JSON, whose message ends with " at offset N", is thrown again with
// " (line L, column C)" of that offset in text after the message (code and
// details unchanged), so that the fault is found in an editor; any other
// failure is thrown again as it is.
[[noreturn]] void RethrowWithPosition(const std::string& text);

// "line L, column C" of a byte offset into text: lines are counted from 1 by
// line feeds, columns from 1 in characters (a UTF-8 sequence is one).
std::string TextPosition(const std::string& text, size_t offset);

// Compact text of a value.
std::string JsonText(const rapidjson::Value& value);

// The texts joined into one JSON array.
std::string JsonArrayOf(const std::vector<std::string>& texts);

// Builds compact JSON text.
class JsonBuilder {
 public:
  JsonBuilder() : writer_(buffer_) {}
  rapidjson::Writer<rapidjson::StringBuffer>& operator*() { return writer_; }
  rapidjson::Writer<rapidjson::StringBuffer>* operator->() { return &writer_; }
  void String(const std::string& text) { writer_.String(text.c_str(), text.size()); }
  void Key(const std::string& text) { writer_.Key(text.c_str(), text.size()); }
  // Places JSON text (already valid) as the next value.
  void Raw(const std::string& json) { writer_.RawValue(json.c_str(), json.size(), rapidjson::kObjectType); }
  std::string Text() const { return buffer_.GetString(); }

 private:
  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_;
};
