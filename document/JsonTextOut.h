// JSON text written straight to a caller's sink in either layout, in blocks,
// so that a document of any size is never held whole.
#pragma once

#include <corvconfigstore/ImportExport.h>

#include <cstddef>
#include <type_traits>
#include <cstring>
#include <string>
#include <vector>

#include "core/Json.h"

#include <rapidjson/prettywriter.h>

namespace CorvConfigStore {

// A rapidjson output stream that hands its text to a sink a block at a time.
// rapidjson's writers reserve room for each token and then put its bytes
// unchecked (PutReserve and PutUnsafe below), so a byte costs one store,
// not a capacity check.
class SinkStream {
 public:
  using Ch = char;

  explicit SinkStream(const TextSink& sink) : sink_(sink), buffer_(kBlockBytes) {}

  // Makes room for count more bytes, handing the sink what the block holds
  // when they would not fit; a token larger than a block gets a buffer of
  // its size.
  void Reserve(size_t count) {
    if (used_ + count <= kBlockBytes) return;
    Flush();
    if (count > buffer_.size()) buffer_.resize(count);
  }
  void PutUnsafe(char c) { buffer_[used_++] = c; }
  void Write(const char* text, size_t length) {
    Reserve(length);
    std::memcpy(buffer_.data() + used_, text, length);
    used_ += length;
  }
  void Put(char c) {
    Reserve(1);
    PutUnsafe(c);
  }
  void Flush() {
    if (used_ == 0) return;
    sink_(buffer_.data(), used_);
    used_ = 0;
  }

 private:
  static constexpr size_t kBlockBytes = 64 * 1024;
  const TextSink& sink_;
  std::vector<char> buffer_;
  size_t used_ = 0;
};

// Found by argument-dependent lookup from rapidjson's writers, in place of
// its generic forms that check every byte.
inline void PutReserve(SinkStream& stream, size_t count) { stream.Reserve(count); }
inline void PutUnsafe(SinkStream& stream, char c) { stream.PutUnsafe(c); }

// The compact writer on a sink, which also takes a value already written
// compact, whole.
class CompactSinkWriter : public rapidjson::Writer<SinkStream> {
 public:
  explicit CompactSinkWriter(SinkStream& stream) : Writer(stream), stream_(stream) {}

  // Writes text, one JSON value of type written compact, as the next value:
  // rapidjson's RawValue would copy it a checked byte at a time.
  void CompactValue(const char* text, size_t length, rapidjson::Type type) {
    Prefix(type);
    stream_.Write(text, length);
    EndValue(true);
  }

 private:
  SinkStream& stream_;
};

// True for a writer that takes stored text as it stands (CompactValue): the
// compact one. The indented layout writes values from objects.
template <typename Writer>
constexpr bool kTakesCompactText =
    std::is_same_v<std::remove_reference_t<Writer>, CompactSinkWriter>;

// Calls write with a rapidjson writer of layout on sink (a CompactSinkWriter,
// compact as JsonToString writes, or indented by two spaces) and hands the
// sink the rest of the text.
template <typename Write>
void WriteJsonText(const TextSink& sink, JsonLayout layout, Write write) {
  SinkStream stream(sink);
  if (layout == JsonLayout::kIndented) {
    rapidjson::PrettyWriter<SinkStream> writer(stream);
    writer.SetIndent(' ', 2);
    write(writer);
  } else {
    CompactSinkWriter writer(stream);
    write(writer);
  }
  stream.Flush();
}

}  // namespace CorvConfigStore
