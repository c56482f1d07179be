// Session extractors.  Open: each trie is checked against its stated size
// and loaded once, the settings read, the word list split; nothing is
// checked again per call.  Extract: the UTF-8 text is read into the
// engine's text (session/text.h), the pipeline runs over the loaded set,
// and every position and the content are mapped back onto the text given.
#include "session/extractor.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "calendar/arith.h"
#include "calendar/rules.h"
#include "session/text.h"
#include "dict/source_set.h"

namespace eti::session {

const char* const kDictionaryFiles[6] = {"settings.txt", "replace.bin", "tags.bin",
                                         "patterns.bin", "units.bin",   "words.dic"};

namespace {

// The largest engine text a thread keeps between calls, in bytes.
constexpr size_t kKeptText = 64 * 1024;

// A field of a time string: -1 where it is all F's (open), else its value.
int32_t TimeField(const char* t, int at, int width) {
  if (t[at] == 'F') return -1;
  char buf[5] = {0};
  std::memcpy(buf, t + at, static_cast<size_t>(width));
  return ReadInt(buf);
}

ekr_moment Moment(const char* time, const uint8_t* flags) {
  ekr_moment m;
  m.year = TimeField(time, 0, 4);
  m.month = TimeField(time, 4, 2);
  m.day = TimeField(time, 6, 2);
  m.hour = TimeField(time, 8, 2);
  m.minute = TimeField(time, 10, 2);
  m.second = TimeField(time, 12, 2);
  m.has_date = flags[0];
  m.has_time = flags[1];
  m.has_ampm = flags[2];
  return m;
}

// How a result repeats.  The whole call shows the first of the year,
// month, week and day repeats that is 1; the reader rules the first that is
// set at all, with its value as the interval (격주 is a week repeat of 2).
void CycleOfFlags(const RESULT_ETS& r, const ReadingRules& rules, ekr_result* e) {
  static const ekr_cycle kCycles[4] = {EKR_CYCLE_YEAR, EKR_CYCLE_MONTH, EKR_CYCLE_WEEK,
                                       EKR_CYCLE_DAY};
  e->cycle = EKR_CYCLE_NONE;
  e->cycle_interval = 0;
  for (int k = 0; k < 4; ++k) {
    const uint8_t every = r.repeatFlags[k];
    if (every == 1 || (rules.reader && every > 1)) {
      e->cycle = kCycles[k];
      e->cycle_interval = every;
      return;
    }
  }
}

// Whether a moment is one the calendar has: every field open or in its
// range, and under the reader rules the year inside their window.  A count
// that reaches before 1970 leaves the whole call's arithmetic with fields
// below their ranges; what it carries past 2035 (a day after 2035-12-31)
// it keeps.
bool InRange(const ekr_moment& m, const ReadingRules& rules) {
  const auto within = [](int32_t v, int32_t lo, int32_t hi) { return v == -1 || (v >= lo && v <= hi); };
  const int32_t firstYear = rules.reader ? rules.minYear : ReadingRules::kWholeCallFirstReference;
  const int32_t lastYear = rules.reader ? rules.maxYear : 9999;
  if (!within(m.year, firstYear, lastYear) || !within(m.month, 1, 12) ||
      !within(m.hour, 0, 23) || !within(m.minute, 0, 59) || !within(m.second, 0, 59)) {
    return false;
  }
  int32_t lastDay = 31;
  if (m.month != -1) {
    static const int32_t kLength[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    lastDay = kLength[m.month - 1];
    if (m.month == 2 && m.year != -1) {
      const bool leap = m.year % 4 == 0 && (m.year % 100 != 0 || m.year % 400 == 0);
      lastDay = leap ? 29 : 28;
    }
  }
  return within(m.day, 1, lastDay);
}

std::string_view NameOf(int part) { return kDictionaryFiles[part]; }

Status ReadWholeFile(const std::string& path, std::string* out) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) {
    return Status::Error(EKR_ERROR_IO, path + ": " + std::strerror(errno));
  }
  out->clear();
  char buf[1 << 16];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof(buf), f)) > 0) out->append(buf, n);
  const bool failed = std::ferror(f) != 0;
  std::fclose(f);
  if (failed) return Status::Error(EKR_ERROR_IO, path + ": read error");
  return {};
}

}  // namespace

