#include "server/entities.h"

#include <date/date.h>
#include <date/tz.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

namespace eti::server {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// The finest field a moment gives.  The engine leaves at -1 what the text
// did not give, so "오늘밤 12시" (00:00, an hour given) is an hour and
// "내일" a day.
Grain GrainOf(const ekr_moment& m) {
  if (m.hour >= 0) {
    if (m.second > 0) return Grain::kSecond;
    return m.minute > 0 ? Grain::kMinute : Grain::kHour;
  }
  if (m.day >= 0) return Grain::kDay;
  return m.month >= 0 ? Grain::kMonth : Grain::kYear;
}

bool IsOpen(const ekr_moment& m) { return m.year < 0; }

// The wall-clock time of a moment, open fields at their first value and
// fields outside their ranges carried; false outside years 1..9999.
bool LocalTime(const ekr_moment& m, date::local_seconds* out) {
  const int64_t month0 = m.month < 0 ? 0 : int64_t{m.month} - 1;
  const int64_t year = m.year + FloorDiv(month0, 12);
  if (year < 1 || year > 9999) return false;
  const unsigned month = static_cast<unsigned>(month0 - 12 * FloorDiv(month0, 12)) + 1;
  const date::local_days first{date::year{static_cast<int>(year)} / date::month{month} / 1};
  const auto field = [](int32_t v) { return v < 0 ? int64_t{0} : int64_t{v}; };
  const date::local_seconds t = first + date::days{(m.day < 0 ? 1 : int64_t{m.day}) - 1} +
                                hours{field(m.hour)} + minutes{field(m.minute)} +
                                seconds{field(m.second)};
  const int y = static_cast<int>(date::year_month_day{date::floor<date::days>(t)}.year());
  if (y < 1 || y > 9999) return false;
  *out = t;
  return true;
}

// The start of the unit of `grain` that holds `t`.
date::local_seconds StartOf(date::local_seconds t, Grain g) {
  const date::local_days day = date::floor<date::days>(t);
  const date::year_month_day ymd{day};
  switch (g) {
    case Grain::kYear:
      return date::local_days{ymd.year() / 1 / 1};
    case Grain::kQuarter: {
      const unsigned first = (static_cast<unsigned>(ymd.month()) - 1) / 3 * 3 + 1;
      return date::local_days{ymd.year() / date::month{first} / 1};
    }
    case Grain::kMonth:
      return date::local_days{ymd.year() / ymd.month() / 1};
    case Grain::kWeek:
      return day - date::days{(date::weekday{day}.iso_encoding() - 1)};
    case Grain::kDay:
      return day;
    case Grain::kHour:
      return date::floor<hours>(t);
    case Grain::kMinute:
      return date::floor<minutes>(t);
    case Grain::kSecond:
      break;
  }
  return t;
}

// The start of the unit after the one of `grain` that holds `t`: the
// exclusive end of an interval.
date::local_seconds NextStart(date::local_seconds t, Grain g) {
  const date::local_seconds s = StartOf(t, g);
  const date::year_month_day ymd{date::floor<date::days>(s)};
  switch (g) {
    case Grain::kYear:
      return date::local_days{ymd + date::years{1}};
    case Grain::kQuarter:
      return date::local_days{ymd + date::months{3}};
    case Grain::kMonth:
      return date::local_days{ymd + date::months{1}};
    case Grain::kWeek:
      return s + date::days{7};
    case Grain::kDay:
      return s + date::days{1};
    case Grain::kHour:
      return s + hours{1};
    case Grain::kMinute:
      return s + minutes{1};
    case Grain::kSecond:
      break;
  }
  return s + seconds{1};
}

// A wall-clock time of the zone as the zone shows it, with its offset then.
// A time the zone skips (a clock set forward) is read with the offset
// before the skip, so it lands as far after the skip as it was after the
// skip's start (02:30 on a night whose 02:00 became 03:00 is 03:30); a time
// the zone repeats is the earlier.
Point OnClock(const date::time_zone* zone, date::local_seconds t, Grain g) {
  const date::sys_seconds instant{t.time_since_epoch() - zone->get_info(t).first.offset};
  const seconds offset = zone->get_info(instant).offset;
  return {date::local_seconds{instant.time_since_epoch() + offset}, offset, g};
}

// A span the text named in whole weeks, months, quarters or years.
struct Period {
  Grain grain;
  bool one;  // exactly one of them ("12월"), not several ("12월부터 2월까지")
};

// Whether a span from day `a` to day `b` (both inclusive) is whole periods
// the text named without a day or a time of day at either end: "다음 주",
// "12월", "3분기", "2025년", "12월부터 2월까지".  Exactly three months from
// the first of January, April, July or October are a quarter.
std::optional<Period> WholePeriod(const ekr_result& e, date::local_days a, date::local_days b) {
  const ekr_moment &s = e.start, &t = e.end;
  if (s.has_date || t.has_date || s.has_time || t.has_time || s.hour >= 0 || t.hour >= 0 || b < a) {
    return std::nullopt;
  }
  const date::year_month_day first{a}, last{b};
  const bool startsMonth = first.day() == date::day{1};
  const bool endsMonth = date::year_month_day{b + date::days{1}}.day() == date::day{1};
  if (startsMonth && endsMonth) {
    if (first.month() == date::January && last.month() == date::December) {
      return Period{Grain::kYear, first.year() == last.year()};
    }
    const int months = (static_cast<int>(last.year()) - static_cast<int>(first.year())) * 12 +
                       static_cast<int>(static_cast<unsigned>(last.month())) -
                       static_cast<int>(static_cast<unsigned>(first.month())) + 1;
    if (months == 1) return Period{Grain::kMonth, true};
    if (months == 3 && (static_cast<unsigned>(first.month()) - 1) % 3 == 0) {
      return Period{Grain::kQuarter, true};
    }
    return Period{Grain::kMonth, false};
  }
  if (date::weekday{a} == date::Monday && b - a == date::days{6}) return Period{Grain::kWeek, true};
  return std::nullopt;
}

// The period after which a repeated expression comes back, as an ISO 8601
// duration: every other week (격주) is P14D.  Empty for no repetition.
std::string CyclePeriod(ekr_cycle c, int32_t interval) {
  const int32_t n = interval > 0 ? interval : 1;
  switch (c) {
    case EKR_CYCLE_DAY:
      return "P" + std::to_string(n) + "D";
    case EKR_CYCLE_WEEK:
      return "P" + std::to_string(7 * n) + "D";
    case EKR_CYCLE_MONTH:
      return "P" + std::to_string(n) + "M";
    case EKR_CYCLE_YEAR:
      return "P" + std::to_string(n) + "Y";
    case EKR_CYCLE_NONE:
      break;
  }
  return {};
}

// The value or the ends of a result into *out; false when an instant lies
// outside years 1..9999.
bool Resolve(const ekr_result& e, const date::time_zone* zone, Periods periods, Entity* out) {
  if (!e.is_span) {
    date::local_seconds t;
    if (!LocalTime(e.start, &t)) return false;
    const Grain g = GrainOf(e.start);
    out->value = OnClock(zone, StartOf(t, g), g);
    return true;
  }
  const bool hasFrom = !IsOpen(e.start), hasTo = !IsOpen(e.end);
  date::local_seconds from{}, to{};
  if ((!hasFrom && !hasTo) || (hasFrom && !LocalTime(e.start, &from)) ||
      (hasTo && !LocalTime(e.end, &to))) {
    return false;
  }
  // An open end is counted in days.
  Grain fromGrain = hasFrom ? GrainOf(e.start) : Grain::kDay;
  Grain toGrain = hasTo ? GrainOf(e.end) : Grain::kDay;
  if (hasFrom && hasTo) {
    if (const auto p = WholePeriod(e, date::floor<date::days>(from), date::floor<date::days>(to))) {
      if (periods == Periods::kValue && p->one) {
        out->value = OnClock(zone, StartOf(from, p->grain), p->grain);
        return true;
      }
      fromGrain = toGrain = p->grain == Grain::kQuarter ? Grain::kMonth : p->grain;
    }
  }
  if (hasTo) {
    const date::local_seconds end = NextStart(to, toGrain);
    if (date::year_month_day{date::floor<date::days>(end)}.year() > date::year{9999}) return false;
    out->to = OnClock(zone, end, toGrain);
  }
  if (hasFrom) out->from = OnClock(zone, StartOf(from, fromGrain), fromGrain);
  return true;
}

}  // namespace

