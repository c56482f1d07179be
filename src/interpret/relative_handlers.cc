// Relative, period, marker and numeric handlers: offsets from the reference
// time (the year after next, the day after tomorrow), the period-day unit,
// single marker words (AM/PM, day/night, lunar/solar) and dates and times
// written with separators (2014.5.6, 10:30).  Each makes at most one record.
#include <cstring>
#include <string_view>
#include <string>

#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"
#include "interpret/unit_walk.h"

namespace eti {
namespace {

// Relative year, month and hour units: every valued hit is the offset.
DTINFO* Offset(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq,
               int32_t DTINFO::*field, Walk* w) {
  return WalkUnit(tokens, first, end, unitSeq, field, w,
                  [](std::string_view, const TAGATTR& a, const RETTAGS&, Walk* walk) {
                    if (IsSet(a.value)) {
                      walk->running = a.value;
                      walk->anyValue = true;
                    }
                    return Hit::kGoOn;
                  });
}

DTINFO* RelativeAtEnd(DTINFO* r) {
  if (r != nullptr) r->relKind = 1;
  return r;
}

// One marker token: each attribute with one of the handler's names makes a
// new record with one field set; the last one wins.
struct Marker {
  const char* name;
  int32_t DTINFO::*field;
  int32_t value;
};

template <size_t N>
DTINFO* MarkerUnit(RETTAGS* tokens, int32_t first, int32_t end, const Marker (&markers)[N]) {
  if (tokens == nullptr || end != first + 1) return nullptr;
  DTINFO* result = nullptr;
  for (const TAGATTR* a = tokens[first].attrs; a != nullptr; a = a->next) {
    for (const Marker& m : markers) {
      if (std::strcmp(a->name, m.name) != 0) continue;
      Free_DTINFO(result);
      result = NewDTINFO();
      result->*m.field = m.value;
      break;
    }
  }
  return result;
}

const TAGATTR* Find(const RETTAGS& token, const char* name) {
  for (const TAGATTR* a = token.attrs; a != nullptr; a = a->next) {
    if (std::strcmp(a->name, name) == 0) return a;
  }
  return nullptr;
}

// The number of a date part: a NUM attribute (the first) of at least 1.
bool DateNumber(const RETTAGS& token, int32_t* v) {
  const TAGATTR* a = Find(token, "NUM");
  if (a == nullptr || a->value < 1) return false;
  *v = a->value;
  return true;
}

// The number of a time part: a NUM attribute (the first), any value.
bool TimeNumber(const RETTAGS& token, int32_t* v) {
  const TAGATTR* a = Find(token, "NUM");
  if (a == nullptr) return false;
  *v = a->value;
  return true;
}

bool Has(const RETTAGS& token, const char* name) { return Find(token, name) != nullptr; }

// A hyphen between the parts of a date is a date separator, not a range.
void HyphenToDateSeparator(RETTAGS* token) {
  TAGATTR* a = token->attrs;
  if (a == nullptr || std::strcmp(a->name, "Dur") != 0 || token->text == nullptr ||
      std::strcmp(token->text, "-") != 0) {
    return;
  }
  token->text[0] = '/';
  std::strcpy(a->name, "D_SEP");
  a->value = 0;
}

}  // namespace
}  // namespace eti

using eti::kUnset;

extern "C" {

DTINFO* Cal_rYUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  eti::Walk w;
  return eti::RelativeAtEnd(eti::Offset(t, first, end, seq, &DTINFO::year, &w));
}

DTINFO* Cal_rMUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  if (first >= end) return nullptr;
  eti::Walk w;
  DTINFO* r = eti::Offset(t, first, end, seq, &DTINFO::month, &w);
  if (r != nullptr && !w.anyValue) {
    Free_DTINFO(r);  // a month offset without a number says nothing
    return nullptr;
  }
  return eti::RelativeAtEnd(r);
}

DTINFO* Cal_rHUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  eti::Walk w;
  return eti::RelativeAtEnd(eti::Offset(t, first, end, seq, &DTINFO::hour, &w));
}

