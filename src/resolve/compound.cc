// Compounding.  In: the found records in text order (next Tuesday, 3 pm,
// thirty minutes ...) and the reference.  Out: a new list of compound
// records, each one point or span of time the writer meant.  A record joins
// the current compound unless CheckCollision says it cannot; records that
// count days after or before something are added to (or taken from) the
// compound just closed, or the reference, as they are folded in.
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "calendar/arith.h"
#include "driver/trace.h"
#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"
#include "interpret/marks.h"
#include "resolve/compound.h"

namespace eti {
namespace {

bool HasAny(const DTINFO& r, std::initializer_list<int32_t DTINFO::*> fields) {
  for (int32_t DTINFO::*f : fields) {
    if (IsSet(r.*f)) return true;
  }
  return false;
}

bool HasDateOrTime(const DTINFO& r) {
  return HasAny(r, {&DTINFO::year, &DTINFO::month, &DTINFO::day, &DTINFO::week,
                    &DTINFO::weekday, &DTINFO::hour, &DTINFO::minute, &DTINFO::second});
}

bool HasTime(const DTINFO& r) { return HasAny(r, {&DTINFO::hour, &DTINFO::minute, &DTINFO::second}); }

// A new compound; what it covers is kept beside it (`Marks`).
DTINFO* NewCompound() {
  DTINFO* c = NewDTINFO();
  c->relKind = 0;
  return c;
}

// The fields every member hands on as they are: repeats, roles, markers,
// the period block and the marks.
void CopyCommon(const DTINFO& p, const Marks& pm, DTINFO* c, Marks* cm) {
  for (int32_t DTINFO::*f : {&DTINFO::repeatYear, &DTINFO::repeatMonth, &DTINFO::repeatWeek,
                             &DTINFO::repeatDay, &DTINFO::repeatHour, &DTINFO::duration,
                             &DTINFO::ampm, &DTINFO::dayNight, &DTINFO::lunar}) {
    if (IsSet(p.*f)) c->*f = p.*f;
  }
  if (IsSet(p.spanKind)) {
    for (int32_t DTINFO::*f : {&DTINFO::spanKind, &DTINFO::spanYear, &DTINFO::spanMonth,
                               &DTINFO::spanDays, &DTINFO::spanReserved1,
                               &DTINFO::spanReserved2, &DTINFO::spanReserved3}) {
      c->*f = p.*f;
    }
  }
  Overlay(cm, pm);
  if (c->relKind == 0 && p.relKind == 5) c->relKind = 5;
}

// An afternoon compound moves an hour placed before it past noon.
void AfternoonHour(DTINFO* c) {
  if (c->ampm == 1 && c->hour < 12) c->hour = WAdd(c->hour, 12);
}

void Copy(const DTINFO& p, const Marks& pm, DTINFO* c, Marks* cm) {
  for (int32_t DTINFO::*f : {&DTINFO::year, &DTINFO::month, &DTINFO::day, &DTINFO::week,
                             &DTINFO::weekday}) {
    if (IsSet(p.*f)) c->*f = p.*f;
  }
  if (IsSet(p.hour)) {
    c->hour = p.hour;
    if (c->ampm == 1 && c->hour <= 11) c->hour += 12;
  }
  if (IsSet(p.minute)) {
    c->minute = p.minute;
    AfternoonHour(c);
  }
  if (IsSet(p.second)) {
    c->second = p.second;
    AfternoonHour(c);
  }
  // P's own AM/PM affects only the hours of later members.
  if (IsSet(p.seqBegin)) c->seqBegin = p.seqBegin;
  if (IsSet(p.seqEnd)) c->seqEnd = p.seqEnd;
  CopyCommon(p, pm, c, cm);
}

// A member counted s (+1 after, -1 before) from the base record b.
void Count(const DTINFO& p, const Marks& pm, DTINFO* b, const DTINFO& ref, int32_t s, DTINFO* c,
           Marks* cm) {
  c->lunar = b->lunar;
  const auto from = [&](int32_t DTINFO::*f, int32_t DTINFO::*fallback) {
    if (IsSet(p.*f)) {
      c->*f = WAdd(IsSet(b->*f) ? b->*f : ref.*fallback, WMul(s, p.*f));
    } else {
      c->*f = b->*f;
    }
  };
  from(&DTINFO::year, &DTINFO::year);
  from(&DTINFO::month, &DTINFO::month);
  from(&DTINFO::day, &DTINFO::day);
  if (IsSet(p.week)) {
    c->day = WAdd(c->day, WMul(WMul(s, 7), p.week));
  } else {
    c->week = b->week;
  }
  c->weekday = IsSet(p.weekday) ? p.weekday : b->weekday;

  bool skipSmaller = false;
  if (IsSet(p.hour)) {
    if (!IsSet(b->hour)) b->hour = 0;  // the base gains a zero hour, for good
    c->hour = WAdd(b->hour, WMul(s, p.hour));
    if (!IsSet(c->minute)) c->minute = b->minute;
    c->ampm = b->ampm;
  } else if (!IsSet(p.minute) && !IsSet(p.second)) {
    skipSmaller = true;
  } else {
    c->hour = b->hour;
  }
  if (!skipSmaller) {
    for (int32_t DTINFO::*f : {&DTINFO::minute, &DTINFO::second}) {
      if (IsSet(p.*f)) {
        if (!IsSet(b->*f)) b->*f = 0;
        c->*f = WAdd(b->*f, WMul(s, p.*f));
        c->ampm = b->ampm;
      } else {
        c->*f = b->*f;
      }
    }
  }
  CopyCommon(p, pm, c, cm);
}

// A count of years on (after 88년: 88 years) that reads as a year: two
// digits from 31, or four.
bool IsYearNotCount(const DTINFO& p, int32_t s) {
  // (A count of years carries a day offset of 0.)
  if (!IsSet(p.year) || IsSet(p.month) || (IsSet(p.day) && p.day != 0) || IsSet(p.week) ||
      IsSet(p.hour) || IsSet(p.minute) || IsSet(p.second)) {
    return false;
  }
  const int32_t years = WMul(s, p.year);
  return (years >= 31 && years <= 99) || years >= 1000;
}

}  // namespace

DTINFO* Compound(DTINFO* list, const std::vector<Marks>& marks, DTINFO* reference,
                 const char* text, std::vector<Marks>* out, const ReaderText* reader,
                 std::vector<Tie>* ties) {
  out->assign(1, Marks());
  std::vector<Tie> noTies;
  if (ties == nullptr) ties = &noTies;
  ties->assign(1, Tie());
  DTINFO* compound = NewCompound();
  if (list == nullptr || reference == nullptr) return compound;
  DTINFO* first = compound;
  DTINFO* base = reference;
  std::vector<DTINFO*> compounds = {compound};
  const auto next = [&] {
    DTINFO* c = NewCompound();
    compound->next = c;
    compound = c;
    out->emplace_back();
    ties->emplace_back();
    compounds.push_back(c);
  };
  Trace* const trace = ActiveTrace();
  // The reader's base of a count at byte `at`: the number of an earlier
  // compound the text ties it to, or -1 for the reference.  Compounds are
  // placed once they are closed (the one a count goes into is no base of
  // it).
  std::vector<Earlier> before;
  std::vector<int32_t> index;
  size_t placed = 0;
  const auto readerBase = [&](int32_t at, bool back, bool deadline, bool* after,
                              bool* joined) -> int32_t {
    for (; placed + 1 < compounds.size(); ++placed) {
      const DTINFO* c = compounds[placed];
      const Placement place = reader->Place((*out)[placed]);
      if (place.begin < 0 || c->duration == 0) continue;  // a length is no event
      // The end of a span that a start just before it in the sentence opened.
      int32_t spanStart = -1;
      if (!before.empty() && before.back().place.sentence == place.sentence) {
        const DTINFO* prev = compounds[static_cast<size_t>(index.back())];
        if (prev->duration == 3 || (prev->duration == 1 && c->duration == 2)) {
          spanStart = static_cast<int32_t>(before.size()) - 1;
        }
      }
      before.push_back({place, c->duration == 2 && spanStart < 0, (*ties)[placed].base >= 0,
                        spanStart, c->duration == 1 || c->duration == 3});
      index.push_back(static_cast<int32_t>(placed));
    }
    std::string why;
    const int32_t b = reader->CountBase(at, before, back, deadline, after, joined, &why);
    if (trace != nullptr) Trace::Note(&trace->compoundNotes, compounds.size() - 1, why);
    return b < 0 ? -1 : index[static_cast<size_t>(b)];
  };
  // Under the reader rules only blanks inside one sentence join two
  // records: what the whole call joins across other words, they keep apart.
  // A repetition with no date or time of its own (매일, 매주) goes with
  // what follows it, not with what it follows.
  const auto collides = [&](const DTINFO* p, const Marks& pm) {
    if (CheckCollision(compound, p, text) == 1) return true;
    if (reader == nullptr || out->back().empty() || pm.empty()) return false;
    if (!HasDateOrTime(*p) && HasDateOrTime(*compound)) return true;
    return !reader->Joins(out->back().back().end, pm.front().begin);
  };
  size_t k = 0;
  for (DTINFO* p = list; p != nullptr; p = p->next, ++k) {
    static const Marks kNone;
    const Marks& pm = k < marks.size() ? marks[k] : kNone;
    // A date with a month and a day is no length of time.
    if (p->duration == 0 && IsSet(p->month) && IsSet(p->day)) p->duration = kUnset;
    const bool counted = p->relKind == 2 || p->relKind == -2;
    if (!counted) {
      if (collides(p, pm)) next();
      if (p->relKind == 5 && IsSet(p->second)) {
        compound->ampm = reference->hour >= 12 && reference->hour <= 23 ? 1 : 0;
      }
      Copy(*p, pm, compound, &out->back());
      continue;
    }
    if (collides(p, pm)) {
      base = compound;  // later counts start from what was just closed
      if (p->duration != -1) next();
    }
    const int32_t s = p->relKind == 2 ? 1 : -1;
    // Under the reader rules a count of years on that no count of years
    // would be (88년 이후: 31 to 99, or a year of four digits) is a year the
    // text starts from.
    if (reader != nullptr && IsYearNotCount(*p, s)) {
      DTINFO year = *p;
      year.year = WMul(s, p->year);
      year.month = 1;
      year.day = 1;
      year.relKind = 0;
      year.duration = 1;
      // A whole year, as 2008년 이후 reads: its first day starts the span.
      year.spanKind = 1;
      year.spanYear = 1;
      year.spanDays = -1;
      if (collides(&year, pm)) next();
      Copy(year, pm, compound, &out->back());
      continue;
    }
    if (reader == nullptr) {
      Count(*p, pm, base, *reference, s, compound, &out->back());
      continue;
    }
    bool after = false, joined = false;
    // Folded records keep the sign of a count in its fields (3일 전: day -3).
    bool back = s < 0;
    for (int32_t DTINFO::*f : {&DTINFO::year, &DTINFO::month, &DTINFO::day, &DTINFO::week,
                               &DTINFO::hour, &DTINFO::minute, &DTINFO::second}) {
      if (IsSet(p->*f) && p->*f != 0) back = (s * p->*f) < 0;
    }
    const int32_t tiedTo =
        pm.empty() ? -1 : readerBase(pm.front().begin, back, p->duration == 2, &after, &joined);
    if (tiedTo < 0) {
      Count(*p, pm, reference, *reference, s, compound, &out->back());
      continue;
    }
    // Counted from an expression not yet resolved: its offsets wait for it.
    Tie& tie = ties->back();
    tie.base = tiedTo;
    tie.after = after;
    tie.joined = joined;
    for (const auto& [field, offset] :
         {std::pair{&DTINFO::year, &Tie::year}, std::pair{&DTINFO::month, &Tie::month},
          std::pair{&DTINFO::day, &Tie::day}, std::pair{&DTINFO::week, &Tie::week},
          std::pair{&DTINFO::hour, &Tie::hour}, std::pair{&DTINFO::minute, &Tie::minute},
          std::pair{&DTINFO::second, &Tie::second}}) {
      if (IsSet(p->*field)) tie.*offset = WAdd(IsSet(tie.*offset) ? tie.*offset : 0, WMul(s, p->*field));
    }
    CopyCommon(*p, pm, compound, &out->back());
  }
  return first;
}

}  // namespace eti

