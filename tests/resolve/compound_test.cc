// Compounding of found records, against a reference of 2024-05-10 09:00.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "interpret/dtinfo.h"
#include "support/records.h"

namespace eti::testing {
namespace {

constexpr int32_t U = ETI_UNSET;
struct Part {
  Fields fields;
  int32_t from, to;  // bytes of the text
};


// The compounds of found records over `text`, one dump per compound.
std::string Compound(const std::vector<Part>& parts, const std::string& text) {
  const int32_t n = static_cast<int32_t>(text.size());
  std::vector<DTINFO*> records;
  for (const Part& p : parts) {
    DTINFO* r = MakeRecord(p.fields);
    r->seqBegin = p.from;
    r->seqEnd = p.to;
    r->compoundMarks = static_cast<int32_t*>(std::calloc(n, sizeof(int32_t)));
    for (int32_t k = p.from; k < p.to; ++k) r->compoundMarks[k] = 1;
    records.push_back(r);
  }
  DTINFO* head = Chain(records);
  DTINFO* ref = ConvStrToDTINFO("202405100900");
  DTINFO* compounds = CompoundDTInfo(head, ref, n, text.c_str());
  std::string out;
  for (DTINFO* c = compounds; c != nullptr; c = c->next) {
    if (!out.empty()) out += " | ";
    std::string marks;
    for (int32_t k = 0; k < n; ++k) marks += c->compoundMarks[k] ? '1' : '0';
    out += marks + " " + Dump(c);
  }
  Free_DTINFO(compounds);
  Free_DTINFO(head);
  Free_DTINFO(ref);
  return out;
}

TEST(Compound, NeighboursJoinAcrossBlanksOnly) {
  const Part date{{{kMonth, 5}, {kDay, 3}, {kRel, 0}}, 0, 2};
  const Part time{{{kHour, 3}}, 4, 6};
  EXPECT_EQ(Compound({date, time}, "dd \tHH"), "110011 month=5 day=3 hour=3 relKind=0");
  EXPECT_EQ(Compound({date, time}, "dd, HH"),
            "110000 month=5 day=3 relKind=0 | 000011 hour=3 relKind=0");
  EXPECT_EQ(Compound({date, time}, "dd xHH"),
            "110000 month=5 day=3 relKind=0 | 000011 hour=3 relKind=0");
}

TEST(Compound, CollisionRules) {
  const std::string text = "aaaaaaaaaa";
  const struct {
    const char* what;
    Part k, p;
    bool collide;
  } cases[] = {
      {"two years", {{{kYear, 2014}}, 0, 2}, {{{kYear, 2015}}, 3, 5}, true},
      {"year then month", {{{kYear, 2014}}, 0, 2}, {{{kMonth, 5}}, 2, 4}, false},
      {"a time closes a compound", {{{kHour, 3}}, 0, 2}, {{{kDay, 3}}, 2, 4}, true},
      {"a time needs a day before it", {{{kMonth, 5}}, 0, 2}, {{{kHour, 3}}, 2, 4}, true},
      {"weekday after weekday", {{{kWeekday, 1}}, 0, 2}, {{{kWeekday, 2}}, 2, 4}, true},
      {"day after weekday", {{{kWeekday, 1}}, 0, 2}, {{{kDay, 3}}, 2, 4}, true},
      {"weekday after day", {{{kDay, 3}}, 0, 2}, {{{kWeekday, 2}}, 2, 4}, true},
      {"a whole period stands alone", {{{kMonth, 5}, {kSpan, 1}}, 0, 2}, {{{kDay, 3}}, 2, 4}, true},
      {"a role closes the compound", {{{kMonth, 5}, {kDuration, 1}}, 0, 2}, {{{kDay, 3}}, 2, 4}, true},
      {"a length stands alone", {{{kMonth, 5}}, 0, 2}, {{{kDay, 3}, {kDuration, 0}}, 2, 4}, true},
      {"an empty record joins anything", {{{kYear, 2014}}, 0, 2}, {{{kAmPm, 1}}, 2, 4}, false},
  };
  for (const auto& c : cases) {
    const std::string out = Compound({c.k, c.p}, text);
    EXPECT_EQ(out.find(" | ") != std::string::npos, c.collide) << c.what << ": " << out;
  }
}

TEST(Compound, CountedMembersAddToTheBase) {
  const std::string text = "aaaa bbbb";
  const struct {
    const char* what;
    std::vector<Part> parts;
    const char* expected;
  } cases[] = {
      {"three days after", {{{{kDay, 3}, {kRel, 2}}, 0, 4}},
       "111100000 year=2024 month=5 day=13 week=2 weekday=5 relKind=0 lunar=0"},
      {"three days before", {{{{kDay, 3}, {kRel, -2}}, 0, 4}},
       "111100000 year=2024 month=5 day=7 week=2 weekday=5 relKind=0 lunar=0"},
      // The week moves the day and is not kept itself.
      {"a week after", {{{{kDay, 0}, {kWeek, 1}, {kRel, 2}}, 0, 4}},
       "111100000 year=2024 month=5 day=17 weekday=5 relKind=0 lunar=0"},
      {"three hours after", {{{{kHour, 3}, {kRel, 2}}, 0, 4}},
       "111100000 year=2024 month=5 day=10 week=2 weekday=5 hour=12 minute=0 second=0 relKind=0 "
       "ampm=0 lunar=0"},
      {"a day after a date that was said",
       {{{{kMonth, 6}, {kDay, 1}, {kRel, 0}}, 0, 4}, {{{kDay, 1}, {kRel, 2}}, 5, 9}},
       "111100000 month=6 day=1 relKind=0 | 000001111 month=6 day=2 relKind=0"},
  };
  for (const auto& c : cases) EXPECT_EQ(Compound(c.parts, text), c.expected) << c.what;
}

TEST(Compound, AnAfternoonWordMovesOnlyLaterHours) {
  EXPECT_NE(Compound({{{{kDay, 3}}, 0, 2}, {{{kAmPm, 1}}, 3, 5}, {{{kHour, 3}}, 6, 8}}, "aa bb cc")
                .find("hour=15"),
            std::string::npos);
  EXPECT_NE(Compound({{{{kDay, 3}}, 0, 2}, {{{kHour, 3}}, 3, 5}, {{{kAmPm, 1}}, 6, 8}}, "aa bb cc")
                .find("hour=3 "),
            std::string::npos);
}

TEST(Compound, NothingFoundIsOneEmptyCompound) {
  DTINFO* ref = ConvStrToDTINFO("202405100900");
  DTINFO* c = CompoundDTInfo(nullptr, ref, 4, "abcd");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(Dump(c), "relKind=0");
  EXPECT_EQ(c->next, nullptr);
  Free_DTINFO(c);
  Free_DTINFO(ref);
}

}  // namespace
}  // namespace eti::testing