std::string TimeString(const ekr_moment& m) {
  const int32_t fields[6] = {m.year, m.month, m.day, m.hour, m.minute, m.second};
  std::string out;
  for (int k = 0; k < 6; ++k) {
    const int width = k == 0 ? 4 : 2;
    if (fields[k] == -1) {
      out.append(static_cast<size_t>(width), 'F');
    } else {
      char buf[16];
      std::snprintf(buf, sizeof(buf), "%0*d", width, fields[k]);
      out += buf;
    }
  }
  return out;
}

Status Extractor::Open(const ekr_dictionaries& d, std::unique_ptr<Extractor>* out) {
  const ekr_blob blobs[6] = {d.settings, d.replacements, d.tags,
                             d.patterns, d.unit_sequences, d.words};
  for (int k = 0; k < 6; ++k) {
    if (blobs[k].data == nullptr && blobs[k].size > 0) {
      return Status::Error(EKR_ERROR_ARGUMENT, std::string(NameOf(k)) + ": no data for " +
                                                   std::to_string(blobs[k].size) + " bytes");
    }
  }
  std::unique_ptr<Extractor> ex(new (std::nothrow) Extractor());
  if (ex == nullptr) return Status::Error(EKR_ERROR_MEMORY, "out of memory");
  for (int k = 0; k < 6; ++k) {
    if (blobs[k].size > 0) ex->blobs_[k].assign(static_cast<const char*>(blobs[k].data), blobs[k].size);
  }
  for (int k = 0; k < 4; ++k) {
    std::string problem;
    ex->tries_[k].reset(LoadCheckedTrie(blobs[k + 1].data, blobs[k + 1].size, &problem));
    if (ex->tries_[k] == nullptr) {
      const ekr_status code = problem == "out of memory" ? EKR_ERROR_MEMORY : EKR_ERROR_DICTIONARY;
      return Status::Error(code, std::string(NameOf(k + 1)) + ": " + problem);
    }
  }
  // The settings and the word list are texts read up to their first NUL,
  // as the whole-call entry reads them.
  const std::string settings(static_cast<const char*>(blobs[0].data), blobs[0].size);
  ReadSettings(settings.c_str(), &ex->dicts_);
  ex->wordText_.assign(static_cast<const char*>(blobs[5].data), blobs[5].size);
  ex->words_ = SplitWordList(ex->wordText_.c_str());
  ex->wordIndex_ = std::make_unique<WordIndex>(ex->words_);
  ex->dicts_.replacements = ex->tries_[0].get();
  ex->dicts_.tags = ex->tries_[1].get();
  ex->dicts_.patterns = ex->tries_[2].get();
  ex->dicts_.unitSequences = ex->tries_[3].get();
  ex->dicts_.words = &ex->words_;
  ex->dicts_.wordIndex = ex->wordIndex_.get();
  for (int k = 0; k < 4; ++k) {
    ex->indexes_[k] = std::make_unique<ChainIndex>(ex->tries_[k].get());
    ex->dicts_.indexes[k] = ex->indexes_[k].get();
  }
  *out = std::move(ex);
  return {};
}

