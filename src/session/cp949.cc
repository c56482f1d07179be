// UTF-8 <-> CP949 conversion over the generated pair table.
#include "session/cp949.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace eti {
namespace {

#include "session/cp949_table.inc"

constexpr int kFirstLead = 0x81;
constexpr int kFirstTrail = 0x41;
constexpr int kTrails = 0xFF - kFirstTrail;

// Code point -> CP949 pair for the Basic Multilingual Plane, 0 = none; built
// once from the decoding table and read-only afterwards.  Where two pairs
// decode to one code point, the first in table order is written.
const std::array<uint16_t, 0x10000>& EncodeTable() {
  static const std::array<uint16_t, 0x10000> table = [] {
    std::array<uint16_t, 0x10000> t{};
    for (int lead = 0xFE - kFirstLead; lead >= 0; --lead) {
      for (int trail = kTrails - 1; trail >= 0; --trail) {
        const uint16_t u = kCp949ToUnicode[lead][trail];
        if (u != 0) {
          t[u] = static_cast<uint16_t>(((lead + kFirstLead) << 8) | (trail + kFirstTrail));
        }
      }
    }
    return t;
  }();
  return table;
}

std::string CodePointName(uint32_t cp) {
  char buf[16];
  std::snprintf(buf, sizeof(buf), "U+%04X", cp);
  return buf;
}

bool Fail(ConvertError* error, size_t offset, std::string message) {
  if (error != nullptr) {
    error->offset = offset;
    error->message = std::move(message);
  }
  return false;
}

}  // namespace

void AppendUtf8(uint32_t cp, std::string* out) {
  if (cp < 0x80) {
    out->push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out->push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

uint16_t Cp949Decode(unsigned char lead, unsigned char trail) {
  if (lead < kFirstLead || lead == 0xFF || trail < kFirstTrail || trail == 0xFF) return 0;
  return kCp949ToUnicode[lead - kFirstLead][trail - kFirstTrail];
}

uint16_t Cp949Pair(uint32_t codePoint) {
  return codePoint < 0x10000 ? EncodeTable()[codePoint] : 0;
}

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

bool Utf8ToCp949(std::string_view utf8, std::string* out, ConvertError* error) {
  out->clear();
  for (size_t i = 0; i < utf8.size();) {
    uint32_t cp = 0;
    const size_t n = DecodeUtf8(utf8, i, &cp);
    if (n == 0) return Fail(error, i, "malformed UTF-8");
    if (cp == 0) return Fail(error, i, "NUL character");
    if (cp < 0x80) {
      out->push_back(static_cast<char>(cp));
    } else {
      const uint16_t pair = Cp949Pair(cp);
      if (pair == 0) return Fail(error, i, CodePointName(cp) + " cannot be written in CP949");
      out->push_back(static_cast<char>(pair >> 8));
      out->push_back(static_cast<char>(pair & 0xFF));
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
    const uint16_t u = Cp949Decode(lead, static_cast<unsigned char>(cp949[i + 1]));
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

}  // namespace eti
