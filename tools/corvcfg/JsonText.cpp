// JSON text in the program.
#include "JsonText.h"

#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/StoreObject.h>

#include <algorithm>

namespace {

const char kOffsetMark[] = " at offset ";

}  // namespace

void RethrowWithPosition(const std::string& text) {
  try {
    throw;
  } catch (const CorvConfigStore::ConfigStoreException& error) {
    const std::string message = error.what();
    const size_t mark = message.rfind(kOffsetMark);
    const std::string digits =
        mark == std::string::npos ? "" : message.substr(mark + sizeof kOffsetMark - 1);
    if (digits.empty() || digits.size() > 18 ||
        digits.find_first_not_of("0123456789") != std::string::npos)
      throw;
    const std::string located = message + " (" + TextPosition(text, std::stoul(digits)) + ")";
    CorvConfigStore::ConfigStoreException copy(error.GetErrorCode(), located.c_str());
    for (const std::string& detail : error.GetDetails()) copy.AddDetail(detail);
    throw copy;
  }
}

std::string TextPosition(const std::string& text, size_t offset) {
  offset = std::min(offset, text.size());
  size_t line = 1, column = 1;
  for (size_t i = 0; i < offset; ++i) {
    const unsigned char byte = static_cast<unsigned char>(text[i]);
    if (byte == '\n') {
      ++line;
      column = 1;
    } else if ((byte & 0xC0) != 0x80) {
      // The continuation bytes of a UTF-8 sequence belong to its first.
      ++column;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

void ParseCheckedJson(const std::string& text, rapidjson::Document& document) {
  try {
    // A bare StoreObject needs no schema; SetData throws the library's 1080
    // for text that is not exactly one JSON value within the nesting limit.
    CorvConfigStore::StoreObject probe(CorvConfigStore::ConfigStoreObjectId("", "", ""));
    probe.SetData(text.c_str());
    // SetData saw the text up to its first NUL byte; one after a whole value
    // hides the rest, which is refused as any other text after the value.
    const size_t nul = text.find('\0');
    if (nul != std::string::npos) {
      const std::string message =
          "Invalid JSON text: The document root must not be followed by other values." +
          std::string(kOffsetMark) + std::to_string(nul);
      throw CorvConfigStore::ConfigStoreException(CorvConfigStore::CS_ERR_JSON_PARSE,
                                                  message.c_str());
    }
  } catch (const CorvConfigStore::ConfigStoreException& error) {
    if (error.GetErrorCode() != CorvConfigStore::CS_ERR_JSON_PARSE) throw;
    RethrowWithPosition(text);
  }
  // Numbers are read as the library reads them. (rapidjson's exact reading
  // gives a zero written with an exponent, 0e-23, an arbitrary value.)
  document.Parse(text.c_str(), text.size());
}

std::string JsonText(const rapidjson::Value& value) {
  JsonBuilder builder;
  value.Accept(*builder);
  return builder.Text();
}

std::string JsonArrayOf(const std::vector<std::string>& texts) {
  std::string array = "[";
  for (size_t i = 0; i < texts.size(); ++i) array += (i == 0 ? "" : ",") + texts[i];
  return array + "]";
}
