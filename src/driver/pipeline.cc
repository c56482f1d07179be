// The extraction pipeline.  In: the input text, the checked reference
// time and a loaded dictionary set.  Out: the results that the entries type
// for output.  Stages, in order: normalisation, tagging, pattern search,
// compounding, restoration; then the result loop joins starts and ends into
// spans and maps every expression's bytes back onto the input text.  What
// an expression covers travels as runs beside its record, so that no stage
// holds anything as long as the text for every expression.  Everything a
// run makes is released before it returns, except the results.
#include "driver/pipeline.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "analysis/normalise.h"
#include "analysis/pattern_search.h"
#include "analysis/tagger.h"
#include "calendar/arith.h"
#include "calendar/calendar.h"
#include "dict/btrie.h"
#include "dict/chain_index.h"
#include "driver/time_string.h"
#include "driver/trace.h"
#include "interpret/dtinfo.h"
#include "resolve/compound.h"
#include "resolve/reader.h"
#include "resolve/restore.h"
#include "calendar/rules.h"

namespace eti {
namespace {

// Results past the last year are dropped (2035 for the whole call), and
// with a window of the caller's, results before its first year too.
int32_t LastYear() { return CurrentRules().maxYear; }
bool BeforeWindow(const DTINFO* rec) {
  const ReadingRules& rules = CurrentRules();
  return rules.reader && IsSet(rec->year) && rec->year < rules.minYear &&
         rec->duration != 0;
}

uint8_t LowByte(int32_t v) { return IsSet(v) ? static_cast<uint8_t>(v & 0xFF) : 0; }

bool HasDatePart(const DTINFO* r) { return IsSet(r->year) || IsSet(r->month) || IsSet(r->day); }
bool HasTimePart(const DTINFO* r) {
  return IsSet(r->hour) || IsSet(r->minute) || IsSet(r->second);
}
bool IsRelative(const DTINFO* r) { return r->relKind != 0 && IsSet(r->relKind); }

Found NewNode(const DTINFO* rec, const Marks& marks, const InputMap& map) {
  Found f{};
  RESULT_ETS& node = f.node;
  node.startFlags[0] = rec->hasDate;
  node.startFlags[1] = rec->hasTime;
  node.startFlags[2] = rec->hasAmPm;
  const int32_t repeats[5] = {rec->repeatYear, rec->repeatMonth, rec->repeatWeek,
                              rec->repeatDay, rec->repeatHour};
  for (int k = 0; k < 5; ++k) node.repeatFlags[k] = LowByte(repeats[k]);
  node.spanFlag = 0;
  f.marks = map.Map(marks);
  f.lunar = rec->lunar == 1;
  DT2Char(rec, node.startTime);
  return f;
}

// Copies a revalidated time string and frees it.
void TakeTime(char* revalidated, char (&out)[15]) {
  std::memcpy(out, revalidated, 15);
  std::free(revalidated);
}

// The result list under construction.
class ResultBuilder {
 public:
  ResultBuilder(const InputMap& map, const std::vector<Placement>* places)
      : map_(map), trace_(ActiveTrace()), places_(places) {}

  void Add(DTINFO* rec, const Marks& marks);
  // The results; under the reader rules without a span that only now opens
  // (지금부터 alone: no moment a calendar can use).
  std::vector<Found> Take() {
    for (auto k = nowStarts_.rbegin(); k != nowStarts_.rend(); ++k) {
      if (std::memcmp(results_[*k].node.endTime, kOpenTime, 15) == 0) {
        results_.erase(results_.begin() + static_cast<std::ptrdiff_t>(*k));
      }
    }
    return std::move(results_);
  }
  // The records added so far, by number.
  std::vector<const DTINFO*> added_;

