// The extraction pipeline ETS.  In: the input text, the checked reference
// time, the settings text and the four trie blobs.  Out: the RESULT_ETS
// list that the driver types for output.  Stages, in order: normalisation,
// tagging, pattern search, compounding, restoration; then the result loop
// joins starts and ends into spans and maps every expression's bytes back
// onto the input text.  Everything a run makes is released before it
// returns, except the result list.
#include "driver/pipeline.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "analysis/normalise.h"
#include "calendar/arith.h"
#include "dict/btrie.h"
#include "driver/engine.h"
#include "driver/time_string.h"
#include "interpret/dtinfo.h"

namespace eti {
namespace {

constexpr int32_t kLastYear = 2035;  // results past this year are dropped

uint8_t LowByte(int32_t v) { return IsSet(v) ? static_cast<uint8_t>(v & 0xFF) : 0; }

bool HasDatePart(const DTINFO* r) { return IsSet(r->year) || IsSet(r->month) || IsSet(r->day); }
bool HasTimePart(const DTINFO* r) {
  return IsSet(r->hour) || IsSet(r->minute) || IsSet(r->second);
}
bool IsRelative(const DTINFO* r) { return r->relKind != 0 && IsSet(r->relKind); }

RESULT_ETS* NewNode(const DTINFO* rec, int32_t n, int32_t w, const retTypeBBT* replacements) {
  auto* node = static_cast<RESULT_ETS*>(std::calloc(1, sizeof(RESULT_ETS)));
  node->marks = static_cast<int32_t*>(std::calloc(n > 0 ? n : 1, sizeof(int32_t)));
  node->startFlags[0] = rec->hasDate;
  node->startFlags[1] = rec->hasTime;
  node->startFlags[2] = rec->hasAmPm;
  const int32_t repeats[5] = {rec->repeatYear, rec->repeatMonth, rec->repeatWeek,
                              rec->repeatDay, rec->repeatHour};
  for (int k = 0; k < 5; ++k) node->repeatFlags[k] = LowByte(repeats[k]);
  node->spanFlag = 0;
  if (HasMarks(rec)) MapMarks(rec->compoundMarks, w, replacements, node->marks, n);
  DT2Char(rec, node->startTime);
  return node;
}

void FreeNode(RESULT_ETS* node) {
  node->next = nullptr;
  FreeRESULT_ETS(node);
}

// Copies a revalidated time string and frees it.
void TakeTime(char* revalidated, char (&out)[15]) {
  std::memcpy(out, revalidated, 15);
  std::free(revalidated);
}

// The result list under construction.
class ResultBuilder {
 public:
  ResultBuilder(int32_t n, int32_t w, const retTypeBBT* replacements)
      : n_(n), w_(w), replacements_(replacements) {}

  void Add(DTINFO* rec);
  RESULT_ETS* Take() { return head_; }

 private:
  void Append(RESULT_ETS* node, DTINFO* rec) {
    if (tail_ == nullptr) {
      head_ = node;
    } else {
      tail_->next = node;
    }
    tail_ = node;
    previous_ = rec;
  }
  void OpenEnd(RESULT_ETS* node, DTINFO* rec) {
    node->spanFlag = 1;
    std::memset(node->endFlags, 0, 3);
    std::memcpy(node->endTime, kOpenTime, 15);
    Append(node, rec);
  }
  void OpenStart(RESULT_ETS* node, DTINFO* rec) {
    std::memcpy(node->endTime, node->startTime, 15);
    std::memcpy(node->endFlags, node->startFlags, 3);
    std::memcpy(node->startTime, kOpenTime, 15);
    std::memset(node->startFlags, 0, 3);
    node->spanFlag = 1;
    Append(node, rec);
  }
  // The end closes the open start at the tail.
  void MergeEnd(RESULT_ETS* node, DTINFO* rec) {
    std::memcpy(tail_->endTime, node->startTime, 15);
    std::memcpy(tail_->endFlags, node->startFlags, 3);
    int32_t* combined = combineMarks(tail_->marks, node->marks, n_);
    std::free(tail_->marks);
    tail_->marks = combined;
    tail_->spanFlag = static_cast<uint8_t>(previous_->duration);
    previous_ = rec;
    FreeNode(node);
  }
  void DurationMerge(RESULT_ETS* node, DTINFO* rec);
  bool Span(RESULT_ETS* node, DTINFO* rec, int32_t duration);

