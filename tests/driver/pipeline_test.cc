// The pipeline's result loop and mark mapping, driven with hand-made
// restored records.
#include "driver/pipeline.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "interpret/dtinfo.h"
#include "support/dict_builder.h"

namespace eti::testing {
namespace {

constexpr int32_t U = ETI_UNSET;
constexpr int32_t kLength = 12;  // bytes of the (unreplaced) text

struct Rec {
  int32_t year = U, month = U, day = U, hour = U, minute = U, second = U;
  int32_t duration = U, spanKind = U, spanYear = U, spanMonth = U, spanDays = U;
  int32_t week = U, repeatWeek = U;
  uint8_t flags[3] = {1, 0, 0};
  int from = 0, to = 0;  // marked bytes
};

// A restored list from hand-made records.
DTINFO* List(const std::vector<Rec>& recs) {
  DTINFO* head = nullptr;
  DTINFO** link = &head;
  for (const Rec& r : recs) {
    DTINFO* d = NewDTINFO();
    d->year = r.year;
    d->month = r.month;
    d->day = r.day;
    d->hour = r.hour;
    d->minute = r.minute;
    d->second = r.second;
    d->week = r.week;
    d->duration = r.duration;
    d->spanKind = r.spanKind;
    d->spanYear = r.spanYear;
    d->spanMonth = r.spanMonth;
    d->spanDays = r.spanDays;
    d->repeatWeek = r.repeatWeek;
    d->hasDate = r.flags[0];
    d->hasTime = r.flags[1];
    d->hasAmPm = r.flags[2];
    d->compoundMarks = static_cast<int32_t*>(std::calloc(kLength, sizeof(int32_t)));
    for (int k = r.from; k < r.to; ++k) d->compoundMarks[k] = 1;
    *link = d;
    link = &d->next;
  }
  return head;
}

std::string Flags(const uint8_t* f) {
  return std::to_string(f[0]) + std::to_string(f[1]) + std::to_string(f[2]);
}

// "span start/flags-end/flags [from,to)" per result.
std::string Show(RESULT_ETS* results) {
  std::string out;
  for (RESULT_ETS* r = results; r != nullptr; r = r->next) {
    if (!out.empty()) out += " | ";
    int from = -1, to = -1;
    for (int k = 0; k < kLength; ++k) {
      if (r->marks[k] == 1) {
        if (from == -1) from = k;
        to = k + 1;
      }
    }
    out += std::to_string(r->spanFlag) + " " + r->startTime + "/" + Flags(r->startFlags);
    out += r->spanFlag ? "-" + std::string(r->endTime) + "/" + Flags(r->endFlags) : "";
    out += " [" + std::to_string(from) + "," + std::to_string(to) + ")";
  }
  FreeRESULT_ETS(results);
  return out;
}

std::string Build(const std::vector<Rec>& recs) {
  DTINFO* list = List(recs);
  const std::string out = Show(BuildResults(list, kLength, kLength, nullptr));
  Free_DTINFO(list);
  return out;
}

Rec Moment(int y, int m, int d, int h, int duration, int from, int to) {
  Rec r;
  r.year = y;
  r.month = m;
  r.day = d;
  r.hour = h;
  r.minute = h == U ? U : 0;
  r.second = h == U ? U : 0;
  r.duration = duration;
  r.flags[1] = h == U ? 0 : 1;
  r.from = from;
  r.to = to;
  return r;
}

TEST(ResultLoop, EachPath) {
  Rec length;  // "3 days" as a length of time
  length.day = 3;
  length.duration = 0;
  length.flags[0] = 0;
  length.from = 8;
  length.to = 10;
  Rec month;  // the whole of May 2024
  month.year = 2024;
  month.month = 5;
  month.day = 1;
  month.spanKind = 1;
  month.spanMonth = 1;
  month.spanDays = -1;
  month.from = 0;
  month.to = 4;
  Rec late = Moment(2036, 1, 1, U, U, 0, 2);
  Rec undated = month;
  undated.year = U;

  const struct {
    const char* what;
    std::vector<Rec> recs;
    const char* expected;
  } cases[] = {
      {"point", {Moment(2024, 5, 16, 15, U, 0, 4)}, "0 20240516150000/110 [0,4)"},
      {"open end", {Moment(2024, 5, 16, 15, 1, 0, 4)},
       "1 20240516150000/110-FFFFFFFFFFFFFF/000 [0,4)"},
      {"open start", {Moment(2024, 5, 16, U, 2, 2, 6)},
       "1 FFFFFFFFFFFFFF/000-20240516FFFFFF/100 [2,6)"},
      {"start and end merged", {Moment(2024, 5, 16, 15, 1, 0, 3), Moment(2024, 5, 16, 17, 2, 6, 9)},
       "1 20240516150000/110-20240516170000/110 [0,9)"},
      {"duration added to an open start", {Moment(2024, 5, 1, U, 1, 0, 4), length},
       "1 20240501FFFFFF/100-20240503FFFFFF/100 [0,10)"},
      {"whole period", {month}, "1 20240501FFFFFF/100-20240531FFFFFF/100 [0,4)"},
      {"year past 2035", {late}, ""},
      {"period without a year", {undated}, ""},
      {"length without a start", {length}, ""},
      {"open start (3) closed by the next", {Moment(2024, 5, 16, 9, 3, 0, 2), Moment(2024, 5, 16, 11, U, 5, 7)},
       "1 20240516090000/110-20240516110000/110 [0,7)"},
      {"open start (3) then a start", {Moment(2024, 5, 16, 9, 3, 0, 2), Moment(2024, 5, 17, 9, 1, 5, 7)},
       "0 20240516090000/110 [0,2) | 1 20240517090000/110-FFFFFFFFFFFFFF/000 [5,7)"},
      {"open start (3) closed by a period", {Moment(2024, 5, 1, U, 3, 6, 8), month},
       "1 20240501FFFFFF/100-20240531FFFFFF/100 [0,8)"},
      {"two points", {Moment(2024, 5, 16, U, U, 0, 2), Moment(2024, 5, 17, U, U, 4, 6)},
       "0 20240516FFFFFF/100 [0,2) | 0 20240517FFFFFF/100 [4,6)"},
      {"a second end opens its own start",
       {Moment(2024, 5, 16, U, 1, 0, 2), Moment(2024, 5, 18, U, 2, 3, 5), Moment(2024, 5, 19, U, 2, 7, 9)},
       "1 20240516FFFFFF/100-20240518FFFFFF/100 [0,5) | "
       "1 FFFFFFFFFFFFFF/000-20240519FFFFFF/100 [7,9)"},
  };
  for (const auto& c : cases) EXPECT_EQ(Build(c.recs), c.expected) << c.what;
}

TEST(ResultLoop, RepeatFlagsAndWeekLengths) {
  Rec weekly = Moment(2024, 5, 20, U, U, 0, 2);
  weekly.repeatWeek = 1;
  DTINFO* list = List({weekly});
  RESULT_ETS* r = BuildResults(list, kLength, kLength, nullptr);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->repeatFlags[2], 1);
  EXPECT_EQ(r->repeatFlags[0], 0);  // unset fields give 0
  FreeRESULT_ETS(r);
  Free_DTINFO(list);

