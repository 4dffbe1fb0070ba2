// JsonDoc: a shared handle on a JSON document and the path from its root to
// the value a top-level object or sub-object stands for.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/GeneratedId.h"
#include "core/Json.h"

namespace CorvConfigStore {

// One step of a path: a member name and, for a step into a list, the
// instance-id property and the instance id that select one element.
struct JsonNode {
  std::string name;
  std::string idKey;
  std::string idValue;
  // Position in the list when known; only used to build JSON Pointers,
  // never to resolve the step.
  std::optional<unsigned long> index;
};

class JsonDoc {
 public:
  JsonDoc(std::shared_ptr<JsonDocument> document, std::vector<JsonNode> path = {});
  // A handle on a copy of text, which CheckJson has accepted, parsed into a
  // document of its own on first use. Text is the most compact form of a
  // value: a result of many objects that are held but not all read keeps
  // little more than their texts. The first use may come from any thread,
  // and from several at once: one parses, the others wait for it.
  explicit JsonDoc(std::string_view checkedText);
  JsonDoc(const JsonDoc&) = delete;
  JsonDoc& operator=(const JsonDoc&) = delete;

  // Resolves the path anew from the root on every call, so handles stay
  // valid while other handles change the document. Throws
  // ConfigStoreException 2000 "Subobject does not exists." or "Subobject
  // instance does not exists." when a step no longer resolves.
  JsonValue* GetJsonValuePtr() const;

  // A handle on the same document whose path extends this one by a step.
  std::shared_ptr<JsonDoc> Extend(JsonNode step) const;

  const std::shared_ptr<JsonDocument>& GetDocument() const {
    if (state_.load(std::memory_order_acquire) != kParsed) Parse();
    return document_;
  }
  JsonAllocator& GetAllocator() const { return GetDocument()->GetAllocator(); }
  const std::vector<JsonNode>& GetPath() const;
  // True while the handle holds text not parsed yet.
  bool IsDeferred() const { return state_.load(std::memory_order_acquire) != kParsed; }

  // Calls use with the text while the handle holds it unparsed, keeping it
  // from being parsed (and freed) until use returns; false, without calling
  // use, once it is parsed or being parsed.
  template <typename Use>
  bool WithDeferredText(Use use) const {
    uint32_t state = state_.load(std::memory_order_acquire);
    do {
      if ((state & kStateBits) != kDeferred) return false;
    } while (!state_.compare_exchange_weak(state, state + kReader, std::memory_order_acquire));
    struct Release {
      std::atomic<uint32_t>& state;
      ~Release() { state.fetch_sub(kReader, std::memory_order_release); }
    } release{state_};
    use(std::string_view(text_.get(), length_));
    return true;
  }

 private:
  // The state is in the low bits; the rest counts the readers of the
  // deferred text, which a parse waits for.
  enum State : uint32_t { kParsed, kDeferred, kParsing };
  static constexpr uint32_t kStateBits = 3;
  static constexpr uint32_t kReader = 4;

  // Parses the text into the document, once, whichever thread comes first.
  void Parse() const;

  mutable std::shared_ptr<JsonDocument> document_;
  // Null for the root, which most handles stand for: an empty vector would
  // take three words of every handle.
  std::unique_ptr<const std::vector<JsonNode>> path_;
  mutable std::unique_ptr<char[]> text_;
  uint32_t length_ = 0;
  mutable std::atomic<uint32_t> state_{kParsed};
};

// A new document whose root is null, with an empty path.
std::shared_ptr<JsonDoc> CreateDocument();

// Parses one JSON value; raises code 1080 for text that is not exactly one
// JSON value (or nests deeper than kMaxJsonDepth).
std::shared_ptr<JsonDoc> CreateDocumentFromString(const std::string& text);

// Reads and parses a whole file; raises code 1081 naming the file.
std::shared_ptr<JsonDoc> CreateDocumentFromFile(const std::string& path);

// Removes every "cs_generated_id" member at any depth, keeping the order of
// the other members.
void ClearGeneratedInstanceId(JsonValue* value);

// Writes value to a rapidjson writer as ClearGeneratedInstanceId would leave
// it (the first "cs_generated_id" member of each object dropped), without
// changing or copying it. Stored text is at most kMaxJsonDepth deep, which
// bounds the recursion.
template <typename Writer>
void WriteWithoutGeneratedIds(const JsonValue& value, Writer& writer) {
  if (value.IsArray()) {
    writer.StartArray();
    for (const JsonValue& element : value.GetArray()) WriteWithoutGeneratedIds(element, writer);
    writer.EndArray();
  } else if (value.IsObject()) {
    writer.StartObject();
    bool dropped = false;
    for (const auto& member : value.GetObject()) {
      if (!dropped && member.name == kGeneratedIdProperty) {
        dropped = true;
        continue;
      }
      writer.Key(member.name.GetString(), member.name.GetStringLength());
      WriteWithoutGeneratedIds(member.value, writer);
    }
    writer.EndObject();
  } else {
    value.Accept(writer);
  }
}

}  // namespace CorvConfigStore
