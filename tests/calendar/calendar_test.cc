#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <random>
#include <thread>
#include <vector>

#include "calendar/arith.h"
#include "calendar/calendar.h"
#include "calendar/rules.h"
#include "extractor_kr/stages.h"

namespace {

// Days from 1970-01-01 to a proleptic-Gregorian date, by an independent
// method (era arithmetic), to check the library's own year walk against.
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

ETI_TM Tm(int year, int month, int day, int hour = 0, int minute = 0,
          int second = 0) {
  ETI_TM tm{};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_hour = hour;
  tm.tm_min = minute;
  tm.tm_sec = second;
  return tm;
}

struct Normalised {
  ETI_TM in;
  int year, month, day, hour, minute, second, wday;
};

TEST(Date2Sec, NormalisesOutOfRangeFields) {
  const Normalised cases[] = {
      {Tm(2024, 3, 0), 2024, 2, 29, 0, 0, 0, 4},            // day 0
      {Tm(2023, 3, 0), 2023, 2, 28, 0, 0, 0, 2},
      {Tm(2023, 1, 32), 2023, 2, 1, 0, 0, 0, 3},            // day 32
      {Tm(2024, 5, 15, 24), 2024, 5, 16, 0, 0, 0, 4},       // hour 24
      {Tm(2024, 5, 15, 10, 60), 2024, 5, 15, 11, 0, 0, 3},  // minute 60
      {Tm(2024, 3, 1, 0, -10), 2024, 2, 29, 23, 50, 0, 4},  // minute -10
      {Tm(2024, 12, 31, 23, 59, 60), 2025, 1, 1, 0, 0, 0, 3},
      {Tm(2100, 2, 29), 2100, 3, 1, 0, 0, 0, 1},  // 2100 is not a leap year
      {Tm(2000, 2, 29), 2000, 2, 29, 0, 0, 0, 2},  // 2000 is
      {Tm(2023, 13, 1), 2024, 1, 1, 0, 0, 0, 1},   // month field 12
      {Tm(2023, 14, 1), 2024, 1, 1, 0, 0, 0, 1},   // 13: clamped to the year
      {Tm(2023, 21, 5), 2024, 1, 5, 0, 0, 0, 5},
      {Tm(2024, 13, 1), 2025, 1, 1, 0, 0, 0, 3},   // the same in a leap year
  };
  for (const Normalised& c : cases) {
    ETI_TM tm = c.in;
    date2Sec(&tm);
    SCOPED_TRACE(testing::Message() << c.year << "-" << c.month << "-" << c.day);
    EXPECT_EQ(tm.tm_year + 1900, c.year);
    EXPECT_EQ(tm.tm_mon + 1, c.month);
    EXPECT_EQ(tm.tm_mday, c.day);
    EXPECT_EQ(tm.tm_hour, c.hour);
    EXPECT_EQ(tm.tm_min, c.minute);
    EXPECT_EQ(tm.tm_sec, c.second);
    EXPECT_EQ(tm.tm_wday, c.wday);
    EXPECT_EQ(tm.tm_isdst, 0);
  }
}

TEST(Date2Sec, ReturnsUtcOfKoreanWallClock) {
  ETI_TM a = Tm(1970, 1, 1, 9);
  EXPECT_EQ(date2Sec(&a), 0);
  ETI_TM b = Tm(2024, 1, 1);
  EXPECT_EQ(date2Sec(&b), 1704034800);
  ETI_TM c = Tm(1970, 1, 1, 8, 59, 59);  // the one instant that reads as failure
  EXPECT_EQ(date2Sec(&c), -1);
}

TEST(Date2Sec, AgreesWithIndependentDayCountOverCenturies) {
  std::mt19937 rng(7);
  for (int i = 0; i < 20000; ++i) {
    const int y = 1970 + static_cast<int>(rng() % 1200);
    const int m = 1 + static_cast<int>(rng() % 12);
    const int d = 1 + static_cast<int>(rng() % 28);
    const int h = static_cast<int>(rng() % 24);
    ETI_TM tm = Tm(y, m, d, h, 7, 9);
    const int64_t s = date2Sec(&tm);
    ASSERT_EQ(s, DaysFromCivil(y, m, d) * 86400 + h * 3600 + 7 * 60 + 9 - 32400)
        << y << "-" << m << "-" << d;
    ASSERT_EQ(tm.tm_yday, DaysFromCivil(y, m, d) - DaysFromCivil(y, 1, 1));
    ASSERT_EQ(tm.tm_wday, ((DaysFromCivil(y, m, d) + 4) % 7 + 7) % 7);
  }
}

TEST(Date2Sec, FarYearsStayFiniteAndDefined) {
  ETI_TM tm = Tm(99999999, 1, 1);
  date2Sec(&tm);
  EXPECT_EQ(tm.tm_year + 1900, 99999999);
  EXPECT_EQ(tm.tm_mon, 0);
  EXPECT_EQ(tm.tm_mday, 1);
  ETI_TM big{};
  big.tm_year = INT32_MAX;
  big.tm_mday = INT32_MAX;
  big.tm_hour = INT32_MIN;
  date2Sec(&big);  // must not trap under the sanitizers
}

TEST(Sec2Date, AgreesWithTheIndependentDayCount) {
  std::mt19937_64 random(9);
  for (int round = 0; round < 200000; ++round) {
    // Mostly the years the engine meets, some far off, some before 1970.
    const int64_t span = round % 10 == 0 ? int64_t{400} * 366 * 86400 : int64_t{120} * 366 * 86400;
    const int64_t t = static_cast<int64_t>(random() % static_cast<uint64_t>(span)) -
                      (round % 7 == 0 ? 86400 * 40 : 0);
    const ETI_TM got = *sec2Date(&t);
    if (t < 0) {  // before 1970: counted back by truncating division, all in 1 January 1970
      const int64_t d = t / 86400;
      ASSERT_EQ(std::vector<int64_t>({got.tm_sec, got.tm_min, got.tm_hour, got.tm_mday, got.tm_mon,
                                      got.tm_year, got.tm_wday, got.tm_yday}),
                std::vector<int64_t>({t % 60, t / 60 % 60, t / 3600 % 24, d + 1, 0, 70, (d + 4) % 7, d}))
          << t;
      continue;
    }
    const int64_t day = DaysFromCivil(got.tm_year + 1900, got.tm_mon + 1, got.tm_mday);
    ASSERT_TRUE(got.tm_mon >= 0 && got.tm_mon < 12 && got.tm_mday >= 1 && got.tm_mday <= 31) << t;
    ASSERT_EQ(day * 86400 + got.tm_hour * 3600 + got.tm_min * 60 + got.tm_sec, t) << t;
    ASSERT_TRUE(got.tm_hour >= 0 && got.tm_hour < 24 && got.tm_min >= 0 && got.tm_min < 60 &&
                got.tm_sec >= 0 && got.tm_sec < 60 && got.tm_isdst == 0)
        << t;
    ASSERT_EQ(got.tm_wday, ((day + 4) % 7 + 7) % 7) << t;
    ASSERT_EQ(got.tm_yday, day - DaysFromCivil(got.tm_year + 1900, 1, 1)) << t;
  }
}

TEST(ReadInt, ReadsAsAtoiDoes) {
  std::mt19937 random(13);
  const char pieces[] = "0123456789 +-x]";
  for (int round = 0; round < 50000; ++round) {
    std::string s;
    const int length = static_cast<int>(random() % 14);
    for (int k = 0; k < length; ++k) {
      s.push_back(random() % 4 == 0 ? pieces[random() % (sizeof(pieces) - 1)]
                                    : static_cast<char>('0' + random() % 10));
    }
    ASSERT_EQ(eti::ReadInt(s.c_str()), std::atoi(s.c_str())) << s;
  }
}

TEST(Calendar, WeekdaysOfTheMonth) {
  const struct {
    int year, month, n, weekday, day;
  } cases[] = {
      {2024, 5, 1, 1, -1},     // Monday of week 1 lies in April
      {2024, 5, 1, 3, 1},      // Wednesday the 1st
      {2024, 5, 3, 5, 17},     // Friday of week 3
      {2024, 5, 10000, 5, 31}, // last Friday
      {2024, 5, 10000, 1, 27}, // last Monday
      {2024, 5, 10000, 0, 26}, // last Sunday (0 also means Sunday)
      {2024, 5, 10000, 7, 26},
      {2024, 9, 1, 7, 1},      // Sunday the 1st closes week 1
      {2024, 9, 2, 1, 2},
      {2024, 5, 1, 0, -2},     // weekday 0: the Sunday before week 1's Monday
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DayOfRelWeekday(c.year, c.month, c.n, c.weekday), c.day)
        << c.year << "/" << c.month << " n=" << c.n << " wd=" << c.weekday;
  }
  EXPECT_EQ(FindFirstDayOfWeek(2024, 5, 1), -2);
  EXPECT_EQ(FindFirstDayOfWeek(2024, 5, 2), 5);
  EXPECT_EQ(FindFirstDayOfWeek(2024, 9, 1), 1);
}

