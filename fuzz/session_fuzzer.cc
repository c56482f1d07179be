// The session API with arbitrary bytes: the input becomes a reference, the
// text (any bytes, read as UTF-8) and, when asked, edits of the bundled
// dictionaries that may break their headers and sizes, so that what
// ekr_open accepts is exactly what it can run safely.  With the bundled
// set, a text CP949 can hold must get the whole-call entry's answer.
//
// Layout of an input (see fuzz_dicts.h for the seeds):
//   byte 0       bit 0: edit the dictionaries
//   bytes 1..12  the reference time
//   [edits]      when bit 0 is set: a count M (mod 16), then M x 6 bytes:
//                part (mod 6), operation (mod 3: set a byte, cut the part at
//                the offset, append a byte), offset (3 bytes, mod the size),
//                byte
//   the rest     the text
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "extractor_kr.h"
#include "extractor_kr/stages.h"
#include "fuzz_dicts.h"
#include "session/cp949.h"

namespace {

const ekr_extractor* Bundled() {
  static ekr_extractor* ex = [] {
    ekr_extractor* e = nullptr;
    if (ekr_open_default(&e) != EKR_OK) std::abort();
    return e;
  }();
  return ex;
}

// A moment equals a time string when every field is the string's (all F's
// read as -1).
bool Equal(const ekr_moment& m, const char* t) {
  const int32_t fields[6] = {m.year, m.month, m.day, m.hour, m.minute, m.second};
  const int at[7] = {0, 4, 6, 8, 10, 12, 14};
  for (int k = 0; k < 6; ++k) {
    const std::string f(t + at[k], t + at[k + 1]);
    const int32_t v = f.find_first_not_of('F') == std::string::npos ? -1 : std::atoi(f.c_str());
    if (v != fields[k]) return false;
  }
  return true;
}

// CP949 bytes in UTF-8, U+FFFD for a byte that opens no character.
std::string Lenient(const std::string& cp949) {
  std::string out;
  for (size_t i = 0; i < cp949.size();) {
    const auto b = static_cast<unsigned char>(cp949[i]);
    const uint16_t u = b >= 0x80 && i + 1 < cp949.size()
                           ? eti::Cp949Decode(b, static_cast<unsigned char>(cp949[i + 1]))
                           : 0;
    if (b < 0x80) {
      out.push_back(static_cast<char>(b));
      i += 1;
    } else {
      eti::AppendUtf8(u != 0 ? u : 0xFFFD, &out);
      i += u != 0 ? 2 : 1;
    }
  }
  return out;
}

// The session's answer must be the whole call's, field by field.
void CompareWithWholeCall(const std::string& utf8, const std::string& ref, const ekr_results* r) {
  std::string cp949;
  eti::ConvertError bad;
  if (!eti::Utf8ToCp949(utf8, &cp949, &bad)) return;
  const eti::fuzz::DictSet& d = eti::fuzz::DefaultDicts();
  TYPED_RESULT* whole = nullptr;
  ETI_Main(cp949.c_str(), &whole, ref.c_str(), d.parts[0].c_str(), d.parts[1].data(),
           d.parts[2].data(), d.parts[3].data(), d.parts[4].data(), d.parts[5].c_str());
  size_t i = 0;
  for (const TYPED_RESULT* t = whole; t != nullptr; t = t->next, ++i) {
    const ekr_result* e = ekr_results_at(r, i);
    if (e == nullptr) std::abort();
    const bool span = t->resultType > 1;
    if (e->is_span != span || !Equal(e->start, t->startTime) ||
        (span && !Equal(e->end, t->endTime)) || e->begin_char != t->beginIndex ||
        e->end_char != t->endIndex) {
      std::abort();
    }
    if (Lenient(t->content) != ekr_results_content(r)) std::abort();
  }
  if (i != ekr_results_count(r)) std::abort();
  ETI_FreeTypedResults(whole);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string in(reinterpret_cast<const char*>(data), size);
  size_t at = 0;
  const auto byte = [&]() -> uint32_t {
    return at < in.size() ? static_cast<unsigned char>(in[at++]) : 0;
  };
  const bool edit = (byte() & 1) != 0;
  std::string ref = at < in.size() ? in.substr(at, 12) : std::string();
  at += 12;
  ref = ref.substr(0, ref.find('\0'));

  ekr_extractor* own = nullptr;
  const ekr_extractor* ex = Bundled();
  if (edit) {
    std::string parts[6];
    for (int k = 0; k < 6; ++k) parts[k] = eti::fuzz::DefaultDicts().parts[k];
    const uint32_t edits = byte() % 16;
    for (uint32_t e = 0; e < edits; ++e) {
      std::string& part = parts[byte() % 6];
      const uint32_t op = byte() % 3;
      const uint32_t offset = byte() | byte() << 8 | byte() << 16;
      const char value = static_cast<char>(byte());
      if (op == 2) {
        part.push_back(value);
      } else if (!part.empty()) {
        if (op == 0) part[offset % part.size()] = value;
        if (op == 1) part.resize(offset % part.size());
      }
    }
    const auto blob = [&](int k) { return ekr_blob{parts[k].data(), parts[k].size()}; };
    const ekr_dictionaries d = {blob(0), blob(1), blob(2), blob(3), blob(4), blob(5)};
    if (ekr_open(&d, &own) != EKR_OK) return 0;
    ex = own;
  }
  const std::string text = at < in.size() ? in.substr(at) : std::string();

  ekr_results* r = nullptr;
  if (ekr_extract(ex, text.data(), text.size(), ref.c_str(), &r) == EKR_OK) {
    for (size_t i = 0; i < ekr_results_count(r); ++i) {
      const ekr_result* e = ekr_results_at(r, i);
      // Positions always slice inside the text.
      if (e->begin_byte > e->end_byte || e->end_byte > static_cast<int32_t>(text.size()) ||
          (e->begin_byte < 0 && e->begin_byte != -1)) {
        std::abort();
      }
    }
    if (own == nullptr) CompareWithWholeCall(text, ref, r);
    ekr_results_free(r);
  }
  ekr_close(own);
  return 0;
}