 private:
  Found& tail() { return results_.back(); }
  // Notes what became of the record being added, in a traced run.
  void Say(const char* what) {
    if (trace_ != nullptr) {
      trace_->results.push_back("record " + std::to_string(record_) + ": " + what);
    }
  }
  void Append(Found&& node, DTINFO* rec, const char* what = "a result") {
    Say(what);
    // The other weekdays of a weekly list, each a result of its own.
    const std::vector<std::string>* others =
        places_ != nullptr && node.node.spanFlag == 0
            ? &(*places_)[static_cast<size_t>(record_)].alsoStarts
            : nullptr;
    results_.push_back(std::move(node));
    if (others != nullptr) {
      for (const std::string& start : *others) {
        Found other = results_.back();
        std::memcpy(other.node.startTime, start.c_str(), 15);
        Say("and the same on another weekday of its list");
        results_.push_back(std::move(other));
      }
    }
    previous_ = rec;
    previousRecord_ = record_;
  }
  void OpenEnd(Found&& node, DTINFO* rec) {
    node.node.spanFlag = 1;
    std::memset(node.node.endFlags, 0, 3);
    std::memcpy(node.node.endTime, kOpenTime, 15);
    if (places_ != nullptr && rec->relKind == 5) nowStarts_.push_back(results_.size());
    Append(std::move(node), rec, "a start, its span open at the end");
  }
  void OpenStart(Found&& node, DTINFO* rec) {
    RESULT_ETS& n = node.node;
    std::memcpy(n.endTime, n.startTime, 15);
    std::memcpy(n.endFlags, n.startFlags, 3);
    std::memcpy(n.startTime, kOpenTime, 15);
    std::memset(n.startFlags, 0, 3);
    n.spanFlag = 1;
    // Under the reader rules a window after an event opens at the event
    // (만기 후 한 달 이내).
    if (places_ != nullptr) {
      const Tie& tie = (*places_)[static_cast<size_t>(record_)].tie;
      if (tie.after && tie.base >= 0 && static_cast<size_t>(tie.base) < added_.size()) {
        const DTINFO* event = added_[static_cast<size_t>(tie.base)];
        DT2Char(event, n.startTime);
        n.startFlags[0] = event->hasDate;
        n.startFlags[1] = event->hasTime;
        n.startFlags[2] = event->hasAmPm;
        return Append(std::move(node), rec, "an end, its span open at the event it follows");
      }
    }
    Append(std::move(node), rec, "an end, its span open at the start");
  }
  // The end closes the open start at the tail.
  void MergeEnd(Found&& node, DTINFO* rec) {
    if (EndsBeforeStart(node)) {
      Say("no end of the span before it: it would end before it starts");
      return OpenStart(std::move(node), rec);
    }
    Say("the end of the span before it");
    if (SubstituteHoliday(*previous_, rec)) {
      Say("a lunar holiday with a Sunday in it: its substitute day too");
      char* end = nullptr;
      int32_t date[3] = {rec->year, rec->month, WAdd(rec->day, 1)};
      int32_t time[3] = {kUnset, kUnset, kUnset};
      end = dateTimeRevalidate(date, time);
      TakeTime(end, node.node.startTime);
    }
    std::memcpy(tail().node.endTime, node.node.startTime, 15);
    std::memcpy(tail().node.endFlags, node.node.startFlags, 3);
    tail().marks = UnionOfOnes(tail().marks, node.marks);
    tail().lunar = tail().lunar || node.lunar;
    tail().node.spanFlag = static_cast<uint8_t>(previous_->duration);
    previous_ = rec;
    previousRecord_ = record_;
  }
  void DurationMerge(Found&& node, DTINFO* rec);
  bool Span(Found* node, DTINFO* rec, int32_t duration);

