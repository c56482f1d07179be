// Restoration.  In: the compound records, the reference time and the
// settings.  Out: the same records, each resolved to a real calendar date
// and time.  What the text left open is filled from the anchors (the
// reference, then each record once resolved), always preferring the nearest
// moment that is not in the past: a day of the month that has gone by means
// next month, an hour that has gone by today is tried in the afternoon and
// otherwise means tomorrow.  Lunar dates are converted, two-digit years get
// the default century and bare hours the afternoon defaults of the settings.
#include <cstdlib>
#include <cstring>

#include "resolve/restore.h"

#include "calendar/arith.h"
#include "calendar/calendar.h"
#include "calendar/rules.h"
#include "driver/trace.h"
#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"

namespace eti {
namespace {

// Which date fields were taken from the anchor.
enum class Fill { kNeither, kYear, kYearMonth };

bool IsRangeEnd(const DTINFO* previous, const DTINFO& n) {
  return previous != nullptr && previous->duration == 1 && n.duration == 2;
}

// The previous record keeps the anchors where they are for this one: it
// opened a range that this one closes, or it is an open start (role 3).
bool KeepsAnchors(const DTINFO* previous, const DTINFO& n) {
  return IsRangeEnd(previous, n) || (previous != nullptr && previous->duration == 3);
}

bool SameDate(const DTINFO& a, const DTINFO& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day;
}

bool DateBefore(const DTINFO& n, const DTINFO& ref) {
  return n.year < ref.year || (n.year == ref.year && n.month < ref.month) ||
         (n.year == ref.year && n.month == ref.month && n.day < ref.day);
}

void CarryMonths(DTINFO* n) {
  if (n->month > 12) {
    const int32_t years = (n->month - 1) / 12;
    n->month -= 12 * years;
    n->year = WAdd(n->year, years);
  }
}

// The lunar date of a record, kept so that rolls forward are made in the
// lunar calendar.
struct LunarDate {
  bool active = false;
  int32_t year = 0, month = 0, day = 0;

  void Roll(DTINFO* n, int32_t months, int32_t years, const ETS_CONTEXT* ctx) {
    month = WAdd(month, months);
    year = WAdd(year, years);
    if (month > 12) {
      month -= 12;
      year = WAdd(year, 1);
    } else if (month < 1) {
      month += 12;
      year = WSub(year, 1);
    }
    n->year = year;
    n->month = month;
    n->day = day;
    ChangeLunarDate(n, ctx);
  }
};

// Whether n comes after ref: on the date, or on the date and time.
bool AfterReferenceOf(const DTINFO& n, const DTINFO& ref, bool timeStated);

class Restorer {
 public:
  Restorer(DTINFO* head, DTINFO* ref, const ETS_CONTEXT* ctx, std::vector<Placement>* places)
      : first_(head), ref_(ref), ctx_(ctx), dateAnchor_(ref), timeAnchor_(ref), places_(places),
        trace_(ActiveTrace()) {}

  // False when the calendar could not form a record's date.
  bool Restore(DTINFO* n);

 private:
  void Day(DTINFO* n, bool* dayTaken);
  bool Time(DTINFO* n);
  void RollForward(DTINFO* n, Fill fill, bool dayTaken, LunarDate* lunar);
  void RollTime(DTINFO* n);
  void AfternoonDefault(DTINFO* n, bool timeStated);
  void SameDayAsReference(DTINFO* n, bool onlyTime);
  // What the text left open, as the future rules placed it; what the past
  // rules move back by.
  enum class Open { kNone, kTime, kWeekday, kDay, kMonthDay };
  bool AfterReference(const DTINFO& n, bool timeStated) const;
  void PlaceInPast(DTINFO* n, Open open, bool timeStated, bool weekOfMonth,
                   const int32_t hours[2], LunarDate* lunar);
  bool Normalise(DTINFO* n, bool timeStated);

  DTINFO* first_;
  DTINFO* ref_;
  // The moment the future rules count from: the reference, or, when the
  // past is preferred, the start of the range a record ends (an end comes
  // after its start).
  const DTINFO* now_ = nullptr;
  // The date anchor of the record: the date anchor, or that same start.
  const DTINFO* anchor_ = nullptr;
  const ETS_CONTEXT* ctx_;
  const DTINFO* dateAnchor_;
  const DTINFO* timeAnchor_;
  const DTINFO* previous_ = nullptr;

