// Trie dictionary: loading a blob into a BTrie, the one-level search
// searchBBT, the three walks of ETI_searchBTrie and the whole-text scan
// ETI_getFullDic.  The blob comes from outside; the loader checks every
// index and offset so that no search can leave the block or loop, and
// rejects what fails.
#include "dict/btrie.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace eti {
namespace {

constexpr int32_t kNone = -1;

// The check of a blob as the compiler writes it, a few operations per node
// and no reads of the pool: every link points to a later node inside the
// table (so no link can close a cycle), and, the pool ending in two NULs,
// every label offset lies below its last byte (so its label ends before the
// last byte and its value at the last byte at the latest).  Written without
// early exits so that it runs over whole vectors of nodes at a time: every
// whole call checks its four blobs so, and the vectorised loop takes a
// fraction of the time of the plain one (with AVX2, where the processor has
// it, a tenth).  The sanitizers' runtimes are not ready when the loader
// runs the clone's resolver, so their builds keep the one plain version.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
__attribute__((target_clones("avx2", "default"), optimize("O3")))
#elif defined(__GNUC__) && !defined(__clang__)
__attribute__((optimize("O3")))
#endif
bool QuickSound(const int32_t* sibling, const int32_t* child, const int32_t* labelOffset,
                const char* pool, uint32_t n, uint32_t s) {
  if (s < 2 || pool[s - 1] != '\0' || pool[s - 2] != '\0') return false;
  const uint32_t lastOffset = s - 2;
  uint32_t bad = 0;
  for (uint32_t i = 0; i < n; ++i) {
    const uint32_t sb = static_cast<uint32_t>(sibling[i]);
    const uint32_t ch = static_cast<uint32_t>(child[i]);
    const uint32_t off = static_cast<uint32_t>(labelOffset[i]);
    bad |= static_cast<uint32_t>(sb != 0xFFFFFFFFu) &
           (static_cast<uint32_t>(sb <= i) | static_cast<uint32_t>(sb >= n));
    bad |= static_cast<uint32_t>(ch != 0xFFFFFFFFu) &
           (static_cast<uint32_t>(ch <= i) | static_cast<uint32_t>(ch >= n));
    bad |= static_cast<uint32_t>(off > lastOffset);
  }
  return bad == 0;
}

// Everything the searches rely on: indexes inside the node table, labels and
// values NUL-terminated inside the pool, and no cycle through the sibling
// and child links (shared subtrees are fine).  The first problem found, in
// words, or an empty text for a sound blob.
std::string BlobProblem(const int32_t* sibling, const int32_t* child,
                        const int32_t* labelOffset, const char* pool, uint32_t n,
                        uint32_t s) {
  if (QuickSound(sibling, child, labelOffset, pool, n, s)) return {};
  const auto at = [](uint32_t i) { return "node " + std::to_string(i) + ": "; };
  for (uint32_t i = 0; i < n; ++i) {
    for (int32_t link : {sibling[i], child[i]}) {
      if (link != kNone && (link < 0 || static_cast<uint32_t>(link) >= n)) {
        return at(i) + "link " + std::to_string(link) + " outside the " + std::to_string(n) +
               " nodes";
      }
    }
    const int32_t off = labelOffset[i];
    if (off < 0 || static_cast<uint32_t>(off) >= s) {
      return at(i) + "label offset " + std::to_string(off) + " outside the pool of " +
             std::to_string(s) + " bytes";
    }
    const char* label = pool + off;
    const char* labelEnd = static_cast<const char*>(std::memchr(label, '\0', s - off));
    if (labelEnd == nullptr || labelEnd + 1 >= pool + s ||
        std::memchr(labelEnd + 1, '\0', pool + s - (labelEnd + 1)) == nullptr) {
      return at(i) + "label or value runs past the end of the pool";
    }
  }
  // Links that all point to later nodes cannot form a cycle (the compiler
  // numbers its tries so); otherwise a depth-first search looks for one.
  bool forward = true;
  for (uint32_t i = 0; i < n && forward; ++i) {
    forward = (sibling[i] == kNone || static_cast<uint32_t>(sibling[i]) > i) &&
              (child[i] == kNone || static_cast<uint32_t>(child[i]) > i);
  }
  if (forward) return {};
  // 0 unseen, 1 on the current path, 2 done.
  std::vector<uint8_t> state(n, 0);
  std::vector<std::pair<uint32_t, int>> stack;  // node, next link to follow
  for (uint32_t root = 0; root < n; ++root) {
    if (state[root] != 0) continue;
    stack.push_back({root, 0});
    state[root] = 1;
    while (!stack.empty()) {
      auto& [node, k] = stack.back();
      if (k == 2) {
        state[node] = 2;
        stack.pop_back();
        continue;
      }
      const int32_t next = k++ == 0 ? sibling[node] : child[node];
      if (next == kNone || state[next] == 2) continue;
      if (state[next] == 1) return at(node) + "its links form a cycle";
      state[next] = 1;
      stack.push_back({static_cast<uint32_t>(next), 0});
    }
  }
  return {};
}

char* CopyBytes(const char* from, size_t n) {
  auto* out = static_cast<char*>(std::malloc(n + 1));
  std::memcpy(out, from, n);
  out[n] = '\0';
  return out;
}


const char* Label(const BTrie* trie, int32_t node) {
  return trie->pool + trie->labelOffset[node];
}

}  // namespace

