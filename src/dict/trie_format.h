// The trie blob format, written once for every writer of blobs (the
// dictionary compiler and the tests).  The library keeps its own loader
// (ETI_loadBTrie); ReadTrieBlob walks a blob through that loader.
//
// Layout (all integers 32-bit little-endian, offsets from the blob's start):
//
//   0        nodeCount N
//   4        poolSize  S
//   8        sibling[N]      next sibling of node i, 0xFFFFFFFF = none
//   8+4N     child[N]        first child of node i, 0xFFFFFFFF = none
//   8+8N     labelOffset[N]  offset of node i's strings in the pool
//   8+12N    pool[S]         label NUL value NUL, per node
//
// The writer ends the pool with one more NUL.  A loader that finds the pool
// ending in two NULs knows that every label offset below S - 1 starts a
// label and a value that both end inside the pool, without reading them.
//
// A key is spelled by the labels from a top-level node down; node 0 opens
// the top-level sibling chain.  A non-empty value marks the end of an entry.
//
// Shape written here: one node per character (one byte below 0x80, two bytes
// for a CP949 double-byte character), so that a key runs out inside the trie
// exactly at character boundaries; siblings in ascending byte order; chains
// numbered depth first, each chain's nodes consecutive; identical
// label+value strings share one place in the pool.  The same entries always
// give the same bytes.
#ifndef EXTRACTOR_KR_DICT_TRIE_FORMAT_H_
#define EXTRACTOR_KR_DICT_TRIE_FORMAT_H_

#include <string>
#include <string_view>
#include <vector>

namespace eti {

struct TrieEntry {
  std::string key;    // bytes in the dictionary's encoding, not empty
  std::string value;  // not empty
};

// The blob of `entries`, one node per character.  Keys must be distinct and
// non-empty, values non-empty (the source reader guarantees it).
std::string BuildTrieBlob(const std::vector<TrieEntry>& entries);

// The same with every run of nodes that ends no entry and leads to one
// other folded into one node of a longer label: the same entries in fewer
// nodes.  Every search finds what it finds in BuildTrieBlob's shape, but for
// a key that ends inside a folded label (which only the end of a text can
// make), which finds nothing there rather than the mark that longer keys
// go on.  With an `itemMark` ('*' for keys of names joined by it) no label
// holds the mark past its first byte, so a key of whole names ends at a
// node wherever it ends, as in the one-per-character shape.
std::string BuildCompactTrieBlob(const std::vector<TrieEntry>& entries, char itemMark);

// One node of a trie of any shape: labels of any length (empty too),
// siblings in any order.  Links are node indexes, -1 for none.
struct TrieNode {
  std::string label, value;
  int32_t sibling = -1, child = -1;
};

// The blob of nodes as given, node 0 first (for tries that the compiler
// does not make, such as the tests' random shapes).
std::string WriteTrieNodes(const std::vector<TrieNode>& nodes);

// Every entry of a blob, in trie order.  False when the library's loader
// rejects the blob or its size disagrees with its header.
bool ReadTrieBlob(std::string_view blob, std::vector<TrieEntry>* entries,
                  std::string* error);

}  // namespace eti

#endif  // EXTRACTOR_KR_DICT_TRIE_FORMAT_H_
