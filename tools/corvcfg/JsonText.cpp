// JSON text in the program.
#include "JsonText.h"

#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/StoreObject.h>

void ParseCheckedJson(const std::string& text, rapidjson::Document& document) {
  // A bare StoreObject needs no schema; SetData throws the library's 1080
  // for text that is not exactly one JSON value within the nesting limit.
  CorvConfigStore::StoreObject probe(CorvConfigStore::ConfigStoreObjectId("", "", ""));
  probe.SetData(text.c_str());
  // SetData saw the text up to its first NUL byte; one after a whole value
  // hides the rest, which is refused as any other text after the value.
  const size_t nul = text.find('\0');
  if (nul != std::string::npos) {
    const std::string message =
        "Invalid JSON text: The document root must not be followed by other values. at offset " +
        std::to_string(nul);
    throw CorvConfigStore::ConfigStoreException(CorvConfigStore::CS_ERR_JSON_PARSE,
                                                message.c_str());
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
