#include <gtest/gtest.h>

#include <cstring>

#include "calendar/lunar.h"
#include "extractor_kr/stages.h"

namespace {

struct Conversion {
  int32_t year, month, day;
  uint8_t leap;
  int32_t gYear, gMonth, gDay;
};

TEST(Lunar, KnownConversions) {
  const Conversion cases[] = {
      {2024, 1, 1, 0, 2024, 2, 10},   // New Year 2024
      {2025, 1, 1, 0, 2025, 1, 29},   // New Year 2025
      {2024, 8, 15, 0, 2024, 9, 17},  // Harvest festival 2024
      {2023, 8, 15, 0, 2023, 9, 29},
      {2024, 4, 8, 0, 2024, 5, 15},   // the Buddha's birthday 2024
      {2024, 1, 15, 0, 2024, 2, 24},  // first full moon 2024
      {1881, 1, 1, 0, 1881, 1, 30},   // the anchor
      {1881, 1, 2, 0, 1881, 1, 31},
      {1881, 1, 3, 0, 1881, 2, 1},
      {1882, 1, 1, 0, 1882, 2, 18},
      {2023, 3, 1, 0, 2023, 4, 20},   // after 2023's leap month (after month 2)
      {2023, 2, 1, 1, 2023, 3, 22},   // the leap month itself
      {2023, 2, 1, 0, 2023, 2, 20},
      {1870, 1, 1, 0, 1881, 1, 30},   // before the table: as 1881
      {2024, 1, 31, 0, 2024, 3, 11},  // a day past the month runs on
  };
  for (const Conversion& c : cases) {
    int32_t y = c.year, m = c.month, d = c.day;
    EXPECT_EQ(Lunar2Solar(&y, &m, &d, c.leap), 1);
    EXPECT_EQ(y * 10000 + m * 100 + d, c.gYear * 10000 + c.gMonth * 100 + c.gDay)
        << "lunar " << c.year << "-" << c.month << "-" << c.day << (c.leap ? " leap" : "");
  }
}

TEST(Lunar, TableRowsAreWellFormed) {
  // Every row has twelve months and a 0, or thirteen with one leap month,
  // and a year of 353 to 385 days.
  for (int32_t r = 0; r < eti::kLunarYears; ++r) {
    const char* row = eti::kLunarMonthTable[r];
    ASSERT_EQ(std::strlen(row), 13u) << r;
    int leaps = 0, days = 0;
    for (int i = 0; i < 13; ++i) {
      const char c = row[i];
      ASSERT_TRUE(c >= '0' && c <= '4') << r;
      leaps += c == '3' || c == '4';
      days += (c == '1' || c == '3') ? 29 : (c == '2' || c == '4') ? 30 : 0;
      if (c == '0') {
        EXPECT_EQ(i, 12) << r;
      }
    }
    EXPECT_EQ(leaps, row[12] == '0' ? 0 : 1) << 1881 + r;
    EXPECT_GE(days, 353) << 1881 + r;
    EXPECT_LE(days, 385) << 1881 + r;
  }
}

TEST(Lunar, EveryNewYearFallsBetweenJanuary21AndFebruary20) {
  // The sums of the rows place each lunar new year; a wrong digit anywhere
  // would push the following ones out of this window.
  for (int32_t year = 1881; year <= 2100; ++year) {
    int32_t y = year, m = 1, d = 1;
    Lunar2Solar(&y, &m, &d, 0);
    EXPECT_EQ(y, year);
    const int32_t md = m * 100 + d;
    EXPECT_GE(md, 121) << year;
    EXPECT_LE(md, 220) << year;
  }
}

TEST(Lunar, NeverReadsPastTheTable) {
  const int32_t odd[][3] = {{2150, 1, 1}, {2024, 40, 1}, {2024, -3, 5}, {2024, 1, -400},
                            {2024, 1, 2000000000}, {INT32_MAX, INT32_MAX, INT32_MAX}};
  for (const auto& o : odd) {
    int32_t y = o[0], m = o[1], d = o[2];
    EXPECT_EQ(Lunar2Solar(&y, &m, &d, 1), 1);
  }
  int32_t y = 2150, m = 1, d = 1;
  Lunar2Solar(&y, &m, &d, 0);
  EXPECT_EQ(y, 2100);  // held to the last row, still far past any result kept
}

TEST(Lunar, GregorianMonths) {
  EXPECT_EQ(Mi_HowManyDays(2100, 2) * 100 + Mi_HowManyDays(2000, 2), 2829);
  EXPECT_EQ(Mi_HowManyDays(2024, 13), 0);
  EXPECT_EQ(Mi_IsYunYear(1900) * 10 + Mi_IsYunYear(2400), 1);
}

}  // namespace
