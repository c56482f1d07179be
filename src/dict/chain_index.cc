#include "dict/chain_index.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "dict/btrie.h"

namespace eti {
namespace {

// Chains shorter than this are scanned: their table would cost more than it
// saves.
constexpr size_t kIndexedChain = 3;

thread_local const ScopedChainIndexes* tl_runSet = nullptr;

}  // namespace

ChainIndex::ChainIndex(const BTrie* trie) : pool_(trie->pool), labelOffset_(trie->labelOffset) {
  const int32_t n = NodeCount(trie);
  tableOf_.assign(static_cast<size_t>(n), -1);
  nextSame_.assign(static_cast<size_t>(n), -1);
  if (n == 0) return;
  // The chains start at node 0 and at every first child.
  std::vector<uint8_t> isHead(static_cast<size_t>(n), 0);
  isHead[0] = 1;
  for (int32_t i = 0; i < n; ++i) {
    if (trie->child[i] >= 0) isHead[static_cast<size_t>(trie->child[i])] = 1;
  }
  // Shared subtrees could make chains overlap and the work grow beyond the
  // size of the trie; such a trie is indexed only as far as that budget.
  size_t budget = 4 * static_cast<size_t>(n);
  std::vector<int32_t> chain;
  int32_t last[256];
  for (int32_t h = 0; h < n; ++h) {
    if (!isHead[static_cast<size_t>(h)]) continue;
    chain.clear();
    bool plain = true;
    for (int32_t m = h; m >= 0 && m < n && chain.size() <= static_cast<size_t>(n);
         m = trie->sibling[m]) {
      chain.push_back(m);
      plain = plain && trie->pool[trie->labelOffset[m]] != '\0';
    }
    if (!plain || chain.size() < kIndexedChain || chain.size() > budget) continue;
    budget -= chain.size();
    // Walking the chain backwards, the latest node seen of each leading
    // byte is the next one of that byte.
    std::fill(std::begin(last), std::end(last), -1);
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
      const auto lead = static_cast<unsigned char>(trie->pool[trie->labelOffset[*it]]);
      nextSame_[static_cast<size_t>(*it)] = last[lead];
      last[lead] = *it;
    }
    tableOf_[static_cast<size_t>(h)] = static_cast<int32_t>(tables_.size());
    tables_.insert(tables_.end(), std::begin(last), std::end(last));
  }
  if (tableOf_[0] >= 0) rootTable_ = tables_.data() + tableOf_[0];
}

ChainIndex::ChainIndex(const BTrie* trie, TopOnly)
    : pool_(trie->pool), labelOffset_(trie->labelOffset), topOnly_(true) {
  const int32_t n = NodeCount(trie);
  size_t count = 0;
  // A chain longer than the trie has a cycle, which the loader refused.
  for (int32_t m = 0; m >= 0 && m < n; m = trie->sibling[m]) {
    // An empty label fits every key, and a chain too long for the arrays is
    // left to the scan.
    if (count == kTopNodes || trie->pool[trie->labelOffset[m]] == '\0') return;
    topNodes_[count++] = m;
  }
  if (count == 0) return;
  // Walking the chain backwards, the latest place seen of each leading byte
  // is the next one of that byte.
  topTable_.fill(-1);
  for (size_t p = count; p-- > 0;) {
    const auto lead = static_cast<unsigned char>(trie->pool[trie->labelOffset[topNodes_[p]]]);
    topNext_[p] = topTable_[lead];
    topTable_[lead] = static_cast<int32_t>(p);
  }
  rootTable_ = topTable_.data();
}

ScopedChainIndexes::ScopedChainIndexes(const BTrie* const* t, const ChainIndex* const* i, int c)
    : tries(t), indexes(i), count(c), previous_(tl_runSet) {
  tl_runSet = this;
}

ScopedChainIndexes::~ScopedChainIndexes() { tl_runSet = previous_; }

const ChainIndex* IndexOf(const BTrie* trie) {
  const ScopedChainIndexes* set = tl_runSet;
  if (set == nullptr) return nullptr;
  for (int k = 0; k < set->count; ++k) {
    if (set->tries[k] == trie) return set->indexes[k];
  }
  return nullptr;
}

}  // namespace eti