TEST(Calendar, WeekOfMonthTurnsOverOnMonday) {
  EXPECT_EQ(eti::WeekOfMonth(1, 6), 1);  // Saturday 1 March 2014
  EXPECT_EQ(eti::WeekOfMonth(2, 0), 1);  // Sunday 2 March
  EXPECT_EQ(eti::WeekOfMonth(3, 1), 2);  // Monday 3 March
  EXPECT_EQ(eti::WeekOfMonth(31, 1), 6);
}

TEST(Sec2Date, EachThreadHasItsOwnRecord) {
  const int kThreads = 8;
  std::vector<std::thread> threads;
  std::vector<int> failures(kThreads, 0);
  std::vector<const ETI_TM*> records(kThreads, nullptr);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &failures, &records] {
      for (int i = 0; i < 20000; ++i) {
        const int64_t day = 20000 + t * 1000 + i % 1000;
        const int64_t s = day * 86400 + t * 3600;
        const ETI_TM* r = sec2Date(&s);
        records[t] = r;
        if (r->tm_hour != t || r->tm_yday != DaysFromCivil(r->tm_year + 1900, r->tm_mon + 1,
                                                             r->tm_mday) -
                                                 DaysFromCivil(r->tm_year + 1900, 1, 1) ||
            DaysFromCivil(r->tm_year + 1900, r->tm_mon + 1, r->tm_mday) != day) {
          ++failures[t];
        }
      }
    });
  }
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
  for (int t = 1; t < kThreads; ++t) EXPECT_NE(records[t], records[0]);
}

