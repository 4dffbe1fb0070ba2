// GetPath: the JSON Pointer (RFC 6901) of an object, or of one of its
// properties, within the whole store: component, group and key of the
// top-level object, then the steps down to the object.
#include <cstdint>

#include "object/ConfigStoreObjectImpl.h"

namespace CorvConfigStore {

namespace {

// Appends "/" and the token with "~" written "~0" and "/" written "~1".
void AppendToken(std::string* pointer, const std::string& token) {
  pointer->push_back('/');
  for (char c : token) {
    if (c == '~') {
      pointer->append("~0");
    } else if (c == '/') {
      pointer->append("~1");
    } else {
      pointer->push_back(c);
    }
  }
}

// Positions are written as 32-bit unsigned decimals.
void AppendPosition(std::string* pointer, unsigned long position) {
  AppendToken(pointer, std::to_string(static_cast<uint32_t>(position)));
}

}  // namespace

std::string ConfigStoreObjectImpl::GetPath(const char* property) const {
  std::string pointer;
  AppendToken(&pointer, GetRootId().component);
  AppendToken(&pointer, GetRootId().group);
  AppendToken(&pointer, GetRootId().key);
  if (index_) AppendPosition(&pointer, *index_);
  for (const JsonNode& step : doc_->GetPath()) {
    AppendToken(&pointer, step.name);
    if (step.index) AppendPosition(&pointer, *step.index);
  }
  if (property != nullptr) AppendToken(&pointer, property);
  return pointer;
}

}  // namespace CorvConfigStore