bool WalkStopsInside(const BTrie* trie, const ChainIndex* index, const char* key) {
  const int32_t nodes = NodeCount(trie);
  const char* cursor = key;
  int32_t chain = 0;
  while (true) {
    // The search takes the first node of the chain whose label fits.  A node
    // before it whose label runs past the key but begins with all of what is
    // left of it could fit a longer key and be taken instead: then nothing
    // is certain.  Only nodes that begin with the key's next byte can do
    // either, and an index lists just those.
    const size_t rest = std::strlen(cursor);
    int32_t fit = -1;
    const int32_t first =
        index != nullptr ? index->FirstWith(chain, static_cast<unsigned char>(*cursor)) : -2;
    const bool indexed = first != -2;
    for (int32_t m = indexed ? first : chain; m >= 0 && m < nodes;
         m = indexed ? index->NextWith(m) : trie->sibling[m]) {
      const char* label = Label(trie, m);
      const size_t length = std::strlen(label);
      if (length <= rest && std::strncmp(label, cursor, length) == 0) {
        fit = m;
        break;
      }
      if (length > rest && std::strncmp(label, cursor, rest) == 0) return false;
    }
    if (fit == -1) return true;  // stopped here whatever follows
    cursor += std::strlen(Label(trie, fit));
    if (*cursor == '\0') return false;  // used up: a longer key walks on
    chain = trie->child[fit];
  }
}

BTrie* LoadCheckedTrie(const void* blob, size_t size, std::string* problem) {
  problem->clear();
  if (blob == nullptr || size < 8) {
    *problem = std::to_string(size) + " bytes, shorter than the 8-byte header";
    return nullptr;
  }
  const auto* bytes = static_cast<const char*>(blob);
  uint32_t n, s;
  std::memcpy(&n, bytes, 4);
  std::memcpy(&s, bytes + 4, 4);
  const uint64_t claimed = 8 + 12 * static_cast<uint64_t>(n) + s;
  if (claimed != size) {
    *problem = "the header claims " + std::to_string(claimed) + " bytes (" +
               std::to_string(n) + " nodes, a pool of " + std::to_string(s) +
               " bytes) but the blob holds " + std::to_string(size);
    return nullptr;
  }
  if (claimed > 0x7FFFFFFF) {
    *problem = "larger than 2 GiB";
    return nullptr;
  }
  auto* block = static_cast<char*>(std::malloc(claimed - 8 + 1));
  auto* trie = static_cast<BTrie*>(std::calloc(1, sizeof(BTrie)));
  if (block == nullptr || trie == nullptr) {
    std::free(block);
    std::free(trie);
    *problem = "out of memory";
    return nullptr;
  }
  std::memcpy(block, bytes + 8, claimed - 8);
  auto* sibling = reinterpret_cast<int32_t*>(block);
  *problem = BlobProblem(sibling, sibling + n, sibling + 2 * n, block + 12 * n, n, s);
  if (!problem->empty()) {
    std::free(block);
    std::free(trie);
    return nullptr;
  }
  trie->sibling = sibling;
  trie->child = sibling + n;
  trie->labelOffset = sibling + 2 * n;
  trie->pool = block + 12 * static_cast<size_t>(n);
  return trie;
}