// Under the reader rules the calendar is the Gregorian one on every day of
// 1000..2999, before 1970 too (the whole call's own arithmetic has no leap
// days there, and keeps that outside such a run).
TEST(GeneralCalendar, EveryDayOf1000To2999) {
  eti::ReadingRules wide;
  wide.reader = true;
  wide.minYear = eti::ReadingRules::kFirstYear;
  wide.maxYear = eti::ReadingRules::kLastYear;
  const eti::ScopedReadingRules scope(wide);
  const auto leap = [](int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; };
  // 1 January 1000 was a Wednesday on this calendar; count weekdays
  // forward one day at a time.
  int weekday = 3;
  for (int y = 1000; y <= 2999; ++y) {
    const int lengths[12] = {31, leap(y) ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int m = 1; m <= 12; ++m) {
      ASSERT_EQ(LastDayOfMonth(y, m), lengths[m - 1]) << y << "/" << m;
      for (int d = 1; d <= lengths[m - 1]; ++d, weekday = (weekday + 1) % 7) {
        ETI_TM tm = Tm(y, m, d, 13, 5);
        ASSERT_EQ(date2Sec(&tm), DaysFromCivil(y, m, d) * 86400 + 13 * 3600 + 300 - 32400)
            << y << "-" << m << "-" << d;
        ASSERT_EQ(std::vector<int>({tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_wday,
                                    tm.tm_hour, tm.tm_min}),
                  std::vector<int>({y, m, d, weekday, 13, 5}))
            << y << "-" << m << "-" << d;
        // The last of each weekday lies in the month's last seven days.
        if (d > lengths[m - 1] - 7) {
          ASSERT_EQ(DayOfRelWeekday(y, m, 10000, weekday), d) << y << "/" << m << " wd " << weekday;
        }
      }
      // Day 0 and day 32 carry across the month, and the year, boundaries.
      ETI_TM before = Tm(y, m, 0);
      date2Sec(&before);
      EXPECT_EQ(before.tm_mday, m == 1 ? 31 : lengths[m - 2]);
      EXPECT_EQ(before.tm_year + 1900, m == 1 ? y - 1 : y);
    }
  }
  EXPECT_EQ(LastDayOfMonth(2023, 13), -1);
  EXPECT_EQ(LastDayOfMonth(2023, 0), -1);
  // Week 1 starts on the Monday on or before the 1st.
  EXPECT_EQ(DayOfRelWeekday(1900, 1, 1, 1), 1);
  EXPECT_EQ(DayOfRelWeekday(1950, 6, 4, 7), 25);  // Sunday 25 June 1950
  EXPECT_EQ(FindFirstDayOfWeek(1900, 2, 1), -3);  // Thursday 1 February 1900
}

}  // namespace
