#include "analysis/pattern_search.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "dict/trie_format.h"
#include "support/records.h"

namespace eti::testing {
namespace {

// The plain enumeration, kept here only to check the pruned one against:
// every combination of one attribute per token, the rightmost varying
// fastest, each key looked up in turn.
struct Plain {
  int32_t count = 0;
  std::string kind = "none", text, value;
};

Plain PlainBest(const BTrie* trie, RETTAGS* tokens, int32_t start, int32_t count) {
  std::vector<TAGATTR*> heads;
  for (int32_t k = start; k < count; ++k) heads.push_back(tokens[k].attrs);
  Plain best;
  retTypeBBT* bestHit = nullptr;
  bool marker = false;
  char key[kPatternKeyCapacity];
  while (true) {
    BuildPatternKey(tokens, start, count, key);
    int32_t len = 0, node = 0;
    retTypeBBT* hit = ETI_searchBTrie(trie, key, 1, 0, &len, &node);
    if (hit == ETI_BBT_PREFIX) {
      ETI_free_retTypeBBT(&bestHit);
      bestHit = nullptr;
      marker = true;
    } else if (hit != nullptr) {
      const int32_t n = std::atoi(hit->value);
      if (n > best.count) {
        ETI_free_retTypeBBT(&bestHit);
        bestHit = hit;
        best.count = n;
        marker = false;
      } else {
        ETI_free_retTypeBBT(&hit);
      }
    }
    // Next combination: advance the rightmost token that has another
    // attribute, resetting every token after it.
    int32_t k = count - 1;
    while (k >= start && tokens[k].attrs->next == nullptr) --k;
    if (k < start) break;
    tokens[k].attrs = tokens[k].attrs->next;
    for (int32_t j = k + 1; j < count; ++j) tokens[j].attrs = heads[j - start];
  }
  for (int32_t k = start; k < count; ++k) tokens[k].attrs = heads[k - start];
  if (marker) {
    best.kind = "prefix";
  } else if (bestHit != nullptr) {
    best.kind = "hit";
    best.text = bestHit->text;
    best.value = bestHit->value;
  }
  ETI_free_retTypeBBT(&bestHit);
  return best;
}

Plain Pruned(const BTrie* trie, RETTAGS* tokens, int32_t start, int32_t count) {
  BestPattern b = FindBestPattern(trie, tokens, start, count);
  Plain p;
  p.count = b.count;
  if (b.hit == ETI_BBT_PREFIX) {
    p.kind = "prefix";
  } else if (b.hit != nullptr) {
    p.kind = "hit";
    p.text = b.hit->text;
    p.value = b.hit->value;
    ETI_free_retTypeBBT(&b.hit);
  }
  return p;
}

// Both enumerations at one start; returns the plain outcome's kind, or
// "differs" (with a failure) when they disagree.
std::string Compare(const BTrie* trie, RETTAGS* tokens, int32_t start, int32_t count, int round) {
  const Plain want = PlainBest(trie, tokens, start, count);
  const Plain got = Pruned(trie, tokens, start, count);
  if (got.kind == want.kind && got.count == want.count && got.text == want.text &&
      got.value == want.value) {
    return want.kind;
  }
  ADD_FAILURE() << "round " << round << " start " << start << ": pruned " << got.kind << " "
                << got.count << " " << got.text << ", plain " << want.kind << " " << want.count
                << " " << want.text;
  return "differs";
}

// Tokens with random attribute lists over a small alphabet of names.
struct RandomTokens {
  std::vector<RETTAGS> tokens;
  std::vector<std::vector<TAGATTR>> attrs;
  RandomTokens(std::mt19937* rng, const std::vector<std::string>& names, int n) {
    attrs.resize(n);
    tokens.resize(n);
    for (int k = 0; k < n; ++k) {
      const int m = 1 + static_cast<int>((*rng)() % 4);
      attrs[k].resize(m);
      for (int a = 0; a < m; ++a) {
        std::memset(&attrs[k][a], 0, sizeof(TAGATTR));
        const std::string& name = names[(*rng)() % names.size()];
        std::memcpy(attrs[k][a].name, name.c_str(), name.size() + 1);
        attrs[k][a].next = a + 1 < m ? &attrs[k][a + 1] : nullptr;
      }
      tokens[k] = RETTAGS{k, nullptr, 1, &attrs[k][0], nullptr};
    }
  }
};

std::string RandomPatterns(std::mt19937* rng, const std::vector<std::string>& names) {
  std::map<std::string, int> entries;
  const int n = 1 + static_cast<int>((*rng)() % 25);
  for (int i = 0; i < n; ++i) {
    std::string key;
    const int items = 1 + static_cast<int>((*rng)() % 5);
    for (int k = 0; k < items; ++k) key += (k ? "*" : "") + names[(*rng)() % names.size()];
    entries[key] = 1 + static_cast<int>((*rng)() % 6);
  }
  std::string source;
  for (const auto& [key, value] : entries) source += key + "\t" + std::to_string(value) + "\n";
  return source;
}

// A random trie of any shape: labels of several items or none, siblings in
// any order, the same first bytes on several siblings.
std::string RandomShapedTrie(std::mt19937* rng) {
  static const char* kLabels[] = {"A", "B", "C", "*", "A*", "*B", "A*C", "AB", "*A*", "", "B*"};
  const int n = 1 + static_cast<int>((*rng)() % 14);
  std::vector<eti::TrieNode> nodes(n);
  // Each node after the first hangs as the first child or the next sibling
  // of an earlier one (no cycles, every node reachable).
  for (int i = 0; i < n; ++i) {
    nodes[i].label = kLabels[(*rng)() % 11];
    if ((*rng)() % 2 == 0) nodes[i].value = std::to_string(1 + (*rng)() % 5);
    if (i == 0) continue;
    for (int tries = 0; tries < 20; ++tries) {
      eti::TrieNode& p = nodes[(*rng)() % i];
      int32_t& link = (*rng)() % 2 ? p.child : p.sibling;
      if (link == -1) {
        link = i;
        break;
      }
    }
  }
  return eti::WriteTrieNodes(nodes);
}

// Compiled pattern sources and tries of any shape in turn, against random
// tokens: both outcomes are met often enough for the comparison to mean
// something.
TEST(PatternSearch, PrunedEnumerationAgreesWithThePlainOne) {
  std::mt19937 rng(42);
  const std::vector<std::string> names = {"A", "B", "C", "AB", "NUM"};
  int compared = 0, prefixes = 0, hits = 0;
  for (int round = 0; round < 4000; ++round) {
    const std::string blob = round % 2 == 0 ? CompileTrie(DictKind::kPattern, RandomPatterns(&rng, names))
                                            : RandomShapedTrie(&rng);
    BTrie* trie = LoadTrie(blob.data());
    ASSERT_GT(NodeCount(trie), 0);
    RandomTokens t(&rng, names, 1 + static_cast<int>(rng() % 7));
    const int32_t count = static_cast<int32_t>(t.tokens.size());
    for (int32_t s = 0; s < count; ++s) {
      const std::string kind = Compare(trie, t.tokens.data(), s, count, round);
      ASSERT_NE(kind, "differs");
      ++compared;
      prefixes += kind == "prefix";
      hits += kind == "hit";
    }
    ETI_freeBTrie(trie);
  }
  EXPECT_GT(prefixes, 100);
  EXPECT_GT(hits, 1000);
  EXPECT_GT(compared, 10000);
}

TEST(PatternSearch, LongKeysAreCutAtTheBufferInBothEnumerations) {
  std::mt19937 rng(7);
  const std::vector<std::string> names = {std::string(60, 'L'), std::string(61, 'M'), "N"};
  for (int round = 0; round < 200; ++round) {
    const std::string blob = CompileTrie(DictKind::kPattern, RandomPatterns(&rng, names));
    BTrie* trie = LoadTrie(blob.data());
    RandomTokens t(&rng, names, 17 + static_cast<int>(rng() % 4));  // keys past 1024 bytes
    for (auto& attrs : t.attrs) {
      if (attrs.size() > 2) attrs[1].next = nullptr;  // keep the enumeration small
    }
    const int32_t count = static_cast<int32_t>(t.tokens.size());
    for (int32_t s = 0; s < 3; ++s) ASSERT_NE(Compare(trie, t.tokens.data(), s, count, round), "differs");
    ETI_freeBTrie(trie);
  }
}

TEST(PatternSearch, AKeyCutAtAnInteriorNodeIsThePrefixMarker) {
  // Sixteen 60-byte names fill the key; a seventeenth does not fit.  The
  // key ends exactly at an interior node: both enumerations say -1.
  const std::string name(60, 'L');
  std::string stem;
  for (int k = 0; k < 16; ++k) stem += (k ? "*" : "") + name;
  const std::string blob =
      CompileTrie(DictKind::kPattern, stem + "*C\t1\n" + stem + "*D\t1\n");
  BTrie* trie = LoadTrie(blob.data());
  std::mt19937 rng(1);
  RandomTokens t(&rng, {name}, 17);
  const int32_t count = static_cast<int32_t>(t.tokens.size());
  EXPECT_EQ(PlainBest(trie, t.tokens.data(), 0, count).kind, "prefix");
  EXPECT_EQ(Pruned(trie, t.tokens.data(), 0, count).kind, "prefix");
  ETI_freeBTrie(trie);
}

// A whole search over a small dictionary set.
class Search : public ::testing::Test {
 protected:
  std::string Run(const std::string& tagSource, const std::string& patterns,
                  const std::string& units, const std::string& textUtf8) {
    const std::string tagBlob = CompileTrie(DictKind::kTag, tagSource);
    const std::string patternBlob = CompileTrie(DictKind::kPattern, patterns);
    const std::string unitBlob = CompileTrie(DictKind::kUnit, units);
    text_ = Cp949(textUtf8);
    ETS_CONTEXT ctx{};
    ctx.patternTrie = LoadTrie(patternBlob.data());
    ctx.unitSeqTrie = LoadTrie(unitBlob.data());
    ctx.reference = ConvStrToDTINFO("202405151030");
    DTINFO* found = ExtAndComp(StackFinder(text_.c_str(), tagBlob.data()), text_.c_str(), &ctx);
    std::string out;
    for (DTINFO* d = found; d != nullptr; d = d->next) {
      if (!out.empty()) out += " | ";
      out += "[" + std::to_string(d->seqBegin) + "," + std::to_string(d->seqEnd) + ") ";
      std::string marks;
      for (size_t k = 0; k < text_.size(); ++k) marks += d->compoundMarks[k] ? '1' : '0';
      out += marks + " " + Dump(d);
    }
    Free_DTINFO(found);
    ETI_freeBTrie(ctx.patternTrie);
    ETI_freeBTrie(ctx.unitSeqTrie);
    Free_DTINFO(ctx.reference);
    return out.empty() ? "NULL" : out;
  }
  std::string text_;
};

constexpr char kTags[] = "시\tHourW\n분\tMinW\n일\tDayW\n";
constexpr char kUnits[] = "NUM*HourW\thUnit\nNUM*MinW\tmUnit\nNUM*DayW\tDUnit\n";

TEST_F(Search, StretchesMatchesAndMarks) {
  const char* patterns = "NUM*HourW\t2\nNUM*HourW*NUM*MinW\t4\nNUM*DayW\t2\n";
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"", "NULL"},
      {"hello", "NULL"},
      // Spaces inside a match are not marked.
      {"3시 20분", "[0,8) 11101111 hour=3 minute=20"},
      // An uncovered byte splits the text into stretches, searched one by one.
      {"3시x5일", "[0,3) 1110000 hour=3 | [4,7) 0000111 day=5 relKind=0"},
      {"5", "NULL"},  // a number alone: no pattern
  };
  for (const auto& c : cases) EXPECT_EQ(Run(kTags, patterns, kUnits, c.text), c.expected) << c.text;
}

