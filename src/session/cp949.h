// UTF-8 <-> CP949, the double-byte Korean encoding that the engine reads (a
// byte below 0x80 is ASCII, a byte of 0x81..0xFE opens a two-byte
// character).  Our own table, so that the library, the tools and the tests
// behave the same on every machine and under qemu, whatever iconv modules
// it has.
#ifndef EXTRACTOR_KR_SESSION_CP949_H_
#define EXTRACTOR_KR_SESSION_CP949_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace eti {

// Why a conversion stopped.
struct ConvertError {
  size_t offset = 0;     // byte offset of the offending character
  std::string message;   // e.g. "U+1F600 cannot be written in CP949"
};

// The CP949 pair of a code point (lead byte in the high half), or 0 when
// CP949 cannot hold it.  Only for code points of 0x80 and above.
uint16_t Cp949Pair(uint32_t codePoint);

// The code point of the CP949 pair (lead, trail), or 0 when it is none.
uint16_t Cp949Decode(unsigned char lead, unsigned char trail);

// Appends the UTF-8 form of a code point.
void AppendUtf8(uint32_t codePoint, std::string* out);

// Decodes the UTF-8 character at s[i]: its length in bytes with *codePoint
// set, or 0 when it is malformed (a bad or missing continuation byte, an
// overlong form, a surrogate, a value past U+10FFFF).
size_t DecodeUtf8(std::string_view s, size_t i, uint32_t* codePoint);

// Converts UTF-8 text to CP949.  False (with *error filled) on malformed
// UTF-8 or on a character that CP949 cannot hold; NUL is refused too, since
// the engine reads NUL-terminated texts.
bool Utf8ToCp949(std::string_view utf8, std::string* out, ConvertError* error);

// Converts CP949 text to UTF-8.  False on a byte sequence that is not CP949.
bool Cp949ToUtf8(std::string_view cp949, std::string* out, ConvertError* error);

// Convenience forms for tests and fixed texts: abort on failure.
std::string Cp949(std::string_view utf8);
std::string Utf8(std::string_view cp949);

}  // namespace eti

#endif  // EXTRACTOR_KR_SESSION_CP949_H_
