// Trie dictionary: internal companions of the exported BTrie functions.
#ifndef EXTRACTOR_KR_DICT_BTRIE_H_
#define EXTRACTOR_KR_DICT_BTRIE_H_

#include <cstddef>
#include <cstdint>
#include <string>

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

// Whether the longest-match walk of `key` from node 0 stops inside the key
// for good: the walk takes the same nodes for every longer key that begins
// with this one and stops at the same place.  Every such key then gets the
// same longest-match result as `key` itself.
bool WalkStopsInside(const BTrie* trie, const char* key);

// A new BTrie loaded from `blob` (empty when the blob is rejected).
BTrie* LoadTrie(const void* blob);

// A new BTrie loaded from a blob of `size` bytes, which must be exactly the
// size its header claims and pass every check of the loader; NULL with the
// problem in words otherwise ("node 12: label offset 900 outside the pool
// of 800 bytes").
BTrie* LoadCheckedTrie(const void* blob, size_t size, std::string* problem);

// Unique owner of a trie for the stages that load one per call.
struct TrieDeleter {
  void operator()(BTrie* t) const { ETI_freeBTrie(t); }
};

}  // namespace eti

#endif  // EXTRACTOR_KR_DICT_BTRIE_H_
