#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "extractor_kr/stages.h"
#include "support/dict_builder.h"

namespace eti::testing {
namespace {

// A compact dump of a search result: "NULL", "PREFIX" or "pos:text=value,...".
std::string Show(retTypeBBT* r) {
  if (r == nullptr) return "NULL";
  if (r == ETI_BBT_PREFIX) return "PREFIX";
  std::string out;
  for (retTypeBBT* h = r; h != nullptr; h = h->next) {
    if (!out.empty()) out += ",";
    out += std::to_string(h->startPos) + ":" + Utf8(h->text) + "=" + Utf8(h->value);
  }
  ETI_free_retTypeBBT(&r);
  return out;
}

constexpr char kSource[] =
    "# a comment, then entries\n"
    "A\ta\n"
    "AB\tab\n"
    "ABCD\tabcd\n"
    "XYZ\txyz\n"
    "내일\ttomorrow\n"
    "내일모레\tdayafter\n";

struct Search {
  const char* key;
  int mode;
  const char* expected;
  int matchLen;  // -7: not written
};

TEST(BTrie, SearchModes) {
  TriePtr trie = LoadSource(DictKind::kReplace, kSource);
  const Search cases[] = {
      {"ABC", 1, "5:AB=ab", 2},    // longest prefix entry
      {"ABC", 2, "5:AB=ab,5:A=a", -7},  // all prefix entries, longest first
      {"ABCD", 1, "5:ABCD=abcd", 4},
      {"ABQ", 0, "NULL", -7},      // whole-key mode: the walk stopped inside
      {"ABCD", 0, "5:ABCD=abcd", 4},
      {"AB", 2, "5:AB=ab,5:A=a", -7},
      {"Q", 1, "NULL", -7},
      {"XY", 1, "PREFIX", -7},     // key ran out inside the trie, no entry
      {"XY", 2, "PREFIX", -7},
      {"XY", 0, "PREFIX", -7},
      {"내일", 2, "5:내일=tomorrow", -7},  // exactly an entry: one element
      {"내일", 1, "5:내일=tomorrow", 4},
      {"내일모레 오후", 2, "5:내일모레=dayafter,5:내일=tomorrow", -7},
      {"내일은", 1, "5:내일=tomorrow", 4},
      {"", 1, "NULL", -7},
  };
  for (const Search& c : cases) {
    int32_t len = -7;
    int32_t node = 0;
    const std::string key = Cp949(c.key);
    EXPECT_EQ(Show(ETI_searchBTrie(trie.get(), key.c_str(), c.mode, 5, &len, &node)),
              c.expected)
        << c.key << " mode " << c.mode;
    EXPECT_EQ(len, c.matchLen) << c.key << " mode " << c.mode;
  }
}

TEST(BTrie, PrefixHandsBackTheFirstChildToContinueFrom) {
  TriePtr trie = LoadSource(DictKind::kReplace, "내일모레\tdayafter\n");
  int32_t node = 0;
  int32_t len = 0;
  const std::string head = Cp949("내일");
  EXPECT_EQ(Show(ETI_searchBTrie(trie.get(), head.c_str(), 1, 0, &len, &node)), "PREFIX");
  EXPECT_NE(node, 0);
  const char* value = nullptr;
  const std::string mo = Cp949("모");
  EXPECT_EQ(searchBBT(trie.get(), mo.c_str(), node, &value), node);  // its first child
  const std::string rest = Cp949("모레");
  EXPECT_EQ(Show(ETI_searchBTrie(trie.get(), rest.c_str(), 1, 2, &len, &node)),
            "2:모레=dayafter");
}

TEST(BTrie, EmptyValuesAreNeverReported) {
  TriePtr trie = LoadSource(DictKind::kReplace, "ABC\tabc\n");
  int32_t node = 0;
  EXPECT_EQ(Show(ETI_searchBTrie(trie.get(), "ABX", 2, 0, nullptr, &node)), "NULL");
  EXPECT_EQ(Show(ETI_searchBTrie(trie.get(), "AB", 2, 0, nullptr, &node)), "PREFIX");
}

TEST(BTrie, SearchBBTLooksAtOneSiblingChain) {
  TriePtr trie = LoadSource(DictKind::kReplace, "A\ta\nB\tb\nBC\tbc\n");
  const char* value = nullptr;
  const int32_t b = searchBBT(trie.get(), "BCD", 0, &value);
  ASSERT_NE(b, -1);
  EXPECT_STREQ(value, "b");
  EXPECT_EQ(searchBBT(trie.get(), "Q", 0, &value), -1);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(searchBBT(trie.get(), "A", -1, &value), -1);
  EXPECT_EQ(searchBBT(trie.get(), "A", 999, &value), -1);  // outside the table
}

TEST(BTrie, FullScanEveryByteAndCarryOver) {
  TriePtr trie = LoadSource(DictKind::kReplace, "ABB\tabb\nB\tb\n12\ttwelve\n");
  // At 0 the key "AB" runs out inside the trie, so the search at 1 starts
  // below A-B and finds ABB's value for the text "B".
  EXPECT_EQ(Show(ETI_getFullDic("AB", trie.get(), 1)), "1:B=abb");
  EXPECT_EQ(Show(ETI_getFullDic("ABx B12", trie.get(), 1)), "1:B=b,4:B=b,5:12=twelve");
  EXPECT_EQ(Show(ETI_getFullDic("", trie.get(), 1)), "NULL");
}

TEST(BTrie, FullScanOfUnitSequencesStartsAfterEveryStar) {
  TriePtr trie = LoadSource(DictKind::kUnit, "NUM\tN\nUM\tU\nYUnit\tY\nNUM*YUnit\tNY\n");
  EXPECT_EQ(Show(ETI_getFullDic("NUM*YUnit*", trie.get(), 0)), "0:NUM*YUnit=NY,4:YUnit=Y");
  EXPECT_EQ(Show(ETI_getFullDic("NUM*YUnit*", trie.get(), 1)),
            "0:NUM*YUnit=NY,1:UM=U,4:YUnit=Y");
}

TEST(BTrie, HandlesWithoutABlobFindNothing) {
  BTrie* trie = nullptr;
  ASSERT_EQ(ETI_initEmptyBTrie(&trie), 0);
  int32_t node = 0;
  EXPECT_EQ(Show(ETI_searchBTrie(trie, "A", 1, 0, nullptr, &node)), "NULL");
  EXPECT_EQ(ETI_loadBTrie(trie, nullptr), 1);
  const std::string empty = CompileTrie(DictKind::kReplace, "# nothing\n");
  EXPECT_EQ(empty.size(), 8u);
  EXPECT_EQ(ETI_loadBTrie(trie, empty.data()), 0);
  EXPECT_EQ(Show(ETI_getFullDic("ABC", trie, 1)), "NULL");
  // Loading again replaces the earlier block without leaking it.
  const std::string blob = CompileTrie(DictKind::kReplace, "A\ta\n");
  EXPECT_EQ(ETI_loadBTrie(trie, blob.data()), 0);
  EXPECT_EQ(ETI_loadBTrie(trie, blob.data()), 0);
  EXPECT_EQ(Show(ETI_getFullDic("A", trie, 1)), "0:A=a");
  ETI_freeBTrie(trie);
  ETI_freeBTrie(nullptr);
  retTypeBBT* prefix = ETI_BBT_PREFIX;
  EXPECT_EQ(ETI_free_retTypeBBT(&prefix), 0);  // the marker is not a list
  EXPECT_EQ(ETI_free_retTypeBBT(nullptr), 0);
}

}  // namespace
}  // namespace eti::testing
