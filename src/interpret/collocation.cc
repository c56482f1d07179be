// Collocation sequences.  In: the records of one match, one per unit (a
// year, a relative word, a PM marker ...), and the reference time.  Out: one
// record that states the whole expression: absolute fields merged, relative
// offsets accumulated, AM/PM settled by day/night words, the beginning or
// end of a period made concrete, a bare week, month or year made a whole
// period, and the offsets applied or kept for restoration.
#include <cstring>
#include <initializer_list>

#include "calendar/arith.h"
#include "calendar/rules.h"
#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"

namespace eti {
namespace {

// Day/night table: 1 where an hour of that half of the day is an afternoon
// or evening hour (PM, add 12), by hour 0..12.
constexpr int8_t kDayNightPm[2][13] = {
    {1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0},  // "Day": 0..6 o'clock are afternoon
    {0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1},  // "Night": 5..12 o'clock are evening
};

enum class TimeSource { kNone, kAbsolute, kRelative };

struct Offsets {
  int32_t year = kUnset, month = kUnset, week = kUnset, day = kUnset;
  bool Any() const { return IsSet(year) || IsSet(month) || IsSet(week) || IsSet(day); }
};

int32_t OrZero(int32_t v) { return IsSet(v) ? v : 0; }

void Absolute(const DTINFO& x, DTINFO* r, TimeSource* source) {
  for (int32_t DTINFO::*f : {&DTINFO::year, &DTINFO::month, &DTINFO::day, &DTINFO::week,
                             &DTINFO::weekday}) {
    if (IsSet(x.*f)) {
      r->*f = x.*f;
      r->relKind = 0;
    }
  }
  // The first absolute time wins.
  for (int32_t DTINFO::*f : {&DTINFO::hour, &DTINFO::minute, &DTINFO::second}) {
    if (IsSet(x.*f) && !IsSet(r->*f)) {
      r->*f = x.*f;
      *source = TimeSource::kAbsolute;
    }
  }
  if (IsSet(x.dayNight)) r->dayNight = x.dayNight;
  if ((r->dayNight == 0 || r->dayNight == 1) && r->hour >= 0 && r->hour < 13) {
    r->ampm = kDayNightPm[r->dayNight][r->hour];
    if (r->ampm == 1) r->hour += 12;
  }
  if (x.ampm == 1 || r->ampm == 1) {
    r->ampm = 1;
    if (r->hour < 12) r->hour = WAdd(r->hour, 12);
  } else if (x.ampm == 0) {
    r->ampm = 0;
  }
}

// A time field of a relative record.  `larger` is the next larger unit of R
// (unused for the hour).
void RelativeTime(int32_t value, int32_t k, int32_t DTINFO::*field, int32_t DTINFO::*larger,
                  const DTINFO& ref, DTINFO* r, TimeSource* source) {
  if (k == 5) {
    r->hour = ref.hour;
    r->minute = ref.minute;
    r->second = ref.second;
    r->relKind = 5;
  }
  if (*source != TimeSource::kAbsolute) {
    r->*field = value;
    r->relKind = k;
  } else if (larger != nullptr && k != 0 && IsSet(r->*larger)) {
    // Minutes or seconds before or after an absolute time.
    r->*field = k < 1 ? WNeg(value) : value;
    r->relKind = kUnset;
  }
  *source = TimeSource::kRelative;
}

void Relative(const DTINFO& x, const DTINFO& ref, DTINFO* r, Offsets* off, TimeSource* source) {
  const int32_t k = x.relKind;
  const bool offsetKind = k == 2 || k == -2;
  const auto sign = [k](int32_t v) { return k >= 1 ? v : WNeg(v); };
  if (IsSet(x.year)) {
    if (offsetKind) {
      off->year = WAdd(OrZero(off->year), sign(x.year));
      off->day = 0;
    } else {
      r->year = WAdd(ref.year, x.year);
      r->relKind = 0;
    }
  }
  if (IsSet(x.month)) {
    if (offsetKind) {
      off->month = WAdd(OrZero(off->month), sign(x.month));
      off->day = 0;
    } else {
      r->year = ref.year;
      r->month = WAdd(ref.month, x.month);
      r->relKind = 0;
    }
  }
  if (IsSet(x.day)) {
    if (offsetKind) {
      off->day = sign(x.day);  // replaces, does not add
    } else {
      r->year = ref.year;
      r->month = ref.month;
      r->day = WAdd(ref.day, x.day);
      r->relKind = 0;
    }
  }
  if (IsSet(x.week)) {
    off->week = WAdd(OrZero(off->week), sign(x.week));
    if (x.periodEnd == 0 || x.periodEnd == 1) {
      r->weekday = x.periodEnd == 0 ? 0 : 6;
      r->periodEnd = kUnset;
    }
    if (offsetKind) off->day = 0;
  }
  if (IsSet(x.weekday)) {
    r->weekday = x.weekday;
    if (offsetKind) off->day = 0;
  }
  if (IsSet(x.hour)) RelativeTime(x.hour, k, &DTINFO::hour, nullptr, ref, r, source);
  if (IsSet(x.minute)) RelativeTime(x.minute, k, &DTINFO::minute, &DTINFO::hour, ref, r, source);
  if (IsSet(x.second)) RelativeTime(x.second, k, &DTINFO::second, &DTINFO::minute, ref, r, source);
}

// The beginning (0) or end (1) of a period, where no day was said.
void PeriodEdge(const DTINFO& ref, DTINFO* r) {
  const bool past = CurrentRules().past;
  if (r->periodEnd == 0) {
    if (IsSet(r->year) && !IsSet(r->month)) r->month = 1;
    if (IsSet(r->month) && !IsSet(r->year)) {
      // The current month's beginning has passed: next year's is meant
      // (the last one that has come, when the past is preferred).
      if (past) {
        r->year = r->month > ref.month ? WSub(ref.year, 1) : ref.year;
      } else {
        r->year = r->month <= ref.month ? WAdd(ref.year, 1) : ref.year;
      }
    }
    r->day = 1;
  } else {
    if (!IsSet(r->year) && !IsSet(r->month)) {
      r->month = ref.month;  // the year stays open
    } else if (IsSet(r->month) && !IsSet(r->year)) {
      // The current month's end is still to come (when the past is
      // preferred: the last end that has come).
      if (past) {
        const bool passed = r->month < ref.month ||
                            (r->month == ref.month &&
                             ref.day >= LastDayOfMonth(ref.year, r->month));
        r->year = passed ? ref.year : WSub(ref.year, 1);
      } else {
        r->year = r->month < ref.month ? WAdd(ref.year, 1) : ref.year;
      }
    } else if (IsSet(r->year) && !IsSet(r->month)) {
      r->month = 12;
    }
    if (r->month > 12) {
      r->year = WAdd(r->year, 1);
      r->month -= 12;
    }
    r->day = LastDayOfMonth(r->year, r->month);
  }
  r->relKind = 0;
  r->periodEnd = kUnset;
}

void WholePeriod(DTINFO* r, int32_t DTINFO::*span, int32_t amount) {
  r->spanKind = 1;
  r->*span = amount;
}

// Bare weeks, months and years become whole periods.  Returns false when the
// record says nothing that could be one (it is then returned as it is).
bool Periods(const DTINFO& ref, const Offsets& off, DTINFO* r) {
  if (IsSet(r->day) || IsSet(off.day) || r->duration == 0) return true;
  if (!IsSet(r->weekday) && IsSet(r->week)) {
    r->weekday = 1;  // a week runs Monday to Sunday
    WholePeriod(r, &DTINFO::spanDays, 6);
  } else if (!IsSet(r->weekday) && !IsSet(r->week) && !IsSet(off.week)) {
    if (IsSet(r->month)) {
      r->day = 1;
    } else if (IsSet(off.month)) {
      r->relKind = 0;
      if (!IsSet(r->year)) r->year = ref.year;
      r->month = ref.month;
      r->day = 1;
    } else if (IsSet(r->year) || IsSet(off.year)) {
      if (!IsSet(r->year)) {
        r->year = ref.year;
        r->relKind = 0;
      }
      r->month = 1;
      r->day = 1;
      WholePeriod(r, &DTINFO::spanYear, 1);
      r->spanDays = -1;
      return true;
    } else {
      return false;
    }
    WholePeriod(r, &DTINFO::spanMonth, 1);
    r->spanDays = -1;  // to the month's last day
  } else if (!IsSet(r->weekday) && !IsSet(r->week)) {
    r->relKind = 0;
    if (!IsSet(r->year)) r->year = ref.year;
    if (!IsSet(r->month)) r->month = ref.month;
    r->week = ref.week;
    r->weekday = 1;
    r->day = DayOfRelWeekday(r->year, r->month, r->week, 1);
    WholePeriod(r, &DTINFO::spanDays, 6);
  } else if (IsSet(r->weekday) && !IsSet(r->week) && IsSet(off.week)) {
    r->relKind = 0;
    if (!IsSet(r->year)) r->year = ref.year;
    if (!IsSet(r->month)) r->month = ref.month;
    r->week = ref.week;
    r->day = DayOfRelWeekday(r->year, r->month, r->week, r->weekday);
  }
  return true;
}

void ApplyOffsets(const DTINFO& ref, const Offsets& off, DTINFO* r) {
  if (!IsSet(r->relKind)) {
    // Kept for restoration, which counts them from the anchor.
    if (IsSet(off.year)) r->year = off.year;
    if (IsSet(off.month)) r->month = off.month;
    if (IsSet(off.day)) r->day = off.day;
    if (IsSet(off.week)) r->week = IsSet(r->week) ? WAdd(r->week, off.week) : off.week;
    r->relKind = 2;
    return;
  }
  if (IsSet(off.year)) r->year = WAdd(IsSet(r->year) ? r->year : ref.year, off.year);
  if (IsSet(off.month)) r->month = WAdd(IsSet(r->month) ? r->month : ref.month, off.month);
  if (IsSet(off.day)) r->day = WAdd(IsSet(r->day) ? r->day : ref.day, off.day);
  // Weeks are added to the day as it stands, even an unset one.
  if (IsSet(off.week)) r->day = WAdd(r->day, WMul(7, off.week));
  r->relKind = kUnset;
}

}  // namespace
}  // namespace eti

