// The rapidjson assertion hook, depth-limited parsing and serialisation.
#include "core/Json.h"

#include <corvconfigstore/Exceptions.h>

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace CorvConfigStore {

void ThrowJsonAssertion(const char* file, int line, const char* expression) {
  std::string message = std::string("JSON error:\"") + file + "\":" + std::to_string(line) +
                        ": " + expression;
  throw ConfigStoreException(CS_ERR_JSON, message.c_str());
}

namespace {

// Forwards parse events to the document and refuses nesting beyond the
// limit.
class DepthLimitedHandler {
 public:
  explicit DepthLimitedHandler(JsonDocument& document) : document_(document) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool b) { return document_.Bool(b); }
  bool Int(int i) { return document_.Int(i); }
  bool Uint(unsigned u) { return document_.Uint(u); }
  bool Int64(int64_t i) { return document_.Int64(i); }
  bool Uint64(uint64_t u) { return document_.Uint64(u); }
  // The reader checks the exponent but not what the digits before it add,
  // so "184467440737095516e300" reaches here as infinity: JSON has no text
  // for it, and a document holding it could not be written out whole.
  bool Double(double d) {
    if (!std::isfinite(d)) tooBig_ = true;
    return !tooBig_ && document_.Double(d);
  }
  bool RawNumber(const char* s, rapidjson::SizeType n, bool copy) {
    return document_.RawNumber(s, n, copy);
  }
  // Strings are copied into the document whatever the reader says: one read
  // in place hands over strings that live in a scratch copy of the text.
  bool String(const char* s, rapidjson::SizeType n, bool) {
    return Utf8(s, n) && document_.String(s, n, true);
  }
  bool Key(const char* s, rapidjson::SizeType n, bool) {
    return Utf8(s, n) && document_.Key(s, n, true);
  }
  bool StartObject() { return Enter() && document_.StartObject(); }
  bool EndObject(rapidjson::SizeType n) {
    --depth_;
    return document_.EndObject(n);
  }
  bool StartArray() { return Enter() && document_.StartArray(); }
  bool EndArray(rapidjson::SizeType n) {
    --depth_;
    return document_.EndArray(n);
  }

  bool TooDeep() const { return tooDeep_; }
  bool BadText() const { return badText_; }
  bool TooBig() const { return tooBig_; }

 private:
  // Every string is checked whole: the fast reader does not check the
  // bytes of the text, and even the checking one decodes an escaped low
  // surrogate without its high half ("\udc00") into bytes that are not
  // UTF-8.
  bool Utf8(const char* s, rapidjson::SizeType n) {
    if (!IsUtf8(s, n)) badText_ = true;
    return !badText_;
  }

  bool Enter() {
    if (++depth_ > kMaxJsonDepth) tooDeep_ = true;
    return !tooDeep_;
  }

  JsonDocument& document_;
  int depth_ = 0;
  bool tooDeep_ = false;
  bool badText_ = false;
  bool tooBig_ = false;
};

// rapidjson's allocator of blocks and parse stacks holds no state, so every
// document shares one instead of each making its own on first use.
rapidjson::CrtAllocator gBlocks;

// The pool comes first among the bases, so it is built before the document
// that allocates from it and outlives it.
struct PoolOwner {
  explicit PoolOwner(size_t bytes) : pool(bytes, &gBlocks) {}
  JsonAllocator pool;
};

class PooledDocument : private PoolOwner, public JsonDocument {
 public:
  explicit PooledDocument(size_t bytes)
      : PoolOwner(bytes), JsonDocument(&pool, kParseStackBytes, &gBlocks) {}

 private:
  // rapidjson's default first parse stack.
  static constexpr size_t kParseStackBytes = 1024;
};

// The longest text whose scratch copy is the thread's shared one.
constexpr size_t kSharedScratchText = 64 * 1024;

// Runs reader over the length bytes of text, and sets *end to the offset
// where it stopped; false when the reader refuses the text.
template <unsigned kFlags, typename Handler>
bool Run(rapidjson::Reader& reader, const char* text, size_t length, Handler& handler,
         size_t* end) {
  if constexpr ((kFlags & rapidjson::kParseInsituFlag) != 0) {
    // Read in place, from a copy of the text: the reader then moves each
    // string's bytes within the copy instead of pushing them one by one
    // onto its stack. Short texts share one copy per thread, which keeps its
    // block from one text to the next (a parse never starts another on the
    // same thread); a long text gets a copy of its own, so that no thread
    // keeps a block the size of its longest text.
    thread_local std::string shared;
    std::string own;
    std::string& copy = length > kSharedScratchText ? own : shared;
    copy.assign(text, length);
    rapidjson::InsituStringStream stream(&copy[0]);
    if (reader.Parse<kFlags>(stream, handler).IsError()) return false;
    *end = stream.Tell();
  } else {
    rapidjson::MemoryStream stream(text, length);
    if (reader.Parse<kFlags>(stream, handler).IsError()) return false;
    *end = stream.Tell();
  }
  return true;
}

// Reads text into document with the reader's flags, and says why it is
// refused when it is.
template <unsigned kFlags>
bool Read(const char* text, size_t length, JsonDocument& document, std::string* error) {
  rapidjson::Reader reader(&gBlocks);
  DepthLimitedHandler handler(document);
  // The reader takes a NUL byte for the end of the text, so whatever
  // follows a NUL after the value would pass unseen: it is refused here,
  // as any other text after the value.
  size_t end = length;
  auto generate = [&](JsonDocument&) {
    return Run<kFlags>(reader, text, length, handler, &end) && end == length;
  };
  document.SetNull();
  document.Populate(generate);
  if (!reader.HasParseError() && end == length) return true;
  document.SetNull();
  if (error != nullptr) {
    std::string reason;
    size_t offset = reader.GetErrorOffset();
    if (!reader.HasParseError()) {
      reason = rapidjson::GetParseError_En(rapidjson::kParseErrorDocumentRootNotSingular);
      offset = end;
    } else if (handler.TooDeep()) {
      reason = "nesting deeper than " + std::to_string(kMaxJsonDepth) + " levels";
    } else if (handler.TooBig()) {
      reason = rapidjson::GetParseError_En(rapidjson::kParseErrorNumberTooBig);
    } else if (handler.BadText()) {
      // The checking reader let the string's bytes through: an escape made
      // them.
      reason = rapidjson::GetParseError_En(rapidjson::kParseErrorStringUnicodeSurrogateInvalid);
    } else {
      reason = rapidjson::GetParseError_En(reader.GetParseErrorCode());
    }
    *error = reason + " at offset " + std::to_string(offset);
  }
  return false;
}

}  // namespace