  // The reader rules' view of the records (NULL under the whole call's):
  // where each stands, sentence and direction word.
  std::vector<Placement>* places_;
  Trace* const trace_;
  size_t index_ = 0;  // the number of the record being restored
  // The record closes the range, or the open start, of the record before
  // it: it takes its anchors from it.  Under the reader rules only in the
  // same sentence.
  bool joined_ = false;
  // Whether the record before was placed in the past.
  bool previousPast_ = false;
  // The reader's topic: the latest record whose day the text stated, with
  // that day as the text stated it (before its time carried it on), for a
  // bare time after it.
  bool hasTopic_ = false;
  DTINFO topic_{};

  void OtherWeekdays(const DTINFO& n, bool timeStated, Placement* place);
  const Placement* Here() const {
    return places_ != nullptr && index_ < places_->size() ? &(*places_)[index_] : nullptr;
  }
  void Say(const std::string& note) {
    if (trace_ != nullptr) Trace::Note(&trace_->resolveNotes, index_, note);
  }
  void AgreeWithWeekday(DTINFO* n, const DTINFO& stated, int32_t weekday, bool yearTaken,
                        bool timeStated);
  void CountFromBase(DTINFO* n, const Tie& tie);
  // The records restored so far, by number.
  std::vector<const DTINFO*> done_;
  bool KeepRecentPast(DTINFO* n, const DTINFO& stated, bool period, bool timeStated);
  const DTINFO* SeriesStart() const;
  bool KeepSpanInProgress(DTINFO* n, const DTINFO& stated, bool timeStated);
  DTINFO series_{};  // the day a series is counted from
};

void Restorer::Day(DTINFO* n, bool* dayTaken) {
  const DTINFO& a = *anchor_;
  if (IsSet(n->day)) {
    if (n->spanKind != 1) n->hasDate = 1;
  } else if (!IsSet(n->week) && !IsSet(n->weekday)) {
    n->day = a.day;
    *dayTaken = true;
  } else if (!IsSet(n->week)) {
    if (n->spanKind != 1) n->hasDate = 1;
    n->week = a.week;
    // A Sunday reference is the last day of its week, for every later
    // record too.
    if (ref_->weekday == 0) ref_->weekday = 7;
    // A weekday that has come or gone this week means next week's.
    const int32_t nowWeekday = now_->weekday == 0 ? 7 : now_->weekday;
    if (n->weekday <= nowWeekday && n->week == now_->week && n->month == now_->month) {
      n->week = WAdd(n->week, 1);
    }
    if (IsRangeEnd(previous_, *n) && n->weekday < previous_->weekday &&
        n->week == previous_->week && n->month == previous_->month) {
      n->week = WAdd(n->week, 1);
    }
    n->day = DayOfRelWeekday(n->year, n->month, n->week, n->weekday);
  } else {
    if (!IsSet(n->weekday)) {
      if (n->spanKind == 1) {
        n->weekday = 1;  // a whole week starts on Monday
      } else {
        n->day = a.day;
        *dayTaken = true;
        return;
      }
    }
    if (n->spanKind != 1) n->hasDate = 1;
    n->day = DayOfRelWeekday(n->year, n->month, n->week, n->weekday);
  }
}

// Fills the time; returns whether the text stated one.
bool Restorer::Time(DTINFO* n) {
  const bool h = IsSet(n->hour), m = IsSet(n->minute), s = IsSet(n->second);
  const bool relative = n->relKind != 0;
  if (!h && !m && !s) {
    if (relative) {
      n->hour = ref_->hour;
      n->minute = ref_->minute;
      n->second = ref_->second;
    }
  } else if (h) {
    n->hasTime = 1;
    if (IsSet(n->ampm)) n->hasAmPm = 1;
    if (!m) n->minute = relative ? ref_->minute : 0;
    if (!s) n->second = relative ? ref_->second : 0;
  } else if (m) {
    n->hasTime = 1;
    if (IsSet(n->ampm)) n->hasAmPm = 1;
    // The next time the clock shows that minute.
    n->hour = n->minute < ref_->minute ? WAdd(ref_->hour, 1) : ref_->hour;
    if (!s) n->second = relative ? ref_->second : 0;
  } else {
    n->hasTime = 1;
    n->hour = ref_->hour;
    n->minute = n->second < ref_->second ? WAdd(ref_->minute, 1) : ref_->minute;
  }
  if (places_ == nullptr) {
    if (n != first_ && !IsSet(n->ampm) && IsSet(first_->ampm)) n->ampm = first_->ampm;
  } else if (joined_ && !IsSet(n->ampm) && previous_->hasAmPm == 1 && previous_->relKind != 5 &&
             (h || m || s)) {
    // The end of a span in the half of the day its start stated (오전 7시부터
    // 10시 반까지); nothing else takes another's half of the day, and now
    // (지금부터 3시까지) states none.
    n->ampm = previous_->ampm;
  }
  return h || m || s;
}

// An hour given without a date, against the time anchor.
void Restorer::RollTime(DTINFO* n) {
  if (n->ampm == 1 && n->hour < 12) n->hour += 12;
  // The whole call compares the first record, and an end on its start's
  // day, with the time anchor; the reader compares an end with its start
  // and anything else that falls on the reference's day with the reference.
  const bool compare =
      places_ == nullptr
          ? previous_ == nullptr || (SameDate(*n, *previous_) && joined_)
          : (joined_ ? SameDate(*n, *previous_) : SameDate(*n, *ref_));
  const DTINFO& t = places_ == nullptr || !joined_ ? *timeAnchor_ : *previous_;
  if (!compare || !IsSet(t.hour) || !IsSet(n->hour)) return;
  const bool knownHalf = IsSet(n->ampm);
  if (n->hour < t.hour) {
    if (!knownHalf && n->hour >= 1 && n->hour <= 12) {
      // Try the afternoon first; if that has gone by too, tomorrow morning.
      const int32_t pm = n->hour + 12;
      if (pm > t.hour || (pm == t.hour && (!IsSet(t.minute) || t.minute <= n->minute))) {
        n->hour = pm;
      } else {
        n->day = WAdd(n->day, 1);
      }
    } else if (!knownHalf && n->hour == 0) {
      n->day = WAdd(n->day, 1);
    } else if (!knownHalf && n->hour >= 13 && n->hour <= 24) {
      // A past afternoon hour becomes the same hour of the next morning.
      n->hour -= 12;
      n->day = WAdd(n->day, 1);
    } else if (knownHalf) {
      n->day = WAdd(n->day, 1);
    }
  } else if (n->hour == t.hour && IsSet(t.minute) && t.minute > n->minute) {
    if (!knownHalf && n->hour <= 12) {
      n->hour += 12;
    } else if (!knownHalf && n->hour >= 13 && n->hour <= 24) {
      n->hour -= 12;
      n->day = WAdd(n->day, 1);
    } else if (knownHalf) {
      n->day = WAdd(n->day, 1);
    }
  }
}

void Restorer::RollForward(DTINFO* n, Fill fill, bool dayTaken, LunarDate* lunar) {
  const DTINFO& a = *anchor_;
  if (fill == Fill::kYearMonth && !dayTaken) {
    if (n->day < 1 || n->day > 31) return;
    // A day before the range's start, or before today in this month, means
    // next month.
    const bool advance =
        (IsRangeEnd(previous_, *n) && n->month == previous_->month && n->day < previous_->day) ||
        (n->month == now_->month && n->day < now_->day);
    if (!advance) return;
    if (lunar->active) return lunar->Roll(n, 1, 0, ctx_);
    n->month = WAdd(n->month, 1);
    if (n->month > 12) {
      n->month -= 12;
      n->year = WAdd(n->year, 1);
    }
  } else if (fill == Fill::kYear) {
    if (n->month < 1 || n->month > 12) return;
    const bool firstOrRangeEnd = previous_ == nullptr || IsRangeEnd(previous_, *n);
    bool advance =
        (firstOrRangeEnd && n->year == a.year &&
         (n->month < a.month || (n->month == a.month && n->day < a.day))) ||
        (n->year == now_->year && n->month < now_->month) ||
        (n->year == now_->year && n->month == now_->month && n->day < now_->day);
    // A whole month of this month stays in this year.
    if (n->spanKind == 1 && !IsSet(n->week) && !IsSet(n->weekday) && n->year == now_->year &&
        n->month == now_->month) {
      advance = false;
    }
    if (!advance) return;
    if (lunar->active) return lunar->Roll(n, 0, 1, ctx_);
    n->year = WAdd(n->year, 1);
    if (IsSet(n->week) && IsSet(n->weekday)) {
      n->day = DayOfRelWeekday(n->year, n->month, n->week, n->weekday);
    }
  } else if (fill == Fill::kYearMonth && dayTaken) {
    RollTime(n);
  }
}

void Restorer::AfternoonDefault(DTINFO* n, bool timeStated) {
  if (IsSet(n->ampm) || !timeStated || n->hour < 0 || n->hour > 11 || n->relKind == 5) return;
  if (ctx_ == nullptr || ctx_->defaultAmPm[n->hour] != 2) return;
  if (joined_ && previous_->hasTime == 1) {
    // The end of a range stays in the start's half of the day unless it
    // falls on a day of its own.
    if (!SameDate(*n, *previous_) && n->hasDate == 1 && n->hour != 0) n->hour += 12;
  } else if (n->hour != 0) {
    n->hour += 12;
  }
}

void Restorer::SameDayAsReference(DTINFO* n, bool onlyTime) {
  if (!SameDate(*n, *now_)) return;
  if (n->ampm == 1) {
    if (n->hour < 12) n->hour += 12;
    if (onlyTime && (n->hour < now_->hour ||
                     (n->hour == now_->hour && n->minute < now_->minute))) {
      n->day = WAdd(n->day, 1);
    }
  } else if (n->hour < now_->hour || (n->hour == now_->hour && n->minute < now_->minute)) {
    if (n->hour <= 12 && !IsSet(n->ampm)) {
      if (n->hour != 0) n->hour += 12;
    } else if (onlyTime) {
      n->day = WAdd(n->day, 1);
    }
  }
}

bool AfterReferenceOf(const DTINFO& n, const DTINFO& ref, bool timeStated) {
  const int32_t a[6] = {n.year, n.month, n.day, n.hour, n.minute, n.second};
  const int32_t b[6] = {ref.year, ref.month, ref.day, ref.hour, ref.minute, ref.second};
  for (int k = 0; k < (timeStated ? 6 : 3); ++k) {
    if (a[k] != b[k]) return a[k] > b[k];
  }
  return false;
}

bool Restorer::AfterReference(const DTINFO& n, bool timeStated) const {
  return AfterReferenceOf(n, *ref_, timeStated);
}

// The record through the calendar: dateTimeRevalidate for its checks, then
// ModifyDTInfo.  False when the calendar cannot form it.
bool Restorer::Normalise(DTINFO* n, bool timeStated) {
  int32_t date[3] = {n->year, n->month, n->day};
  int32_t time[3] = {n->hour, n->minute, n->second};
  std::free(dateTimeRevalidate(date, time));
  n->year = date[0];
  n->month = date[1];
  n->day = date[2];
  n->hour = time[0];
  n->minute = time[1];
  n->second = time[2];
  if (n->hour == 0) n->ampm = 0;
  return ModifyDTInfo(n, timeStated ? 0 : -1, ctx_) != nullptr;
}

// The latest moment not after the reference that the text allows, for a
// record the future rules placed after it: a day of the month a month back,
// a month and day a year back, a weekday a week back, an hour on the
// reference's day or the day before (in either half of the day, when the
// text did not say which).
void Restorer::PlaceInPast(DTINFO* n, Open open, bool timeStated, bool weekOfMonth,
                           const int32_t hours[2], LunarDate* lunar) {
  switch (open) {
    case Open::kNone:
      return;
    case Open::kMonthDay:
      if (lunar->active) return lunar->Roll(n, 0, -1, ctx_);
      n->year = WSub(n->year, 1);
      // A weekday of a week of the month is that weekday a year back.
      if (weekOfMonth) {
        n->day = DayOfRelWeekday(n->year, n->month, n->week, n->weekday == 0 ? 7 : n->weekday);
      }
      return;
    case Open::kDay:
      if (lunar->active) return lunar->Roll(n, -1, 0, ctx_);
      n->month = WSub(n->month, 1);
      return;
    case Open::kWeekday:
      n->day = WSub(n->day, 7);
      return;
    case Open::kTime: {
      if (!timeStated) return;
      // The latest of the candidate hours, today or yesterday, not after
      // the reference.
      for (int back = 0; back <= 1; ++back) {
        int32_t best = -1;
        for (int k = 0; k < 2; ++k) {
          const int32_t h = hours[k];
          if (h < 0) continue;
          const bool fits = back == 1 || h < ref_->hour ||
                            (h == ref_->hour && (n->minute < ref_->minute ||
                                                 (n->minute == ref_->minute &&
                                                  n->second <= ref_->second)));
          if (fits && h > best) best = h;
        }
        if (best >= 0) {
          n->year = ref_->year;
          n->month = ref_->month;
          n->day = WSub(ref_->day, back);
          n->hour = best;
          n->ampm = best >= 12 ? 1 : 0;
          return;
        }
      }
      return;
    }
  }
}

bool Restorer::Restore(DTINFO* n) {
  n->hasDate = n->hasTime = n->hasAmPm = 0;
  const ReadingRules& rules = CurrentRules();
  const Placement* here = Here();
  const Placement* before = here != nullptr && index_ > 0 ? &(*places_)[index_ - 1] : nullptr;
  struct Next {
    Restorer* r;
    DTINFO* n;
    ~Next() {
      r->done_.push_back(n);
      ++r->index_;
    }
  } next{this, n};
  if (IsSet(n->year) && n->year > rules.maxYear) return true;
  if (n->duration == 0) return true;  // a length of time is no moment
  if (here != nullptr && here->tie.base >= 0 &&
      static_cast<size_t>(here->tie.base) < done_.size()) {
    CountFromBase(n, here->tie);
  }

  // The end of a range, or what follows an open start, is placed after
  // that start; the reader rules join the two only inside one sentence.
  joined_ = KeepsAnchors(previous_, *n) &&
            (here == nullptr || before == nullptr || before->sentence == here->sentence);
  if (here != nullptr && KeepsAnchors(previous_, *n) && !joined_) {
    Say("closes no span: a sentence ends before it");
  }
  // Placed in the past: by the rules, or by 지난 before it.
  const bool past = here == nullptr ? rules.past
                                    : here->direction == Direction::kPast ||
                                          (rules.past && here->direction != Direction::kFuture);
  const bool closesRange = joined_;
  const bool endFollowsStart = closesRange && (rules.past || previousPast_);
  now_ = endFollowsStart ? previous_ : ref_;
  // The date anchor.  The whole call's moves to each record once it is
  // resolved.  The reader's is the reference: a record takes nothing from
  // one before it, but for the end of a span (its start) and a bare time
  // (the day of the latest record that stated one).
  const bool timeOnly = !IsSet(n->year) && !IsSet(n->month) && !IsSet(n->day) &&
                        !IsSet(n->week) && !IsSet(n->weekday) &&
                        (IsSet(n->hour) || IsSet(n->minute) || IsSet(n->second));
  const bool repeats = IsSet(n->repeatYear) || IsSet(n->repeatMonth) || IsSet(n->repeatWeek) ||
                       IsSet(n->repeatDay);
  const DTINFO* seriesStart = here != nullptr && repeats && !joined_ ? SeriesStart() : nullptr;
  if (endFollowsStart) {
    anchor_ = previous_;
  } else if (here == nullptr) {
    anchor_ = dateAnchor_;
  } else if (joined_) {
    anchor_ = previous_;
    Say("takes its date from the start of its span");
  } else if (seriesStart != nullptr) {
    // The first time a series comes on or after the start before it
    // (1월 11일부터 매주 월요일, 3월부터 매달 25일): counted as after the
    // day before that start, or on that day for a time of every day.
    series_ = *seriesStart;
    series_.hour = 0;
    series_.minute = 0;
    series_.second = 0;
    if (!timeOnly) {
      series_.day = WSub(series_.day, 1);
      ModifyDTInfo(&series_, 0, ctx_);
    }
    anchor_ = now_ = &series_;
    Say("a series: its first time on or after the start before it");
  } else if (timeOnly && hasTopic_ && !repeats) {
    anchor_ = &topic_;
    Say("a bare time: takes the day of the latest expression that stated one");
  } else {
    anchor_ = ref_;
  }
  // A bare month, a month and day: the text gave no year.
  const bool bareMonth = n->spanKind == 1 && n->spanMonth == 1 && IsSet(n->month) &&
                         !IsSet(n->year) && !IsSet(n->week) && !IsSet(n->weekday);
  const DTINFO& a = *anchor_;
  const bool weekdayOnly = !IsSet(n->day) && IsSet(n->weekday) && !IsSet(n->week);
  const bool weekOfMonth = !IsSet(n->day) && IsSet(n->weekday) && IsSet(n->week);
  // A weekday written with a day (12월 18일 금요일, 12/18(금)).
  const int32_t statedWeekday = IsSet(n->day) && IsSet(n->weekday) ? n->weekday % 7 : kUnset;
  // The hours the text allows, for the past rules: as said, or in either
  // half of the day when it did not say which (nor the settings).
  int32_t hours[2] = {n->hour, -1};
  if (IsSet(n->hour) && !IsSet(n->ampm) && n->hour >= 0 && n->hour <= 12) {
    const bool afternoon = ctx_ != nullptr && n->hour >= 1 && n->hour <= 11 &&
                           ctx_->defaultAmPm[n->hour] == 2;
    hours[0] = afternoon ? n->hour + 12 : n->hour % 12;
    hours[1] = afternoon ? -1 : n->hour % 12 + 12;
  } else if (IsSet(n->hour) && n->ampm == 1 && n->hour < 12) {
    hours[0] = n->hour + 12;
  }
  Fill fill = Fill::kNeither;
  if (!IsSet(n->year)) {
    n->year = a.year;
    fill = Fill::kYear;
    if (!IsSet(n->month)) {
      n->month = a.month;
      fill = Fill::kYearMonth;
    }
  } else {
    if (n->year <= 99 && ctx_ != nullptr) {
      n->year = !rules.reader ? WAdd(n->year, ctx_->defaultCentury)
                              : ExpandYear(n->year, ref_->year, rules);
    }
    if (!IsSet(n->month)) n->month = a.month;
  }
  CarryMonths(n);

  bool dayTaken = false;
  Day(n, &dayTaken);
  const bool timeStated = Time(n);
  const bool onlyTime = fill == Fill::kYearMonth && dayTaken;

  LunarDate lunar;
  if (n->lunar == 1) {
    lunar = {true, n->year, n->month, n->day};
    ChangeLunarDate(n, ctx_);
  }
  RollForward(n, fill, dayTaken, &lunar);
  AfternoonDefault(n, timeStated);
  SameDayAsReference(n, onlyTime);
  // The day as the text stated it, before its time carries it on (오늘밤
  // 12시 is today's midnight).
  const DTINFO stated = *n;

  if (n->year > rules.maxYear) return true;  // left for the pipeline to drop
  if (!Normalise(n, timeStated)) return false;

  bool movedBack = false;  // placed in the recent past by the reader rules
  if (here != nullptr && !closesRange && !past) {
    if (IsSet(statedWeekday) && !lunar.active && fill != Fill::kNeither) {
      AgreeWithWeekday(n, stated, statedWeekday, fill == Fill::kYear, timeStated);
    }
    if (fill == Fill::kYear && seriesStart == nullptr && n->lunar != 1 &&
        (bareMonth || !IsSet(n->spanKind)) && KeepRecentPast(n, stated, bareMonth, timeStated)) {
      movedBack = true;
    }
    if (fill == Fill::kYear && (n->duration == 1 || n->duration == 3) && !lunar.active &&
        KeepSpanInProgress(n, stated, timeStated)) {
      movedBack = true;
    }
  }

  if (past && !closesRange && AfterReference(*n, timeStated)) {
    if (here != nullptr && here->direction == Direction::kPast) Say("지난: placed in the past");
    Open open = Open::kNone;
    if (onlyTime) {
      open = Open::kTime;
    } else if (fill == Fill::kYearMonth) {
      open = weekdayOnly ? Open::kWeekday : Open::kDay;
    } else if (fill == Fill::kYear) {
      open = Open::kMonthDay;
    }
    // Back until it is not after the reference: a weekday that is today
    // may go back twice (the future rules chose next week's, and today's
    // hour has not come).
    // The half of the day chosen here is the hour's alone: a record after
    // it (the end of a range) does not take it as the text's.
    const int32_t statedHalf = n->ampm;
    for (int step = 0; open != Open::kNone && step < 3 && AfterReference(*n, timeStated); ++step) {
      PlaceInPast(n, open, timeStated, weekOfMonth, hours, &lunar);
      if (!Normalise(n, timeStated)) return false;
    }
    if (!IsSet(statedHalf)) n->ampm = statedHalf;
  }

  // Anchors stay for the end of a range, after an open start, and for a
  // whole period that lies before the reference date.
  const bool stay = joined_ || (n->spanKind == 1 && DateBefore(*n, *ref_));
  previous_ = n;
  previousPast_ = past || movedBack;
  if (!stay) dateAnchor_ = timeAnchor_ = n;
  if (here != nullptr && !here->alsoWeekdays.empty()) {
    OtherWeekdays(*n, timeStated, &(*places_)[index_]);
  }
  // The topic of a bare time after it: its day, or its span's first day.
  if (here != nullptr && n->hasDate == 1 && n->spanKind != 1) {
    hasTopic_ = true;
    topic_ = joined_ ? topic_ : stated;
  }
  return true;
}

// The first time of each other weekday of a weekly list (매주 월·수·금), at
// the time of the one resolved: the nearest such day whose moment is not
// before the moment the resolved one was counted from.
void Restorer::OtherWeekdays(const DTINFO& n, bool timeStated, Placement* place) {
  place->alsoStarts.clear();
  for (const int32_t w : place->alsoWeekdays) {
    DTINFO other = n;
    other.day = WAdd(n.day, (w - n.weekday % 7 + 14) % 7);
    DTINFO earlier = other;
    earlier.day = WSub(earlier.day, 7);
    if (!Normalise(&earlier, timeStated)) continue;
    if (AfterReferenceOf(earlier, *now_, timeStated)) other = earlier;
    if (!Normalise(&other, timeStated)) continue;
    char time[15];
    DT2Char(&other, time);
    place->alsoStarts.emplace_back(time, 14);
  }
}

// A count the text tied to an earlier record, counted from that record as
// resolved: its date moved by the count's days, weeks, months and years;
// its time by the count's hours and minutes (from the record's time, or
// midnight), or its own, or none.
void Restorer::CountFromBase(DTINFO* n, const Tie& tie) {
  const DTINFO& b = *done_[static_cast<size_t>(tie.base)];
  const auto add = [](int32_t v, int32_t offset) { return IsSet(offset) ? WAdd(v, offset) : v; };
  n->year = add(b.year, tie.year);
  n->month = add(b.month, tie.month);
  n->day = add(b.day, tie.day);
  if (IsSet(tie.week)) n->day = WAdd(n->day, WMul(7, tie.week));
  n->week = kUnset;
  n->weekday = kUnset;
  if (IsSet(tie.hour) || IsSet(tie.minute) || IsSet(tie.second)) {
    const bool timed = b.hasTime == 1;
    n->hour = add(timed ? b.hour : 0, tie.hour);
    n->minute = add(timed ? b.minute : 0, tie.minute);
    n->second = add(timed ? b.second : 0, tie.second);
    n->ampm = n->hour >= 12 ? 1 : 0;
  }
  n->relKind = 0;
  Say("counted from record " + std::to_string(tie.base));
}

// A weekday written with a day picks, among the neighbouring years (a
// month and day) or months (a day alone), the one where the two agree,
// nearest the reference; when none does, the one nearest the reference.
void Restorer::AgreeWithWeekday(DTINFO* n, const DTINFO& stated, int32_t weekday,
                                bool yearTaken, bool timeStated) {
  const auto daysFrom = [weekday](int32_t y, int32_t m, int32_t d) {
    ETI_TM tm{};
    tm.tm_year = y - 1900;
    tm.tm_mon = m - 1;
    tm.tm_mday = d;
    tm.tm_hour = 12;
    const int64_t s = date2Sec(&tm);
    return std::make_pair(s / 86400, tm.tm_wday == static_cast<int>(weekday) && tm.tm_mday == d);
  };
  const int64_t today = daysFrom(ref_->year, ref_->month, ref_->day).first;
  if (daysFrom(stated.year, stated.month, stated.day).second) return;
  int32_t best[2] = {stated.year, stated.month};
  int64_t bestDistance = -1;
  bool bestAgrees = false;
  for (int32_t step = -1; step <= 1; ++step) {
    int32_t y = stated.year, m = stated.month;
    if (yearTaken) {
      y += step;
    } else {
      m += step;
      if (m < 1) {
        m = 12;
        --y;
      } else if (m > 12) {
        m = 1;
        ++y;
      }
    }
    if (y < CurrentRules().minYear || y > CurrentRules().maxYear) continue;
    const auto [days, agrees] = daysFrom(y, m, stated.day);
    const int64_t distance = days > today ? days - today : today - days;
    if (bestDistance < 0 || (agrees && !bestAgrees) ||
        (agrees == bestAgrees && distance < bestDistance)) {
      best[0] = y;
      best[1] = m;
      bestDistance = distance;
      bestAgrees = agrees;
    }
  }
  if (best[0] == stated.year && best[1] == stated.month) return;
  Say(bestAgrees ? "its weekday chose the year or month where the two agree"
                 : "its weekday agrees with no year near: the one nearest the reference");
  *n = stated;
  n->year = best[0];
  n->month = best[1];
  Normalise(n, timeStated);
}

// Days since 1970 of a date of the civil calendar.
int64_t DayNumber(int32_t y, int32_t m, int32_t d) {
  ETI_TM tm{};
  tm.tm_year = y - 1900;
  tm.tm_mon = m - 1;
  tm.tm_mday = d;
  return date2Sec(&tm) / 86400;
}

// A month and day, or a bare month, that the future rules placed a year on
// is last year's when that one lies in the recent past: 12월 2일 read on 10
// December is eight days ago, 11월 last month, not dates eleven months on.
bool Restorer::KeepRecentPast(DTINFO* n, const DTINFO& stated, bool period, bool timeStated) {
  if (n->year != WAdd(ref_->year, 1)) return false;
  const int32_t year = ref_->year;
  const int32_t day = period ? LastDayOfMonth(year, stated.month) : stated.day;
  const int64_t back =
      DayNumber(ref_->year, ref_->month, ref_->day) - DayNumber(year, stated.month, day);
  // A date up to six weeks back; a month that ended last month.
  const bool recent = period ? back >= 0 && back <= 31 : back > 0 && back <= 45;
  if (!recent) return false;
  Say(period ? "a bare month that ended last month: that one"
             : "a date of the last weeks: that one, not next year's");
  *n = stated;
  n->year = year;
  return Normalise(n, timeStated);
}

// A span of months or days without a year that holds the reference (4분기
// in November: October to December), or ended in the last two months (3분기
// in November), is this one, not next year's: its start, which the future
// rules placed a year on, goes back a year.
bool Restorer::KeepSpanInProgress(DTINFO* n, const DTINFO& stated, bool timeStated) {
  const DTINFO* end = n->next;
  if (n->year != WAdd(ref_->year, 1) || end == nullptr || IsSet(end->year) ||
      !IsSet(end->month) || (end->duration != 2 && n->duration != 3)) {
    return false;
  }
  const int32_t startDay = IsSet(stated.day) ? stated.day : 1;
  const int32_t endYear = end->month < stated.month ? WAdd(ref_->year, 1) : ref_->year;
  const int32_t endDay = IsSet(end->day) && end->spanKind != 1
                             ? end->day
                             : LastDayOfMonth(endYear, end->month);
  const int64_t today = DayNumber(ref_->year, ref_->month, ref_->day);
  // Held now, or ended in the last two months (3분기 결산, read in November).
  if (DayNumber(ref_->year, stated.month, startDay) > today ||
      DayNumber(endYear, end->month, endDay) < today - 62) {
    return false;
  }
  Say("a span that holds the reference or ended lately: this one");
  *n = stated;
  n->year = ref_->year;
  return Normalise(n, timeStated);
}

// The start a series follows: the latest start or whole period before it in
// its sentence.
const DTINFO* Restorer::SeriesStart() const {
  const int32_t sentence = (*places_)[index_].sentence;
  for (size_t j = done_.size(); j-- > 0;) {
    if (j >= places_->size() || (*places_)[j].sentence != sentence) break;
    const DTINFO* r = done_[j];
    if (r->duration == 1 || r->duration == 3 || (r->spanKind == 1 && r->duration != 0)) {
      // A start gone by leaves the series to begin from now.
      return DateBefore(*r, *ref_) ? nullptr : r;
    }
  }
  return nullptr;
}

}  // namespace
}  // namespace eti

