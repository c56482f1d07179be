#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analysis/normalise.h"
#include "extractor_kr/stages.h"
#include "support/dict_builder.h"

namespace eti::testing {
namespace {

// Work buffer with room for ten times the text, as the pipeline gives it.
struct Work {
  std::vector<char> buffer;
  explicit Work(const std::string& text) : buffer(10 * text.size() + 1, '\0') {
    std::copy(text.begin(), text.end(), buffer.begin());
  }
  char* data() { return buffer.data(); }
  std::string str() const { return buffer.data(); }
};

std::string Hits(retTypeBBT* hits) {
  std::string out;
  for (retTypeBBT* h = hits; h != nullptr; h = h->next) {
    out += std::to_string(h->startPos) + ":" + Utf8(h->text) + ">" + Utf8(h->value) + ";";
  }
  ETI_free_retTypeBBT(&hits);
  return out;
}

constexpr char kReplacements[] =
    "낼\t내일\n"           // grows
    "다음 주\t다음주\n"     // shrinks
    "오후 \t오후\n"
    "abcd\tX\n"
    "cdefg\tY\n"
    "ef\tZ\n";

struct Case {
  const char* text;
  const char* normalised;
  const char* hits;
};

TEST(Normalise, ReplacesLongestLeftmostWithASpaceBefore) {
  const std::string blob = CompileTrie(DictKind::kReplace, kReplacements);
  const Case cases[] = {
      {"낼 봐요", " 내일 봐요", "0:낼>내일;"},  // at position 0: starts with a space
      {"다음 주 화요일", " 다음주 화요일", "0:다음 주>다음주;"},
      {"abcdefg", " X Zg", "0:abcd>X;4:ef>Z;"},  // "cdefg" starts inside "abcd"
      {"abcdef", " X Z", "0:abcd>X;4:ef>Z;"},
      {"cdefgef", " Y Z", "0:cdefg>Y;5:ef>Z;"},  // adjacent hits both apply
      {"nothing here\n", "nothing here", ""},     // the final line feed goes
      {"\n", "", ""},
      {"", "", ""},
  };
  for (const Case& c : cases) {
    Work work(Cp949(c.text));
    EXPECT_EQ(Hits(ChangeStrDate(work.data(), blob.data())), c.hits) << c.text;
    EXPECT_EQ(Utf8(work.str()), c.normalised) << c.text;
  }
}

TEST(Normalise, OverlapRemovalKeepsTheFirst) {
  // Hits at 0 (length 4) and at 2 (length 5): only the first stays.
  const std::string blob = CompileTrie(DictKind::kReplace, kReplacements);
  BTrie* trie = LoadTrie(blob.data());
  retTypeBBT* all = ETI_getFullDic("abcdefg", trie, 1);
  EXPECT_EQ(Hits(removeDuplicatedBBTResult(all)), "0:abcd>X;4:ef>Z;");
  ETI_freeBTrie(trie);
  EXPECT_EQ(removeDuplicatedBBTResult(nullptr), nullptr);
}

TEST(Normalise, ReplacementsNeverWritePastTheBuffer) {
  // Every byte grows 51-fold: only what fits in ten times the text applies.
  const std::string blob = CompileTrie(DictKind::kReplace, "a\t" + std::string(50, 'x') + "\n");
  Work work(std::string(40, 'a'));
  retTypeBBT* hits = ChangeStrDate(work.data(), blob.data());
  const std::string out = work.str();
  EXPECT_LT(out.size(), work.buffer.size());
  int applied = 0;
  for (retTypeBBT* h = hits; h != nullptr; h = h->next) ++applied;
  EXPECT_EQ(applied, 7);  // 7 x 51 + 33 = 390 <= 400
  EXPECT_EQ(out.size(), 7u * 51u + 33u);
  ETI_free_retTypeBBT(&hits);

  Work tiny("a");  // not even one replacement fits
  EXPECT_EQ(ChangeStrDate(tiny.data(), blob.data()), nullptr);
  EXPECT_EQ(tiny.str(), "a");
}

TEST(Normalise, ReplaceMatchStrCountsWhatItApplied) {
  const std::string blob = CompileTrie(DictKind::kReplace, kReplacements);
  BTrie* trie = LoadTrie(blob.data());
  Work work("xx abcd ef");
  retTypeBBT* hits = removeDuplicatedBBTResult(ETI_getFullDic(work.data(), trie, 1));
  EXPECT_EQ(ReplaceMatchStr(hits, work.data()), 2);
  EXPECT_EQ(work.str(), "xx  X  Z");
  EXPECT_EQ(ReplaceMatchStr(nullptr, work.data()), 0);
  ETI_free_retTypeBBT(&hits);
  ETI_freeBTrie(trie);
}

}  // namespace
}  // namespace eti::testing
