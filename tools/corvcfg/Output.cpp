// Printing results.
#include "Output.h"

#include <corvconfigstore/Json.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <unistd.h>

#include <iostream>

namespace {

OutputStyle gStyle = OutputStyle::kAuto;

// The text indented by two spaces a level. Texts come from the library or
// from this program's builders, so they parse; should one not, it is
// printed as it is.
std::string Indented(const std::string& json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag>(json.c_str(), json.size());
  if (document.HasParseError()) return json;
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  writer.SetIndent(' ', 2);
  document.Accept(writer);
  return buffer.GetString();
}

}  // namespace

void SetOutputStyle(OutputStyle style) { gStyle = style; }

bool IsTerminal(int fd) { return isatty(fd) == 1; }

CorvConfigStore::JsonLayout LayoutFor(bool terminal) {
  bool pretty = gStyle == OutputStyle::kPretty || (gStyle == OutputStyle::kAuto && terminal);
  return pretty ? CorvConfigStore::JsonLayout::kIndented : CorvConfigStore::JsonLayout::kCompact;
}

std::string StyledJson(const std::string& json, bool terminal) {
  return LayoutFor(terminal) == CorvConfigStore::JsonLayout::kIndented ? Indented(json) : json;
}

void PrintJson(const std::string& json) {
  std::cout << StyledJson(json, IsTerminal(STDOUT_FILENO)) << std::endl;
}

void PrintJsonStream(
    const std::function<void(const CorvConfigStore::TextSink&, CorvConfigStore::JsonLayout)>&
        write) {
  write([](const char* text, size_t length) { std::cout.write(text, static_cast<std::streamsize>(length)); },
        LayoutFor(IsTerminal(STDOUT_FILENO)));
  std::cout << std::endl;
}
