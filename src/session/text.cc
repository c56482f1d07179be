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
  // One entry per character in the position maps: the characters are
  // counted first (every byte that does not continue a character opens one).
  size_t chars = 0;
  for (const char b : utf8) chars += (static_cast<unsigned char>(b) & 0xC0) != 0x80;
  // Written through pointers into arrays of their final sizes (the CP949
  // text at most two bytes a character): a character is a few stores.
  out->cp949.resize(2 * chars);
  out->utf8Start.resize(chars + 1);
  out->utf16Start.resize(chars + 1);
  char* cp949 = &out->cp949[0];
  int32_t* starts = out->utf8Start.data();
  int32_t* starts16 = out->utf16Start.data();
  size_t c = 0, o = 0;
  int32_t utf16 = 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(utf8.data());
  for (size_t i = 0; i < utf8.size(); ++c) {
    const unsigned char b = bytes[i];
    starts[c] = static_cast<int32_t>(i);
    starts16[c] = utf16;
    if (b < 0x80) {
      if (b == 0) {
        *where = i;
        return TextProblem::kNul;
      }
      cp949[o++] = static_cast<char>(b);
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
      cp949[o++] = static_cast<char>(pair >> 8);
      cp949[o++] = static_cast<char>(pair & 0xFF);
    } else {
      cp949[o++] = kPlaceholder;
    }
    utf16 += cp >= 0x10000 ? 2 : 1;
    i += n;
  }
  starts[c] = static_cast<int32_t>(utf8.size());
  starts16[c] = utf16;
  out->cp949.resize(o);
  return TextProblem::kNone;
}

std::string KeptUtf8(std::string_view utf8, const EngineText& text, const std::string& map) {
  constexpr uint32_t kReplacement = 0xFFFD;
  std::string out;
  out.reserve(utf8.size());
  const auto slice = [&](size_t k) {
    return utf8.substr(text.utf8Start[k], text.utf8Start[k + 1] - text.utf8Start[k]);
  };
  int lead = -1;  // a kept byte of 0x80 or above waiting for the byte after it
  // One kept byte of character k, read as the whole-call content reads it.
  const auto byte = [&](unsigned char b, size_t k) {
    if (lead >= 0) {
      const uint16_t u = Cp949Decode(static_cast<unsigned char>(lead), b);
      lead = -1;
      AppendUtf8(u != 0 ? u : kReplacement, &out);
      if (u != 0) return;
    }
    if (b >= 0x80) {
      lead = b;
    } else if (b == static_cast<unsigned char>(kPlaceholder)) {
      out.append(slice(k));  // a tab stands for itself or for its character
    } else {
      out.push_back(static_cast<char>(b));
    }
  };
  size_t p = 0;  // in the CP949 text
  const size_t chars = text.utf8Start.size() - 1;
  // Whole characters kept one after another are written as one run of the
  // text given.
  size_t runFrom = 0, runTo = 0;
  const auto flush = [&] {
    if (runTo > runFrom) out.append(utf8.substr(runFrom, runTo - runFrom));
    runFrom = runTo = 0;
  };
  for (size_t k = 0; k < chars; ++k) {
    const size_t width = static_cast<unsigned char>(text.cp949[p]) >= 0x80 ? 2 : 1;
    bool whole = lead < 0;
    for (size_t b = p; b < p + width; ++b) whole = whole && map[b] == '0';
    if (whole) {
      const auto from = static_cast<size_t>(text.utf8Start[k]);
      if (runTo != from) {
        flush();
        runFrom = from;
      }
      runTo = static_cast<size_t>(text.utf8Start[k + 1]);
    } else {
      flush();
      for (size_t b = p; b < p + width; ++b) {
        if (map[b] == '0') byte(static_cast<unsigned char>(text.cp949[b]), k);
      }
    }
    p += width;
  }
  flush();
  if (lead >= 0) AppendUtf8(kReplacement, &out);
  return out;
}

}  // namespace eti::session