  // Whether the record being added stands in another sentence than the
  // record before it (reader rules only).
  bool NewSentence() const {
    if (places_ == nullptr || previousRecord_ < 0) return false;
    const Placement& a = (*places_)[static_cast<size_t>(previousRecord_)];
    const Placement& b = (*places_)[static_cast<size_t>(record_)];
    return a.sentence != b.sentence;
  }
  // Under the reader rules a span whose end came out before its start is
  // two results: what starts, and what ends.
  bool EndsBeforeStart(const Found& node) const {
    if (places_ == nullptr) return false;
    const char* start = tail().node.startTime;
    const char* end = node.node.startTime;
    for (int k = 0; k < 14; ++k) {
      if (start[k] == 'F' || end[k] == 'F') return false;
      if (start[k] != end[k]) return end[k] < start[k];
    }
    return false;
  }
  const Found& tail() const { return results_.back(); }
  // Under the reader rules the three days off of 설 or 추석 (lunar, from the
  // day before to the day after) that take in a Sunday run one day longer:
  // the substitute holiday the law has given since 2014.
  bool SubstituteHoliday(const DTINFO& start, const DTINFO* end) const {
    if (places_ == nullptr || start.lunar != 1 || end->lunar != 1 || start.year < 2014 ||
        start.year != end->year) {
      return false;
    }
    int32_t days = 0;
    for (int32_t m = start.month; m < end->month; ++m) days += LastDayOfMonth(start.year, m);
    days += end->day - start.day;
    if (days != 2) return false;
    for (int32_t k = 0; k <= 2; ++k) {
      if ((start.weekday + k) % 7 == 0) return true;
    }
    return false;
  }

