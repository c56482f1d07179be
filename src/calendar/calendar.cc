// Calendar and seconds: the library's own proleptic-Gregorian arithmetic.
//
// date2Sec turns a broken-down Korean wall-clock time into a UTC seconds
// count, normalising out-of-range fields on the way (that normalisation is
// what every other stage uses to carry day 32 or hour 24 into the next
// unit); sec2Date goes back.  LastDayOfMonth, DayOfRelWeekday and
// FindFirstDayOfWeek answer the calendar questions of interpretation and
// restoration.  No platform time function is used: the clock offset is a
// fixed nine hours and there is no daylight saving.
#include "calendar/calendar.h"

#include "calendar/arith.h"
#include "calendar/rules.h"

namespace {

constexpr int64_t kDay = 86400;
constexpr int64_t kKoreaOffset = 32400;  // UTC+9
constexpr int64_t kDaysPer400Years = 146097;

constexpr uint8_t kMonthLength[12] = {31, 28, 31, 30, 31, 30,
                                      31, 31, 30, 31, 30, 31};
// Days before month m (index m) of a common year; 12 or more months count
// as the whole year.
constexpr int32_t kCommonCumulative[12] = {0,   31,  59,  90,  120, 151,
                                           181, 212, 243, 273, 304, 334};
constexpr int32_t kLastDayTable[12] = {31, 29, 31, 30, 31, 30,
                                       31, 31, 30, 31, 30, 31};

bool IsLeap(int64_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

// Leap years in [1, y] for y >= 1.
int64_t LeapsThrough(int64_t y) { return y / 4 - y / 100 + y / 400; }

int64_t MonthLength(int64_t year, int month) {
  return (month == 1 && IsLeap(year)) ? 29 : kMonthLength[month];
}

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// Days since 1970-01-01 of a Gregorian date (month 0..11), from 1 March
// 0000 on: the leap day closes each year counted so.
int64_t DaysFromCivil(int64_t year, int64_t month, int64_t day) {
  year -= month < 2;
  const int64_t era = FloorDiv(year, 400);
  const int64_t yoe = year - era * 400;                                   // [0, 399]
  const int64_t mp = month < 2 ? month + 10 : month - 2;                  // 0 = March
  const int64_t doy = (153 * mp + 2) / 5 + day - 1;                       // [0, 365]
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;              // [0, 146096]
  return era * kDaysPer400Years + doe - 719468;
}

// The date of a count of days since 1970-01-01, into year (since 1900),
// month (0..11), day of month, day of year and weekday of `tm`.
void CivilFromDays(int64_t days, ETI_TM* tm) {
  const int64_t z = days + 719468;  // days since 0000-03-01
  const int64_t era = FloorDiv(z, kDaysPer400Years);
  const int64_t doe = z - era * kDaysPer400Years;                     // [0, 146096]
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;  // [0, 399]
  int64_t year = yoe + era * 400;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);  // from 1 March
  const int64_t mp = (5 * doy + 2) / 153;                     // 0 = March
  const int64_t month = mp < 10 ? mp + 2 : mp - 10;           // 0 = January
  if (month < 2) ++year;
  tm->tm_year = eti::Wrap(year - 1900);
  tm->tm_mon = static_cast<int32_t>(month);
  tm->tm_mday = static_cast<int32_t>(doy - (153 * mp + 2) / 5 + 1);
  const int64_t beforeMonth =
      month == 0 ? 0 : kCommonCumulative[month] + (month >= 2 && IsLeap(year));
  tm->tm_yday = static_cast<int32_t>(beforeMonth + tm->tm_mday - 1);
  tm->tm_wday = static_cast<int32_t>(days + 4 - 7 * FloorDiv(days + 4, 7));  // 1970-01-01: Thursday
  tm->tm_isdst = 0;
}

// date2Sec on the Gregorian calendar of every year, with every field
// carried into the next (a month of 13 is January of the next year): the
// arithmetic of runs whose rules reach before 1970.
int64_t CivilDate2Sec(ETI_TM* tm) {
  const int64_t month = tm->tm_mon;
  const int64_t year = static_cast<int64_t>(tm->tm_year) + 1900 + FloorDiv(month, 12);
  const int64_t days = DaysFromCivil(year, month - 12 * FloorDiv(month, 12), 1) +
                       static_cast<int64_t>(tm->tm_mday) - 1;
  const int64_t s = days * kDay + static_cast<int64_t>(tm->tm_hour) * 3600 +
                    static_cast<int64_t>(tm->tm_min) * 60 + tm->tm_sec;
  const int64_t day = FloorDiv(s, kDay), inDay = s - day * kDay;
  CivilFromDays(day, tm);
  tm->tm_hour = static_cast<int32_t>(inDay / 3600);
  tm->tm_min = static_cast<int32_t>(inDay / 60 % 60);
  tm->tm_sec = static_cast<int32_t>(inDay % 60);
  return s - kKoreaOffset;
}

// Broken-down record of the given date at midnight, normalised; false when
// date2Sec fails.
bool NormalisedDate(int32_t year, int32_t month, int32_t day, ETI_TM* tm) {
  *tm = ETI_TM{};
  tm->tm_mday = day;
  tm->tm_mon = eti::WSub(month, 1);
  tm->tm_year = eti::WSub(year, 1900);
  return date2Sec(tm) != -1;
}

}  // namespace

