// Tagger: StackFinder, GetTypeFromBBT, the three recognisers, MakeTagStruct
// and Free_RETTAGS are exported (extractor_kr/stages.h).  The engine tags
// into an arena of its run: the tokens live exactly as long as the pattern
// search that reads them, and are let go all at once.
#ifndef EXTRACTOR_KR_ANALYSIS_TAGGER_H_
#define EXTRACTOR_KR_ANALYSIS_TAGGER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "extractor_kr/stages.h"

namespace eti {

// Memory handed out in order and given back all at once.
class Arena {
 public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  // `n` bytes aligned for any record.
  void* Get(size_t n);
  // `n` bytes with no alignment (the text of a token).
  char* GetBytes(size_t n);
  // Attributes that no stage changes (a space, a separator), made once per
  // arena and shared by every token that has them; NULL when none is made
  // yet.  Only the arena's tokens share: tokens on the heap own theirs.
  TAGATTR*& Shared(int kind) { return shared_[kind]; }
  // The attributes parsed from a tag value of the trie (by its address in
  // the trie), shared by every token of that entry: a slot holding NULL
  // when not parsed yet, or NULL itself when the table is full (the value
  // is then parsed for each token).  No stage changes the attributes of a
  // dictionary token.
  TAGATTR** Parsed(const char* value) {
    size_t k = (reinterpret_cast<uintptr_t>(value) >> 2) % kParsed;
    for (size_t probes = 0; probes < kParsed; ++probes, k = (k + 1) % kParsed) {
      if (parsedKey_[k] == value) return &parsedValue_[k];
      if (parsedKey_[k] == nullptr) {
        parsedKey_[k] = value;
        return &parsedValue_[k];
      }
    }
    return nullptr;
  }

 private:
  // The first few kilobytes live in the arena itself, which is enough for
  // the tokens of a message; longer texts take blocks from the heap.
  alignas(std::max_align_t) char first_[4096];
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* at_ = first_;
  size_t left_ = sizeof(first_);
  size_t next_ = 8192;  // the size of the next block; doubles up to 64 KB
  TAGATTR* shared_[3] = {nullptr, nullptr, nullptr};
  // An open-addressed table without a single allocation: the values of a
  // message are a handful, and the common ones of a long text come early.
  static constexpr size_t kParsed = 128;
  const char* parsedKey_[kParsed] = {};
  TAGATTR* parsedValue_[kParsed] = {};

  char* Take(size_t n);
};

// GetTypeFromBBT with every token, its text and its attributes taken from
// `arena`; the tokens must not be freed with Free_RETTAGS.
RETTAGS* TagInArena(const char* text, const BTrie* trie, Arena* arena);

}  // namespace eti

#endif  // EXTRACTOR_KR_ANALYSIS_TAGGER_H_