  const InputMap& map_;
  Trace* const trace_;
  const std::vector<Placement>* places_;
  std::vector<Found> results_;
  DTINFO* previous_ = nullptr;
  int32_t record_ = -1;  // the number of the record being added
  int32_t previousRecord_ = -1;  // the number of previous_
  std::vector<size_t> nowStarts_;  // results that start now, open at the end
};

// A length added to the moment of the open start before it: the sum is the
// start's end.
void ResultBuilder::DurationMerge(Found&& node, DTINFO* rec) {
  if (IsSet(rec->year) || IsSet(rec->month) || IsSet(rec->day) || IsSet(rec->week)) {
    const int32_t day = IsSet(rec->day) ? rec->day : 0;
    const int32_t weeks = IsSet(rec->week) ? WMul(7, rec->week) : 0;
    rec->day = WSub(WAdd(day, weeks), 1);
    node.node.startFlags[0] = 1;
  }
  const bool ownTime = HasTimePart(rec);
  int32_t* own[6] = {&rec->year, &rec->month, &rec->day, &rec->hour, &rec->minute, &rec->second};
  int32_t* prev[6] = {&previous_->year, &previous_->month, &previous_->day,
                      &previous_->hour, &previous_->minute, &previous_->second};
  for (int k = 0; k < 6; ++k) {
    if (!IsSet(*prev[k])) *prev[k] = 0;
    *own[k] = WAdd(IsSet(*own[k]) ? *own[k] : 0, *prev[k]);
  }
  if (ownTime) node.node.startFlags[1] = 1;
  if (rec->year > LastYear()) return Say("dropped: the length reaches past the last year");
  Say("a length added to the start before it");
  previous_ = rec;
  previousRecord_ = record_;
  int32_t date[3] = {rec->year, rec->month, rec->day};
  int32_t time[3] = {rec->hour, rec->minute, rec->second};
  TakeTime(dateTimeRevalidate(date, time), tail().node.endTime);
  std::memcpy(tail().node.endFlags, node.node.startFlags, 3);
  tail().marks = UnionOfOnes(tail().marks, node.marks);
  tail().node.spanFlag = 1;
}

// A whole period: its end is the start plus the span offsets.  Returns false
// when the record was dropped for its year.
bool ResultBuilder::Span(Found* node, DTINFO* rec, int32_t duration) {
  int32_t* ends[6] = {&rec->spanYear, &rec->spanMonth, &rec->spanDays,
                      &rec->spanReserved1, &rec->spanReserved2, &rec->spanReserved3};
  const int32_t starts[6] = {rec->year, rec->month, rec->day, rec->hour, rec->minute, rec->second};
  for (int k = 0; k < 6; ++k) {
    if (!IsSet(*ends[k])) *ends[k] = 0;
    if (IsSet(starts[k])) *ends[k] = WAdd(*ends[k], starts[k]);
  }
  if (!IsSet(rec->year) || rec->year > LastYear()) return false;
  int32_t date[3] = {rec->spanYear, rec->spanMonth, rec->spanDays};
  int32_t time[3] = {rec->spanReserved1, rec->spanReserved2, rec->spanReserved3};
  char* end = dateTimeRevalidate(date, time);
  rec->spanYear = date[0];
  rec->spanMonth = date[1];
  rec->spanDays = date[2];
  rec->spanReserved1 = time[0];
  rec->spanReserved2 = time[1];
  rec->spanReserved3 = time[2];
  if (duration != 2) {
    rec->duration = 0;
    node->node.spanFlag = 1;
    TakeTime(end, node->node.endTime);
    std::memcpy(node->node.endFlags, node->node.startFlags, 3);
  } else {
    TakeTime(end, node->node.startTime);  // the end of the period is this moment
  }
  return true;
}

void ResultBuilder::Add(DTINFO* rec, const Marks& marks) {
  ++record_;
  if (places_ != nullptr && (*places_)[static_cast<size_t>(record_)].absorbed) {
    return Say("taken into the count right after it");
  }
  if (IsSet(rec->year) && rec->year > LastYear()) return Say("dropped: after the last year");
  if (BeforeWindow(rec)) return Say("dropped: before the first year");
  Found node = NewNode(rec, marks, map_);
  int32_t duration = rec->duration;

  // Durations: 1 a start, 2 an end, 3 a start that the next record may
  // close, 0 a length of time.  Under the reader rules nothing closes or
  // lengthens what a sentence before it opened.
  const bool newSentence = NewSentence();
  if (newSentence && previous_ != nullptr &&
      (previous_->duration == 1 || previous_->duration == 3)) {
    Say("joins nothing before it: a sentence ends between them");
    previous_ = nullptr;
  }
  if (previous_ != nullptr && previous_->duration == 3) {
    if (duration == 1) return OpenEnd(std::move(node), rec);
    previous_->duration = 1;
    rec->duration = duration = 2;  // a period after an open start is its end
    if (rec->spanKind != 1) return MergeEnd(std::move(node), rec);
  }
  // A whole period, unless it is itself a start (1) or an open start (3).
  if (rec->spanKind == 1 && duration != 1 && duration != 3) {
    if (!Span(&node, rec, duration)) return Say("dropped: the period ends after the last year");
    duration = rec->duration;
  }
  switch (duration) {
    case 0:
      if (IsSet(rec->spanKind)) return Append(std::move(node), rec, "a whole period");
      if (previous_ != nullptr && previous_->duration == 1) {
        return DurationMerge(std::move(node), rec);
      }
      return Say("dropped: a length with no start before it");
    case 2:
      if (previous_ != nullptr && previous_->duration == 1) return MergeEnd(std::move(node), rec);
      return OpenStart(std::move(node), rec);
    case 1:
      return OpenEnd(std::move(node), rec);
    default:
      return Append(std::move(node), rec);
  }
}

// The context of a run; its tries belong to the dictionary set.
struct ContextDeleter {
  void operator()(ETS_CONTEXT* ctx) const {
    Free_DTINFO(ctx->reference);
    std::free(ctx);
  }
};

struct HitsDeleter {
  void operator()(retTypeBBT* hits) const { ETI_free_retTypeBBT(&hits); }
};

struct ListDeleter {
  void operator()(DTINFO* list) const { Free_DTINFO(list); }
};

// What normalisation did, for a traced run.
void TraceText(const retTypeBBT* replacements, const std::string& work, Trace* trace) {
  for (const retTypeBBT* r = IsHitList(replacements) ? replacements : nullptr; r != nullptr;
       r = r->next) {
    trace->replacements.push_back({r->startPos, r->text, r->value});
  }
  trace->normalised = work;
}

void TraceTokens(const RETTAGS* tokens, Trace* trace) {
  for (const RETTAGS* t = tokens; t != nullptr; t = t->next) {
    Trace::Token token;
    token.at = t->startPos;
    token.length = t->length;
    for (const TAGATTR* a = t->attrs; a != nullptr; a = a->next) {
      token.tags.push_back(IsSet(a->value) ? std::string(a->name) + "[" +
                                                 std::to_string(a->value) + "]"
                                           : std::string(a->name));
    }
    trace->tokens.push_back(std::move(token));
  }
}

// Every reading of a stretch was tried: the matches of the reading that
// covered the most text gave the records; the others are dropped, each said
// once.
void SettleMatches(Trace* trace) {
  std::vector<Trace::Match> settled;
  for (Trace::Match& m : trace->matches) {
    if (m.outcome == "a record") {
      const bool kept = std::any_of(trace->found.begin(), trace->found.end(),
                                    [&](const Trace::Record& r) {
                                      return r.fields.seqBegin == m.begin && r.fields.seqEnd == m.end;
                                    });
      if (!kept) m.outcome = "dropped: another reading of its stretch covered more text";
    }
    const bool seen = std::any_of(settled.begin(), settled.end(), [&](const Trace::Match& o) {
      return o.begin == m.begin && o.end == m.end && o.pattern == m.pattern &&
             o.outcome == m.outcome;
    });
    if (!seen) settled.push_back(std::move(m));
  }
  std::stable_sort(settled.begin(), settled.end(),
                   [](const Trace::Match& a, const Trace::Match& b) { return a.begin < b.begin; });
  trace->matches = std::move(settled);
}

// The reader rules take out found expressions that are no dates: numbers of
// measures, versions, parts of titles; and those that read a replaced word
// in part.  A replacement's value is the word the text had there, read whole
// or not at all: when a digit of the value is in no expression, the pattern
// that took it failed (40515103.어버이날: the number, the dot and the 5월 of
// the value read as no date), and what is left of the value (8일) is not
// what the word meant.
DTINFO* DropNonDates(DTINFO* list, std::vector<Marks>* marks, std::string_view text,
                     const WordList& particles, const std::vector<Replaced>& replaced,
                     Trace* trace) {
  // The values lie in order, apart: those meeting [b, e) by binary search.
  const auto firstEndingAfter = [&](int32_t b) {
    return std::partition_point(replaced.begin(), replaced.end(),
                                [b](const Replaced& v) { return v.end <= b; });
  };
  const auto n = static_cast<int32_t>(text.size());
  std::vector<uint8_t> read;  // the bytes in an expression, when a value needs them
  if (!replaced.empty()) {
    read.assign(text.size(), 0);
    for (const DTINFO* r = list; r != nullptr; r = r->next) {
      for (int32_t i = std::max(r->seqBegin, 0); i < std::min(r->seqEnd, n); ++i) read[i] = 1;
    }
  }
  const auto readsPart = [&](const DTINFO* r) {
    for (auto v = firstEndingAfter(r->seqBegin); v != replaced.end() && v->begin < r->seqEnd; ++v) {
      for (int32_t i = std::max(v->begin, 0); i < std::min(v->end, n); ++i) {
        if (read[i] == 0 && text[i] >= '0' && text[i] <= '9') return true;
      }
    }
    return false;
  };
  DTINFO* head = nullptr;
  DTINFO** link = &head;
  std::vector<Marks> kept;
  size_t k = 0;
  for (DTINFO* r = list; r != nullptr; ++k) {
    DTINFO* next = r->next;
    r->next = nullptr;
    const char* why = readsPart(r) ? "it reads only part of a replaced word"
                                   : NoDate(text, r->seqBegin, r->seqEnd, particles);
    if (why == nullptr) {
      *link = r;
      link = &r->next;
      if (k < marks->size()) kept.push_back(std::move((*marks)[k]));
    } else {
      if (trace != nullptr && k < trace->found.size()) trace->found[k].note = why;
      Free_DTINFO(r);
    }
    r = next;
  }
  *marks = std::move(kept);
  return head;
}

void TraceRecords(const DTINFO* list, const std::vector<Marks>& marks,
                  const std::vector<std::string>& notes, std::vector<Trace::Record>* out) {
  size_t k = 0;
  for (const DTINFO* r = list; r != nullptr; r = r->next, ++k) {
    out->push_back(Trace::Of(*r, k < marks.size() ? &marks[k] : nullptr,
                             k < notes.size() ? notes[k] : std::string()));
  }
}

}  // namespace

InputMap::InputMap(const retTypeBBT* replacements, int32_t n, int32_t w) {
  // The walk of the mark mapping, one segment at a time: i in the
  // normalised text, j in the input text.
  const retTypeBBT* r = IsHitList(replacements) ? replacements : nullptr;
  if (r == nullptr) {
    if (std::min(n, w) > 0) segments_.push_back({0, std::min(n, w), 0, false});
    return;
  }
  int32_t i = 0;
  int32_t j = 0;
  while (i < w && j < n) {
    if (r != nullptr && j == r->startPos) {
      const int32_t a = static_cast<int32_t>(std::strlen(r->text));
      const int32_t b = static_cast<int32_t>(std::strlen(r->value));
      if (b < a) {
        ++i;  // the space
        // The first A - B input bytes read the replacement's first byte;
        // the rest map one to one.
        const int32_t end = std::min(n, j + (a - b));
        if (i < w) segments_.push_back({j, end, i, true});
        j += a - b;
      } else {
        // The space and the first B - A bytes of the replacement stand for
        // nothing; its last A bytes map one to one onto the matched piece.
        i += b - a + 1;
      }
      r = r->next;
      continue;
    }
    // One to one up to the next replacement, or to an end.
    int32_t run = std::min(n - j, w - i);
    if (r != nullptr && r->startPos > j) run = std::min(run, r->startPos - j);
    segments_.push_back({j, j + run, i, false});
    i += run;
    j += run;
  }
}

Marks InputMap::Map(const Marks& normalised) const {
  Marks out;
  const auto sourceEnd = [](const Segment& g) {
    return g.constant ? g.source + 1 : g.source + (g.inputEnd - g.inputBegin);
  };
  for (const MarkRun& m : normalised) {
    if (m.value != 1) continue;
    // Segments lie in normalised order, their ends rising: the first that
    // ends after the run's start is found by bisection, so that mapping
    // every result of a long text stays in proportion to it.
    const size_t s = static_cast<size_t>(
        std::partition_point(segments_.begin(), segments_.end(),
                             [&](const Segment& g) { return sourceEnd(g) <= m.begin; }) -
        segments_.begin());
    for (size_t t = s; t < segments_.size() && segments_[t].source < m.end; ++t) {
      const Segment& g = segments_[t];
      int32_t from = g.inputBegin;
      int32_t to = g.inputEnd;
      if (!g.constant) {
        from = g.inputBegin + std::max(0, m.begin - g.source);
        to = g.inputBegin + std::min(g.inputEnd - g.inputBegin, m.end - g.source);
      }
      if (from >= to) continue;
      if (!out.empty() && from <= out.back().end) {
        out.back().end = std::max(out.back().end, to);
      } else {
        out.push_back({from, to, 1});
      }
    }
  }
  return out;
}

std::vector<Found> BuildResults(DTINFO* restored, const std::vector<Marks>& marks,
                                const InputMap& map, const std::vector<Placement>* places) {
  ResultBuilder builder(map, places);
  static const Marks kNone;
  size_t k = 0;
  for (DTINFO* rec = restored; rec != nullptr; rec = rec->next, ++k) {
    builder.Add(rec, k < marks.size() ? marks[k] : kNone);
    builder.added_.push_back(rec);
  }
  return builder.Take();
}

std::vector<Found> RunPipeline(const char* text, int32_t n, const char* refTime,
                               const LoadedDictionaries& d, int32_t* overallType) {
  if (text == nullptr) return {};
  const BTrie* const tries[4] = {d.replacements, d.tags, d.patterns, d.unitSequences};
  const ScopedChainIndexes indexes(tries, d.indexes, 4);
  std::unique_ptr<ETS_CONTEXT, ContextDeleter> ctx(
      static_cast<ETS_CONTEXT*>(std::calloc(1, sizeof(ETS_CONTEXT))));
  ctx->reference = ConvStrToDTINFO(refTime);
  if (ctx->reference == nullptr) return {};  // nothing to resolve against
  std::memcpy(ctx->defaultAmPm, d.defaultAmPm, sizeof(ctx->defaultAmPm));
  ctx->defaultCentury = d.defaultCentury;
  // The run reads the tries and never writes them.
  ctx->patternTrie = const_cast<BTrie*>(d.patterns);
  ctx->unitSeqTrie = const_cast<BTrie*>(d.unitSequences);

  // The work text may grow to ten times the input through replacements;
  // it is given room only as it grows.
  std::string work(text, static_cast<size_t>(n));
  std::unique_ptr<retTypeBBT, HitsDeleter> replacements(
      Normalise(&work, 10 * static_cast<size_t>(n), d.replacements, CurrentRules().reader));
  const int32_t w = static_cast<int32_t>(work.size());
  Trace* const trace = ActiveTrace();
  // The reader rules read a list of weekdays of a weekly expression as one
  // of them and make the others' results beside it.
  std::vector<WeekdayList> weekdayLists;
  if (CurrentRules().reader) {
    weekdayLists = RewriteWeekdayLists(&work);
    RewriteFromWithEseo(&work);
  }
  if (trace != nullptr) {
    trace->input.assign(text, static_cast<size_t>(n));
    TraceText(replacements.get(), work, trace);
  }
  std::vector<Replaced> replaced;  // where the replacements' values stand
  if (CurrentRules().reader) replaced = ReplacedRegions(replacements.get());
  // The tokens live until the pattern search is done, and no longer: on a
  // long text they are the largest thing a run holds.
  auto tokenMemory = std::make_unique<Arena>();
  RETTAGS* tokens = TagInArena(work.c_str(), d.tags, tokenMemory.get());
  if (CurrentRules().reader && d.words != nullptr) {
    std::vector<const RETTAGS*> dropped;
    tokens = DropTokensInsideWords(tokens, work, *d.words, d.wordIndex, replaced,
                                   trace != nullptr ? &dropped : nullptr);
    for (const RETTAGS* t : dropped) {
      trace->matches.push_back({t->startPos, t->startPos + t->length, t->attrs->name,
                                "token dropped: it stands inside a longer word"});
    }
  }
  if (trace != nullptr) TraceTokens(tokens, trace);
  std::vector<Marks> found;
  std::unique_ptr<DTINFO, ListDeleter> records(
      FindExpressions(tokens, work.c_str(), w, ctx.get(), &found, false));
  tokens = nullptr;
  tokenMemory.reset();
  if (trace != nullptr) {
    TraceRecords(records.get(), found, {}, &trace->found);
    SettleMatches(trace);
  }
  if (CurrentRules().reader && d.words != nullptr) {
    records.reset(DropNonDates(records.release(), &found, work, *d.words, replaced, trace));
  }
  if (records == nullptr) return {};
  if (overallType != nullptr) *overallType = GetDTtype(records.get());

  // The reader rules read where each expression stands in the text.
  std::unique_ptr<ReaderText> reader;
  if (CurrentRules().reader) reader = std::make_unique<ReaderText>(work.c_str(), w);
  std::vector<Marks> covered;
  std::vector<Tie> ties;
  std::unique_ptr<DTINFO, ListDeleter> compounded(
      Compound(records.get(), found, ctx->reference, work.c_str(), &covered, reader.get(), &ties));
  records.reset();
  found.clear();
  if (trace != nullptr) {
    TraceRecords(compounded.get(), covered, trace->compoundNotes, &trace->compounded);
  }
  std::vector<Placement> places;
  if (reader != nullptr) {
    places.reserve(covered.size());
    for (size_t k = 0; k < covered.size(); ++k) {
      places.push_back(reader->Place(covered[k]));
      Placement& place = places.back();
      if (k < ties.size()) place.tie = ties[k];
      for (const WeekdayList& list : weekdayLists) {
        if (place.begin < list.end && list.begin < place.end) {
          place.alsoWeekdays = list.others;
          // The list was rewritten as its last weekday: all of it is the
          // expression's, so that none of it stays in the content.
          covered[k] = UnionOfOnes(covered[k], {MarkRun{list.begin, list.end, 1}});
        }
      }
    }
    // A date and the count right after it are one expression: the count's
    // (크리스마스 전날 is the 24th), over the bytes of both.
    std::vector<const DTINFO*> records;
    for (const DTINFO* r = compounded.get(); r != nullptr; r = r->next) records.push_back(r);
    for (size_t k = 0; k < places.size() && k < records.size(); ++k) {
      const Tie& tie = places[k].tie;
      if (!tie.joined || tie.base < 0 || static_cast<size_t>(tie.base) >= k) continue;
      const DTINFO* base = records[static_cast<size_t>(tie.base)];
      if (IsSet(base->duration) || IsSet(base->spanKind)) continue;  // part of a span
      places[static_cast<size_t>(tie.base)].absorbed = true;
      covered[k] = UnionOfOnes(covered[k], covered[static_cast<size_t>(tie.base)]);
    }
  }
  if (Restore(compounded.get(), ctx->reference, ctx.get(), reader != nullptr ? &places : nullptr) ==
      nullptr) {
    if (trace != nullptr) trace->results.push_back("the calendar could not form a date: no results");
    return {};
  }
  if (trace != nullptr) {
    TraceRecords(compounded.get(), covered, trace->resolveNotes, &trace->resolved);
  }
  return BuildResults(compounded.get(), covered, InputMap(replacements.get(), n, w),
                      reader != nullptr ? &places : nullptr);
}

RESULT_ETS* ResultList(const std::vector<Found>& found, int32_t n) {
  RESULT_ETS* head = nullptr;
  RESULT_ETS** link = &head;
  for (const Found& f : found) {
    auto* node = static_cast<RESULT_ETS*>(std::malloc(sizeof(RESULT_ETS)));
    *node = f.node;
    node->marks = MarksArray(f.marks, n);
    node->next = nullptr;
    *link = node;
    link = &node->next;
  }
  return head;
}

}  // namespace eti

