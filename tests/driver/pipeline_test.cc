// The pipeline's result loop and the mapping of what expressions cover,
// driven with hand-made restored records; the runs of marks against plain
// per-byte arrays.
#include "driver/pipeline.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "interpret/dtinfo.h"
#include "interpret/marks.h"
#include "support/records.h"

namespace eti::testing {
namespace {

constexpr int32_t U = ETI_UNSET;
constexpr int32_t kLength = 12;  // bytes of the (unreplaced) text

// A restored record: its fields, the bytes it marks, whether it has a time
// and a date.
struct Rec {
  Fields fields;
  int from = 0, to = 0;
  bool hasTime = false, hasDate = true;
};

// "span start/flags-end/flags [from,to)" per result of hand-made records.
std::vector<Found> BuildFrom(const std::vector<Rec>& recs) {
  std::vector<Marks> marks;
  std::vector<DTINFO*> records;
  for (const Rec& r : recs) {
    DTINFO* d = MakeRecord(r.fields);
    d->hasDate = r.hasDate;
    d->hasTime = r.hasTime;
    d->hasAmPm = 0;
    records.push_back(d);
    marks.emplace_back();
    AppendRun(&marks.back(), r.from, r.to, 1);
  }
  DTINFO* list = Chain(records);
  std::vector<Found> out = BuildResults(list, marks, InputMap(nullptr, kLength, kLength));
  Free_DTINFO(list);
  return out;
}

std::string Build(const std::vector<Rec>& recs) {
  const auto flags = [](const uint8_t* f) {
    return std::to_string(f[0]) + std::to_string(f[1]) + std::to_string(f[2]);
  };
  std::string out;
  for (const Found& f : BuildFrom(recs)) {
    const RESULT_ETS* r = &f.node;
    int32_t from, to;
    MarkedBytes(f, &from, &to);
    out += std::string(out.empty() ? "" : " | ") + std::to_string(r->spanFlag) + " " + r->startTime +
           "/" + flags(r->startFlags) + (r->spanFlag ? "-" + std::string(r->endTime) + "/" + flags(r->endFlags) : "") +
           " [" + std::to_string(from) + "," + std::to_string(to) + ")";
  }
  return out;
}

// A date, with an hour (00 minutes and seconds) unless it is U.
Rec Moment(int y, int m, int d, int h, int duration, int from, int to) {
  Rec r{{{kYear, y}, {kMonth, m}, {kDay, d}, {kDuration, duration}}, from, to, h != U};
  if (h != U) r.fields.insert(r.fields.end(), {{kHour, h}, {kMinute, 0}, {&DTINFO::second, 0}});
  return r;
}

TEST(ResultLoop, EachPath) {
  const Rec length{{{kDay, 3}, {kDuration, 0}}, 8, 10, false, false};  // "3 days" as a length
  // The whole of May 2024, and the same without its year.
  const Fields may = {{kMonth, 5}, {kDay, 1}, {kSpan, 1}, {&DTINFO::spanMonth, 1}, {&DTINFO::spanDays, -1}};
  Rec month{may, 0, 4}, undated{may, 0, 4};
  month.fields.push_back({kYear, 2024});
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
      {"year past 2035", {Moment(2036, 1, 1, U, U, 0, 2)}, ""},
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
      // A length of two weeks after an open start.
      {"weeks as a length", {Moment(2024, 5, 1, 10, 1, 0, 2), {{{kWeek, 2}, {kDuration, 0}}, 4, 6}},
       "1 20240501100000/110-20240514100000/100 [0,6)"},
  };
  for (const auto& c : cases) EXPECT_EQ(Build(c.recs), c.expected) << c.what;
}

TEST(ResultLoop, RepeatFlags) {
  Rec weekly = Moment(2024, 5, 20, U, U, 0, 2);
  weekly.fields.push_back({&DTINFO::repeatWeek, 1});
  const std::vector<Found> r = BuildFrom({weekly});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].node.repeatFlags[2], 1);
  EXPECT_EQ(r[0].node.repeatFlags[0], 0);  // unset fields give 0
}

std::string MarksText(const std::vector<int32_t>& marks) {
  std::string out;
  for (int32_t m : marks) out += m ? '1' : '0';
  return out;
}

std::vector<int32_t> Mapped(const retTypeBBT* hits, const std::vector<int32_t>& norm,
                            int32_t n) {
  const InputMap map(hits, n, static_cast<int32_t>(norm.size()));
  std::vector<int32_t> out(static_cast<size_t>(n), 0);
  PaintMarks(map.Map(MarksOfArray(norm.data(), static_cast<int32_t>(norm.size()))), out.data(),
             n);
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
    std::string expected = c.expected;
    expected.resize(input.size(), '0');
    EXPECT_EQ(MarksText(Mapped(hits, norm, static_cast<int32_t>(input.size()))), expected)
        << c.text << " / " << c.markedUtf8;
    ETI_free_retTypeBBT(&hits);
  }
}

TEST(Marks, RunsAgreeWithPerByteArrays) {
  std::mt19937 random(11);
  const auto array = [&](int32_t n, int values) {
    std::vector<int32_t> a(static_cast<size_t>(n));
    for (int32_t& v : a) v = random() % 3 == 0 ? static_cast<int32_t>(random() % values) : 0;
    return a;
  };
  for (int round = 0; round < 2000; ++round) {
    const int32_t n = static_cast<int32_t>(random() % 30);
    const std::vector<int32_t> a = array(n, 4), b = array(n, 4);
    const Marks ma = MarksOfArray(a.data(), n), mb = MarksOfArray(b.data(), n);
    std::vector<int32_t> back(static_cast<size_t>(n), 0);
    PaintMarks(ma, back.data(), n);
    ASSERT_EQ(back, a);

    // Overlay: b's nonzero marks painted over a's.
    Marks over = ma;
    Overlay(&over, mb);
    std::vector<int32_t> expected = a;
    for (int32_t k = 0; k < n; ++k) {
      if (b[k] != 0) expected[k] = b[k];
    }
    std::fill(back.begin(), back.end(), 0);
    PaintMarks(over, back.data(), n);
    ASSERT_EQ(back, expected) << "round " << round;
    ASSERT_EQ(over, MarksOfArray(expected.data(), n)) << "runs stay joined, round " << round;

    // The union of ones is what combineMarks makes.
    int32_t* combined = combineMarks(a.data(), b.data(), n);
    std::fill(back.begin(), back.end(), 0);
    PaintMarks(UnionOfOnes(ma, mb), back.data(), n);
    ASSERT_EQ(back, std::vector<int32_t>(combined, combined + n)) << "round " << round;
    std::free(combined);
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
