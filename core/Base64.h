// Standard base64 (RFC 4648 alphabet, with padding) for binary values.
#pragma once

#include <cstddef>

namespace CorvConfigStore {

// Buffer size needed to encode length bytes, including a terminating NUL.
size_t Base64_EncodedLength(size_t length);

// Encodes length bytes into out (capacity bytes, NUL-terminated). Reports the
// number of characters written in *written. False when out is too small.
bool Base64_Encode(const unsigned char* data, size_t length, char* out, size_t capacity,
                   size_t* written);

// Upper bound of the decoded size of a text of that length.
size_t Base64_DecodedLength(const char* text, size_t length);

// Decodes text (a multiple of four characters from the alphabet, '=' only
// as final padding; no white space) into out. Reports the decoded length in
// *written. False for malformed text or a too-small buffer.
bool Base64_Decode(const char* text, size_t length, unsigned char* out, size_t capacity,
                   size_t* written);

}  // namespace CorvConfigStore