extern "C" {

int32_t GetDTtype(const DTINFO* list) {
  int dateRel = -1;
  int timeRel = -1;
  for (const DTINFO* r = list; r != nullptr; r = r->next) {
    if (eti::HasDatePart(r) && dateRel != 0) dateRel = eti::IsRelative(r) ? 1 : 0;
    if (eti::HasTimePart(r) && timeRel != 0) timeRel = eti::IsRelative(r) ? 1 : 0;
  }
  if (timeRel == 0) return 1;
  if (timeRel == 1) return dateRel == -1 ? 3 : 10;
  return dateRel == 0 ? 4 : 5;
}

int32_t* combineMarks(const int32_t* a, const int32_t* b, int32_t n) {
  auto* out = static_cast<int32_t*>(std::calloc(n > 0 ? n : 1, sizeof(int32_t)));
  for (int32_t k = 0; k < n; ++k) out[k] = (a[k] == 1 || b[k] == 1) ? 1 : 0;
  return out;
}

void FreeRESULT_ETS(RESULT_ETS* list) {
  while (list != nullptr) {
    RESULT_ETS* next = list->next;
    std::free(list->marks);
    std::free(list);
    list = next;
  }
}

RESULT_ETS* ETS(const char* text, const char* refTime, const char* settings, const void* a2,
                const void* a3, const void* a4, const void* a5, int32_t* overallType) {
  if (text == nullptr) return nullptr;
  const eti::CallDictionaries set(settings, a2, a3, a4, a5, nullptr);
  const int32_t n = static_cast<int32_t>(std::strlen(text));
  return eti::ResultList(eti::RunPipeline(text, n, refTime, set.get(), overallType), n);
}

}  // extern "C"
