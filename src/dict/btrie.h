// Trie dictionary: internal companions of the exported BTrie functions.
#ifndef EXTRACTOR_KR_DICT_BTRIE_H_
#define EXTRACTOR_KR_DICT_BTRIE_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "dict/chain_index.h"
#include "extractor_kr/stages.h"

namespace eti {

// Nodes of a loaded trie (0 for an empty or rejected one).  The loader lays
// the three index arrays out back to back in front of the pool, so the count
// follows from the pointers.
inline int32_t NodeCount(const BTrie* trie) {
  if (trie == nullptr || trie->sibling == nullptr) return 0;
  return static_cast<int32_t>((trie->pool - reinterpret_cast<const char*>(trie->sibling)) / 12);
}

inline bool IsHitList(const retTypeBBT* r) {
  return r != nullptr && r != ETI_BBT_PREFIX;
}

// The walk behind ETI_searchBTrie, without making records: `key` is walked
// down from `node`, and every entry passed is handed to onEntry(length,
// value), shortest first (`length` key bytes; `value` points into the
// trie).  Returns true when the whole key was used up, with *nodeAfter the
// first child of the last node walked; false when the walk stopped inside
// the key.
// `index` (may be NULL) finds the nodes of long chains without scanning.
template <typename OnEntry>
bool WalkKey(const BTrie* trie, const ChainIndex* index, const char* key, int32_t node,
             OnEntry&& onEntry, int32_t* nodeAfter) {
  const auto search = [&](const char* k, int32_t from, const char** value) {
    int32_t found;
    if (index != nullptr && index->Find(k, from, &found, value)) return found;
    return searchBBT(trie, k, from, value);
  };
  const char* cursor = key;
  const char* value = nullptr;
  int32_t n = search(key, node, &value);
  while (n != -1) {
    // The value starts right after the label's NUL.
    cursor += value - (trie->pool + trie->labelOffset[n]) - 1;
    if (value[0] != '\0') onEntry(static_cast<int32_t>(cursor - key), value);
    if (*cursor == '\0') {
      *nodeAfter = trie->child[n];
      return true;
    }
    n = search(cursor, trie->child[n], &value);
  }
  return false;
}

// The scan of ETI_getFullDic without making records: at every byte (or,
// without `everyByte`, after every '*') the longest entry is looked up,
// going on below where the search before stopped when that one ran out of
// text inside the trie; onHit(pos, length, value) is called for each entry
// found, in text order (`value` points into the trie).
template <typename OnHit>
void ScanFullDic(const BTrie* trie, const ChainIndex* index, const char* text, int32_t length,
                 bool everyByte, OnHit&& onHit) {
  int32_t node = 0;
  int32_t pos = 0;
  const auto advance = [&] {
    if (everyByte) {
      ++pos;
    } else {
      while (pos < length && text[pos] != '*') ++pos;
      ++pos;
    }
  };
  while (pos < length) {
    if (node == 0 && index != nullptr &&
        !index->MayStartAtRoot(static_cast<unsigned char>(text[pos]))) {
      // Nothing starts here: the search would find nothing and leave the
      // next one at the root.
      advance();
      continue;
    }
    const char* lastValue = nullptr;
    int32_t lastLength = 0, after = 0;
    const bool usedUp = WalkKey(
        trie, index, text + pos, node,
        [&](int32_t l, const char* v) {
          lastLength = l;
          lastValue = v;
        },
        &after);
    if (usedUp && lastValue == nullptr) {
      node = after;  // the text ran out inside the trie: the next search goes on below
    } else {
      if (lastValue != nullptr) onHit(pos, lastLength, lastValue);
      node = 0;
    }
    advance();
  }
}

// A hit record of the search stages: `keyLength` bytes of `key` and the
// value, both copied.
retTypeBBT* NewHitRecord(int32_t startPos, const char* key, size_t keyLength, const char* value);

// ETI_searchBTrie with the chain index to use (may be NULL).
retTypeBBT* SearchWith(const BTrie* trie, const ChainIndex* index, const char* key, int32_t mode,
                       int32_t startPos, int32_t* matchLen, int32_t* node);

// Whether the longest-match walk of `key` from node 0 stops inside the key
// for good: the walk takes the same nodes for every longer key that begins
// with this one and stops at the same place.  Every such key then gets the
// same longest-match result as `key` itself.
bool WalkStopsInside(const BTrie* trie, const ChainIndex* index, const char* key);

// A new BTrie loaded from `blob` (empty when the blob is rejected).
BTrie* LoadTrie(const void* blob);

// A new BTrie loaded from a blob of `size` bytes, which must be exactly the
// size its header claims and pass every check of the loader; NULL with the
// problem in words otherwise ("node 12: label offset 900 outside the pool
// of 800 bytes").
BTrie* LoadCheckedTrie(const void* blob, size_t size, std::string* problem);

// A trie read from a caller's blob for the length of one call, checked as
// fully as a loaded one: in place when the blob is aligned for its integers
// (it must outlive the object), else from a copy.  Finds nothing when the
// blob is rejected.
class CallTrie {
 public:
  explicit CallTrie(const void* blob);
  CallTrie(const CallTrie&) = delete;
  CallTrie& operator=(const CallTrie&) = delete;
  const BTrie* get() const { return &trie_; }

 private:
  struct Free {
    void operator()(char* p) const { std::free(p); }
  };
  BTrie trie_{};
  std::unique_ptr<char, Free> copy_;
};

// Unique owner of a trie for the stages that load one per call.
struct TrieDeleter {
  void operator()(BTrie* t) const { ETI_freeBTrie(t); }
};

}  // namespace eti

#endif  // EXTRACTOR_KR_DICT_BTRIE_H_
