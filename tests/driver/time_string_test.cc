#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <memory>
#include <string>

#include "driver/time_string.h"
#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"

namespace {

constexpr int32_t U = ETI_UNSET;

struct DtDeleter {
  void operator()(DTINFO* r) const { Free_DTINFO(r); }
};
using DtPtr = std::unique_ptr<DTINFO, DtDeleter>;

std::string Print(const DTINFO* r) {
  char out[15];
  EXPECT_EQ(DT2Char(r, out), 1);
  return out;
}

TEST(DT2Char, WritesFsForUnknownFieldsAndSpillsButNotPastTheEnd) {
  DtPtr r(eti::NewDTINFO());
  EXPECT_EQ(Print(r.get()), "FFFFFFFFFFFFFF");
  r->year = 2014;
  r->month = 3;
  r->day = 5;
  r->hour = 0;
  r->minute = 7;
  EXPECT_EQ(Print(r.get()), "201403050007FF");
  r->year = 12345;
  r->second = 123;
  r->minute = -5;
  EXPECT_EQ(Print(r.get()), "1234030500-512");
  EXPECT_EQ(DT2Char(nullptr, nullptr), 0);
}

struct Revalidation {
  int32_t date[3];
  int32_t time[3];
  const char* expected;
  int32_t dateAfter[3];
  int32_t timeAfter[3];
};

TEST(DateTimeRevalidate, NormalisesAndWritesBack) {
  const Revalidation cases[] = {
      {{2014, 13, 1}, {10, 0, 0}, "20150101100000", {2015, 1, 1}, {10, 0, 0}},
      {{2014, 0, 10}, {10, 0, 0}, "20131210100000", {2013, 12, 10}, {10, 0, 0}},
      {{2014, 3, 5}, {0, 0, 0}, "20140305FFFFFF", {2014, 3, 5}, {0, 0, 0}},
      {{2014, 3, 5}, {U, U, U}, "20140305FFFFFF", {2014, 3, 5}, {U, U, U}},
      {{2024, 5, 32}, {24, 0, U}, "20240602000000", {2024, 6, 2}, {0, 0, U}},
      {{2024, 25, 1}, {1, 2, 3}, "20260101010203", {2026, 1, 1}, {1, 2, 3}},
      {{2024, -12, 1}, {1, 0, 0}, "20221201010000", {2022, 12, 1}, {1, 0, 0}},
  };
  for (const Revalidation& c : cases) {
    int32_t date[3] = {c.date[0], c.date[1], c.date[2]};
    int32_t time[3] = {c.time[0], c.time[1], c.time[2]};
    char* s = dateTimeRevalidate(date, time);
    EXPECT_STREQ(s, c.expected);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(date[i], c.dateAfter[i]) << c.expected << " date " << i;
      EXPECT_EQ(time[i], c.timeAfter[i]) << c.expected << " time " << i;
    }
    std::free(s);
  }
}

TEST(DateTimeRevalidate, UnsetDatesAndHugeMonths) {
  int32_t date[3] = {U, U, U};
  int32_t time[3] = {9, 30, U};
  char* s = dateTimeRevalidate(date, time);
  EXPECT_EQ(std::string(s).size(), 14u);
  EXPECT_EQ(date[0], U);
  std::free(s);
  int32_t huge[3] = {2000, 99999999, 1};  // folds without looping
  std::free(dateTimeRevalidate(huge, time));
  EXPECT_TRUE(huge[1] >= 1 && huge[1] <= 12) << huge[1];
}

TEST(ConvStrToDTINFO, ReadsTheReferenceTime) {
  DtPtr r(ConvStrToDTINFO("202405151030"));
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(Print(r.get()), "20240515103000");
  EXPECT_EQ(r->weekday, 3);
  EXPECT_EQ(r->relKind, 0);
  EXPECT_EQ(r->spanKind, U);
  EXPECT_EQ(DtPtr(ConvStrToDTINFO("20240515103042"))->second, 42);
  // Hour 24 and day 31 of a 30-day month roll over.
  EXPECT_EQ(Print(DtPtr(ConvStrToDTINFO("202404312400")).get()), "20240502000000");
  for (const char* bad : {"2024051510301", "20240515103", ""}) EXPECT_EQ(ConvStrToDTINFO(bad), nullptr);
  EXPECT_EQ(ConvStrToDTINFO(nullptr), nullptr);
  // Weeks of the month turn over on Mondays.
  const struct {
    const char* ref;
    int week;
  } weeks[] = {{"201403010000", 1}, {"201403020000", 1}, {"201403030000", 2},
               {"202405010000", 1}, {"202405310000", 5}, {"202409300000", 6}};
  for (const auto& c : weeks) EXPECT_EQ(DtPtr(ConvStrToDTINFO(c.ref))->week, c.week) << c.ref;
}

// Each field printed with "%0*d" where it stands, the next one written over
// what a wide value spilled: the plain form the formatter is checked against.
std::string PrintfTimeString(const int32_t (&f)[6]) {
  char scratch[32];
  const int width[6] = {4, 2, 2, 2, 2, 2};
  const int pos[6] = {0, 4, 6, 8, 10, 12};
  for (int k = 0; k < 6; ++k) {
    if (f[k] == U) {
      std::memcpy(scratch + pos[k], "FFFF", width[k]);
      scratch[pos[k] + width[k]] = '\0';
    } else {
      std::snprintf(scratch + pos[k], sizeof(scratch) - pos[k], "%0*d", width[k], f[k]);
    }
  }
  return std::string(scratch, 14);
}

TEST(DT2Char, WritesWhatPrintfWouldEvenOutOfRange) {
  std::mt19937 random(5);
  const int32_t edges[] = {0, 1, 9, 10, 99, 100, 999, 2024, 9999, 10000, -1, -9, -10, -100,
                           2147483647, -2147483647 - 1, U};
  for (int round = 0; round < 20000; ++round) {
    int32_t f[6];
    for (int32_t& v : f) {
      const unsigned pick = random() % 4;
      v = pick == 0 ? edges[random() % std::size(edges)]
          : pick == 1 ? static_cast<int32_t>(random())
                      : static_cast<int32_t>(random() % 200) - 50;
    }
    char out[15];
    eti::FormatTimeString(f[0], f[1], f[2], f[3], f[4], f[5], out);
    ASSERT_EQ(std::string(out), PrintfTimeString(f)) << f[0] << " " << f[1] << " " << f[2];
  }
}

}  // namespace
