// Session extractors.  Open: each trie is checked against its stated size
// and loaded once, the settings read, the word list split; nothing is
// checked again per call.  Extract: the UTF-8 text is read into the
// engine's text (session/text.h), the pipeline runs over the loaded set,
// and every position and the content are mapped back onto the text given.
#include "session/extractor.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "calendar/arith.h"
#include "calendar/rules.h"
#include "session/text.h"

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

ekr_cycle CycleOfFlags(const RESULT_ETS& r) {
  const char* c = CycleOf(r);
  if (c[3] == '1') return EKR_CYCLE_YEAR;
  if (c[5] == '1') return EKR_CYCLE_MONTH;
  if (c[7] == '7') return EKR_CYCLE_WEEK;
  if (c[7] == '1') return EKR_CYCLE_DAY;
  return EKR_CYCLE_NONE;
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
  for (int k = 0; k < 4; ++k) {
    ex->indexes_[k] = std::make_unique<ChainIndex>(ex->tries_[k].get());
    ex->dicts_.indexes[k] = ex->indexes_[k].get();
  }
  *out = std::move(ex);
  return {};
}

Status Extractor::OpenDir(const std::string& dir, std::unique_ptr<Extractor>* out) {
  std::string files[6];
  for (int k = 0; k < 6; ++k) {
    Status s = ReadWholeFile(dir + "/" + kDictionaryFiles[k], &files[k]);
    if (!s.ok()) return s;
  }
  const auto blob = [&](int k) { return ekr_blob{files[k].data(), files[k].size()}; };
  Status s = Open({blob(0), blob(1), blob(2), blob(3), blob(4), blob(5)}, out);
  if (!s.ok()) s.detail = dir + "/" + s.detail;
  return s;
}

ekr_options WholeCallOptions() {
  return {EKR_PREFER_FUTURE, ReadingRules::kWholeCallMin, ReadingRules::kWholeCallMax};
}

std::string OptionsProblem(const ekr_options& o) {
  // A C caller may store any int in the enum, which C++ may not load as
  // the enum: read its bytes as the int they are.
  int prefer = 0;
  static_assert(sizeof prefer == sizeof o.prefer, "ekr_prefer is an int");
  std::memcpy(&prefer, &o.prefer, sizeof prefer);
  if (prefer != EKR_PREFER_FUTURE && prefer != EKR_PREFER_PAST) {
    return "prefer " + std::to_string(prefer) + " is neither future (0) nor past (1)";
  }
  if (o.min_year > o.max_year || o.min_year < ReadingRules::kFirstYear ||
      o.max_year > ReadingRules::kLastYear) {
    return "years " + std::to_string(o.min_year) + ".." + std::to_string(o.max_year) +
           " are not a window inside 1900..2099";
  }
  return "";
}

namespace {

ReadingRules RulesOf(const ekr_options& o) {
  ReadingRules r;
  r.wholeCallYears =
      o.min_year == ReadingRules::kWholeCallMin && o.max_year == ReadingRules::kWholeCallMax;
  r.minYear = o.min_year;
  r.maxYear = o.max_year;
  r.past = o.prefer == EKR_PREFER_PAST;
  return r;
}

// Whether a run under `rules` takes a reference time: the whole call's
// check, or the same fields with the year inside the window.
bool AcceptReferenceUnder(const std::string& ref, const ReadingRules& rules) {
  if (rules.wholeCallYears) return AcceptReference(ref.c_str());
  const auto field = [&](size_t at, size_t n) { return std::stoi(ref.substr(at, n)); };
  const int year = field(0, 4), month = field(4, 2), day = field(6, 2), hour = field(8, 2),
            minute = field(10, 2);
  return year >= rules.minYear && year <= rules.maxYear && month >= 1 && month <= 12 &&
         day >= 1 && day <= 31 && hour <= 24 && minute <= 60;
}

}  // namespace

Status Extractor::Extract(std::string_view text, std::string_view reference,
                          Results* out) const {
  return Extract(text, reference, WholeCallOptions(), out);
}

Status Extractor::Extract(std::string_view text, std::string_view reference,
                          const ekr_options& options, Results* out) const {
  out->items.clear();
  out->lunar.clear();
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
  if (!AcceptReferenceUnder(ref, rules)) {
    return Status::Error(EKR_ERROR_REFERENCE,
                         "reference " + ref + " is outside years " +
                             (rules.wholeCallYears ? std::string("1970..2043")
                                                   : std::to_string(rules.minYear) + ".." +
                                                         std::to_string(rules.maxYear)) +
                             ", months 1..12, days 1..31, hours 0..24, minutes 0..60");
  }
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
  const std::vector<Found> found = RunPipeline(cp949, length, ref.c_str(), dicts_, &overallType);

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
  out->items.reserve(found.size());
  out->lunar.reserve(found.size());
  for (size_t k = 0; k < found.size(); ++k) {
    const RESULT_ETS& r = found[k].node;
    ekr_result e{};
    e.is_span = r.spanFlag != 0 ? 1 : 0;
    e.start = Moment(r.startTime, r.startFlags);
    e.end = e.is_span ? Moment(r.endTime, r.endFlags) : e.start;
    e.cycle = CycleOfFlags(r);
    position(chars[2 * k], &e.begin_byte, &e.begin_char, &e.begin_utf16);
    position(chars[2 * k + 1], &e.end_byte, &e.end_char, &e.end_utf16);
    out->items.push_back(e);
    out->lunar.push_back(found[k].lunar ? 1 : 0);
  }
  out->content =
      KeptUtf8(text, engineText, RemovalMap(cp949, length, found, words_, wordIndex_.get()));
  return {};
}

}  // namespace eti::session
