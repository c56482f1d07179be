#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "extractor_kr/stages.h"

namespace {

TYPED_RESULT* const kUntouched = reinterpret_cast<TYPED_RESULT*>(0x1);

const char kEmptyBlob[9] = {0};

int32_t RunWithReference(const char* ref, TYPED_RESULT** results) {
  return ETI_Main("text", results, ref, "", kEmptyBlob, kEmptyBlob, kEmptyBlob,
                  kEmptyBlob, "");
}

TEST(ETI_Main, ChecksTheReferenceTime) {
  const struct {
    const char* ref;
    int32_t expected;
  } cases[] = {
      {"202405151030", 0},
      {"204312312460", 0},  // year 2043, hour 24 and minute 60 are accepted
      {"201402310000", 0},  // the day bound does not depend on the month
      {"197001010000", 0},
      {"20240515103059", 0},  // only the first twelve characters are read
      {"204401010000", -1},
      {"196912312359", -1},
      {"202413010000", -1},
      {"202400010000", -1},
      {"202405320000", -1},
      {"202405002500", -1},
      {"202405150061", -1},
      {"2024-5151030", -1},
      {"abcd05151030", -1},
      {"2024051510ab", 0},  // atoi of letters is 0, a valid minute
      {"2024", -1},
      {"", -1},
  };
  for (const auto& c : cases) {
    TYPED_RESULT* results = kUntouched;
    EXPECT_EQ(RunWithReference(c.ref, &results), c.expected) << c.ref;
    if (c.expected == -1) {
      EXPECT_EQ(results, kUntouched) << c.ref;
    } else {
      EXPECT_EQ(results, nullptr) << c.ref;  // the pipeline found nothing
    }
  }
  TYPED_RESULT* results = kUntouched;
  EXPECT_EQ(RunWithReference(nullptr, &results), -1);
  EXPECT_EQ(ETI_Main(nullptr, &results, "202405151030", "", kEmptyBlob,
                     kEmptyBlob, kEmptyBlob, kEmptyBlob, ""),
            -1);
}

// A hand-made pipeline result with `marks` over a text of n bytes.
struct Result {
  std::vector<int32_t> marks;
  RESULT_ETS node;
  Result(size_t n, size_t from, size_t to) : marks(n, 0), node{} {
    for (size_t i = from; i < to; ++i) marks[i] = 1;
    node.marks = marks.data();
    std::memcpy(node.startTime, "20240515150000", 15);
    std::memcpy(node.endTime, "FFFFFFFFFFFFFF", 15);
  }
};

TEST(NewType, CharacterPositionsOfTheMarkedBytes) {
  const struct {
    const char* text;
    size_t from, to;
    int32_t begin, end;
  } cases[] = {
      {"\xB3\xBB\xC0\xCF \xBF\xC0\xC8\xC4", 0, 6, 0, 3},   // six high bytes: three characters
      {"\xB3\xBB\xC0\xCF \xBF\xC0\xC8\xC4", 5, 9, 3, 5},
      {"at 3 pm today", 3, 7, 3, 7},  // ASCII: character = byte
      {"ab\xB3\xBB" "cd", 2, 4, 2, 3},
      {"ab\xB3\xBB" "cd", 4, 5, 3, 4},
      {"abc", 0, 0, -1, -1},  // nothing marked
  };
  for (const auto& c : cases) {
    const size_t n = std::strlen(c.text);
    Result r(n, c.from, c.to);
    TYPED_RESULT* t = newType(&r.node, c.text, static_cast<int32_t>(n));
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->beginIndex, c.begin) << c.text;
    EXPECT_EQ(t->endIndex, c.end) << c.text;
    ETI_FreeTypedResults(t);
  }
}

TEST(NewType, CycleFromTheFirstRepeatFlagSet) {
  const struct {
    uint8_t flags[5];
    const char* cycle;
  } cases[] = {
      {{0, 0, 0, 0, 0}, "00000000000000"}, {{1, 0, 0, 0, 0}, "00010000000000"},
      {{0, 1, 0, 0, 0}, "00000100000000"}, {{0, 0, 1, 0, 0}, "00000007000000"},
      {{0, 0, 0, 1, 0}, "00000001000000"}, {{0, 0, 1, 1, 0}, "00000007000000"},
      {{0, 0, 0, 0, 1}, "00000000000000"},  // a repeated hour has no cycle
      {{1, 1, 1, 1, 1}, "00010000000000"},
  };
  for (const auto& c : cases) {
    Result r(2, 0, 1);
    std::memcpy(r.node.repeatFlags, c.flags, 5);
    TYPED_RESULT* t = newType(&r.node, "ab", 2);
    EXPECT_STREQ(t->cycle, c.cycle);
    ETI_FreeTypedResults(t);
  }
}

TEST(CharIndex, CountsTwoByteCharacters) {
  const char* text = "a\xB3\xBB" "b\xC0\xCF";
  EXPECT_EQ(charIndex(text, 0), 0);
  EXPECT_EQ(charIndex(text, -1), -1);
  EXPECT_EQ(charIndex(text, 1), 1);
  EXPECT_EQ(charIndex(text, 3), 2);
  EXPECT_EQ(charIndex(text, 2), 1);  // inside a character: that character
  EXPECT_EQ(charIndex(text, 4), 3);
  EXPECT_EQ(charIndex(text, 6), 4);
  EXPECT_EQ(charIndex(text, 60), 4);  // past the end: the whole text
}

}  // namespace
