// The session API with arbitrary bytes: the input becomes a reference, the
// text (any bytes, read as UTF-8) and, when asked, edits of the bundled
// dictionaries that may break their headers and sizes, so that what
// ekr_open accepts is exactly what it can run safely.  With the bundled
// set, a text CP949 can hold must get the whole-call entry's answer.
//
// Layout of an input (see fuzz_dicts.h for the seeds):
//   byte 0       bit 0: edit the dictionaries; bit 1: reading options
//   bytes 1..12  the reference time
//   [options]    when bit 1 is set: prefer (mod 3, 2 is unknown), then the
//                first and last year of the window as 1895 + a byte each
//                (some windows lie outside 1900..2099 or upside down)
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

// Whether `end` comes before `start`, read on the leading fields both
// state.
bool EndsBeforeStart(const ekr_moment& start, const ekr_moment& end) {
  const int32_t s[6] = {start.year, start.month, start.day, start.hour, start.minute, start.second};
  const int32_t e[6] = {end.year, end.month, end.day, end.hour, end.minute, end.second};
  for (int k = 0; k < 6 && s[k] >= 0 && e[k] >= 0; ++k) {
    if (s[k] != e[k]) return e[k] < s[k];
  }
  return false;
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

// Placing open dates in the past keeps each span's end after its start
// where the future placement does.
void CheckSpansStayOrdered(const ekr_extractor* ex, const std::string& text,
                           const std::string& ref, ekr_options options, const ekr_results* past) {
  options.prefer = EKR_PREFER_FUTURE;
  ekr_results* future = nullptr;
  if (ekr_extract_with(ex, text.data(), text.size(), ref.c_str(), &options, &future) != EKR_OK) {
    std::abort();
  }
  if (ekr_results_count(future) == ekr_results_count(past)) {
    for (size_t i = 0; i < ekr_results_count(past); ++i) {
      const ekr_result* p = ekr_results_at(past, i);
      const ekr_result* f = ekr_results_at(future, i);
      if (p->is_span && !EndsBeforeStart(f->start, f->end) && EndsBeforeStart(p->start, p->end)) {
        std::abort();
      }
    }
  }
  ekr_results_free(future);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string in(reinterpret_cast<const char*>(data), size);
  size_t at = 0;
  const auto byte = [&]() -> uint32_t {
    return at < in.size() ? static_cast<unsigned char>(in[at++]) : 0;
  };
  const uint32_t flags = byte();
  const bool edit = (flags & 1) != 0;
  std::string ref = at < in.size() ? in.substr(at, 12) : std::string();
  at += 12;
  ref = ref.substr(0, ref.find('\0'));
  ekr_options options;
  ekr_options_init(&options);
  const bool withOptions = (flags & 2) != 0;
  if (withOptions) {
    // Stored as a C caller would, even the int that names no value.
    const int prefer = static_cast<int>(byte() % 3);
    std::memcpy(&options.prefer, &prefer, sizeof prefer);
    options.min_year = static_cast<int32_t>(1895 + byte());
    options.max_year = static_cast<int32_t>(1895 + byte());
  }

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
  const ekr_status status =
      withOptions ? ekr_extract_with(ex, text.data(), text.size(), ref.c_str(), &options, &r)
                  : ekr_extract(ex, text.data(), text.size(), ref.c_str(), &r);
  int prefer = 0;
  std::memcpy(&prefer, &options.prefer, sizeof prefer);
  const bool validOptions = prefer <= EKR_PREFER_PAST && options.min_year >= 1900 &&
                            options.max_year <= 2099 && options.min_year <= options.max_year;
  if (!validOptions) {
    if (status != EKR_ERROR_ARGUMENT) std::abort();  // bad options accepted
    ekr_close(own);
    return 0;
  }
  if (status == EKR_OK) {
    for (size_t i = 0; i < ekr_results_count(r); ++i) {
      const ekr_result* e = ekr_results_at(r, i);
      // Positions always slice inside the text.
      if (e->begin_byte > e->end_byte || e->end_byte > static_cast<int32_t>(text.size()) ||
          (e->begin_byte < 0 && e->begin_byte != -1)) {
        std::abort();
      }
      // A window keeps its results inside it.
      if (withOptions && e->start.year >= 0 &&
          (e->start.year < options.min_year || e->start.year > options.max_year)) {
        std::abort();
      }
    }
    if (withOptions && options.prefer == EKR_PREFER_PAST) CheckSpansStayOrdered(ex, text, ref, options, r);
    const bool wholeCallRules = !withOptions || (options.prefer == EKR_PREFER_FUTURE &&
                                                 options.min_year == 2000 &&
                                                 options.max_year == 2035);
    if (own == nullptr && wholeCallRules) CompareWithWholeCall(text, ref, r);
    ekr_results_free(r);
  }
  ekr_close(own);
  return 0;
}
