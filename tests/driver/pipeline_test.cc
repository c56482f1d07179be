// The pipeline's result loop and the mapping of what expressions cover,
// driven with hand-made restored records, and checked against per-byte
// reference forms.
#include "driver/pipeline.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "interpret/dtinfo.h"
#include "interpret/marks.h"
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

// A restored list from hand-made records, with what each covers.
DTINFO* List(const std::vector<Rec>& recs, std::vector<Marks>* marks) {
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
    marks->emplace_back();
    AppendRun(&marks->back(), r.from, r.to, 1);
    *link = d;
    link = &d->next;
  }
  return head;
}

std::string Flags(const uint8_t* f) {
  return std::to_string(f[0]) + std::to_string(f[1]) + std::to_string(f[2]);
}

// "span start/flags-end/flags [from,to)" per result.
std::string Show(const std::vector<Found>& results) {
  std::string out;
  for (const Found& f : results) {
    const RESULT_ETS* r = &f.node;
    if (!out.empty()) out += " | ";
    int32_t from, to;
    MarkedBytes(f, &from, &to);
    out += std::to_string(r->spanFlag) + " " + r->startTime + "/" + Flags(r->startFlags);
    out += r->spanFlag ? "-" + std::string(r->endTime) + "/" + Flags(r->endFlags) : "";
    out += " [" + std::to_string(from) + "," + std::to_string(to) + ")";
  }
  return out;
}

std::vector<Found> BuildFrom(const std::vector<Rec>& recs) {
  std::vector<Marks> marks;
  DTINFO* list = List(recs, &marks);
  std::vector<Found> out = BuildResults(list, marks, InputMap(nullptr, kLength, kLength));
  Free_DTINFO(list);
  return out;
}

std::string Build(const std::vector<Rec>& recs) { return Show(BuildFrom(recs)); }

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
  const std::vector<Found> r = BuildFrom({weekly});
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].node.repeatFlags[2], 1);
  EXPECT_EQ(r[0].node.repeatFlags[0], 0);  // unset fields give 0

  Rec twoWeeks;  // a length of two weeks after an open start
  twoWeeks.week = 2;
  twoWeeks.duration = 0;
  twoWeeks.from = 4;
  twoWeeks.to = 6;
  EXPECT_EQ(Build({Moment(2024, 5, 1, 10, 1, 0, 2), twoWeeks}),
            "1 20240501100000/110-20240514100000/100 [0,6)");
}

// The mark mapping one byte at a time, as plainly as it can be said: the
// reference that InputMap is checked against.
void ReferenceMapMarks(const int32_t* normalised, int32_t w, const retTypeBBT* replacements,
                       int32_t* out, int32_t n) {
  if (replacements == nullptr) {
    for (int32_t k = 0; k < n && k < w; ++k) out[k] = normalised[k];
    return;
  }
  const retTypeBBT* r = replacements;
  int32_t i = 0, j = 0;
  while (i < w && j < n) {
    if (r != nullptr && j == r->startPos) {
      const int32_t a = static_cast<int32_t>(std::strlen(r->text));
      const int32_t b = static_cast<int32_t>(std::strlen(r->value));
      if (b < a) {
        ++i;
        const int32_t mark = i < w ? normalised[i] : 0;
        for (int32_t k = 0; k < a - b && j + k < n; ++k) out[j + k] = mark;
        j += a - b;
      } else {
        i += b - a + 1;
      }
      r = r->next;
      continue;
    }
    if (i < w && normalised[i] == 1) out[j] = 1;
    ++i;
    ++j;
  }
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

TEST(MarkMapping, AgreesWithTheByteByByteMappingOnRandomReplacements) {
  std::mt19937 random(7);
  for (int round = 0; round < 3000; ++round) {
    // Replacements of random lengths at random places of an input of n
    // bytes, and random runs of 1 over the normalised text they make.
    const int32_t n = static_cast<int32_t>(random() % 40);
    retTypeBBT* hits = nullptr;
    retTypeBBT** link = &hits;
    int32_t w = 0;
    for (int32_t j = 0; j < n;) {
      const int32_t a = 1 + static_cast<int32_t>(random() % 5);
      if (random() % 3 == 0 && j + a <= n) {
        const int32_t b = 1 + static_cast<int32_t>(random() % 6);
        auto* h = static_cast<retTypeBBT*>(std::calloc(1, sizeof(retTypeBBT)));
        h->startPos = j;
        h->text = strdup(std::string(static_cast<size_t>(a), 'x').c_str());
        h->value = strdup(std::string(static_cast<size_t>(b), 'y').c_str());
        *link = h;
        link = &h->next;
        w += 1 + b;
        j += a;
      } else {
        ++w;
        ++j;
      }
    }
    if (random() % 4 == 0) w = std::max(0, w - static_cast<int32_t>(random() % 3));  // a cut line feed
    std::vector<int32_t> norm(static_cast<size_t>(w), 0);
    for (int32_t& m : norm) m = random() % 3 == 0 ? 1 : 0;
    std::vector<int32_t> expected(static_cast<size_t>(n), 0);
    ReferenceMapMarks(norm.data(), w, hits, expected.data(), n);
    ASSERT_EQ(MarksText(Mapped(hits, norm, n)), MarksText(expected)) << "round " << round;
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

TEST(Marks, CharacterIndexesInOneWalk) {
  std::mt19937 random(3);
  for (int round = 0; round < 500; ++round) {
    std::string text;
    const int length = static_cast<int>(random() % 20);
    for (int k = 0; k < length; ++k) {
      const unsigned v = random() % 4;
      text.push_back(v == 0 ? 'a' : v == 1 ? ' ' : static_cast<char>(0xB0 + random() % 8));
    }
    std::vector<int32_t> positions;
    for (int k = 0; k < 6; ++k) positions.push_back(static_cast<int32_t>(random() % 24) - 1);
    std::vector<int32_t> got = positions;
    std::vector<int32_t*> requests;
    for (int32_t& p : got) requests.push_back(&p);
    CharIndexes(text.c_str(), requests);
    for (size_t k = 0; k < positions.size(); ++k) {
      ASSERT_EQ(got[k], charIndex(text.c_str(), positions[k]))
          << "position " << positions[k] << " round " << round;
    }
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