Status Extractor::OpenDir(const std::string& dir, std::unique_ptr<Extractor>* out,
                          const std::string& settingsFile) {
  CompiledSet set;
  const auto exists = [](const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
  };
  if (exists(dir + "/tags.bin")) {
    std::string* parts[6] = {&set.settings, &set.replace, &set.tags,
                             &set.patterns, &set.units,   &set.words};
    for (int k = 0; k < 6; ++k) {
      Status s = ReadWholeFile(dir + "/" + kDictionaryFiles[k], parts[k]);
      if (!s.ok()) return s;
    }
  } else if (exists(dir + "/tags.txt")) {
    std::vector<SourceError> errors;
    set = CompileSourceDir(dir, &errors);
    if (!errors.empty()) {
      std::string detail;
      for (const SourceError& e : errors) detail += (detail.empty() ? "" : "\n") + e.Format();
      // A file that cannot be read is an I/O error; anything else a fault of
      // the sources.
      const bool unreadable = errors.front().line == 0;
      return Status::Error(unreadable ? EKR_ERROR_IO : EKR_ERROR_DICTIONARY, detail);
    }
  } else {
    return Status::Error(EKR_ERROR_IO,
                         dir + ": no dictionaries there (neither tags.bin nor tags.txt)");
  }
  Status s = OpenSet(std::move(set), settingsFile, out);
  if (!s.ok() && s.code == EKR_ERROR_DICTIONARY) s.detail = dir + "/" + s.detail;
  return s;
}

Status Extractor::OpenSet(CompiledSet&& set, const std::string& settingsFile,
                          std::unique_ptr<Extractor>* out) {
  if (!settingsFile.empty()) {
    Status s = ReadWholeFile(settingsFile, &set.settings);
    if (!s.ok()) return s;
  }
  Status s = Open(set.View(), out);
  if (!s.ok()) return s;
  for (int k = 0; k < 4; ++k) (*out)->origins_[k] = std::move(set.origins[k]);
  return {};
}

ekr_dictionaries Extractor::Dictionaries() const {
  const auto b = [](const std::string& s) { return ekr_blob{s.data(), s.size()}; };
  return {b(blobs_[0]), b(blobs_[1]), b(blobs_[2]), b(blobs_[3]), b(blobs_[4]), b(blobs_[5])};
}

ekr_options DefaultOptions() {
  return {sizeof(ekr_options), EKR_RULES_READER, EKR_PREFER_FUTURE, 0, 0};
}

ekr_options WholeCallOptions() {
  return {sizeof(ekr_options), EKR_RULES_WHOLE_CALL, EKR_PREFER_FUTURE, 0, 0};
}

namespace {

std::string Window(int32_t first, int32_t last) {
  return std::to_string(first) + ".." + std::to_string(last);
}

}  // namespace

bool RulesYears(int rules, int32_t* first, int32_t* last) {
  if (rules == EKR_RULES_READER) {
    *first = ReadingRules::kFirstYear;
    *last = ReadingRules::kLastYear;
  } else if (rules == EKR_RULES_WHOLE_CALL) {
    *first = ReadingRules::kWholeCallMin;
    *last = ReadingRules::kWholeCallMax;
  } else {
    return false;
  }
  return true;
}

bool ReferenceYears(int rules, int32_t* first, int32_t* last) {
  if (rules != EKR_RULES_WHOLE_CALL) return RulesYears(rules, first, last);
  *first = ReadingRules::kWholeCallFirstReference;
  *last = ReadingRules::kWholeCallLastReference;
  return true;
}

std::string OptionsProblem(const ekr_options& o) {
  if (o.size < sizeof(ekr_options)) {
    return "options of " + std::to_string(o.size) +
           " bytes: set them up with ekr_options_init first";
  }
  const int rules = AsInt(o.rules), prefer = AsInt(o.prefer);
  int32_t first = 0, last = 0;
  if (!RulesYears(rules, &first, &last)) {
    return "rules " + std::to_string(rules) + " are neither reader (" +
           std::to_string(EKR_RULES_READER) + ") nor whole-call (" +
           std::to_string(EKR_RULES_WHOLE_CALL) + ")";
  }
  if (prefer != EKR_PREFER_FUTURE && prefer != EKR_PREFER_PAST) {
    return "prefer " + std::to_string(prefer) + " is neither future (" +
           std::to_string(EKR_PREFER_FUTURE) + ") nor past (" + std::to_string(EKR_PREFER_PAST) +
           ")";
  }
  const bool own = o.min_year == 0 && o.max_year == 0;
  if (rules == EKR_RULES_WHOLE_CALL) {
    if (prefer != EKR_PREFER_FUTURE) return "the whole call's rules prefer the future only";
    if (!own && (o.min_year != first || o.max_year != last)) {
      return "the whole call's rules read years " + Window(first, last) + " only, not " +
             Window(o.min_year, o.max_year);
    }
    return "";
  }
  if (!own && (o.min_year > o.max_year || o.min_year < first || o.max_year > last)) {
    return "years " + Window(o.min_year, o.max_year) + " are not a window inside " +
           Window(first, last);
  }
  return "";
}