using eti::IsSet;

extern "C" DTINFO* AnalColSeq(DTINFO* list, const DTINFO* reference) {
  DTINFO* r = eti::NewDTINFO();
  DTINFO unknown;  // a reference with nothing known, should none be given
  if (reference == nullptr) {
    std::memset(&unknown, 0x0A, sizeof(unknown));
    reference = &unknown;
  }
  const DTINFO& ref = *reference;
  eti::Offsets off;
  eti::TimeSource source = eti::TimeSource::kNone;

  for (const DTINFO* x = list; x != nullptr; x = x->next) {
    if (!IsSet(r->periodEnd) && IsSet(x->periodEnd)) r->periodEnd = x->periodEnd;
    r->duration = x->duration;  // the last record's, unset included
    if (IsSet(x->lunar)) r->lunar = x->lunar;
    if (!IsSet(r->ampm) && IsSet(x->ampm)) r->ampm = x->ampm;
    for (int32_t DTINFO::*f : {&DTINFO::repeatYear, &DTINFO::repeatMonth, &DTINFO::repeatWeek,
                               &DTINFO::repeatDay, &DTINFO::repeatHour}) {
      if (IsSet(x->*f)) r->*f = x->*f;
    }
    if (x->relKind == 0 || !IsSet(x->relKind) || x->duration == 0) {
      eti::Absolute(*x, r, &source);
    } else {
      eti::Relative(*x, ref, r, &off, &source);
    }
  }

  bool periods = true;
  if ((r->periodEnd == 0 || r->periodEnd == 1) && !IsSet(r->day)) {
    eti::PeriodEdge(ref, r);
  } else if (IsSet(r->relKind) && r->relKind != 0) {
    periods = false;
  }
  if (periods && !eti::Periods(ref, off, r)) {
    Free_DTINFO(list);
    return r;
  }
  if (off.Any()) eti::ApplyOffsets(ref, off, r);
  Free_DTINFO(list);
  return r;
}
