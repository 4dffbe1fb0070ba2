// Path resolution, document factories and generated-id removal.
#include "core/JsonDoc.h"

#include <corvconfigstore/Logger.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "core/Throw.h"
#include "core/ConfigStoreDocument.h"

namespace CorvConfigStore {

JsonDoc::JsonDoc(std::shared_ptr<JsonDocument> document, std::vector<JsonNode> path)
    : document_(std::move(document)),
      path_(path.empty() ? nullptr
                         : std::make_unique<const std::vector<JsonNode>>(std::move(path))) {}

JsonDoc::JsonDoc(std::string_view checkedText)
    : length_(static_cast<uint32_t>(checkedText.size())), state_(kDeferred) {
  // Refused before any room is taken for it.
  if (length_ != checkedText.size()) ThrowGeneral("JSON text too long.");
  text_ = std::make_unique<char[]>(length_);
  std::copy(checkedText.begin(), checkedText.end(), text_.get());
}

void JsonDoc::Parse() const {
  // Only text without readers is parsed: the parse frees it.
  for (uint32_t state = kDeferred;
       !state_.compare_exchange_weak(state, kParsing, std::memory_order_acquire);
       state = kDeferred) {
    if (state == kParsed) return;
    std::this_thread::yield();
  }
  try {
    auto document = NewJsonDocument(ParsedDocumentBytes(length_));
    std::string error;
    // The text was checked when it was read: only memory can run out here.
    if (!ParseJson(text_.get(), length_, *document, &error)) {
      ThrowException<ConfigStoreException>(CS_ERR_JSON_PARSE, error.c_str());
    }
    document_ = std::move(document);
  } catch (...) {
    state_.store(kDeferred, std::memory_order_release);
    throw;
  }
  text_.reset();
  state_.store(kParsed, std::memory_order_release);
}

const std::vector<JsonNode>& JsonDoc::GetPath() const {
  static const std::vector<JsonNode> kRoot;
  return path_ ? *path_ : kRoot;
}

JsonValue* JsonDoc::GetJsonValuePtr() const {
  JsonValue* current = GetDocument().get();
  for (const JsonNode& step : GetPath()) {
    if (!ConfigStoreDocument::ValueExists(*current, step.name.c_str())) {
      CSLogger::Log(0, "Cannot find subobject %s", step.name.c_str());
      ThrowGeneral("Subobject does not exists.");
    }
    current = &(*current)[step.name.c_str()];
    if (!current->IsArray()) continue;
    JsonValue* found = nullptr;
    for (JsonValue& element : current->GetArray()) {
      const JsonValue& id = element[step.idKey.c_str()];
      if (std::string(id.GetString(), id.GetStringLength()) == step.idValue) {
        found = &element;
        break;
      }
    }
    if (found == nullptr) {
      CSLogger::Log(0, "Cannot find subobject instance %s=%s", step.idKey.c_str(),
                    step.idValue.c_str());
      ThrowGeneral("Subobject instance does not exists.");
    }
    current = found;
  }
  return current;
}

std::shared_ptr<JsonDoc> JsonDoc::Extend(JsonNode step) const {
  std::vector<JsonNode> path = GetPath();
  path.push_back(std::move(step));
  return std::make_shared<JsonDoc>(GetDocument(), std::move(path));
}

std::shared_ptr<JsonDoc> CreateDocument() {
  return std::make_shared<JsonDoc>(NewJsonDocument());
}

std::shared_ptr<JsonDoc> CreateDocumentFromString(const std::string& text) {
  auto document = NewJsonDocument(ParsedDocumentBytes(text.size()));
  std::string error;
  if (!ParseJson(text.data(), text.size(), *document, &error)) {
    ThrowException<ConfigStoreException>(CS_ERR_JSON_PARSE, error.c_str());
  }
  return std::make_shared<JsonDoc>(document);
}

std::shared_ptr<JsonDoc> CreateDocumentFromFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  std::string text;
  if (stream) {
    std::ostringstream contents;
    contents << stream.rdbuf();
    text = contents.str();
  }
  auto document = NewJsonDocument(ParsedDocumentBytes(text.size()));
  if (!stream || stream.bad() || !ParseJson(text.data(), text.size(), *document, nullptr)) {
    ThrowException<ConfigStoreException>(CS_ERR_JSON_FILE, path.c_str());
  }
  return std::make_shared<JsonDoc>(document);
}

void ClearGeneratedInstanceId(JsonValue* value) {
  if (value->IsArray()) {
    for (JsonValue& element : value->GetArray()) ClearGeneratedInstanceId(&element);
  } else if (value->IsObject()) {
    auto member = value->FindMember(kGeneratedIdProperty);
    if (member != value->MemberEnd()) value->EraseMember(member);
    for (auto& child : value->GetObject()) ClearGeneratedInstanceId(&child.value);
  }
}

}  // namespace CorvConfigStore