  Rec twoWeeks;  // a length of two weeks after an open start
  twoWeeks.week = 2;
  twoWeeks.duration = 0;
  twoWeeks.from = 4;
  twoWeeks.to = 6;
  EXPECT_EQ(Build({Moment(2024, 5, 1, 10, 1, 0, 2), twoWeeks}),
            "1 20240501100000/110-20240514100000/100 [0,6)");
}

std::string MarksOf(const std::string& text, const std::vector<int32_t>& marks) {
  std::string out;
  for (size_t k = 0; k < text.size(); ++k) out += marks[k] ? '1' : '0';
  return out;
}

TEST(MarkMapping, FollowsReplacementsThatShrinkAndGrow) {
  const std::string blob = CompileTrie(DictKind::kReplace, "낼\t내일\n다음 주\t다음주\n");
  const struct {
    const char* text;
    const char* markedUtf8;  // the part of the normalised text that is marked
    const char* expected;    // marks over the input bytes
  } cases[] = {
      {"낼 봐요", "내일", "1100000"},
      {"낼 봐요", "봐요", "0001111"},
      {"다음 주 화요일", "다음주", "1111111000000000"},
      {"다음 주 화요일", "화요일", "0000000011111111"},
      {"오늘 낼 다음 주 와", "다음주", "000000001111111000"},
      {"오늘 3시", "3시", "0000011100"},  // nothing replaced: copied as is
  };
  for (const auto& c : cases) {
    const std::string input = Cp949(c.text);
    std::vector<char> work(10 * input.size() + 1, '\0');
    std::copy(input.begin(), input.end(), work.begin());
    retTypeBBT* hits = ChangeStrDate(work.data(), blob.data());
    const std::string normalised = work.data();
    const std::string marked = Cp949(c.markedUtf8);
    const size_t at = normalised.find(marked);
    ASSERT_NE(at, std::string::npos) << c.text;
    std::vector<int32_t> norm(normalised.size(), 0);
    for (size_t k = at; k < at + marked.size(); ++k) norm[k] = 1;
    std::vector<int32_t> out(input.size() + 4, 0);
    MapMarks(norm.data(), static_cast<int32_t>(norm.size()), hits, out.data(),
             static_cast<int32_t>(input.size()));
    std::string expected = c.expected;
    expected.resize(input.size(), '0');
    EXPECT_EQ(MarksOf(input, out), expected) << c.text << " / " << c.markedUtf8;
    ETI_free_retTypeBBT(&hits);
  }
}

TEST(Pipeline, OverallTypeOfAFoundChain) {
  const struct {
    std::vector<std::pair<int32_t, int32_t>> recs;  // (relKind, what: 1 date, 2 time, 3 both)
    int32_t expected;
  } cases[] = {
      {{}, 5},
      {{{0, 2}}, 1},
      {{{1, 2}}, 3},
      {{{1, 3}}, 10},
      {{{0, 1}}, 4},
      {{{2, 1}}, 5},
      {{{U, 1}}, 4},  // unset relation counts as absolute
      {{{1, 2}, {0, 2}}, 1},
  };
  for (const auto& c : cases) {
    DTINFO* head = nullptr;
    DTINFO** link = &head;
    for (const auto& [rel, what] : c.recs) {
      DTINFO* d = NewDTINFO();
      d->relKind = rel;
      if (what & 1) d->day = 3;
      if (what & 2) d->hour = 3;
      *link = d;
      link = &d->next;
    }
    EXPECT_EQ(GetDTtype(head), c.expected);
    Free_DTINFO(head);
  }
}

TEST(Pipeline, CombineMarks) {
  const int32_t a[4] = {1, 0, 0, 2};
  const int32_t b[4] = {0, 0, 1, 0};
  int32_t* c = combineMarks(a, b, 4);
  EXPECT_EQ(std::vector<int32_t>(c, c + 4), (std::vector<int32_t>{1, 0, 1, 0}));
  std::free(c);
  std::free(combineMarks(a, b, 0));
}

}  // namespace
}  // namespace eti::testing
