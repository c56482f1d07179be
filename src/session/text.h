// Reading a UTF-8 text for the engine, which reads CP949.  Every character
// CP949 can hold becomes its CP949 form; every other one (an emoji, a rare
// Hanja, another script) becomes one tab.  A tab is a blank to the engine
// but no token: no dictionary key can hold one (sources are tab-separated),
// so the character joins no expression, while an expression on either side
// of it is read as it would be beside a space, and expressions on both
// sides still join as they do across blanks.  Each character of the CP949
// text stands for exactly one code point of the UTF-8 text, so character k
// of the one is code point k of the other.
#ifndef EXTRACTOR_KR_SESSION_TEXT_H_
#define EXTRACTOR_KR_SESSION_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace eti::session {

// The stand-in of a character that CP949 cannot hold.
constexpr char kPlaceholder = '\t';

// The longest text read, in UTF-8 bytes.  Positions inside the engine are
// 32-bit and its work text may grow to ten times the text.
constexpr size_t kMaxTextBytes = size_t{64} << 20;

struct EngineText {
  std::string cp949;
  // Where character k starts in the text given: its UTF-8 byte offset and
  // its UTF-16 offset; one more entry for the end of the text.
  std::vector<int32_t> utf8Start, utf16Start;
};

enum class TextProblem { kNone, kMalformed, kNul, kTooLong };

// Reads `utf8` into *out.  On a problem, *where is the byte offset of the
// offending character (the length limit for kTooLong).
TextProblem ReadText(std::string_view utf8, EngineText* out, size_t* where);

// The bytes of the CP949 text that `map` keeps ('0' in the removal map of
// the remainder text), in UTF-8: what the whole-call entry's content reads
// as, with each stand-in tab written back as the character it stands for.
// A whole character kept is written as it stood in `utf8`.  Where an
// expression took only one byte of a character (a replacement can match
// from a second byte), the bytes kept are read on as CP949, as they run in
// the whole-call content: a pair that is no character becomes U+FFFD.
std::string KeptUtf8(std::string_view utf8, const EngineText& text, const std::string& map);

}  // namespace eti::session

#endif  // EXTRACTOR_KR_SESSION_TEXT_H_
