// Pattern search: ExtAndComp, SearchSubSeq and FindTS are exported (public
// header).  The choice of the best pattern at one start of a path is
// exposed here, for the test that checks it against the plain enumeration.
#ifndef EXTRACTOR_KR_ANALYSIS_PATTERN_SEARCH_H_
#define EXTRACTOR_KR_ANALYSIS_PATTERN_SEARCH_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "extractor_kr/stages.h"
#include "interpret/marks.h"

namespace eti {

// Keys are built in a buffer of this many bytes; the names of the tokens
// that no longer fit are left out.
constexpr size_t kPatternKeyCapacity = 1024;

// At most this many tokens of a stretch are read.
constexpr int32_t kMaxPath = 128;

// Readings of one stretch explored beyond the first (each alternative token
// tried at a fork costs one).  Every place where two dictionary words start
// together doubles the readings; a message seldom has more than two or three
// such places in one stretch of covered text, and 64 readings cover six.
// Past the budget a fork takes only its last (shortest) token, so that a
// text full of overlapping words costs a bounded number of readings instead
// of an exponential one.
constexpr int32_t kReadingBudget = 64;

// The outcome of trying every combination of one attribute per token for the
// tokens start..count-1: the pattern with the largest token count (the
// first found among equal counts), or the prefix marker when the last
// lookup of note ran out inside the pattern trie.
struct BestPattern {
  retTypeBBT* hit = nullptr;  // a hit list of one, ETI_BBT_PREFIX, or NULL
  int32_t count = 0;
};

// The key of a combination: the current attribute names of tokens[start..),
// '*'-joined, as many as fit in kPatternKeyCapacity.
size_t BuildPatternKey(const RETTAGS* tokens, int32_t start, int32_t count, char* key);

// The best pattern at `start`, found by walking the pattern trie along the
// combinations and leaving out those that cannot change the outcome.
BestPattern FindBestPattern(const BTrie* patterns, RETTAGS* tokens, int32_t start,
                            int32_t count);

// ExtAndComp without the per-byte arrays: the found records (their
// compoundMarks left unset) and, in `marks`, what each covers, in list
// order.  `n` is the length of `text`.  The tokens are freed when
// `freeTokens` is true, else left to the arena they came from.
DTINFO* FindExpressions(RETTAGS* tokens, const char* text, int32_t n, ETS_CONTEXT* ctx,
                        std::vector<Marks>* marks, bool freeTokens);

}  // namespace eti

#endif  // EXTRACTOR_KR_ANALYSIS_PATTERN_SEARCH_H_
