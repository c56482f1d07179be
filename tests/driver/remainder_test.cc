#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "extractor_kr/stages.h"
#include "support/dict_builder.h"

namespace eti::testing {
namespace {

// A pipeline result marking the bytes of `part` (first occurrence) in text.
struct Result {
  std::vector<int32_t> marks;
  RESULT_ETS node{};
  Result(const std::string& text, const std::string& part, uint8_t spanFlag = 0)
      : marks(text.size() + 1, 0) {
    const size_t at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part;
    for (size_t k = at; k < at + part.size(); ++k) marks[k] = 1;
    node.marks = marks.data();
    node.spanFlag = spanFlag;
    std::memcpy(node.startTime, "2024051615FFFF", 15);
  }
};

std::string Content(const char* textUtf8, const std::vector<const char*>& parts,
                    const char* wordsUtf8) {
  const std::string text = Cp949(textUtf8);
  std::vector<Result> results;
  results.reserve(parts.size());
  for (const char* p : parts) results.emplace_back(text, Cp949(p));
  for (size_t k = 0; k + 1 < results.size(); ++k) results[k].node.next = &results[k + 1].node;
  char* out = getOthers(text.c_str(), results.empty() ? nullptr : &results[0].node,
                        CompileWords(wordsUtf8).c_str());
  const std::string content = Utf8(out);
  std::free(out);
  return content;
}

TEST(Remainder, ContentOfAText) {
  const char* kWords = "에\n에는\n까지\n부터\n";
  const struct {
    const char* text;
    std::vector<const char*> parts;
    const char* words;
    const char* expected;
  } cases[] = {
      {"내일, 3시에 봐요", {}, kWords, "내일, 3시에 봐요"},  // no results: as it is
      {"내일 3시에 봐요, 꼭", {"3시"}, kWords, "내일  봐요 꼭"},  // every comma goes
      {"3시 에 봐요", {"3시"}, kWords, " 에 봐요"},  // after a space the word stays
      {"3시에는 봐요", {"3시"}, kWords, "는 봐요"},  // the first listed word, not the longest
      {"3시에는 봐요", {"3시"}, "에는\n에\n", " 봐요"},
      {"3시부터 5시까지 회의", {"3시", "5시"}, kWords, "  회의"},
      {"3시에 봐요", {"3시"}, "# none\n", "에 봐요"},
      {"a,b 3시,c", {"3시"}, kWords, "ab c"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Content(c.text, c.parts, c.words), c.expected) << c.text;
  }
}

TEST(Remainder, AnEmptyLineInTheWordListStopsTheSearch) {
  const std::string text = Cp949("3시에 봐요");
  Result r(text, Cp949("3시"));
  const std::string words = "\n" + Cp949("에") + "\n";
  char* out = getOthers(text.c_str(), &r.node, words.c_str());
  EXPECT_EQ(Utf8(out), "에 봐요");
  std::free(out);
  char* empty = getOthers("", &r.node, words.c_str());
  EXPECT_STREQ(empty, "");
  std::free(empty);
}

TEST(Remainder, MapOfAllResults) {
  const std::string text = "ab cd ef";
  Result a(text, "ab"), b(text, "ef");
  a.node.next = &b.node;
  char* map = ConvRES2char(&a.node, static_cast<int32_t>(text.size()));
  EXPECT_STREQ(map, "11000011");
  std::free(map);
  EXPECT_EQ(ConvRES2char(nullptr, 3), nullptr);
  EXPECT_EQ(ConvRES2char(&a.node, -1), nullptr);
}

TEST(SelectResult, ChoosesAndCompletesTheStartTime) {
  const std::string text = "abcdef";
  const struct {
    std::vector<uint8_t> spans;
    std::vector<const char*> times;
    size_t chosen;
  } cases[] = {
      {{0}, {"2024051615FFFF"}, 0},
      {{0, 0}, {"2024051615FFFF", "20240517FFFFFF"}, 0},
      {{1, 1, 0}, {"a", "b", "c"}, 1},       // to the end of the first run of spans
      {{1, 2, 1}, {"a", "b", "c"}, 2},       // no node follows the last 1
      {{1, 1, 2}, {"a", "b", "c"}, 1},       // the 2 after the last 1 is unlinked
      {{3, 1, 1}, {"a", "b", "c"}, 2},       // the node after the last 3 is unlinked
      {{0, 3}, {"a", "b"}, 1},               // a 3 at the end unlinks nothing
  };
  for (const auto& c : cases) {
    std::vector<Result> results;
    results.reserve(c.spans.size());
    for (size_t k = 0; k < c.spans.size(); ++k) {
      results.emplace_back(text, "a", c.spans[k]);
      std::string t = c.times[k];
      t.resize(14, 'F');
      std::memcpy(results[k].node.startTime, t.c_str(), 15);
    }
    for (size_t k = 0; k + 1 < results.size(); ++k) results[k].node.next = &results[k + 1].node;
    RESULT_ETS* chosen = SelectResult(&results[0].node);
    ASSERT_NE(chosen, nullptr);
    EXPECT_EQ(chosen->marks, results[c.chosen].node.marks);
    EXPECT_EQ(chosen->next, nullptr);
    std::free(chosen);
  }
  EXPECT_EQ(SelectResult(nullptr), nullptr);
}

TEST(SelectResult, StartTimeCompletion) {
  const struct {
    const char* in;
    const char* out;
  } cases[] = {
      {"2024051615FFFF", "20240516150000"},
      {"20240516FFFFFF", "20240516000000"},
      {"FFFF0516153012", "00000516153000"},
      {"202405161F3FFF", "20240516103000"},  // hour digit unknown: minute kept
  };
  for (const auto& c : cases) {
    Result r("ab", "a");
    std::memcpy(r.node.startTime, c.in, 15);
    RESULT_ETS* chosen = SelectResult(&r.node);
    EXPECT_STREQ(chosen->startTime, c.out) << c.in;
    std::free(chosen);
  }
}

}  // namespace
}  // namespace eti::testing
