// Reading UTF-8 texts for the engine and writing back what it keeps.
#include "session/text.h"

#include "session/cp949.h"

namespace eti::session {

TextProblem ReadText(std::string_view utf8, EngineText* out, size_t* where) {
  out->cp949.clear();
  out->utf8Start.clear();
  out->utf16Start.clear();
  if (utf8.size() > kMaxTextBytes) {
    *where = kMaxTextBytes;
    return TextProblem::kTooLong;
  }
  out->cp949.reserve(utf8.size());
  out->utf8Start.reserve(utf8.size() + 1);
  out->utf16Start.reserve(utf8.size() + 1);
  int32_t utf16 = 0;
  for (size_t i = 0; i < utf8.size();) {
    const unsigned char c = static_cast<unsigned char>(utf8[i]);
    out->utf8Start.push_back(static_cast<int32_t>(i));
    out->utf16Start.push_back(utf16);
    if (c < 0x80) {
      if (c == 0) {
        *where = i;
        return TextProblem::kNul;
      }
      out->cp949.push_back(static_cast<char>(c));
      ++utf16;
      ++i;
      continue;
    }
    uint32_t cp = 0;
    const size_t n = DecodeUtf8(utf8, i, &cp);
    if (n == 0) {
      *where = i;
      return TextProblem::kMalformed;
    }
    const uint16_t pair = Cp949Pair(cp);
    if (pair != 0) {
      out->cp949.push_back(static_cast<char>(pair >> 8));
      out->cp949.push_back(static_cast<char>(pair & 0xFF));
    } else {
      out->cp949.push_back(kPlaceholder);
    }
    utf16 += cp >= 0x10000 ? 2 : 1;
    i += n;
  }
  out->utf8Start.push_back(static_cast<int32_t>(utf8.size()));
  out->utf16Start.push_back(utf16);
  return TextProblem::kNone;
}

std::string KeptUtf8(std::string_view utf8, const EngineText& text, const std::string& map) {
  std::string out;
  out.reserve(utf8.size());
  size_t byte = 0;  // in the CP949 text
  const size_t chars = text.utf8Start.size() - 1;
  for (size_t k = 0; k < chars; ++k) {
    const size_t width = static_cast<unsigned char>(text.cp949[byte]) >= 0x80 ? 2 : 1;
    bool kept = true;
    for (size_t b = byte; b < byte + width; ++b) kept = kept && b < map.size() && map[b] == '0';
    if (kept) {
      out.append(utf8.substr(text.utf8Start[k], text.utf8Start[k + 1] - text.utf8Start[k]));
    }
    byte += width;
  }
  return out;
}

}  // namespace eti::session