using eti::IsSet;

namespace eti {

DTINFO* Restore(DTINFO* list, DTINFO* reference, ETS_CONTEXT* context,
                std::vector<Placement>* places) {
  if (list == nullptr || reference == nullptr) return nullptr;
  Restorer restorer(list, reference, context, places);
  for (DTINFO* n = list; n != nullptr; n = n->next) {
    if (!restorer.Restore(n)) return nullptr;
  }
  return list;
}

}  // namespace eti

extern "C" {

int32_t ChangeLunarDate(DTINFO* record, const ETS_CONTEXT* /*context*/) {
  if (record == nullptr) return 1;
  // The system never asks for a leap month.
  return Lunar2Solar(&record->year, &record->month, &record->day, 0);
}

DTINFO* ModifyDTInfo(DTINFO* r, int32_t mode, const ETS_CONTEXT* ctx) {
  if (r == nullptr) return nullptr;
  if (r->year <= 99 && ctx != nullptr) r->year = eti::WAdd(r->year, ctx->defaultCentury);
  ETI_TM tm{};
  tm.tm_year = eti::WSub(r->year, 1900);
  tm.tm_mon = eti::WSub(r->month, 1);
  tm.tm_mday = r->day;
  if (mode != -1) {
    tm.tm_hour = r->hour;
    tm.tm_min = r->minute;
    tm.tm_sec = r->second;
    if (r->ampm == 1 && tm.tm_hour < 12) tm.tm_hour += 12;
  }
  if (date2Sec(&tm) == -1) return nullptr;
  r->year = eti::WAdd(tm.tm_year, 1900);
  r->month = tm.tm_mon + 1;
  r->day = tm.tm_mday;
  r->week = eti::WeekOfMonth(tm.tm_mday, tm.tm_wday);
  r->weekday = tm.tm_wday;
  if (mode != -1) {
    r->hour = tm.tm_hour;
    r->minute = tm.tm_min;
    r->second = tm.tm_sec;
  }
  return r;
}

DTINFO* RestoreTime(DTINFO* list, DTINFO* reference, ETS_CONTEXT* context) {
  return eti::Restore(list, reference, context, nullptr);
}

}  // extern "C"