std::shared_ptr<JsonDocument> NewJsonDocument(size_t bytes) {
  return std::make_shared<PooledDocument>(bytes);
}

bool ParseJson(const char* text, size_t length, JsonDocument& document, std::string* error) {
  // The fast reader: recursive, reading a copy of the text in place (see
  // Run), and leaving the check of the text's bytes to the handler, which
  // checks each string whole (most are ASCII, which it checks eight bytes
  // at a time). It recurses once per level of nesting, which the handler
  // stops at kMaxJsonDepth, so the stack it takes is bounded. Text that is
  // not UTF-8 is refused, so no document holds bytes that would make the
  // text written from it invalid JSON.
  if (Read<rapidjson::kParseInsituFlag>(text, length, document, nullptr)) return true;
  // The iterative reader that checks the bytes names the faults as the
  // library always has (a lone "}" is "The document is empty.", where the
  // recursive one says "Invalid value."; a bad byte is "Invalid encoding in
  // string." at its offset): refused text is read again by it to say why.
  if (error != nullptr)
    Read<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag>(text, length,
                                                                                 document, error);
  document.SetNull();
  return false;
}

bool IsUtf8(const char* text, size_t length) {
  // ASCII is UTF-8: skipped eight bytes at a time up to the first byte that
  // is not, from which the rest is decoded.
  size_t start = 0;
  for (uint64_t word; start + sizeof word <= length; start += sizeof word) {
    std::memcpy(&word, text + start, sizeof word);
    if ((word & 0x8080808080808080u) != 0) break;
  }
  while (start < length && static_cast<unsigned char>(text[start]) < 0x80) ++start;
  // The validator copies what it reads to an output stream; none is needed.
  struct Discard {
    void Put(char) {}
  } ignored;
  rapidjson::MemoryStream stream(text + start, length - start);
  while (stream.Tell() < length - start)
    if (!rapidjson::UTF8<>::Validate(stream, ignored)) return false;
  return true;
}

std::string JsonToString(const JsonValue& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace CorvConfigStore