CallTrie::CallTrie(const void* blob) {
  if (blob == nullptr) return;
  const auto* bytes = static_cast<const char*>(blob);
  uint32_t n, s;
  std::memcpy(&n, bytes, 4);
  std::memcpy(&s, bytes + 4, 4);
  const uint64_t size = 12 * static_cast<uint64_t>(n) + s;
  if (size > 0x7FFFFFFF) return;
  const char* block = bytes + 8;
  if (reinterpret_cast<uintptr_t>(block) % alignof(int32_t) != 0) {
    copy_.reset(static_cast<char*>(std::malloc(size + 1)));
    if (copy_ == nullptr) return;
    std::memcpy(copy_.get(), block, size);
    block = copy_.get();
  }
  const auto* sibling = reinterpret_cast<const int32_t*>(block);
  const char* pool = block + 12 * static_cast<size_t>(n);
  if (!BlobProblem(sibling, sibling + n, sibling + 2 * n, pool, n, s).empty()) return;
  // The searches only read through these pointers.
  trie_.sibling = const_cast<int32_t*>(sibling);
  trie_.child = const_cast<int32_t*>(sibling + n);
  trie_.labelOffset = const_cast<int32_t*>(sibling + 2 * n);
  trie_.pool = const_cast<char*>(pool);
}

BTrie* LoadTrie(const void* blob) {
  BTrie* trie = nullptr;
  ETI_initEmptyBTrie(&trie);
  ETI_loadBTrie(trie, blob);
  return trie;
}

}  // namespace eti

extern "C" {

int32_t ETI_initEmptyBTrie(BTrie** out) {
  if (out == nullptr) return 1;
  *out = static_cast<BTrie*>(std::calloc(1, sizeof(BTrie)));
  return *out == nullptr ? 1 : 0;
}

int32_t ETI_loadBTrie(BTrie* trie, const void* blob) {
  if (trie == nullptr) return 1;
  std::free(trie->sibling);
  *trie = BTrie{};
  if (blob == nullptr) return 1;

  // The blob is little-endian, as is every target of the library.
  const auto* bytes = static_cast<const char*>(blob);
  uint32_t n, s;
  std::memcpy(&n, bytes, 4);
  std::memcpy(&s, bytes + 4, 4);
  const uint64_t size = 12 * static_cast<uint64_t>(n) + s;
  if (size > 0x7FFFFFFF) return 1;  // no dictionary is that large

  char* block = static_cast<char*>(std::malloc(size + 1));
  if (block == nullptr) return 1;
  std::memcpy(block, bytes + 8, size);
  auto* sibling = reinterpret_cast<int32_t*>(block);
  if (!eti::BlobProblem(sibling, sibling + n, sibling + 2 * n, block + 12 * n, n, s).empty()) {
    std::free(block);
    return 1;
  }
  trie->sibling = sibling;
  trie->child = sibling + n;
  trie->labelOffset = sibling + 2 * n;
  trie->pool = block + 12 * static_cast<size_t>(n);
  return 0;
}

void ETI_freeBTrie(BTrie* trie) {
  if (trie == nullptr) return;
  std::free(trie->sibling);
  std::free(trie);
}

int32_t searchBBT(const BTrie* trie, const char* key, int32_t node,
                  const char** valueOut) {
  const char* ignored;
  if (valueOut == nullptr) valueOut = &ignored;
  if (node == -1) return -1;
  *valueOut = nullptr;
  if (key == nullptr || node < 0 || node >= eti::NodeCount(trie)) return -1;
  while (true) {
    const char* label = eti::Label(trie, node);
    size_t i = 0;
    while (label[i] != '\0' && key[i] == label[i]) ++i;
    if (label[i] == '\0') {
      *valueOut = label + i + 1;
      return node;
    }
    node = trie->sibling[node];
    if (node == -1) return -1;
  }
}

retTypeBBT* ETI_searchBTrie(const BTrie* trie, const char* key, int32_t mode,
                            int32_t startPos, int32_t* matchLen, int32_t* node) {
  return eti::SearchWith(trie, eti::IndexOf(trie), key, mode, startPos, matchLen, node);
}

}  // extern "C"