using eti::IsSet;

extern "C" {

int32_t CheckCollision(const DTINFO* k, const DTINFO* p, const char* text) {
  if (k == nullptr || p == nullptr) return 0;
  if (!eti::HasDateOrTime(*k)) return 0;  // an empty compound takes anything
  if (!eti::HasDateOrTime(*p)) return 0;
  if (k->spanKind == 1 || p->spanKind == 1) return 1;  // a whole period stands alone
  if (IsSet(k->duration) && k->duration != -1) return 1;
  if (p->duration == 0) return 1;
  if (eti::HasTime(*k)) return 1;  // a compound with a time of day is complete
  for (int32_t DTINFO::*f : {&DTINFO::year, &DTINFO::month, &DTINFO::day, &DTINFO::week}) {
    if (IsSet(k->*f) && IsSet(p->*f)) return 1;
  }
  if (IsSet(p->weekday) && IsSet(k->weekday)) return 1;
  if (!IsSet(p->weekday) && IsSet(p->day) && IsSet(k->weekday)) return 1;
  if (IsSet(k->day) && IsSet(p->weekday)) return 1;
  if (!IsSet(k->day) && !IsSet(k->weekday) && eti::HasTime(*p)) return 1;
  // Only blanks may stand between the two.  An unset end reads as a very
  // large position, so compounds of counted members alone always pass.
  if (p->seqBegin <= k->seqEnd) return 0;
  for (int32_t i = k->seqEnd; i < p->seqBegin; ++i) {
    const char c = text != nullptr ? text[i] : '\0';
    if (c != '\t' && c != '\n' && c != ' ') return 1;
  }
  return 0;
}

DTINFO* NewDTnfo(DTINFO** head, DTINFO* current, int32_t n) {
  if (head != nullptr && *head == nullptr) *head = current;
  DTINFO* c = eti::NewCompound();
  c->compoundMarks = static_cast<int32_t*>(std::calloc(n > 0 ? n : 1, sizeof(int32_t)));
  if (current != nullptr) current->next = c;
  return c;
}

DTINFO* CompoundDTInfo(DTINFO* list, DTINFO* reference, int32_t n, const char* text) {
  std::vector<eti::Marks> in;
  for (const DTINFO* p = list; p != nullptr; p = p->next) {
    in.push_back(eti::HasMarks(p) ? eti::MarksOfArray(p->compoundMarks, n) : eti::Marks());
  }
  std::vector<eti::Marks> out;
  DTINFO* head = eti::Compound(list, in, reference, text, &out);
  size_t k = 0;
  for (DTINFO* c = head; c != nullptr; c = c->next) c->compoundMarks = eti::MarksArray(out[k++], n);
  return head;
}

}  // extern "C"
