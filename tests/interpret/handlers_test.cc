// Unit handlers on tokens made by the real tagger from text.
#include <gtest/gtest.h>

#include <string>

#include "support/records.h"

namespace eti::testing {
namespace {

constexpr char kTags[] =
    "년\tYearW\n"
    "월\tMonthW\n"
    "주\tWeekW\n"
    "일\tDayW\n"
    "시\tTimeH\n"
    "분\tMinW\n"
    "초\tSecW\n"
    "시간\tHourLen\n"
    "정오\tHour[12]\n"
    "자정\tHour[0]\n"
    "매\tRepeat[1]\n"
    "마지막\tEnd\n"
    "말\tEnd\n"
    "셋째\tOrd[3]\n"
    "금요일\tWeekdayW[5]\n"
    "지금\trs-Unit[0]\n"
    "작년\tRel[-1]\n"
    "내년\trYear[1]\n"
    "다음달\trMonth[1]\n"
    "달\trMonth\n"
    "모레\trD-Unit[2]\n"
    "이틀\tDayCount[2]\n"
    "가\trD-Unit,rD-Unit[2]\n"   // list order: valued, then unvalued
    "나\trD-Unit[2],rD-Unit\n"   // list order: unvalued, then valued
    "초순\tpD-Unit[1]\n"
    "오후\tPM\n"
    "새벽\tMorning\n"
    "다\tAM,PM\n"                // list order: PM, then AM
    "밤\tNight\n"
    "낮\tDay\n"
    "음력\tLUN_CAL\n";

using Handler = DTINFO* (*)(RETTAGS*, int32_t, int32_t, const char*);

struct Case {
  const char* what;
  Handler handler;
  const char* text;
  const char* seq;
  const char* expected;
};

TEST(UnitHandlers, ReadTheirTokens) {
  const Case cases[] = {
      {"year", Cal_YUnit, "2024년", "NUM*YearW", "year=2024"},
      {"month", Cal_MUnit, "5월", "NUM*MonthW", "month=5"},
      {"repeat month", Cal_MUnit, "매월", "Repeat*MonthW", "repeatMonth=1"},
      {"relative year", Cal_YUnit, "작년", "Rel", "year=-1 relKind=1"},
      {"day", Cal_DUnit, "15일", "NUM*DayW", "day=15"},
      {"day relative", Cal_DUnit, "작년", "Rel", "day=-1 relKind=2"},
      {"end of a period", Cal_DUnit, "말", "End", "periodEnd=1"},
      {"week", Cal_WUnit, "셋째 주", "Ord*WeekW", "week=3"},
      {"last week", Cal_WUnit, "마지막 주", "End*WeekW", "week=5"},
      {"weekday", Cal_WeekDayUnit, "금요일", "WeekdayW", "weekday=5"},
      {"last weekday", Cal_WeekDayUnit, "마지막 금요일", "End*WeekdayW", "week=10000 weekday=5"},
      {"weekday ignores Rel", Cal_WeekDayUnit, "작년", "Rel", "weekday=-1"},
      {"hour 09", Cal_hUnit, "09시", "NUM*TimeH", "hour=9 relKind=0 ampm=0"},
      {"hour 9", Cal_hUnit, "9시", "NUM*TimeH", "hour=9 relKind=0"},
      {"hour 15", Cal_hUnit, "15시", "NUM*TimeH", "hour=15 relKind=0 ampm=1"},
      {"hour 12", Cal_hUnit, "12시", "NUM*TimeH", "hour=12 relKind=0"},
      {"hour 010", Cal_hUnit, "010시", "NUM*TimeH", "hour=10 relKind=0"},
      {"noon", Cal_hUnit, "정오", "Hour", "hour=12 relKind=0 ampm=0"},
      {"midnight", Cal_hUnit, "자정", "Hour", "hour=24 relKind=0 ampm=1"},
      {"hour relative", Cal_hUnit, "작년", "Rel", "hour=-1 relKind=1"},
      {"a later value wins: Dur's 3", Cal_hUnit, "5시~", "NUM*TimeH*Dur",
       "hour=3 duration=1 relKind=0"},
      {"minute", Cal_mUnit, "30분", "NUM*MinW", "minute=30"},
      {"minute repeat shares the year's", Cal_mUnit, "매 2분", "Repeat*NUM*MinW",
       "minute=2 repeatYear=1"},
      {"second from now", Cal_sUnit, "지금", "rs-Unit", "second=0 relKind=5"},
      {"second repeat", Cal_sUnit, "매초", "Repeat*SecW", "repeatYear=1"},
      {"no attribute of the item", Cal_YUnit, "2024월", "NUM*YearW", "NULL"},
      {"relative years", Cal_rYUnit, "내년", "rYear", "year=1 relKind=1"},
      {"relative months", Cal_rMUnit, "다음달", "rMonth", "month=1 relKind=1"},
      {"month offset without a number", Cal_rMUnit, "달", "rMonth", "NULL"},
      {"days from today", Cal_rDUnit, "모레", "rD-Unit", "day=2 relKind=5"},
      {"days counted", Cal_rDUnit, "이틀", "DayCount", "day=2 relKind=2"},
      {"an unvalued last hit fails", Cal_rDUnit, "가", "rD-Unit", "NULL"},
      {"a valued last hit passes", Cal_rDUnit, "나", "rD-Unit", "day=2 relKind=5"},
      {"hours", Cal_rHUnit, "3시간", "NUM*HourLen", "hour=3 relKind=1"},
      {"period day", Cal_pDUnit, "5 초순", "NUM*pD-Unit", "day=1"},
  };
  for (const Case& c : cases) {
    Tokens t(kTags, c.text);
    EXPECT_EQ(DumpList(c.handler(t.data(), 0, t.size(), c.seq)), c.expected) << c.what;
  }
}

TEST(UnitHandlers, RangesAndSequences) {
  Tokens t(kTags, "2024년 3시");
  EXPECT_EQ(DumpList(Cal_YUnit(t.data(), 0, 1, "NUM*YearW")), "year=2024");  // range shorter
  EXPECT_EQ(DumpList(Cal_YUnit(t.data(), 1, 1, "NUM")), "-");                  // empty range
  EXPECT_EQ(DumpList(Cal_hUnit(t.data(), 2, 2, "NUM")), "relKind=0");
  EXPECT_EQ(DumpList(Cal_rYUnit(t.data(), 2, 2, "NUM")), "relKind=1");
  EXPECT_EQ(DumpList(Cal_rMUnit(t.data(), 2, 2, "NUM")), "NULL");
  EXPECT_EQ(DumpList(Cal_rDUnit(t.data(), 2, 2, "NUM")), "-");
  EXPECT_EQ(DumpList(Cal_pDUnit(t.data(), 2, 2, "NUM")), "-");
  EXPECT_EQ(DumpList(Cal_YUnit(t.data(), 0, 2, "NUM")), "NULL");  // more tokens than items
  EXPECT_EQ(DumpList(Cal_YUnit(t.data(), 0, 2, "NUM**YearW")), "year=2024");  // empty items vanish
  EXPECT_EQ(DumpList(Cal_YUnit(t.data(), 0, 2, nullptr)), "NULL");
}

using Marker = DTINFO* (*)(RETTAGS*, int32_t, int32_t);

TEST(MarkerAndNumericHandlers, ReadTheirTokens) {
  const struct {
    Marker handler;
    const char* text;
    const char* expected;
  } cases[] = {
      {Cal_AMPMUnit, "오후", "ampm=1"},       {Cal_AMPMUnit, "새벽", "ampm=0"},
      {Cal_AMPMUnit, "다", "ampm=0"},         // PM then AM: the last wins
      {Cal_AMPMUnit, "밤", "NULL"},           {Cal_DayNight, "밤", "dayNight=1"},
      {Cal_DayNight, "낮", "dayNight=0"},     {Cal_Lunar, "음력", "lunar=1"},
      {Cal_AMPMUnit, "오후 밤", "NULL"},      // two tokens
      {Cal_DSEP, "2014-05-06", "year=2014 month=5 day=6"},
      {Cal_DSEP, "2014.5.6", "year=2014 month=5 day=6"},
      {Cal_DSEP, "2014-00-06", "NULL"},       {Cal_DSEP, "5/15", "month=5 day=15"},
      {Cal_DSEP, "0/5", "NULL"},              // the month must be at least 1
      {Cal_DSEP, "5:15", "NULL"},             {Cal_DSEP, "5.", "-"},
      {Cal_DSEP, "5:", "NULL"},               {Cal_DSEP, "5.5.", "-"},  // any other count: empty
      {Cal_TSEP, "10:30", "hour=10 minute=30 ampm=0"},
      {Cal_TSEP, "13:05:07", "hour=13 minute=5 second=7 ampm=1"},
      {Cal_TSEP, "24:00", "hour=24 minute=0"},
      {Cal_TSEP, "10.30", "NULL"},            {Cal_TSEP, "10:30:", "NULL"},
  };
  for (const auto& c : cases) {
    Tokens t(kTags, c.text);
    EXPECT_EQ(DumpList(c.handler(t.data(), 0, t.size())), c.expected) << c.text;
  }
}

TEST(NumericHandlers, HyphenDatesRewriteTheirTokens) {
  Tokens t(kTags, "2014-00-06");
  EXPECT_EQ(Cal_DSEP(t.data(), 0, t.size()), nullptr);
  // Rewritten before the tests, and kept though they failed.
  for (int k : {1, 3}) {
    EXPECT_STREQ(t.data()[k].text, "/");
    EXPECT_STREQ(t.data()[k].attrs->name, "D_SEP");
    EXPECT_EQ(t.data()[k].attrs->value, 0);
  }
}

}  // namespace
}  // namespace eti::testing
