// The rapidjson assertion hook, depth-limited parsing, checking and copying
// of JSON text, and serialisation.
#include "core/Json.h"

#include <corvconfigstore/Exceptions.h>

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <bitset>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/GeneratedId.h"

namespace CorvConfigStore {

void ThrowJsonAssertion(const char* file, int line, const char* expression) {
  std::string message = std::string("JSON error:\"") + file + "\":" + std::to_string(line) +
                        ": " + expression;
  throw ConfigStoreException(CS_ERR_JSON, message.c_str());
}

namespace {

// Forwards parse events to sink (a document, or an OutlineSink) and refuses
// nesting beyond the limit. stringsAreUtf8 says that every string of the
// text is known to be UTF-8 already (see TextIsPlainUtf8).
template <typename Sink>
class DepthLimitedHandler {
 public:
  DepthLimitedHandler(Sink& sink, bool stringsAreUtf8)
      : sink_(sink), stringsAreUtf8_(stringsAreUtf8) {}

  bool Null() { return sink_.Null(); }
  bool Bool(bool b) { return sink_.Bool(b); }
  bool Int(int i) { return sink_.Int(i); }
  bool Uint(unsigned u) { return sink_.Uint(u); }
  bool Int64(int64_t i) { return sink_.Int64(i); }
  bool Uint64(uint64_t u) { return sink_.Uint64(u); }
  // The reader checks the exponent but not what the digits before it add,
  // so "184467440737095516e300" reaches here as infinity: JSON has no text
  // for it, and a document holding it could not be written out whole.
  bool Double(double d) {
    if (!std::isfinite(d)) tooBig_ = true;
    return !tooBig_ && sink_.Double(d);
  }
  bool RawNumber(const char* s, rapidjson::SizeType n, bool copy) {
    return sink_.RawNumber(s, n, copy);
  }
  // Strings are copied into the document whatever the reader says: one read
  // in place hands over strings that live in a scratch copy of the text.
  bool String(const char* s, rapidjson::SizeType n, bool) {
    return Utf8(s, n) && sink_.String(s, n, true);
  }
  bool Key(const char* s, rapidjson::SizeType n, bool) {
    return Utf8(s, n) && sink_.Key(s, n, true);
  }
  bool StartObject() { return Enter() && sink_.StartObject(); }
  bool EndObject(rapidjson::SizeType n) {
    --depth_;
    return sink_.EndObject(n);
  }
  bool StartArray() { return Enter() && sink_.StartArray(); }
  bool EndArray(rapidjson::SizeType n) {
    --depth_;
    return sink_.EndArray(n);
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
    if (!stringsAreUtf8_ && !IsUtf8(s, n)) badText_ = true;
    return !badText_;
  }

  bool Enter() {
    if (++depth_ > kMaxJsonDepth) tooDeep_ = true;
    return !tooDeep_;
  }

  Sink& sink_;
  const bool stringsAreUtf8_;
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

// rapidjson's default first parse stack.
constexpr size_t kParseStackBytes = 1024;

class PooledDocument : private PoolOwner, public JsonDocument {
 public:
  explicit PooledDocument(size_t bytes)
      : PoolOwner(bytes), JsonDocument(&pool, kParseStackBytes, &gBlocks) {}
};

// The document whose pool another borrows; a base before that document, so
// that it outlives it.
struct PoolLender {
  std::shared_ptr<JsonDocument> owner;
};

class BorrowingDocument : private PoolLender, public JsonDocument {
 public:
  BorrowingDocument(std::shared_ptr<JsonDocument> lender, JsonValue& value)
      : PoolLender{std::move(lender)},
        JsonDocument(&owner->GetAllocator(), kParseStackBytes, &gBlocks) {
    JsonValue::Swap(value);
  }
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

// Takes the reader's events in place of a document, for CheckJson: notes
// whether the value is an object and what the object's first member of the
// name asked for holds.
class OutlineSink : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, OutlineSink> {
 public:
  explicit OutlineSink(JsonOutline& outline) : outline_(outline) {}

  // Every scalar but a string.
  bool Default() {
    Value();
    return true;
  }
  bool String(const char* s, rapidjson::SizeType n, bool) {
    if (atMember_) outline_.holdsExpected = std::string_view(s, n) == outline_.expected;
    Value();
    return true;
  }
  bool Key(const char* s, rapidjson::SizeType n, bool) {
    if (depth_ == 1 && !memberSeen_ && std::string_view(s, n) == outline_.member)
      memberSeen_ = atMember_ = true;
    return true;
  }
  bool StartObject() {
    if (!started_) outline_.isObject = true;
    return Enter();
  }
  bool EndObject(rapidjson::SizeType) { return Leave(); }
  bool StartArray() { return Enter(); }
  bool EndArray(rapidjson::SizeType) { return Leave(); }

