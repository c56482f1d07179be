// Lunar to solar conversion.  A lunar date is counted in days from lunar
// 1881-01-01, which was Gregorian 1881-01-30, through the month table, and
// that count is laid out again on the Gregorian calendar.  No astronomy is
// computed; years outside the table are held to its ends.
#include <cstdint>

#include "calendar/arith.h"
#include "calendar/lunar.h"
#include "extractor_kr/stages.h"

namespace eti {
namespace {

constexpr int32_t kLastLunarYear = kFirstLunarYear + kLunarYears - 1;
constexpr int64_t kDaysToEndOf1881 = 336;  // 30 January to 31 December 1881

int32_t MonthDays(char digit) {
  switch (digit) {
    case '1':
    case '3':
      return 29;
    case '2':
    case '4':
      return 30;
    default:
      return 0;
  }
}

// Days of the first `months` months of a row (at most its 13).
int64_t LeadingDays(const char* row, int64_t months) {
  int64_t days = 0;
  for (int64_t i = 0; i < months && i < 13; ++i) days += MonthDays(row[i]);
  return days;
}

// Days from lunar 1881-01-01 to the lunar new year of row r, for every row:
// summed once from the table, which never changes.
const int64_t* RowStarts() {
  static const auto starts = [] {
    struct Table {
      int64_t days[kLunarYears + 1];
    } t{};
    for (int32_t k = 0; k < kLunarYears; ++k) {
      t.days[k + 1] = t.days[k] + LeadingDays(kLunarMonthTable[k], 13);
    }
    return t;
  }();
  return starts.days;
}

int64_t YearLength(int64_t year) { return Mi_IsYunYear(static_cast<int32_t>(year)) ? 366 : 365; }

}  // namespace
}  // namespace eti

extern "C" {

int32_t Mi_IsYunYear(int32_t year) {
  return ((year % 4 == 0 && year % 100 != 0) || year % 400 == 0) ? 1 : 0;
}

int32_t Mi_HowManyDays(int32_t year, int32_t month) {
  switch (month) {
    case 1: case 3: case 5: case 7: case 8: case 10: case 12:
      return 31;
    case 4: case 6: case 9: case 11:
      return 30;
    case 2:
      return Mi_IsYunYear(year) ? 29 : 28;
    default:
      return 0;
  }
}

int32_t Lunar2Solar(int32_t* year, int32_t* month, int32_t* day, uint8_t isLeap) {
  if (year == nullptr || month == nullptr || day == nullptr) return 1;
  using eti::kFirstLunarYear;
  int32_t y = *year;
  if (y > eti::kLastLunarYear) y = eti::kLastLunarYear;  // beyond the table
  const int32_t r = y >= kFirstLunarYear + 1 ? y - kFirstLunarYear : 0;

  int64_t days = eti::RowStarts()[r];

  const char* row = eti::kLunarMonthTable[r];
  const int64_t m = *month;
  if (row[12] == '0') {
    if (m >= 2) days += eti::LeadingDays(row, m - 1);
  } else {
    int64_t leap = 1;  // 1-based position of the leap month
    while (leap <= 13 && row[leap - 1] != '3' && row[leap - 1] != '4') ++leap;
    if (isLeap == 1 && m == leap - 1) {
      days += eti::LeadingDays(row, m);  // the ordinary month comes first
    } else if (m >= leap) {
      days += eti::LeadingDays(row, m);  // the leap month lies before it
    } else if (m >= 2) {
      days += eti::LeadingDays(row, m - 1);
    }
  }
  const int64_t offset = days + *day - 1;

  int64_t outYear, outMonth, outDay;
  if (offset >= eti::kDaysToEndOf1881) {
    int64_t rem = offset - eti::kDaysToEndOf1881;
    outYear = 1882;
    // Whole 400-year cycles first, so that a far-off day costs no more.
    outYear += 400 * (rem / 146097);
    rem %= 146097;
    while (rem >= eti::YearLength(outYear)) {
      rem -= eti::YearLength(outYear);
      ++outYear;
    }
    outMonth = 1;
    while (outMonth < 12 && rem >= Mi_HowManyDays(static_cast<int32_t>(outYear),
                                                  static_cast<int32_t>(outMonth))) {
      rem -= Mi_HowManyDays(static_cast<int32_t>(outYear), static_cast<int32_t>(outMonth));
      ++outMonth;
    }
    outDay = rem + 1;
  } else if (offset >= 2) {
    int64_t rem = offset - 2;
    outYear = 1881;
    outMonth = 2;
    while (outMonth < 12 && rem >= Mi_HowManyDays(1881, static_cast<int32_t>(outMonth))) {
      rem -= Mi_HowManyDays(1881, static_cast<int32_t>(outMonth));
      ++outMonth;
    }
    outDay = rem + 1;
  } else {
    // 0 or 1 days in (or, for a day before the first, earlier still).
    outYear = 1881;
    outMonth = 1;
    outDay = 30 + offset;
  }
  *year = eti::Wrap(outYear);
  *month = eti::Wrap(outMonth);
  *day = eti::Wrap(outDay);
  return 1;
}

}  // extern "C"
