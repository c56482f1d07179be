// Folding a match's records into one, against Wednesday 2024-05-15 10:30
// (week 3 of May).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "interpret/dtinfo.h"
#include "support/records.h"

namespace eti::testing {
namespace {

constexpr int32_t U = ETI_UNSET;

using Rec = Fields;  // one unit record

std::string Fold(const std::vector<Rec>& recs, const char* ref = "202405151030") {
  std::vector<DTINFO*> records;
  for (const Rec& fields : recs) records.push_back(MakeRecord(fields));
  DTINFO* head = Chain(records);
  DTINFO* reference = ConvStrToDTINFO(ref);
  DTINFO* folded = AnalColSeq(head, reference);
  const std::string out = Dump(folded);
  Free_DTINFO(folded);
  Free_DTINFO(reference);
  return out;
}


TEST(AnalColSeq, DayAndNightSettleTheHalfOfTheDay) {
  const struct {
    int32_t dayNight, hour;
    const char* expected;
  } cases[] = {
      {1, 3, "hour=3 ampm=0 dayNight=1"},
      {1, 9, "hour=21 ampm=1 dayNight=1"},
      {1, 12, "hour=24 ampm=1 dayNight=1"},
      {0, 2, "hour=14 ampm=1 dayNight=0"},
      {0, 12, "hour=12 ampm=0 dayNight=0"},
      {0, 13, "hour=13 dayNight=0"},  // past the table: as it is
  };
  for (const auto& c : cases) {
    // The word comes first ("밤 9시"), then the hour unit.
    EXPECT_EQ(Fold({{{kDayNight, c.dayNight}}, {{kHour, c.hour}, {kRel, 0}}}), c.expected)
        << c.dayNight << " " << c.hour;
  }
}

TEST(AnalColSeq, AfternoonWordsMoveTheHour) {
  // Only date fields make the folded record absolute; a time keeps it open.
  EXPECT_EQ(Fold({{{kAmPm, 1}}, {{kHour, 3}, {kRel, 0}}}), "hour=15 ampm=1");
  EXPECT_EQ(Fold({{{kHour, 3}, {kRel, 0}}, {{kAmPm, 1}}}), "hour=15 ampm=1");
  EXPECT_EQ(Fold({{{kAmPm, 0}}, {{kHour, 3}, {kRel, 0}}}), "hour=3 ampm=0");
  // The first absolute time wins.
  EXPECT_EQ(Fold({{{kHour, 3}, {kRel, 0}}, {{kHour, 5}, {kRel, 0}}}), "hour=3");
}

TEST(AnalColSeq, BeginningsAndEndsOfPeriods) {
  const struct {
    const char* what;
    std::vector<Rec> recs;
    const char* expected;
  } cases[] = {
      {"beginning of this month: next year's", {{{kMonth, 5}, {kEnd, 0}}},
       "year=2025 month=5 day=1 relKind=0"},
      {"beginning of a later month", {{{kMonth, 7}, {kEnd, 0}}}, "year=2024 month=7 day=1 relKind=0"},
      {"end of this month: this year's", {{{kMonth, 5}, {kEnd, 1}}},
       "year=2024 month=5 day=31 relKind=0"},
      {"end of an earlier month: next year's", {{{kMonth, 4}, {kEnd, 1}}},
       "year=2025 month=4 day=30 relKind=0"},
      {"end, nothing else said", {{{kEnd, 1}}}, "month=5 day=31 relKind=0"},
      {"end of a year", {{{kYear, 2024}, {kEnd, 1}}}, "year=2024 month=12 day=31 relKind=0"},
      {"beginning of a year", {{{kYear, 2025}, {kEnd, 0}}}, "year=2025 month=1 day=1 relKind=0"},
      {"end of February 2024", {{{kYear, 2024}, {kMonth, 2}, {kEnd, 1}}},
       "year=2024 month=2 day=29 relKind=0"},
      {"a day already said wins", {{{kMonth, 5}, {kDay, 3}, {kEnd, 1}}},
       "month=5 day=3 relKind=0 periodEnd=1"},
  };
  for (const auto& c : cases) EXPECT_EQ(Fold(c.recs), c.expected) << c.what;
}

TEST(AnalColSeq, WholePeriods) {
  const struct {
    const char* what;
    std::vector<Rec> recs;
    const char* expected;
  } cases[] = {
      {"a bare month", {{{kMonth, 5}}},
       "month=5 day=1 spanKind=1 spanMonth=1 spanDays=-1 relKind=0"},
      {"a bare year", {{{kYear, 2025}}},
       "year=2025 month=1 day=1 spanKind=1 spanYear=1 spanDays=-1 relKind=0"},
      {"a week of the month", {{{kMonth, 5}, {kWeek, 3}}},
       "month=5 week=3 weekday=1 spanKind=1 spanDays=6 relKind=0"},
      // Calendar-relative words (kind 1) name whole periods ...
      {"next week", {{{kWeek, 1}, {kRel, 1}}},
       "year=2024 month=5 day=20 week=3 weekday=1 spanKind=1 spanDays=6"},
      {"next week's Friday", {{{kWeek, 1}, {kRel, 1}}, {{kWeekday, 5}}},
       "year=2024 month=5 day=24 week=3 weekday=5"},
      {"next month", {{{kMonth, 1}, {kRel, 1}}},
       "year=2024 month=6 day=1 spanKind=1 spanMonth=1 spanDays=-1 relKind=0"},
      // ... while offsets (kind 2) count a length from the anchor and are kept.
      {"a week after", {{{kWeek, 1}, {kRel, 2}}}, "day=0 week=1 relKind=2"},
      {"a month after", {{{kMonth, 1}, {kRel, 2}}}, "month=1 day=0 relKind=2"},
      {"a year after", {{{kYear, 1}, {kRel, 2}}}, "year=1 day=0 relKind=2"},
      {"a length is no period", {{{kMonth, 2}, {kDuration, 0}}}, "month=2 duration=0 relKind=0"},
      {"an hour alone is returned as it is", {{{kHour, 3}, {kRel, 0}}}, "hour=3"},
  };
  for (const auto& c : cases) EXPECT_EQ(Fold(c.recs), c.expected) << c.what;
}

TEST(AnalColSeq, OffsetsAppliedOrKept) {
  const struct {
    const char* what;
    std::vector<Rec> recs;
    const char* expected;
  } cases[] = {
      {"three days after: kept", {{{kDay, 3}, {kRel, 2}}}, "day=3 relKind=2"},
      {"three days before: kept negated", {{{kDay, 3}, {kRel, -2}}}, "day=-3 relKind=2"},
      {"a later week clears the day offset", {{{kDay, 3}, {kWeek, 2}, {kRel, 2}}},
       "day=0 week=2 relKind=2"},
      {"a year relative to now", {{{kYear, 1}, {kRel, 1}}},
       "year=2025 month=1 day=1 spanKind=1 spanYear=1 spanDays=-1 relKind=0"},
      {"the day after next", {{{kDay, 2}, {kRel, 1}}}, "year=2024 month=5 day=17 relKind=0"},
      {"a month offset on a given day", {{{kMonth, 1}, {kRel, 2}}, {{kDay, 10}}},
       "month=6 day=10"},
      {"ten minutes before three", {{{kHour, 3}, {kRel, 0}}, {{kMinute, 10}, {kRel, -2}}},
       "hour=3 minute=-10"},  // restoration carries the minutes
      {"three hours after", {{{kHour, 3}, {kRel, 2}}}, "hour=3 relKind=2"},
  };
  for (const auto& c : cases) EXPECT_EQ(Fold(c.recs), c.expected) << c.what;
}

TEST(AnalColSeq, NothingInNothingOut) {
  EXPECT_EQ(Fold({}), "-");
  DTINFO* r = AnalColSeq(nullptr, nullptr);
  EXPECT_EQ(Dump(r), "-");
  Free_DTINFO(r);
}

}  // namespace
}  // namespace eti::testing
