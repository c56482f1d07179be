// UTF-8 <-> CP949 conversion over the generated pair table.
#include "common/cp949.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

namespace eti::tools {
namespace {

#include "common/cp949_table.inc"

constexpr int kFirstLead = 0x81;
constexpr int kFirstTrail = 0x41;
constexpr int kTrails = 0xFF - kFirstTrail;

// Unicode -> CP949 pairs, sorted by code point; built once from the decoding
// table and read-only afterwards.
const std::vector<std::pair<uint16_t, uint16_t>>& EncodeTable() {
  static const std::vector<std::pair<uint16_t, uint16_t>> table = [] {
    std::vector<std::pair<uint16_t, uint16_t>> t;
    t.reserve(kCp949PairCount);
    for (int lead = 0; lead < 0xFF - kFirstLead; ++lead) {
      for (int trail = 0; trail < kTrails; ++trail) {
        const uint16_t u = kCp949ToUnicode[lead][trail];
        if (u != 0) {
          t.emplace_back(u, static_cast<uint16_t>(((lead + kFirstLead) << 8) |
                                                  (trail + kFirstTrail)));
        }
      }
    }
    std::sort(t.begin(), t.end());
    // Keep the first pair of a code point that two pairs decode to.
    t.erase(std::unique(t.begin(), t.end(),
                        [](const auto& a, const auto& b) { return a.first == b.first; }),
            t.end());
    return t;
  }();
  return table;
}

std::string CodePointName(uint32_t cp) {
  char buf[16];
  std::snprintf(buf, sizeof(buf), "U+%04X", cp);
  return buf;
}

// Decodes one UTF-8 character at s[i]; returns its length, 0 if malformed.
size_t DecodeUtf8(std::string_view s, size_t i, uint32_t* cp) {
  const auto b = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char c = b(i);
  size_t n;
  uint32_t v;
  if (c < 0x80) {
    *cp = c;
    return 1;
  } else if (c >= 0xC2 && c <= 0xDF) {
    n = 2;
    v = c & 0x1F;
  } else if (c >= 0xE0 && c <= 0xEF) {
    n = 3;
    v = c & 0x0F;
  } else if (c >= 0xF0 && c <= 0xF4) {
    n = 4;
    v = c & 0x07;
  } else {
    return 0;
  }
  if (i + n > s.size()) return 0;
  for (size_t k = 1; k < n; ++k) {
    if ((b(i + k) & 0xC0) != 0x80) return 0;
    v = (v << 6) | (b(i + k) & 0x3F);
  }
  // Overlong forms, surrogates and values past U+10FFFF are malformed.
  if ((n == 3 && v < 0x800) || (n == 4 && (v < 0x10000 || v > 0x10FFFF)) ||
      (v >= 0xD800 && v <= 0xDFFF)) {
    return 0;
  }
  *cp = v;
  return n;
}

void AppendUtf8(uint32_t cp, std::string* out) {
  if (cp < 0x80) {
    out->push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

bool Fail(ConvertError* error, size_t offset, std::string message) {
  if (error != nullptr) {
    error->offset = offset;
    error->message = std::move(message);
  }
  return false;
}

}  // namespace

bool Utf8ToCp949(std::string_view utf8, std::string* out, ConvertError* error) {
  out->clear();
  const auto& table = EncodeTable();
  for (size_t i = 0; i < utf8.size();) {
    uint32_t cp = 0;
    const size_t n = DecodeUtf8(utf8, i, &cp);
    if (n == 0) return Fail(error, i, "malformed UTF-8");
    if (cp == 0) return Fail(error, i, "NUL character");
    if (cp < 0x80) {
      out->push_back(static_cast<char>(cp));
    } else {
      auto it = std::lower_bound(table.begin(), table.end(),
                                 std::make_pair(static_cast<uint16_t>(cp), uint16_t{0}));
      if (cp > 0xFFFF || it == table.end() || it->first != cp) {
        return Fail(error, i, CodePointName(cp) + " cannot be written in CP949");
      }
      out->push_back(static_cast<char>(it->second >> 8));
      out->push_back(static_cast<char>(it->second & 0xFF));
    }
    i += n;
  }
  return true;
}

bool Cp949ToUtf8(std::string_view cp949, std::string* out, ConvertError* error) {
  out->clear();
  for (size_t i = 0; i < cp949.size();) {
    const unsigned char lead = static_cast<unsigned char>(cp949[i]);
    if (lead < 0x80) {
      if (lead == 0) return Fail(error, i, "NUL byte");
      out->push_back(static_cast<char>(lead));
      ++i;
      continue;
    }
    if (lead < kFirstLead || lead == 0xFF || i + 1 >= cp949.size()) {
      return Fail(error, i, "not a CP949 character");
    }
    const unsigned char trail = static_cast<unsigned char>(cp949[i + 1]);
    const uint16_t u = (trail >= kFirstTrail && trail < 0xFF)
                           ? kCp949ToUnicode[lead - kFirstLead][trail - kFirstTrail]
                           : 0;
    if (u == 0) return Fail(error, i, "not a CP949 character");
    AppendUtf8(u, out);
    i += 2;
  }
  return true;
}

std::string Cp949(std::string_view utf8) {
  std::string out;
  ConvertError error;
  if (!Utf8ToCp949(utf8, &out, &error)) {
    std::fprintf(stderr, "Cp949(\"%.*s\"): %s at byte %zu\n",
                 static_cast<int>(utf8.size()), utf8.data(),
                 error.message.c_str(), error.offset);
    std::abort();
  }
  return out;
}

std::string Utf8(std::string_view cp949) {
  std::string out;
  ConvertError error;
  if (!Cp949ToUtf8(cp949, &out, &error)) {
    std::fprintf(stderr, "Utf8(): %s at byte %zu\n", error.message.c_str(),
                 error.offset);
    std::abort();
  }
  return out;
}

}  // namespace eti::tools