 private:
  void Value() {
    started_ = true;
    atMember_ = false;
  }
  bool Enter() {
    Value();
    ++depth_;
    return true;
  }
  bool Leave() {
    --depth_;
    return true;
  }

  JsonOutline& outline_;
  int depth_ = 0;
  bool started_ = false;
  bool memberSeen_ = false;
  // The next value is the first member of the name asked for.
  bool atMember_ = false;
};

// Takes the reader's events in place of a document, for
// CopyJsonWithoutGeneratedIds: writes them on, but for the first
// "cs_generated_id" member of each object, name and value; an outline
// watches them all.
class CopySink {
 public:
  CopySink(JsonOutline& outline, JsonWriter& out) : outline_(outline), out_(out) {}

  bool Null() { return outline_.Null() && (Skip() || out_.Null()); }
  bool Bool(bool b) { return outline_.Bool(b) && (Skip() || out_.Bool(b)); }
  bool Int(int i) { return outline_.Int(i) && (Skip() || out_.Int(i)); }
  bool Uint(unsigned u) { return outline_.Uint(u) && (Skip() || out_.Uint(u)); }
  bool Int64(int64_t i) { return outline_.Int64(i) && (Skip() || out_.Int64(i)); }
  bool Uint64(uint64_t u) { return outline_.Uint64(u) && (Skip() || out_.Uint64(u)); }
  bool Double(double d) { return outline_.Double(d) && (Skip() || out_.Double(d)); }
  bool RawNumber(const char* s, rapidjson::SizeType n, bool copy) {
    return outline_.RawNumber(s, n, copy) && (Skip() || out_.RawNumber(s, n, copy));
  }
  bool String(const char* s, rapidjson::SizeType n, bool copy) {
    return outline_.String(s, n, copy) && (Skip() || out_.String(s, n, copy));
  }
  bool Key(const char* s, rapidjson::SizeType n, bool copy) {
    if (!outline_.Key(s, n, copy)) return false;
    if (skipped_ > 0) return true;
    if (!dropped_[depth_] && std::string_view(s, n) == kGeneratedIdProperty) {
      dropped_[depth_] = true;
      skipNext_ = true;
      return true;
    }
    return out_.Key(s, n, copy);
  }
  bool StartObject() {
    if (!outline_.StartObject()) return false;
    if (Enter()) return true;
    dropped_[depth_] = false;
    return out_.StartObject();
  }
  bool EndObject(rapidjson::SizeType n) {
    return outline_.EndObject(n) && (Leave() || out_.EndObject(n));
  }
  bool StartArray() { return outline_.StartArray() && (Enter() || out_.StartArray()); }
  bool EndArray(rapidjson::SizeType n) {
    return outline_.EndArray(n) && (Leave() || out_.EndArray(n));
  }

 private:
  // True when a scalar is not to be written: the value of a dropped member,
  // or part of one.
  bool Skip() {
    const bool skip = skipNext_ || skipped_ > 0;
    skipNext_ = false;
    return skip;
  }
  // Opens an object or array; true when it is not to be written.
  bool Enter() {
    ++depth_;
    if (skipNext_ || skipped_ > 0) {
      skipNext_ = false;
      ++skipped_;
      return true;
    }
    return false;
  }
  // Closes one; true when it was not written.
  bool Leave() {
    --depth_;
    if (skipped_ == 0) return false;
    --skipped_;
    return true;
  }

