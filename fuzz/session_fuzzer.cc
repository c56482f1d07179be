// The session API with arbitrary bytes: the input becomes a reference, the
// text (any bytes, read as UTF-8) and, when asked, edits of the bundled
// dictionaries that may break their headers and sizes, so that what
// ekr_open accepts is exactly what it can run safely.  With the bundled
// set, a text CP949 can hold must get the whole-call entry's answer.
//
// Layout of an input (see fuzz_dicts.h for the seeds):
//   byte 0       bit 0: edit the dictionaries; bit 1: reading options
//   bytes 1..12  the reference time
//   [options]    when bit 1 is set: rules (mod 3, 2 is unknown), prefer
//                (mod 3, 2 is unknown), then a byte w: an even w leaves the
//                rules' own years, an odd one is followed by the first and
//                last year of the window as 990 + 8 x a byte each (some
//                windows lie outside the rules' years or upside down)
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

// The fields of a time string, all F's read as -1.
ekr_moment MomentOf(const char* t) {
  const int at[7] = {0, 4, 6, 8, 10, 12, 14};
  int32_t v[6];
  for (int k = 0; k < 6; ++k) {
    const std::string f(t + at[k], t + at[k + 1]);
    v[k] = f.find_first_not_of('F') == std::string::npos ? -1 : std::atoi(f.c_str());
  }
  ekr_moment m{};
  m.year = v[0];
  m.month = v[1];
  m.day = v[2];
  m.hour = v[3];
  m.minute = v[4];
  m.second = v[5];
  return m;
}

// A moment equals a time string when every field is the string's.
bool Equal(const ekr_moment& m, const char* t) {
  const ekr_moment w = MomentOf(t);
  return m.year == w.year && m.month == w.month && m.day == w.day && m.hour == w.hour &&
         m.minute == w.minute && m.second == w.second;
}

// Every field open (-1) or in its range, the year inside [first, last].
bool InRange(const ekr_moment& m, int32_t first, int32_t last) {
  const auto within = [](int32_t v, int32_t lo, int32_t hi) {
    return v == -1 || (v >= lo && v <= hi);
  };
  if (!within(m.year, first, last) || !within(m.month, 1, 12) || !within(m.hour, 0, 23) ||
      !within(m.minute, 0, 59) || !within(m.second, 0, 59)) {
    return false;
  }
  static const int32_t kLength[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  int32_t lastDay = m.month == -1 ? 31 : kLength[m.month - 1];
  if (m.month == 2 && m.year != -1 &&
      !(m.year % 4 == 0 && (m.year % 100 != 0 || m.year % 400 == 0))) {
    lastDay = 28;
  }
  return within(m.day, 1, lastDay);
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
  // The session gives no moment the calendar lacks (one before 1970 that
  // the whole call's arithmetic leaves out of range); the rest agree.
  bool dropped = false;
  size_t i = 0;
  for (const TYPED_RESULT* t = whole; t != nullptr; t = t->next) {
    if (!InRange(MomentOf(t->startTime), 1970, 9999) ||
        (t->resultType > 1 && !InRange(MomentOf(t->endTime), 1970, 9999))) {
      dropped = true;
      continue;
    }
    const ekr_result* e = ekr_results_at(r, i++);
    if (e == nullptr) std::abort();
    const bool span = t->resultType > 1;
    if (e->is_span != span || !Equal(e->start, t->startTime) ||
        (span && !Equal(e->end, t->endTime)) || e->begin_char != t->beginIndex ||
        e->end_char != t->endIndex) {
      std::abort();
    }
  }
  if (i != ekr_results_count(r)) std::abort();
  // The content is the whole call's unless a result was left out (its
  // expression then stays in the content).
  if (whole != nullptr && !dropped && Lenient(whole->content) != ekr_results_content(r)) {
    std::abort();
  }
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
  options.rules = EKR_RULES_WHOLE_CALL;  // what ekr_extract reads by
  const bool withOptions = (flags & 2) != 0;
  int rules = EKR_RULES_WHOLE_CALL, prefer = EKR_PREFER_FUTURE;
  if (withOptions) {
    // Stored as a C caller would, even the ints that name no value.
    rules = static_cast<int>(byte() % 3);
    prefer = static_cast<int>(byte() % 3);
    std::memcpy(&options.rules, &rules, sizeof rules);
    std::memcpy(&options.prefer, &prefer, sizeof prefer);
    if (byte() % 2 == 1) {
      options.min_year = static_cast<int32_t>(990 + 8 * byte());
      options.max_year = static_cast<int32_t>(990 + 8 * byte());
    }
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
  const bool ownYears = options.min_year == 0 && options.max_year == 0;
  int32_t first = 0, last = 0;
  // Only a value the enum names may be passed by value from C++; the
  // others are the library's to refuse, which the extract call above did.
  const bool knownRules = rules == EKR_RULES_READER || rules == EKR_RULES_WHOLE_CALL;
  if (knownRules &&
      ekr_rules_years(static_cast<ekr_rules>(rules), &first, &last) != EKR_OK) {
    __builtin_trap();
  }
  const bool validOptions =
      knownRules && prefer <= EKR_PREFER_PAST &&
      (rules == EKR_RULES_WHOLE_CALL
           ? prefer == EKR_PREFER_FUTURE &&
                 (ownYears || (options.min_year == first && options.max_year == last))
           : ownYears || (options.min_year >= first && options.max_year <= last &&
                          options.min_year <= options.max_year));
  if (!ownYears && rules == EKR_RULES_READER) {
    first = options.min_year;
    last = options.max_year;
  }
  if (rules == EKR_RULES_WHOLE_CALL) {
    // Counts reach back from the reference, and carries past the last year.
    first = 1970;
    last = 9999;
  }
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
      // Every moment is one the calendar has, inside the rules' years.
      if (!InRange(e->start, first, last) || !InRange(e->end, first, last)) std::abort();
    }
    // The reader's content keeps or drops whole characters: a replacement
    // character in it that the text did not hold is a character cut in two.
    // (The whole call's content is the native one, compared below.)
    static const std::string kReplacement = "\xEF\xBF\xBD";
    if (rules == EKR_RULES_READER && text.find(kReplacement) == std::string::npos &&
        std::string(ekr_results_content(r)).find(kReplacement) != std::string::npos) {
      std::abort();
    }
    if (prefer == EKR_PREFER_PAST) CheckSpansStayOrdered(ex, text, ref, options, r);
    if (own == nullptr && rules == EKR_RULES_WHOLE_CALL) CompareWithWholeCall(text, ref, r);
    ekr_results_free(r);
  }
  ekr_close(own);
  return 0;
}