namespace eti {

retTypeBBT* NewHitRecord(int32_t startPos, const char* key, size_t keyLength, const char* value) {
  auto* hit = static_cast<retTypeBBT*>(std::malloc(sizeof(retTypeBBT)));
  hit->startPos = startPos;
  hit->text = CopyBytes(key, keyLength);
  hit->value = CopyBytes(value, std::strlen(value));
  hit->next = nullptr;
  return hit;
}

retTypeBBT* SearchWith(const BTrie* trie, const ChainIndex* index, const char* key, int32_t mode,
                       int32_t startPos, int32_t* matchLen, int32_t* node) {
  int32_t rootNode = 0;
  if (node == nullptr) node = &rootNode;
  if (key == nullptr) return nullptr;

  const char* lastValue = nullptr;  // value and length of the deepest entry
  int32_t lastLength = 0;
  retTypeBBT* list = nullptr;       // mode 2: longest first
  int32_t after = 0;
  const bool usedUp = WalkKey(
      trie, index, key, *node,
      [&](int32_t length, const char* value) {
        if (mode == 2) {
          retTypeBBT* hit = NewHitRecord(startPos, key, static_cast<size_t>(length), value);
          hit->next = list;
          list = hit;
        }
        lastValue = value;
        lastLength = length;
      },
      &after);

  if (usedUp) {
    *node = after;
    if (mode == 2 && list != nullptr) return list;
    if (lastValue == nullptr) return ETI_BBT_PREFIX;
  } else {
    if (mode == 2) return list;
    if (mode != 1 || lastValue == nullptr) return nullptr;
  }
  if (matchLen != nullptr) *matchLen = lastLength;
  return NewHitRecord(startPos, key, static_cast<size_t>(lastLength), lastValue);
}

}  // namespace eti

extern "C" {

retTypeBBT* ETI_getFullDic(const char* text, const BTrie* trie, int32_t everyByte) {
  if (text == nullptr || text[0] == '\0') return nullptr;
  retTypeBBT* head = nullptr;
  retTypeBBT** tail = &head;
  eti::ScanFullDic(trie, eti::IndexOf(trie), text, static_cast<int32_t>(std::strlen(text)),
                   everyByte != 0, [&](int32_t pos, int32_t length, const char* value) {
                     *tail = eti::NewHitRecord(pos, text + pos, static_cast<size_t>(length), value);
                     tail = &(*tail)->next;
                   });
  return head;
}

int32_t ETI_free_retTypeBBT(retTypeBBT** list) {
  if (list == nullptr || !eti::IsHitList(*list)) return 0;
  retTypeBBT* r = *list;
  while (r != nullptr) {
    retTypeBBT* next = r->next;
    std::free(r->text);
    std::free(r->value);
    std::free(r);
    r = next;
  }
  return 0;
}

}  // extern "C"