extern "C" {

ETI_TM* sec2Date(const int64_t* seconds) {
  static thread_local ETI_TM record;
  const int64_t t = seconds ? *seconds : 0;
  record.tm_sec = static_cast<int32_t>(t % 60);
  record.tm_min = static_cast<int32_t>((t / 60) % 60);
  record.tm_hour = static_cast<int32_t>((t / 3600) % 24);
  int64_t days = t / kDay;
  record.tm_wday = static_cast<int32_t>((days + 4) % 7);

  // Whole years from 1970 until the running total passes `days`, then whole
  // months: counted in closed form from 1 March 0000 (the leap day closes
  // the year there) for a date on or after the epoch.  A count before the
  // epoch stays in 1970, with a day of the year and of the month below
  // their first.
  int64_t year = 1970;
  if (days >= 0) {
    const int64_t z = days + 719468;  // days since 0000-03-01
    const int64_t era = z / kDaysPer400Years;
    const int64_t doe = z - era * kDaysPer400Years;                     // [0, 146096]
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;  // [0, 399]
    year = yoe + era * 400;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);  // from 1 March
    const int64_t mp = (5 * doy + 2) / 153;                     // 0 = March
    const int64_t month = mp < 10 ? mp + 2 : mp - 10;           // 0 = January
    if (month < 2) ++year;
    record.tm_year = eti::Wrap(year - 1900);
    record.tm_mon = static_cast<int32_t>(month);
    record.tm_mday = static_cast<int32_t>(doy - (153 * mp + 2) / 5 + 1);
    const int64_t beforeMonth = month == 0 ? 0 : kCommonCumulative[month] + (month >= 2 && IsLeap(year));
    record.tm_yday = static_cast<int32_t>(beforeMonth + record.tm_mday - 1);
    record.tm_isdst = 0;
    return &record;
  }
  record.tm_year = eti::Wrap(year - 1900);
  record.tm_yday = static_cast<int32_t>(days);
  record.tm_mon = 0;
  record.tm_mday = static_cast<int32_t>(days + 1);
  record.tm_isdst = 0;
  return &record;
}

int64_t date2Sec(ETI_TM* tm) {
  if (tm == nullptr) return -1;
  if (eti::CurrentRules().reader) return CivilDate2Sec(tm);
  const int64_t year = static_cast<int64_t>(tm->tm_year) + 1900;
  const int32_t m = tm->tm_mon;

  int64_t s = (year - 1970) * 31536000;
  if (year > 1970) s += (LeapsThrough(year - 1) - LeapsThrough(1969)) * kDay;

  if (m > 0) {
    int64_t days = 0;
    if (IsLeap(year)) {
      // A month field past December counts as the whole year, as it does in
      // a common year.
      const int months = m < 12 ? m : 12;
      for (int i = 0; i < months; ++i) days += MonthLength(year, i);
    } else {
      days = m < 12 ? kCommonCumulative[m] : 365;
    }
    s += days * kDay;
  }
  s += (static_cast<int64_t>(tm->tm_mday) - 1) * kDay +
       static_cast<int64_t>(tm->tm_hour) * 3600 +
       static_cast<int64_t>(tm->tm_min) * 60 + tm->tm_sec;

  *tm = *sec2Date(&s);
  return s - kKoreaOffset;
}

int32_t LastDayOfMonth(int32_t year, int32_t month) {
  if (month == 2) {
    ETI_TM tm;
    if (!NormalisedDate(year, 2, 29, &tm)) return -1;
    return tm.tm_mday == 1 ? 28 : 29;
  }
  if (month < 1 || month > 12) return -1;
  return kLastDayTable[month - 1];
}

int32_t DayOfRelWeekday(int32_t year, int32_t month, int32_t n,
                        int32_t weekday) {
  ETI_TM tm;
  if (n == 10000) {
    const int32_t last = LastDayOfMonth(year, month);
    if (last == -1 || !NormalisedDate(year, month, last, &tm)) return -1;
    const int64_t k = (static_cast<int64_t>(tm.tm_wday) - weekday + 7) % 7;
    return eti::Wrap(last - k);
  }
  if (!NormalisedDate(year, month, 1, &tm)) return -1;
  // Weeks start on Monday: a Sunday 1st is the last day of week 1.
  const int64_t first = tm.tm_wday == 0 ? 7 : tm.tm_wday;
  return eti::Wrap(static_cast<int64_t>(weekday) - first + 1 +
                   7 * (static_cast<int64_t>(n) - 1));
}

int32_t FindFirstDayOfWeek(int32_t year, int32_t month, int32_t n) {
  ETI_TM tm;
  if (!NormalisedDate(year, month, 1, &tm)) return 0;
  return eti::Wrap((static_cast<int64_t>(n) - 1) * 7 + 1 - tm.tm_wday);
}

}  // extern "C"
