// Trie blob writer and reader; the layout is described in trie_format.h.
#include "dict/trie_format.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

#include "dict/btrie.h"
#include "extractor_kr/stages.h"

namespace eti {
namespace {

struct Node {
  std::string label;
  std::string value;
  std::map<std::string, std::unique_ptr<Node>> children;  // byte order
  int32_t id = -1;
};

size_t CharLength(const std::string& key, size_t i) {
  return (static_cast<unsigned char>(key[i]) >= 0x80 && i + 1 < key.size()) ? 2 : 1;
}

void Insert(Node* root, const TrieEntry& e) {
  Node* node = root;
  for (size_t i = 0; i < e.key.size();) {
    const size_t n = CharLength(e.key, i);
    std::string label = e.key.substr(i, n);
    auto& slot = node->children[label];
    if (!slot) {
      slot = std::make_unique<Node>();
      slot->label = std::move(label);
    }
    node = slot.get();
    i += n;
  }
  node->value = e.value;
}

// Numbers each chain's nodes consecutively, then descends chain by chain.
void Number(Node* parent, std::vector<Node*>* order) {
  for (auto& [label, child] : parent->children) {
    child->id = static_cast<int32_t>(order->size());
    order->push_back(child.get());
  }
  for (auto& [label, child] : parent->children) Number(child.get(), order);
}

void PutU32(std::string* out, size_t at, uint32_t v) {
  for (int k = 0; k < 4; ++k) (*out)[at + k] = static_cast<char>((v >> (8 * k)) & 0xFF);
}

uint32_t GetU32(std::string_view s, size_t at) {
  uint32_t v = 0;
  for (int k = 0; k < 4; ++k) v |= static_cast<uint32_t>(static_cast<unsigned char>(s[at + k])) << (8 * k);
  return v;
}

void Walk(const BTrie* trie, int32_t node, const std::string& prefix,
          std::vector<TrieEntry>* out) {
  for (; node != -1; node = trie->sibling[node]) {
    const char* label = trie->pool + trie->labelOffset[node];
    const char* value = label + std::strlen(label) + 1;
    const std::string key = prefix + label;
    if (value[0] != '\0') out->push_back({key, value});
    Walk(trie, trie->child[node], key, out);
  }
}

}  // namespace

std::string WriteTrieNodes(const std::vector<TrieNode>& nodes) {
  const uint32_t n = static_cast<uint32_t>(nodes.size());
  std::string pool;
  std::map<std::string, uint32_t> placed;  // label NUL value NUL -> offset
  std::string blob(8 + 12 * static_cast<size_t>(n), '\0');
  PutU32(&blob, 0, n);
  for (uint32_t i = 0; i < n; ++i) {
    const TrieNode& node = nodes[i];
    std::string strings = node.label + '\0' + node.value + '\0';
    auto [it, fresh] = placed.emplace(strings, static_cast<uint32_t>(pool.size()));
    if (fresh) pool += strings;
    PutU32(&blob, 8 + 4 * i, static_cast<uint32_t>(node.sibling));
    PutU32(&blob, 8 + 4 * n + 4 * i, static_cast<uint32_t>(node.child));
    PutU32(&blob, 8 + 8 * n + 4 * i, it->second);
  }
  // One more NUL closes the pool, so that a loader sees with one test that
  // every string starting below its last byte ends inside it.
  if (n > 0) pool.push_back('\0');
  PutU32(&blob, 4, static_cast<uint32_t>(pool.size()));
  return blob + pool;
}

namespace {

// Folds each node that ends no entry and has one child into that child,
// unless the child's label holds `itemMark` (keys of '*'-joined names must
// end at a node wherever a name ends).
void Fold(Node* node, char itemMark) {
  for (auto& [label, child] : node->children) {
    Node* c = child.get();
    while (c->value.empty() && c->children.size() == 1) {
      Node* only = c->children.begin()->second.get();
      if (itemMark != '\0' && only->label.find(itemMark) != std::string::npos) break;
      c->label += only->label;
      c->value = std::move(only->value);
      auto grandchildren = std::move(only->children);
      c->children = std::move(grandchildren);
    }
    Fold(c, itemMark);
  }
}

std::string Build(const std::vector<TrieEntry>& entries, bool compact, char itemMark) {
  Node root;
  for (const TrieEntry& e : entries) Insert(&root, e);
  if (compact) Fold(&root, itemMark);
  std::vector<Node*> order;
  Number(&root, &order);

  std::vector<TrieNode> nodes(order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    nodes[i].label = order[i]->label;
    nodes[i].value = order[i]->value;
    if (!order[i]->children.empty()) nodes[i].child = order[i]->children.begin()->second->id;
  }
  // Sibling links, chain by chain.
  std::vector<const Node*> parents = {&root};
  for (const Node* node : order) parents.push_back(node);
  for (const Node* parent : parents) {
    const Node* previous = nullptr;
    for (const auto& [label, child] : parent->children) {
      if (previous != nullptr) nodes[previous->id].sibling = child->id;
      previous = child.get();
    }
  }
  return WriteTrieNodes(nodes);
}

}  // namespace

std::string BuildTrieBlob(const std::vector<TrieEntry>& entries) {
  return Build(entries, false, '\0');
}

std::string BuildCompactTrieBlob(const std::vector<TrieEntry>& entries, char itemMark) {
  return Build(entries, true, itemMark);
}

bool ReadTrieBlob(std::string_view blob, std::vector<TrieEntry>* entries,
                  std::string* error) {
  entries->clear();
  if (blob.size() < 8) {
    *error = "shorter than the 8-byte header";
    return false;
  }
  const uint64_t claimed = 8 + 12 * static_cast<uint64_t>(GetU32(blob, 0)) + GetU32(blob, 4);
  if (claimed != blob.size()) {
    *error = "header claims " + std::to_string(claimed) + " bytes, file holds " +
             std::to_string(blob.size());
    return false;
  }
  std::unique_ptr<BTrie, TrieDeleter> trie;
  {
    BTrie* t = nullptr;
    ETI_initEmptyBTrie(&t);
    trie.reset(t);
  }
  if (ETI_loadBTrie(trie.get(), blob.data()) != 0) {
    *error = "malformed trie (links or labels out of range, or a cycle)";
    return false;
  }
  if (NodeCount(trie.get()) > 0) Walk(trie.get(), 0, "", entries);
  return true;
}

}  // namespace eti
