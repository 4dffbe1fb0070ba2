// Binary values: stored as JSON strings of standard base64 text, with no type
// marker, so the string read returns the base64 text itself.
#include <corvconfigstore/Exceptions.h>

#include <limits>
#include <memory>
#include <vector>

#include "core/Throw.h"
#include "object/StoreObjectImpl.h"
#include "core/Base64.h"

namespace CorvConfigStore {

namespace {

// The base64 text of the bytes; empty when encoding fails, which includes a
// length whose text would not fit a JSON string (or whose size computation
// wraps around).
std::string EncodeBinary(const unsigned char* data, unsigned long length) {
  size_t size = Base64_EncodedLength(length);
  if (size <= length || size - 1 > std::numeric_limits<rapidjson::SizeType>::max()) {
    return std::string();
  }
  std::vector<char> buffer(size, '\0');
  size_t written = 0;
  if (!Base64_Encode(data, length, buffer.data(), buffer.size(), &written)) return std::string();
  return std::string(buffer.data(), written);
}

// A new[] buffer of the decoded bytes, its length in *length.
unsigned char* DecodeBinary(const std::string& text, unsigned long* length) {
  size_t capacity = Base64_DecodedLength(text.data(), text.size());
  std::unique_ptr<unsigned char[]> buffer(new unsigned char[capacity]);
  size_t written = 0;
  if (!Base64_Decode(text.data(), text.size(), buffer.get(), capacity, &written)) {
    ThrowGeneral("Failed to decode binary value");
  }
  *length = written;
  return buffer.release();
}

}  // namespace

int StoreObjectImpl::GetValueBinary(const char* key, unsigned char** data,
                                    unsigned long* length) const {
  RequireValue(data);
  RequireValue(length);
  std::string text;
  int result = GetValue(key, &text);
  if (result == 0) return 0;
  *data = DecodeBinary(text, length);
  return result;
}

void StoreObjectImpl::SetValueBinary(const char* key, const unsigned char* data,
                                     unsigned long length) {
  if (data == nullptr || length == 0) {
    throw InvalidArgumentException(CS_ERR_GENERAL,
                                   "Value pointer cannot be null and length cannot be zero");
  }
  std::string text = EncodeBinary(data, length);
  if (text.empty()) ThrowGeneral("Failed to encode input binary value");
  SetValue(key, text);
}

}  // namespace CorvConfigStore