  OutlineSink outline_;
  JsonWriter& out_;
  int depth_ = 0;
  // Open levels inside a dropped member's value.
  int skipped_ = 0;
  // The next value is a dropped member's.
  bool skipNext_ = false;
  // Per open object: its generated id was met. The reader stops at
  // kMaxJsonDepth.
  std::bitset<kMaxJsonDepth + 2> dropped_;
};

// Hands the reader's events to sink: a document takes the value they build
// as its root; other sinks only watch or copy them.
template <typename Generate>
void Populate(JsonDocument& document, Generate& generate) {
  document.SetNull();
  document.Populate(generate);
}
template <typename Sink, typename Generate>
void Populate(Sink& sink, Generate& generate) {
  generate(sink);
}

// True when the text is UTF-8 and has no escape: each of its strings is
// then its bytes between two quotes, whole characters of UTF-8 text, and
// needs no check of its own. One pass over a text of ASCII costs less than
// a check of each of its strings.
bool TextIsPlainUtf8(const char* text, size_t length) {
  return std::memchr(text, '\\', length) == nullptr && IsUtf8(text, length);
}

// Reads text into sink with the reader's flags, and says why it is refused
// when it is.
template <unsigned kFlags, typename Sink>
bool Read(const char* text, size_t length, Sink& sink, std::string* error) {
  rapidjson::Reader reader(&gBlocks);
  DepthLimitedHandler<Sink> handler(sink, TextIsPlainUtf8(text, length));
  // The reader takes a NUL byte for the end of the text, so whatever
  // follows a NUL after the value would pass unseen: it is refused here,
  // as any other text after the value.
  size_t end = length;
  auto generate = [&](Sink&) {
    return Run<kFlags>(reader, text, length, handler, &end) && end == length;
  };
  Populate(sink, generate);
  if (!reader.HasParseError() && end == length) return true;
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

// The fast reader: recursive, reading a copy of the text in place (see
// Run), and leaving the check of the text's bytes to the handler, which
// checks each string whole (most are ASCII, which it checks eight bytes at
// a time), or the whole text once when it has no escape. It recurses once
// per level of nesting, which the handler stops at kMaxJsonDepth, so the
// stack it takes is bounded. Text that is not UTF-8 is refused, so no
// document holds bytes that would make the text written from it invalid
// JSON.
//
// The iterative reader that checks the bytes names the faults as the
// library always has (a lone "}" is "The document is empty.", where the
// recursive one says "Invalid value."; a bad byte is "Invalid encoding in
// string." at its offset): refused text is read again by it to say why.
// The faults depend on the reader and the handler only, so the second
// reading builds nothing.
template <typename Sink>
bool Accept(const char* text, size_t length, Sink& sink, std::string* error) {
  if (Read<rapidjson::kParseInsituFlag>(text, length, sink, nullptr)) return true;
  if (error != nullptr) {
    JsonOutline ignored;
    OutlineSink naming(ignored);
    Read<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag>(text, length,
                                                                                 naming, error);
  }
  return false;
}

// Accept for a sink that fills in outline, which tells nothing of text that
// is refused.
template <typename Sink>
bool AcceptOutlined(const char* text, size_t length, JsonOutline& outline, Sink& sink,
                    std::string* error) {
  outline.isObject = false;
  outline.holdsExpected = false;
  if (Accept(text, length, sink, error)) return true;
  outline.isObject = false;
  outline.holdsExpected = false;
  return false;
}

}  // namespace

std::shared_ptr<JsonDocument> NewJsonDocument(size_t bytes) {
  return std::make_shared<PooledDocument>(bytes);
}

std::shared_ptr<JsonDocument> MoveOntoPoolOf(std::shared_ptr<JsonDocument> owner,
                                             JsonValue& value) {
  return std::make_shared<BorrowingDocument>(std::move(owner), value);
}

bool ParseJson(const char* text, size_t length, JsonDocument& document, std::string* error) {
  if (Accept(text, length, document, error)) return true;
  document.SetNull();
  return false;
}

bool ParseJsonOn(const char* text, size_t length, JsonAllocator& allocator, JsonValue& value,
                 std::string* error) {
  // The document only lends its parse stack: its root is swapped out, and a
  // pool allocator frees nothing when the document goes.
  JsonDocument document(&allocator, kParseStackBytes, &gBlocks);
  value.SetNull();
  if (!ParseJson(text, length, document, error)) return false;
  value.Swap(document);
  return true;
}

bool CheckJson(const char* text, size_t length, JsonOutline& outline, std::string* error) {
  OutlineSink sink(outline);
  return AcceptOutlined(text, length, outline, sink, error);
}

bool CopyJsonWithoutGeneratedIds(const char* text, size_t length, JsonOutline& outline,
                                 JsonWriter& out, std::string* error) {
  CopySink sink(outline, out);
  return AcceptOutlined(text, length, outline, sink, error);
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
  // Each thread keeps its buffer and writer, so that a value is written
  // without making them again and growing the buffer from its smallest
  // size; a buffer grown past kKeptTextBytes is let go after use.
  constexpr size_t kKeptTextBytes = 64 * 1024;
  struct TextOut {
    rapidjson::StringBuffer buffer{&gBlocks};
    JsonWriter writer{buffer, &gBlocks};
  };
  thread_local TextOut out;
  out.buffer.Clear();
  out.writer.Reset(out.buffer);
  value.Accept(out.writer);
  std::string text(out.buffer.GetString(), out.buffer.GetSize());
  if (out.buffer.GetSize() > kKeptTextBytes) {
    out.buffer.Clear();
    out.buffer.ShrinkToFit();
  }
  return text;
}

}  // namespace CorvConfigStore
