// Normalisation.  In: a work text and the replacement trie.  Out: the text
// rewritten in place, and the hits that were applied, which the pipeline
// keeps to map positions of the rewritten text back onto the input.  Every
// replacement is written as a space followed by the value, so that a
// replaced word always stands apart for the tagger.
#include "analysis/normalise.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

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

bool IsGuard(const retTypeBBT* hit) {
  const size_t n = std::strlen(hit->text);
  if (std::strlen(hit->value) != n) return false;
  bool blanked = false;
  for (size_t i = 0; i < n; ++i) {
    if (hit->value[i] == '_') {
      blanked = true;
    } else if (hit->value[i] != hit->text[i]) {
      return false;
    }
  }
  return blanked;
}

retTypeBBT* Normalise(std::string* text, size_t capacity, const BTrie* replacements,
                      bool keepGuarded) {
  if (!text->empty() && text->back() == '\n') text->pop_back();
  retTypeBBT* hits = removeDuplicatedBBTResult(ETI_getFullDic(text->c_str(), replacements, 1));
  if (keepGuarded) {
    // A guard's place is left as it stands: no replacement there at all.
    retTypeBBT** link = &hits;
    while (IsHitList(*link)) {
      retTypeBBT* h = *link;
      if (!IsGuard(h)) {
        link = &h->next;
        continue;
      }
      *link = h->next;
      h->next = nullptr;
      ETI_free_retTypeBBT(&h);
    }
  }
  if (hits == nullptr) return nullptr;
  if (Splice(hits, *text, capacity, text) == 0) {
    ETI_free_retTypeBBT(&hits);  // not even the first replacement fitted
    return nullptr;
  }
  return hits;
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
