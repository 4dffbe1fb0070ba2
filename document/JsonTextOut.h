// JSON text written straight to a caller's sink in either layout, in blocks,
// so that a document of any size is never held whole.
#pragma once

#include <corvconfigstore/ImportExport.h>

#include <cstddef>
#include <string>

#include "core/Json.h"

#include <rapidjson/prettywriter.h>

namespace CorvConfigStore {

// A rapidjson output stream that hands its text to a sink a block at a time.
class SinkStream {
 public:
  using Ch = char;

  explicit SinkStream(const TextSink& sink) : sink_(sink) { buffer_.reserve(kBlockBytes); }

  void Put(char c) {
    buffer_.push_back(c);
    if (buffer_.size() >= kBlockBytes) Flush();
  }
  void Flush() {
    if (buffer_.empty()) return;
    sink_(buffer_.data(), buffer_.size());
    buffer_.clear();
  }

 private:
  static constexpr size_t kBlockBytes = 64 * 1024;
  const TextSink& sink_;
  std::string buffer_;
};

// Calls write with a rapidjson writer of layout on sink (compact as
// JsonToString writes, or indented by two spaces) and hands the sink the
// rest of the text.
template <typename Write>
void WriteJsonText(const TextSink& sink, JsonLayout layout, Write write) {
  SinkStream stream(sink);
  if (layout == JsonLayout::kIndented) {
    rapidjson::PrettyWriter<SinkStream> writer(stream);
    writer.SetIndent(' ', 2);
    write(writer);
  } else {
    rapidjson::Writer<SinkStream> writer(stream);
    write(writer);
  }
  stream.Flush();
}

}  // namespace CorvConfigStore