ReadingRules RulesOf(const ekr_options& o) {
  ReadingRules r;
  if (o.rules == EKR_RULES_WHOLE_CALL) return r;
  r.reader = true;
  const bool own = o.min_year == 0 && o.max_year == 0;
  r.minYear = own ? ReadingRules::kFirstYear : o.min_year;
  r.maxYear = own ? ReadingRules::kLastYear : o.max_year;
  r.past = o.prefer == EKR_PREFER_PAST;
  return r;
}

namespace {

// The problem with a reference of twelve digits under `rules` ("" when it
// is taken): the whole call's check, or the same fields with the year
// inside the reader's window.
std::string ReferenceProblem(const std::string& ref, const ReadingRules& rules) {
  const auto field = [&](size_t at, size_t n) {
    int value = 0;
    for (size_t k = at; k < at + n; ++k) value = value * 10 + (ref[k] - '0');
    return value;
  };
  const int year = field(0, 4);
  const int32_t first = rules.reader ? rules.minYear : ReadingRules::kWholeCallFirstReference;
  const int32_t last = rules.reader ? rules.maxYear : ReadingRules::kWholeCallLastReference;
  const bool taken = rules.reader ? year >= first && year <= last && field(4, 2) >= 1 &&
                                        field(4, 2) <= 12 && field(6, 2) >= 1 &&
                                        field(6, 2) <= 31 && field(8, 2) <= 24 &&
                                        field(10, 2) <= 60
                                  : AcceptReference(ref.c_str());
  if (taken) return "";
  return "reference " + ref + " is outside years " + Window(first, last) +
         ", months 1..12, days 1..31, hours 0..24, minutes 0..60";
}

// A result found inside a replacement's value (8일 of 어버이날, read as
// 5월8일) maps back onto bytes of the text that need not end where its
// characters do; the whole call's content then keeps half a character.  The
// reader's content keeps or drops whole characters: one with a byte removed
// goes.
void RemoveWholeCharacters(const std::string& cp949, std::string* map) {
  for (size_t b = 0; b + 1 < cp949.size() && b + 1 < map->size();) {
    if (static_cast<unsigned char>(cp949[b]) < 0x80) {
      ++b;
      continue;
    }
    if ((*map)[b] != '0' || (*map)[b + 1] != '0') (*map)[b] = (*map)[b + 1] = '1';
    b += 2;
  }
}

}  // namespace

Status Extractor::Extract(std::string_view text, std::string_view reference,
                          Results* out) const {
  return Extract(text, reference, WholeCallOptions(), out);
}

