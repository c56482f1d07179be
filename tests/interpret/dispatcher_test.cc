// The unit dispatcher on unit sequences cut by a compiled unit dictionary.
// (Hostile unit dictionaries are the blob fuzz target's.)
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "interpret/dispatcher.h"
#include "support/records.h"

namespace eti::testing {
namespace {

constexpr char kTags[] =
    "년\tYearW\n"
    "월\tMonthW\n"
    "일\tDayW\n"
    "시\tTimeH\n"
    "분\tMinW\n"
    "후\tAfter\n"
    "전\tBefore\n"
    "오후\tPM\n"
    "작년\tRel[-1]\n";

constexpr char kUnits[] =
    "NUM*YearW\tYUnit\n"
    "NUM*MonthW\tMUnit\n"
    "NUM*DayW\tDUnit\n"
    "NUM*TimeH\thUnit\n"
    "NUM*MinW\tmUnit\n"
    "Rel\tSetRelFlag\n"
    "PM\tAMPMUnit\n"
    "After\tPosition\n"
    "Before\tPosition\n"
    "Dur\tDuration\n"
    "NUM*D_SEP*NUM\tDSEP\n";

std::string Dispatch(const char* text, const char* seq, int32_t count = -1) {
  TriePtr units = LoadSource(DictKind::kUnit, kUnits);
  Tokens t(kTags, text);
  retTypeBBT match{0, const_cast<char*>(seq), const_cast<char*>("1"), nullptr};
  return DumpList(CalDTStr(units.get(), t.data(), count < 0 ? t.size() : count, &match));
}

TEST(CalDTStr, UnitsOfAMatch) {
  const struct {
    const char* what;
    const char* text;
    const char* seq;
    const char* expected;
  } cases[] = {
      {"tiling", "2024년 5월 15일", "NUM*YearW*NUM*MonthW*NUM*DayW", "year=2024 | month=5 | day=15"},
      {"a gap in the tiling", "2024년 5월", "NUM*YearW*MonthW", "NULL"},
      {"an unknown unit name", "2024년 5월", "NUM*YearW*NUM*Nope", "NULL"},
      {"after: records before the position", "3일 후", "NUM*DayW*After", "day=3 relKind=2"},
      {"before", "3일 전", "NUM*DayW*Before", "day=3 relKind=-2"},
      {"only the first position counts", "3일 후 전", "NUM*DayW*After*Before", "day=3 relKind=2"},
      {"an absolute hour stops the walk back", "3일 2시 후", "NUM*DayW*NUM*TimeH*After",
       "day=3 | hour=2 relKind=0"},
      {"set-rel flag", "작년 5월", "Rel*NUM*MonthW", "month=5"},
      {"set-rel flag after a position is ignored", "5월 후 작년", "NUM*MonthW*After*Rel",
       "month=5 relKind=2"},
      {"duration", "5시-", "NUM*TimeH*Dur", "hour=5 duration=3 relKind=0"},
      {"markers only", "후", "After", "NULL"},
      {"a marker word", "오후 3시", "PM*NUM*TimeH", "ampm=1 | hour=3 relKind=0"},
      {"validation rejects 2031", "2031년 5월", "NUM*YearW*NUM*MonthW", "NULL"},
      {"validation passes 2030", "2030년", "NUM*YearW", "year=2030"},
      {"hour 25 is refused", "25시", "NUM*TimeH", "NULL"},
  };
  for (const auto& c : cases) EXPECT_EQ(Dispatch(c.text, c.seq), c.expected) << c.what;
}

TEST(CalDTStr, SetRelFlagMarksTheRecordsBeforeIt) {
  // "5월 작년": the flag's value (-1) goes to the month before it.
  EXPECT_EQ(Dispatch("5월 작년", "NUM*MonthW*Rel"), "month=5 relKind=-1");
}

TEST(CalDTStr, TheTokenIndexWrapsPastTheMatch) {
  // Two hour units over two tokens: the second starts again at token 0.
  EXPECT_EQ(Dispatch("3시", "NUM*TimeH*NUM*TimeH"), "hour=3 relKind=0 | hour=3 relKind=0");
  // A match counted shorter than its units: handlers stay inside it.
  EXPECT_EQ(Dispatch("2024년 5월", "NUM*YearW*NUM*MonthW", 3), "year=2024 | month=5");
  EXPECT_EQ(Dispatch("2024년", "NUM*YearW", 0), "NULL");
}

retTypeBBT* Unit(int32_t pos, const char* text, retTypeBBT* next) {
  auto* u = static_cast<retTypeBBT*>(std::malloc(sizeof(retTypeBBT)));
  u->startPos = pos;
  u->text = strdup(text);
  u->value = strdup("YUnit");
  u->next = next;
  return u;
}

TEST(CalDTStr, GroupChoiceIsNotAPlainMaximum) {
  // Two groups, each opening at position 0, scored by their '*'.
  const struct {
    const char* first;
    const char* second;
    int chosen;
  } cases[] = {
      {"A*B*C", "A*B", 2},  // 2 then 1: the second
      {"A", "A*B", 2},      // 0 then 1: the second
      {"A*B", "A", 2},      // 1 then 0: still the second
      {"A", "B", 1},        // neither has a '*': the first
  };
  for (const auto& c : cases) {
    retTypeBBT* second = Unit(0, c.second, nullptr);
    retTypeBBT* first = Unit(0, c.first, Unit(6, "X", second));
    EXPECT_EQ(ChooseGroup(first), c.chosen == 1 ? first : second) << c.first << " / " << c.second;
    ETI_free_retTypeBBT(&first);
  }
}

TEST(SearchTagSeq, KeepsTheTilingOnly) {
  TriePtr units = LoadSource(DictKind::kUnit, kUnits);
  const struct {
    const char* seq;
    const char* expected;
  } cases[] = {
      {"NUM*YearW*NUM*MonthW", "0:NUM*YearW=YUnit 10:NUM*MonthW=MUnit"},
      {"NUM*YearW*Zzz", "NULL"},
      {"Zzz*NUM*YearW", "NULL"},
      {"", "NULL"},
  };
  for (const auto& c : cases) {
    retTypeBBT* r = SearchTagSeq(units.get(), c.seq);
    std::string out;
    for (retTypeBBT* h = r; h != nullptr; h = h->next) {
      if (!out.empty()) out += " ";
      out += std::to_string(h->startPos) + ":" + h->text + "=" + h->value;
    }
    ETI_free_retTypeBBT(&r);
    EXPECT_EQ(out.empty() ? "NULL" : out, c.expected) << c.seq;
  }
}

}  // namespace
}  // namespace eti::testing
