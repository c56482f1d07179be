// Hostile blobs: the loader must reject what could make a search leave the
// block or loop, and every search over what it accepts must stay inside it.
// Run under the sanitizers, any stray access fails the test.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "extractor_kr/stages.h"
#include "support/dict_builder.h"

namespace eti::testing {
namespace {

void PutU32(std::string* blob, size_t at, uint32_t v) { std::memcpy(&(*blob)[at], &v, 4); }

// Hand-typed blob: N nodes with the given links, labels "a".."z" + value.
std::string RawBlob(const std::vector<int32_t>& sibling, const std::vector<int32_t>& child,
                    const std::vector<int32_t>& offset, const std::string& pool) {
  const size_t n = sibling.size();
  std::string blob(8 + 12 * n, '\0');
  PutU32(&blob, 0, static_cast<uint32_t>(n));
  PutU32(&blob, 4, static_cast<uint32_t>(pool.size()));
  for (size_t i = 0; i < n; ++i) {
    PutU32(&blob, 8 + 4 * i, static_cast<uint32_t>(sibling[i]));
    PutU32(&blob, 8 + 4 * n + 4 * i, static_cast<uint32_t>(child[i]));
    PutU32(&blob, 8 + 8 * n + 4 * i, static_cast<uint32_t>(offset[i]));
  }
  return blob + pool;
}

int Load(const std::string& blob) {
  BTrie* trie = nullptr;
  ETI_initEmptyBTrie(&trie);
  const int rc = ETI_loadBTrie(trie, blob.data());
  ETI_freeBTrie(trie);
  return rc;
}

TEST(BlobSafety, RejectsWhatCouldEscapeOrLoop) {
  const std::string pool("a\0x\0b\0\0", 7);
  const struct {
    const char* what;
    std::string blob;
    int expected;
  } cases[] = {
      {"sound", RawBlob({1, -1}, {-1, -1}, {0, 4}, pool), 0},
      {"shared subtree", RawBlob({1, -1, -1}, {2, 2, -1}, {0, 4, 0}, pool), 0},
      {"sibling past the table", RawBlob({2, -1}, {-1, -1}, {0, 4}, pool), 1},
      {"child past the table", RawBlob({1, -1}, {7, -1}, {0, 4}, pool), 1},
      {"negative link", RawBlob({-5, -1}, {-1, -1}, {0, 4}, pool), 1},
      {"label offset past the pool", RawBlob({1, -1}, {-1, -1}, {0, 7}, pool), 1},
      {"negative label offset", RawBlob({1, -1}, {-1, -1}, {0, -1}, pool), 1},
      {"label without NUL", RawBlob({-1}, {-1}, {0}, std::string("abc", 3)), 1},
      {"value without NUL", RawBlob({-1}, {-1}, {0}, std::string("a\0bc", 4)), 1},
      {"label NUL at the last byte", RawBlob({-1}, {-1}, {0}, std::string("a\0", 2)), 1},
      {"sibling to itself", RawBlob({0}, {-1}, {0}, pool), 1},
      {"sibling cycle", RawBlob({1, 0}, {-1, -1}, {0, 4}, pool), 1},
      {"child cycle", RawBlob({-1, -1}, {1, 0}, {0, 4}, pool), 1},
      {"cycle among unreachable nodes", RawBlob({-1, 2, 1}, {-1, -1, -1}, {0, 4, 0}, pool), 1},
      {"no nodes", RawBlob({}, {}, {}, ""), 0},
  };
  for (const auto& c : cases) EXPECT_EQ(Load(c.blob), c.expected) << c.what;

  std::string huge(8, '\0');
  PutU32(&huge, 0, 0x20000000);  // 12 x N past 2 GiB: not a dictionary
  EXPECT_EQ(Load(huge), 1);
}

TEST(BlobSafety, RejectedTriesFindNothing) {
  const std::string pool("a\0x\0", 4);
  const std::string blob = RawBlob({0}, {-1}, {0}, pool);
  BTrie* trie = nullptr;
  ETI_initEmptyBTrie(&trie);
  EXPECT_EQ(ETI_loadBTrie(trie, blob.data()), 1);
  int32_t node = 0;
  EXPECT_EQ(ETI_searchBTrie(trie, "a", 1, 0, nullptr, &node), nullptr);
  EXPECT_EQ(ETI_getFullDic("aaa", trie, 1), nullptr);
  ETI_freeBTrie(trie);
}

// Exercises every search over a loaded trie with keys near its own.
void SearchEverything(BTrie* trie, std::mt19937* rng) {
  static const char* kKeys[] = {"", "a", "ab", "abc", "\xB3\xBB", "\xB3\xBB\xC0\xCF",
                                "NUM*YUnit", "*", "zz\xFF", "A*B*C"};
  const int32_t nodes = NodeCount(trie);
  for (const char* key : kKeys) {
    for (int mode : {0, 1, 2}) {
      for (int32_t start : {0, -1, nodes > 0 ? static_cast<int32_t>((*rng)() % nodes) : 0,
                            nodes, 12345}) {
        int32_t node = start;
        int32_t len = 0;
        retTypeBBT* r = ETI_searchBTrie(trie, key, mode, 0, &len, &node);
        ETI_free_retTypeBBT(&r);
      }
    }
    for (int every : {0, 1}) {
      retTypeBBT* r = ETI_getFullDic(key, trie, every);
      ETI_free_retTypeBBT(&r);
    }
  }
  std::string text;
  for (int i = 0; i < 40; ++i) text.push_back(static_cast<char>(1 + (*rng)() % 255));
  for (int every : {0, 1}) {
    retTypeBBT* r = ETI_getFullDic(text.c_str(), trie, every);
    ETI_free_retTypeBBT(&r);
  }
}

TEST(BlobSafety, MutatedBlobsNeverEscape) {
  const std::string seeds[] = {
      CompileTrie(DictKind::kReplace, "a\tA\nab\tAB\nabc\tABC\n내일\t1\n내일모레\t2\n"),
      CompileTrie(DictKind::kTag, "시\tHour\n오후\tPM\n월\tMUnit,Month[3]\n"),
      CompileTrie(DictKind::kUnit, "NUM*YUnit\tYUnit\nNUM\tX\n*\tstar\n"),
  };
  std::mt19937 rng(20241122);
  int accepted = 0;
  for (int round = 0; round < 6000; ++round) {
    std::string blob = seeds[round % 3];
    const int mutations = 1 + static_cast<int>(rng() % 4);
    for (int m = 0; m < mutations; ++m) {
      const size_t at = 8 + rng() % (blob.size() - 8);
      switch (rng() % 4) {
        case 0:  // a random byte
          blob[at] = static_cast<char>(rng());
          break;
        case 1:  // a small index or offset in an aligned slot
          if (at + 4 <= blob.size()) PutU32(&blob, at & ~size_t{3}, rng() % 12 - 2);
          break;
        case 2:  // a bit flip
          blob[at] = static_cast<char>(blob[at] ^ (1 << (rng() % 8)));
          break;
        default:  // 0xFFFFFFFF
          if (at + 4 <= blob.size()) PutU32(&blob, at & ~size_t{3}, 0xFFFFFFFF);
      }
    }
    BTrie* trie = nullptr;
    ETI_initEmptyBTrie(&trie);
    if (ETI_loadBTrie(trie, blob.data()) == 0) ++accepted;
    SearchEverything(trie, &rng);
    ETI_freeBTrie(trie);
  }
  // Plenty of the blobs were sound enough to search.  (Random blobs of
  // honest size are the blob fuzz target's.)
  EXPECT_GT(accepted, 1000);
}

}  // namespace
}  // namespace eti::testing
