// Normalisation.  In: a work text and the replacement trie.  Out: the text
// rewritten in place, and the hits that were applied, which the pipeline
// keeps to map positions of the rewritten text back onto the input.  Every
// replacement is written as a space followed by the value, so that a
// replaced word always stands apart for the tagger.
#include "analysis/normalise.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dict/btrie.h"

namespace eti {

namespace {

// The text with the hits' replacements spliced in, within `capacity` bytes
// (terminator included); drops (frees) the hits from the first one that
// would not fit.  Returns the number applied (0: *out untouched).
int32_t Splice(retTypeBBT* hits, std::string_view source, size_t capacity, std::string* out) {
  if (!IsHitList(hits)) return 0;
  std::string spliced;
  spliced.reserve(source.size() + 16);
  size_t prevEnd = 0;
  int32_t applied = 0;
  retTypeBBT* last = nullptr;
  for (retTypeBBT* h = hits; h != nullptr; h = h->next) {
    const size_t start = static_cast<size_t>(h->startPos);
    const size_t end = start + std::strlen(h->text);
    const size_t valueLength = std::strlen(h->value);
    // The text after this replacement, with the rest of the source behind it,
    // must still fit; otherwise stop replacing here.
    const size_t total =
        spliced.size() + (start - prevEnd) + 1 + valueLength + (source.size() - end);
    if (start < prevEnd || end > source.size() || total + 1 > capacity) break;
    spliced.append(source.substr(prevEnd, start - prevEnd));
    spliced.push_back(' ');
    spliced.append(h->value, valueLength);
    prevEnd = end;
    ++applied;
    last = h;
  }
  if (last != nullptr && last->next != nullptr) {
    ETI_free_retTypeBBT(&last->next);
    last->next = nullptr;
  }
  if (applied == 0) return 0;
  spliced.append(source.substr(prevEnd));
  *out = std::move(spliced);
  return applied;
}

}  // namespace

int32_t ReplaceWithin(retTypeBBT* hits, char* text, size_t capacity) {
  if (!IsHitList(hits) || text == nullptr) return 0;
  std::string out;
  const int32_t applied = Splice(hits, text, capacity, &out);
  if (applied > 0) std::memcpy(text, out.c_str(), out.size() + 1);
  return applied;
}

bool IsGuard(std::string_view key, const char* value) {
  const size_t n = key.size();
  if (std::strlen(value) != n) return false;
  bool blanked = false;
  for (size_t i = 0; i < n; ++i) {
    if (value[i] == '_') {
      blanked = true;
    } else if (value[i] != key[i]) {
      return false;
    }
  }
  return blanked;
}

bool IsGuard(const retTypeBBT* hit) { return IsGuard(hit->text, hit->value); }

retTypeBBT* Normalise(std::string* text, size_t capacity, const BTrie* replacements,
                      bool keepGuarded) {
  if (!text->empty() && text->back() == '\n') text->pop_back();
  // The hits as the scan finds them, without a record each: most are
  // dropped for overlapping the one before, and only those applied are
  // made into records.
  struct Hit {
    int32_t pos, length;
    const char* value;
  };
  std::vector<Hit> hits;
  int64_t keptEnd = -1;  // where the last kept hit ends
  ScanFullDic(replacements, IndexOf(replacements), text->c_str(),
              static_cast<int32_t>(text->size()), true,
              [&](int32_t pos, int32_t length, const char* value) {
                // A hit that starts inside the one kept before it is dropped,
                // even when longer.
                if (!hits.empty() && keptEnd > pos) return;
                hits.push_back({pos, length, value});
                keptEnd = static_cast<int64_t>(pos) + length;
              });
  if (keepGuarded) {
    // A guard's place is left as it stands: no replacement there at all.
    hits.erase(std::remove_if(hits.begin(), hits.end(),
                              [&](const Hit& h) {
                                return IsGuard(std::string_view(text->data() + h.pos,
                                                                static_cast<size_t>(h.length)),
                                               h.value);
                              }),
               hits.end());
  }
  if (hits.empty()) return nullptr;
  // The text with the replacements spliced in, within `capacity` bytes
  // (terminator included); the replacements from the first one that would
  // not fit are not applied.
  const std::string_view source = *text;
  std::string spliced;
  spliced.reserve(source.size() + 16);
  size_t prevEnd = 0;
  retTypeBBT* head = nullptr;
  retTypeBBT** tail = &head;
  for (const Hit& h : hits) {
    const auto start = static_cast<size_t>(h.pos);
    const size_t end = start + static_cast<size_t>(h.length);
    const size_t valueLength = std::strlen(h.value);
    // The text after this replacement, with the rest of the source behind it,
    // must still fit; otherwise stop replacing here.
    const size_t total =
        spliced.size() + (start - prevEnd) + 1 + valueLength + (source.size() - end);
    if (start < prevEnd || end > source.size() || total + 1 > capacity) break;
    spliced.append(source.substr(prevEnd, start - prevEnd));
    spliced.push_back(' ');
    spliced.append(h.value, valueLength);
    prevEnd = end;
    *tail = NewHitRecord(h.pos, source.data() + start, static_cast<size_t>(h.length), h.value);
    tail = &(*tail)->next;
  }
  if (head == nullptr) return nullptr;  // not even the first replacement fitted
  spliced.append(source.substr(prevEnd));
  *text = std::move(spliced);
  return head;
}

retTypeBBT* Normalise(char* text, size_t capacity, const BTrie* replacements) {
  if (text == nullptr) return nullptr;
  std::string work = text;
  retTypeBBT* hits = Normalise(&work, capacity, replacements, false);
  std::memcpy(text, work.c_str(), work.size() + 1);
  return hits;
}

}  // namespace eti

extern "C" {

retTypeBBT* ChangeStrDate(char* text, const void* replacementTrie) {
  if (text == nullptr) return nullptr;
  std::unique_ptr<BTrie, eti::TrieDeleter> trie(eti::LoadTrie(replacementTrie));
  // The owner has room for ten times the text as it came in.
  return eti::Normalise(text, 10 * std::strlen(text), trie.get());
}

retTypeBBT* removeDuplicatedBBTResult(retTypeBBT* hits) {
  if (!eti::IsHitList(hits)) return nullptr;
  retTypeBBT* cur = hits;  // the first hit is always kept
  while (cur->next != nullptr) {
    retTypeBBT* nxt = cur->next;
    if (static_cast<int64_t>(cur->startPos) + static_cast<int64_t>(std::strlen(cur->text)) <=
        nxt->startPos) {
      cur = nxt;
      continue;
    }
    // Starts inside the kept hit: dropped, even when longer.
    cur->next = nxt->next;
    nxt->next = nullptr;
    ETI_free_retTypeBBT(&nxt);
  }
  return hits;
}

int32_t ReplaceMatchStr(retTypeBBT* hits, char* text) {
  if (text == nullptr) return 0;
  return eti::ReplaceWithin(hits, text, 10 * std::strlen(text));
}

}  // extern "C"