TEST_F(Search, ARejectedMatchStillConsumesItsTokens) {
  // "25시" matches NUM*HourW but fails validation; the search goes on after
  // it, not from its second token.
  const std::string units = std::string(kUnits) + "HourW*NUM*MinW\tmUnit\n";
  const char* patterns = "NUM*HourW\t2\nHourW*NUM*MinW\t3\n";
  EXPECT_EQ(Run(kTags, patterns, units, "25시 30분"), "NULL");
  // From the second token on, the other pattern would have matched.
  EXPECT_EQ(Run(kTags, patterns, units, "시 30분"), "[0,7) 1101111 minute=30");
}

TEST_F(Search, ThePathIsReadUpTo128Tokens) {
  std::string text;
  for (int k = 0; k < 64; ++k) text += "1시";  // 128 tokens ...
  text += "3일";                              // ... and two more
  const std::string out = Run(kTags, "NUM*HourW\t2\nNUM*DayW\t2\n", kUnits, text);
  EXPECT_EQ(out.find("day=3"), std::string::npos);
  EXPECT_NE(out.find("hour=1"), std::string::npos);
}

TEST_F(Search, TiedReadingsKeepTheFirstFound) {
  // At 0 two tokens start: 십일 (a day word) and 십 (a number word, then
  // 일).  Both readings cover the 4 bytes; the one that took the longer
  // token at the fork is found first and kept.
  const char* tags = "십일\tDayWord[11]\n십\tTen[10]\n일\tDayW\n";
  const char* patterns = "DayWord\t1\nTen*DayW\t2\n";
  const char* units = "DayWord\tDUnit\nTen*DayW\tDUnit\n";
  EXPECT_EQ(Run(tags, patterns, units, "십일"), "[0,4) 1111 day=11 relKind=0");
  // Without the long word's pattern, the other reading wins.
  EXPECT_EQ(Run(tags, "Ten*DayW\t2\n", units, "십일"), "[0,4) 1111 day=10 relKind=0");
}

}  // namespace
}  // namespace eti::testing