std::vector<Entity> ToEntities(const ekr_results* results, std::string_view text,
                               const date::time_zone* zone, Periods periods) {
  std::vector<const ekr_result*> found;
  for (size_t k = 0; k < ekr_results_count(results); ++k) {
    const ekr_result* e = ekr_results_at(results, k);
    if (e->begin_byte >= 0 && e->end_byte >= e->begin_byte &&
        static_cast<size_t>(e->end_byte) <= text.size()) {
      found.push_back(e);
    }
  }
  std::stable_sort(found.begin(), found.end(), [](const ekr_result* x, const ekr_result* y) {
    return x->begin_char != y->begin_char ? x->begin_char < y->begin_char
                                          : x->end_char < y->end_char;
  });
  std::vector<Entity> out;
  out.reserve(found.size());
  for (const ekr_result* e : found) {
    Entity entity;
    if (!Resolve(*e, zone, periods, &entity)) continue;
    entity.body = text.substr(static_cast<size_t>(e->begin_byte),
                              static_cast<size_t>(e->end_byte - e->begin_byte));
    entity.start = e->begin_char;
    entity.end = e->end_char;
    entity.cycle = CyclePeriod(e->cycle, e->cycle_interval);
    entity.lunar = e->lunar != 0;
    out.push_back(std::move(entity));
  }
  return out;
}

}  // namespace eti::server
