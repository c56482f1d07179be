// Where the scan of a long sibling chain would stop, found without the
// scan.  searchBBT takes the first node of a chain whose label fits the
// key; in a chain whose labels are all non-empty only nodes that begin with
// the key's first byte can fit, so the index keeps, for each long chain,
// the first node of every leading byte, and for each node the next node of
// its chain with the same leading byte.  Visiting those candidates in chain
// order finds exactly the node the scan finds.  Built once for a loaded
// trie; read-only afterwards, so one index serves many threads.
#ifndef EXTRACTOR_KR_DICT_CHAIN_INDEX_H_
#define EXTRACTOR_KR_DICT_CHAIN_INDEX_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "extractor_kr/stages.h"

namespace eti {

class ChainIndex {
 public:
  explicit ChainIndex(const BTrie* trie);

  // An index of the top-level chain alone, built in a walk of that chain:
  // what a call that reads its caller's blobs can afford on every call,
  // where every scan of the text starts at the top.
  struct TopOnly {};
  ChainIndex(const BTrie* trie, TopOnly);

  // The node searchBBT(trie, key, node) finds, with *value set as it sets
  // it; false when no index covers the chain starting at `node` (the caller
  // then scans it).
  bool Find(const char* key, int32_t node, int32_t* found, const char** value) const {
    if (topOnly_) return node == 0 && FindAtTop(key, found, value);
    if (node < 0 || static_cast<size_t>(node) >= tableOf_.size()) return false;
    const int32_t table = tableOf_[static_cast<size_t>(node)];
    if (table < 0) return false;
    const auto lead = static_cast<unsigned char>(key[0]);
    *found = -1;
    *value = nullptr;
    if (lead == 0) return true;  // no non-empty label fits an empty key
    for (int32_t m = tables_[static_cast<size_t>(table) + lead]; m >= 0;
         m = nextSame_[static_cast<size_t>(m)]) {
      if (Fits(key, m, found, value)) return true;
    }
    return true;
  }

  // The nodes of the chain from `head` that begin with `lead`, in chain
  // order: the first (-1 for none) and each next one; FirstWith gives -2
  // when that chain is not indexed.
  int32_t FirstWith(int32_t head, unsigned char lead) const {
    if (head < 0 || static_cast<size_t>(head) >= tableOf_.size() ||
        tableOf_[static_cast<size_t>(head)] < 0) {
      return -2;
    }
    return tables_[static_cast<size_t>(tableOf_[static_cast<size_t>(head)]) + lead];
  }
  int32_t NextWith(int32_t node) const { return nextSame_[static_cast<size_t>(node)]; }

  // Whether some node of the top-level chain (from node 0) could fit a key
  // that begins with `lead`; true when that chain is not indexed.
  bool MayStartAtRoot(unsigned char lead) const {
    return rootTable_ == nullptr || rootTable_[lead] >= 0;
  }

 private:
  // Whether the label of node m (whose first byte is the key's) is a prefix
  // of the key: then *found is m and *value its value.
  bool Fits(const char* key, int32_t m, int32_t* found, const char** value) const {
    const char* label = pool_ + labelOffset_[m];
    size_t i = 1;
    while (label[i] != '\0' && key[i] == label[i]) ++i;
    if (label[i] != '\0') return false;
    *found = m;
    *value = label + i + 1;
    return true;
  }

  // Find for the top-level chain of a TopOnly index: its nodes of the
  // key's leading byte, in chain order (by their places in the chain).
  bool FindAtTop(const char* key, int32_t* found, const char** value) const {
    const auto lead = static_cast<unsigned char>(key[0]);
    if (lead == 0 || rootTable_ == nullptr) return false;
    *found = -1;
    *value = nullptr;
    for (int32_t p = rootTable_[lead]; p >= 0; p = topNext_[static_cast<size_t>(p)]) {
      if (Fits(key, topNodes_[static_cast<size_t>(p)], found, value)) return true;
    }
    return true;
  }

  const char* pool_;
  const int32_t* labelOffset_;
  std::vector<int32_t> tableOf_;   // per node: offset of its chain's table in tables_, or -1
  std::vector<int32_t> tables_;    // 256 entries per indexed chain, -1 for none
  std::vector<int32_t> nextSame_;  // per node: the next node of its chain with its leading byte
  const int32_t* rootTable_ = nullptr;  // the table of the chain from node 0, if indexed
  // A TopOnly index: the nodes of the top-level chain in order, and for each
  // place the next place whose node has the same leading byte; its table
  // (rootTable_) holds the first place of each leading byte.
  // Fixed arrays, so that a whole call, which builds one for each of its
  // tries, allocates nothing for them; a longer chain is left to the scan.
  static constexpr size_t kTopNodes = 256;
  bool topOnly_ = false;
  std::array<int32_t, 256> topTable_;
  std::array<int32_t, kTopNodes> topNodes_, topNext_;
};

// The chain indexes of the dictionary set that this thread is running on,
// so that the searches deep inside the stages find them without every stage
// handing them on.  Outside a run there are none and searches scan.
class ScopedChainIndexes {
 public:
  ScopedChainIndexes(const BTrie* const* tries, const ChainIndex* const* indexes, int count);
  ~ScopedChainIndexes();
  ScopedChainIndexes(const ScopedChainIndexes&) = delete;
  ScopedChainIndexes& operator=(const ScopedChainIndexes&) = delete;

  const BTrie* const* tries;
  const ChainIndex* const* indexes;
  int count;

 private:
  const ScopedChainIndexes* previous_;
};

// The index of `trie` in the set this thread runs on, or NULL.
const ChainIndex* IndexOf(const BTrie* trie);

}  // namespace eti

#endif  // EXTRACTOR_KR_DICT_CHAIN_INDEX_H_