  int32_t n_, w_;
  const retTypeBBT* replacements_;
  RESULT_ETS* head_ = nullptr;
  RESULT_ETS* tail_ = nullptr;
  DTINFO* previous_ = nullptr;
};

// A length added to the moment of the open start before it: the sum is the
// start's end.
void ResultBuilder::DurationMerge(RESULT_ETS* node, DTINFO* rec) {
  if (IsSet(rec->year) || IsSet(rec->month) || IsSet(rec->day) || IsSet(rec->week)) {
    const int32_t day = IsSet(rec->day) ? rec->day : 0;
    const int32_t weeks = IsSet(rec->week) ? WMul(7, rec->week) : 0;
    rec->day = WSub(WAdd(day, weeks), 1);
    node->startFlags[0] = 1;
  }
  const bool ownTime = HasTimePart(rec);
  int32_t* own[6] = {&rec->year, &rec->month, &rec->day, &rec->hour, &rec->minute, &rec->second};
  int32_t* prev[6] = {&previous_->year, &previous_->month, &previous_->day,
                      &previous_->hour, &previous_->minute, &previous_->second};
  for (int k = 0; k < 6; ++k) {
    if (!IsSet(*prev[k])) *prev[k] = 0;
    *own[k] = WAdd(IsSet(*own[k]) ? *own[k] : 0, *prev[k]);
  }
  if (ownTime) node->startFlags[1] = 1;
  if (rec->year > kLastYear) {
    FreeNode(node);
    return;
  }
  previous_ = rec;
  int32_t date[3] = {rec->year, rec->month, rec->day};
  int32_t time[3] = {rec->hour, rec->minute, rec->second};
  TakeTime(dateTimeRevalidate(date, time), tail_->endTime);
  std::memcpy(tail_->endFlags, node->startFlags, 3);
  int32_t* combined = combineMarks(tail_->marks, node->marks, n_);
  std::memcpy(tail_->marks, combined, sizeof(int32_t) * static_cast<size_t>(n_ > 0 ? n_ : 0));
  std::free(combined);
  tail_->spanFlag = 1;
  FreeNode(node);
}

// A whole period: its end is the start plus the span offsets.  Returns false
// when the record was dropped for its year.
bool ResultBuilder::Span(RESULT_ETS* node, DTINFO* rec, int32_t duration) {
  int32_t* ends[6] = {&rec->spanYear, &rec->spanMonth, &rec->spanDays,
                      &rec->spanReserved1, &rec->spanReserved2, &rec->spanReserved3};
  const int32_t starts[6] = {rec->year, rec->month, rec->day, rec->hour, rec->minute, rec->second};
  for (int k = 0; k < 6; ++k) {
    if (!IsSet(*ends[k])) *ends[k] = 0;
    if (IsSet(starts[k])) *ends[k] = WAdd(*ends[k], starts[k]);
  }
  if (!IsSet(rec->year) || rec->year > kLastYear) {
    FreeNode(node);
    return false;
  }
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
    node->spanFlag = 1;
    TakeTime(end, node->endTime);
    std::memcpy(node->endFlags, node->startFlags, 3);
  } else {
    TakeTime(end, node->startTime);  // the end of the period is this moment
  }
  return true;
}

void ResultBuilder::Add(DTINFO* rec) {
  if (IsSet(rec->year) && rec->year > kLastYear) return;
  RESULT_ETS* node = NewNode(rec, n_, w_, replacements_);
  int32_t duration = rec->duration;

  // Durations: 1 a start, 2 an end, 3 a start that the next record may
  // close, 0 a length of time.
  if (previous_ != nullptr && previous_->duration == 3) {
    if (duration == 1) return OpenEnd(node, rec);
    previous_->duration = 1;
    rec->duration = duration = 2;  // a period after an open start is its end
    if (rec->spanKind != 1) return MergeEnd(node, rec);
  }
  // A whole period, unless it is itself a start (1) or an open start (3).
  if (rec->spanKind == 1 && duration != 1 && duration != 3) {
    if (!Span(node, rec, duration)) return;
    duration = rec->duration;
  }
  switch (duration) {
    case 0:
      if (IsSet(rec->spanKind)) return Append(node, rec);
      if (previous_ != nullptr && previous_->duration == 1) return DurationMerge(node, rec);
      return FreeNode(node);
    case 2:
      if (previous_ != nullptr && previous_->duration == 1) return MergeEnd(node, rec);
      return OpenStart(node, rec);
    case 1:
      return OpenEnd(node, rec);
    default:
      return Append(node, rec);
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

}  // namespace

void MapMarks(const int32_t* normalised, int32_t w, const retTypeBBT* replacements,
              int32_t* out, int32_t n) {
  if (!IsHitList(replacements)) {
    for (int32_t k = 0; k < n && k < w; ++k) out[k] = normalised[k];
    return;
  }
  // i walks the normalised text, j the input text.  Where the input held a
  // matched piece, the normalised text holds a space and the replacement.
  const retTypeBBT* r = replacements;
  int32_t i = 0;
  int32_t j = 0;
  while (i < w && j < n) {
    if (r != nullptr && j == r->startPos) {
      const int32_t a = static_cast<int32_t>(std::strlen(r->text));
      const int32_t b = static_cast<int32_t>(std::strlen(r->value));
      if (b < a) {
        ++i;  // the space
        // The first A - B input bytes take the mark of the replacement's
        // first byte; the rest map one to one.
        const int32_t mark = i < w ? normalised[i] : 0;
        for (int32_t k = 0; k < a - b && j + k < n; ++k) out[j + k] = mark;
        j += a - b;
      } else {
        // Skip the space and the first B - A bytes of the replacement; its
        // last A bytes map one to one onto the matched piece.
        i += b - a + 1;
      }
      r = r->next;
      continue;
    }
    if (i < w && normalised[i] == 1) out[j] = 1;
    ++i;
    ++j;
  }
}

RESULT_ETS* BuildResults(DTINFO* restored, int32_t n, int32_t w,
                         const retTypeBBT* replacements) {
  ResultBuilder builder(n, w, replacements);
  for (DTINFO* rec = restored; rec != nullptr; rec = rec->next) builder.Add(rec);
  return builder.Take();
}

RESULT_ETS* RunPipeline(const char* text, const char* refTime, const LoadedDictionaries& d,
                        int32_t* overallType) {
  if (text == nullptr) return nullptr;
  const int32_t n = static_cast<int32_t>(std::strlen(text));
  // The work text may grow to ten times the input through replacements.
  const size_t capacity = 10 * static_cast<size_t>(n);
  std::unique_ptr<char, decltype(&std::free)> work(
      static_cast<char*>(std::malloc(capacity + 1)), &std::free);
  std::unique_ptr<ETS_CONTEXT, ContextDeleter> ctx(
      static_cast<ETS_CONTEXT*>(std::calloc(1, sizeof(ETS_CONTEXT))));

  ctx->reference = ConvStrToDTINFO(refTime);
  if (ctx->reference == nullptr) return nullptr;  // nothing to resolve against
  std::memcpy(work.get(), text, static_cast<size_t>(n) + 1);
  std::memcpy(ctx->defaultAmPm, d.defaultAmPm, sizeof(ctx->defaultAmPm));
  ctx->defaultCentury = d.defaultCentury;
  // The run reads the tries and never writes them.
  ctx->patternTrie = const_cast<BTrie*>(d.patterns);
  ctx->unitSeqTrie = const_cast<BTrie*>(d.unitSequences);

  std::unique_ptr<retTypeBBT, HitsDeleter> replacements(
      Normalise(work.get(), capacity, d.replacements));
  const int32_t w = static_cast<int32_t>(std::strlen(work.get()));
  RETTAGS* tokens = GetTypeFromBBT(work.get(), d.tags);
  DTINFO* found = ExtAndComp(tokens, work.get(), ctx.get());  // frees the tokens
  if (found == nullptr) return nullptr;
  if (overallType != nullptr) *overallType = GetDTtype(found);

  DTINFO* compounded = CompoundDTInfo(found, ctx->reference, w, work.get());
  Free_DTINFO(found);
  DTINFO* restored = RestoreTime(compounded, ctx->reference, ctx.get());
  if (restored == nullptr) {
    Free_DTINFO(compounded);
    return nullptr;
  }
  RESULT_ETS* results = BuildResults(restored, n, w, replacements.get());
  Free_DTINFO(restored);
  return results;
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
  // The tries of one call; the tag and replacement tries are loaded for
  // their stages as well, so that every way in reads a set the same way.
  std::unique_ptr<BTrie, eti::TrieDeleter> replacements(eti::LoadTrie(a2));
  std::unique_ptr<BTrie, eti::TrieDeleter> tags(eti::LoadTrie(a3));
  std::unique_ptr<BTrie, eti::TrieDeleter> patterns(eti::LoadTrie(a4));
  std::unique_ptr<BTrie, eti::TrieDeleter> units(eti::LoadTrie(a5));
  eti::LoadedDictionaries d;
  eti::ReadSettings(settings, &d);
  d.replacements = replacements.get();
  d.tags = tags.get();
  d.patterns = patterns.get();
  d.unitSequences = units.get();
  return eti::RunPipeline(text, refTime, d, overallType);
}

}  // extern "C"