Status Extractor::Extract(std::string_view text, std::string_view reference,
                          const ekr_options& options, Results* out) const {
  out->items.clear();
  out->content.clear();
  const std::string problem = OptionsProblem(options);
  if (!problem.empty()) return Status::Error(EKR_ERROR_ARGUMENT, problem);
  const ReadingRules rules = RulesOf(options);
  if (reference.size() != 12 ||
      reference.find_first_not_of("0123456789") != std::string_view::npos) {
    return Status::Error(EKR_ERROR_REFERENCE, "reference \"" + std::string(reference) +
                                                  "\" is not twelve digits YYYYMMDDhhmm");
  }
  const std::string ref(reference);
  const std::string refProblem = ReferenceProblem(ref, rules);
  if (!refProblem.empty()) return Status::Error(EKR_ERROR_REFERENCE, refProblem);
  const ScopedReadingRules scope(rules);
  // The engine's text, kept by the thread from call to call so that its
  // buffers need not be made again; given back after a long text.
  thread_local EngineText engineText;
  struct Release {
    ~Release() {
      if (engineText.cp949.capacity() > kKeptText) engineText = EngineText();
    }
  } release;
  size_t where = 0;
  switch (ReadText(text, &engineText, &where)) {
    case TextProblem::kNone:
      break;
    case TextProblem::kMalformed:
      return Status::Error(EKR_ERROR_TEXT, "malformed UTF-8 at byte " + std::to_string(where));
    case TextProblem::kNul:
      return Status::Error(EKR_ERROR_TEXT, "NUL character at byte " + std::to_string(where));
    case TextProblem::kTooLong:
      return Status::Error(EKR_ERROR_TEXT, "text of " + std::to_string(text.size()) +
                                               " bytes, longer than " + std::to_string(where));
  }

  const char* cp949 = engineText.cp949.c_str();
  const int32_t length = static_cast<int32_t>(engineText.cp949.size());
  int32_t overallType = 0;
  std::vector<Found> found = RunPipeline(cp949, length, ref.c_str(), dicts_, &overallType);
  // A moment the calendar cannot place is no answer: its expression gives
  // no result and stays in the content.
  std::vector<ekr_result> items;
  items.reserve(found.size());
  size_t kept = 0;
  for (size_t k = 0; k < found.size(); ++k) {
    const RESULT_ETS& r = found[k].node;
    ekr_result e{};
    e.size = sizeof(ekr_result);
    e.is_span = r.spanFlag != 0 ? 1 : 0;
    e.lunar = found[k].lunar ? 1 : 0;
    e.start = Moment(r.startTime, r.startFlags);
    e.end = e.is_span ? Moment(r.endTime, r.endFlags) : e.start;
    CycleOfFlags(r, rules, &e);
    if (!InRange(e.start, rules) || !InRange(e.end, rules)) continue;
    items.push_back(e);
    if (kept != k) found[kept] = std::move(found[k]);
    ++kept;
  }
  found.resize(kept);

  // Character positions for every result in one walk, then the text's own.
  std::vector<int32_t> chars(2 * found.size());
  std::vector<int32_t*> requests;
  requests.reserve(chars.size());
  for (size_t k = 0; k < found.size(); ++k) {
    MarkedBytes(found[k], &chars[2 * k], &chars[2 * k + 1]);
    requests.push_back(&chars[2 * k]);
    requests.push_back(&chars[2 * k + 1]);
  }
  CharIndexes(cp949, std::move(requests));
  const auto position = [&](int32_t k, int32_t* asByte, int32_t* asChar, int32_t* asUtf16) {
    if (k < 0 || static_cast<size_t>(k) >= engineText.utf8Start.size()) {
      *asByte = *asChar = *asUtf16 = -1;
      return;
    }
    *asByte = engineText.utf8Start[k];
    *asChar = k;
    *asUtf16 = engineText.utf16Start[k];
  };
  for (size_t k = 0; k < found.size(); ++k) {
    ekr_result& e = items[k];
    position(chars[2 * k], &e.begin_byte, &e.begin_char, &e.begin_utf16);
    position(chars[2 * k + 1], &e.end_byte, &e.end_char, &e.end_utf16);
  }
  out->items = std::move(items);
  std::string removal = RemovalMap(cp949, length, found, words_, wordIndex_.get());
  if (rules.reader) RemoveWholeCharacters(engineText.cp949, &removal);
  out->content = KeptUtf8(text, engineText, removal);
  return {};
}

}  // namespace eti::session
