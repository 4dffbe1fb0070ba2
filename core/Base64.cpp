// Base64 encoding and strict decoding.
#include "core/Base64.h"

namespace CorvConfigStore {
namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int Sextet(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

}  // namespace

size_t Base64_EncodedLength(size_t length) { return (length + 2) / 3 * 4 + 1; }

bool Base64_Encode(const unsigned char* data, size_t length, char* out, size_t capacity,
                   size_t* written) {
  if (data == nullptr || out == nullptr || capacity < Base64_EncodedLength(length)) return false;
  size_t o = 0;
  for (size_t i = 0; i < length; i += 3) {
    unsigned triple = static_cast<unsigned>(data[i]) << 16;
    if (i + 1 < length) triple |= static_cast<unsigned>(data[i + 1]) << 8;
    if (i + 2 < length) triple |= data[i + 2];
    out[o++] = kAlphabet[(triple >> 18) & 63];
    out[o++] = kAlphabet[(triple >> 12) & 63];
    out[o++] = i + 1 < length ? kAlphabet[(triple >> 6) & 63] : '=';
    out[o++] = i + 2 < length ? kAlphabet[triple & 63] : '=';
  }
  out[o] = '\0';
  if (written != nullptr) *written = o;
  return true;
}

size_t Base64_DecodedLength(const char* text, size_t length) {
  (void)text;
  return (length + 3) / 4 * 3;
}

bool Base64_Decode(const char* text, size_t length, unsigned char* out, size_t capacity,
                   size_t* written) {
  if (text == nullptr || out == nullptr || length % 4 != 0) return false;
  size_t o = 0;
  for (size_t i = 0; i < length; i += 4) {
    bool last = i + 4 == length;
    int s[4];
    int padding = 0;
    for (int k = 0; k < 4; ++k) {
      char c = text[i + k];
      if (c == '=' && last && k >= 2) {
        s[k] = 0;
        ++padding;
        continue;
      }
      if (padding > 0) return false;  // data after padding
      s[k] = Sextet(c);
      if (s[k] < 0) return false;
    }
    unsigned triple = (static_cast<unsigned>(s[0]) << 18) | (static_cast<unsigned>(s[1]) << 12) |
                      (static_cast<unsigned>(s[2]) << 6) | static_cast<unsigned>(s[3]);
    size_t bytes = 3 - static_cast<size_t>(padding);
    if (o + bytes > capacity) return false;
    out[o++] = static_cast<unsigned char>(triple >> 16);
    if (bytes > 1) out[o++] = static_cast<unsigned char>(triple >> 8);
    if (bytes > 2) out[o++] = static_cast<unsigned char>(triple);
  }
  if (written != nullptr) *written = o;
  return true;
}

}  // namespace CorvConfigStore