DTINFO* Cal_rDUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  eti::Walk w;
  // Days counted from the reference day ("rD-Unit") or in days; a hit
  // without a value undoes the token's earlier hits.
  return eti::WalkUnit(
      t, first, end, seq, &DTINFO::day, &w,
      [](std::string_view item, const TAGATTR& a, const RETTAGS&, eti::Walk* walk) {
        walk->rec->relKind = item == "rD-Unit" ? 5 : 2;
        walk->lastHitValued = eti::IsSet(a.value);
        if (!eti::IsSet(a.value)) return a.next == nullptr ? eti::Hit::kFail : eti::Hit::kGoOn;
        walk->running = a.value;
        return eti::Hit::kGoOn;
      },
      /*lastHitMustHaveValue=*/true);
}

DTINFO* Cal_pDUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  eti::Walk w;
  return eti::WalkUnit(t, first, end, seq, &DTINFO::day, &w,
                       [](std::string_view item, const TAGATTR& a, const RETTAGS&, eti::Walk* walk) {
                         if (item == "pD-Unit") walk->running = a.value;
                         return eti::Hit::kGoOn;
                       });
}

DTINFO* Cal_AMPMUnit(RETTAGS* t, int32_t first, int32_t end) {
  static const eti::Marker kMarkers[] = {
      {"AM", &DTINFO::ampm, 0}, {"Morning", &DTINFO::ampm, 0}, {"PM", &DTINFO::ampm, 1}};
  return eti::MarkerUnit(t, first, end, kMarkers);
}

DTINFO* Cal_DayNight(RETTAGS* t, int32_t first, int32_t end) {
  static const eti::Marker kMarkers[] = {{"Day", &DTINFO::dayNight, 0},
                                         {"Night", &DTINFO::dayNight, 1}};
  return eti::MarkerUnit(t, first, end, kMarkers);
}

DTINFO* Cal_Lunar(RETTAGS* t, int32_t first, int32_t end) {
  static const eti::Marker kMarkers[] = {{"LUN_CAL", &DTINFO::lunar, 1},
                                         {"SOL_CAL", &DTINFO::lunar, 0}};
  return eti::MarkerUnit(t, first, end, kMarkers);
}

DTINFO* Cal_DSEP(RETTAGS* t, int32_t first, int32_t end) {
  if (t == nullptr) return nullptr;
  const int32_t n = end - first;
  int32_t year, month, day;
  if (n == 5) {
    // Rewritten before the tests, and kept even when they fail: a date
    // written with hyphens is a date, not a range.
    for (int32_t k = first; k < end; ++k) eti::HyphenToDateSeparator(&t[k]);
    if (!eti::DateNumber(t[first + 4], &day) || !eti::Has(t[first + 3], "D_SEP") ||
        !eti::DateNumber(t[first + 2], &month) || !eti::Has(t[first + 1], "D_SEP") ||
        !eti::DateNumber(t[first], &year)) {
      return nullptr;
    }
    DTINFO* r = eti::NewDTINFO();
    r->year = year;
    r->month = month;
    r->day = day;
    return r;
  }
  if (n == 3) {
    if (!eti::DateNumber(t[first + 2], &day) || !eti::Has(t[first + 1], "D_SEP") ||
        !eti::DateNumber(t[first], &month)) {
      return nullptr;
    }
    DTINFO* r = eti::NewDTINFO();
    r->month = month;
    r->day = day;
    return r;
  }
  if (n == 2 && (!eti::Has(t[first + 1], "D_SEP") || !eti::DateNumber(t[first], &month))) {
    return nullptr;
  }
  return eti::NewDTINFO();
}

DTINFO* Cal_TSEP(RETTAGS* t, int32_t first, int32_t end) {
  if (t == nullptr) return nullptr;
  const int32_t n = end - first;
  if (n != 3 && n != 5) return nullptr;
  int32_t hour, minute, second = kUnset;
  if (n == 5 && (!eti::TimeNumber(t[first + 4], &second) || !eti::Has(t[first + 3], "T_SEP"))) {
    return nullptr;
  }
  if (!eti::TimeNumber(t[first + 2], &minute) || !eti::Has(t[first + 1], "T_SEP") ||
      !eti::TimeNumber(t[first], &hour)) {
    return nullptr;
  }
  DTINFO* r = eti::NewDTINFO();
  r->hour = hour;
  r->minute = minute;
  if (n == 5) r->second = second;
  // A written time reads as a morning time until a PM word or the day/night
  // table says otherwise.
  if (hour >= 12 && hour <= 23) {
    r->ampm = 1;
  } else if (hour < 12) {
    r->ampm = 0;
  }
  return r;
}

}  // extern "C"
