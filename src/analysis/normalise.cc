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

#include "dict/btrie.h"

namespace eti {

int32_t ReplaceWithin(retTypeBBT* hits, char* text, size_t capacity) {
  if (!IsHitList(hits) || text == nullptr) return 0;
  const size_t sourceLength = std::strlen(text);
  std::string out;
  out.reserve(sourceLength + 16);
  size_t prevEnd = 0;
  int32_t applied = 0;
  retTypeBBT* last = nullptr;
  for (retTypeBBT* h = hits; h != nullptr; h = h->next) {
    const size_t start = static_cast<size_t>(h->startPos);
    const size_t end = start + std::strlen(h->text);
    const size_t valueLength = std::strlen(h->value);
    // The text after this replacement, with the rest of the source behind it,
    // must still fit; otherwise stop replacing here.
    const size_t total = out.size() + (start - prevEnd) + 1 + valueLength + (sourceLength - end);
    if (start < prevEnd || end > sourceLength || total + 1 > capacity) break;
    out.append(text + prevEnd, start - prevEnd);
    out.push_back(' ');
    out.append(h->value, valueLength);
    prevEnd = end;
    ++applied;
    last = h;
  }
  if (last != nullptr && last->next != nullptr) {
    ETI_free_retTypeBBT(&last->next);
    last->next = nullptr;
  }
  if (applied == 0) return 0;
  out.append(text + prevEnd, sourceLength - prevEnd);
  std::memcpy(text, out.c_str(), out.size() + 1);
  return applied;
}

retTypeBBT* Normalise(char* text, size_t capacity, const BTrie* replacements) {
  if (text == nullptr) return nullptr;
  size_t n = std::strlen(text);
  if (n > 0 && text[n - 1] == '\n') text[--n] = '\0';

  retTypeBBT* hits = removeDuplicatedBBTResult(ETI_getFullDic(text, replacements, 1));
  if (hits == nullptr) return nullptr;
  if (ReplaceWithin(hits, text, capacity) == 0) {
    ETI_free_retTypeBBT(&hits);  // not even the first replacement fitted
    return nullptr;
  }
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
