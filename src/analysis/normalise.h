// Normalisation: the replacement trie rewrites the work text before it is
// tagged, so that the many spellings of a date word reach the tagger in one
// form.  ChangeStrDate, removeDuplicatedBBTResult and ReplaceMatchStr are
// exported (public header); the pipeline calls the bounded form below.
#ifndef EXTRACTOR_KR_ANALYSIS_NORMALISE_H_
#define EXTRACTOR_KR_ANALYSIS_NORMALISE_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "extractor_kr/stages.h"

namespace eti {

// ChangeStrDate with a loaded replacement trie, for a buffer of `capacity`
// bytes (terminator included): a hit whose replacement would not fit is
// dropped with every hit after it, so the returned hits always describe the
// rewritten text exactly.
retTypeBBT* Normalise(char* text, size_t capacity, const BTrie* replacements);

// The same over a text held in a string, which grows only as far as the
// replacements make it; `capacity` is the bound the text's owner would
// have allocated.  With `keepGuarded` a guard (a replacement that only
// blanks characters of its key, 오늘날 -> ____날) replaces nothing and leaves
// its place as it stands: the reader rules find words inside longer words
// on their own, and keep the words the guards would blank.
retTypeBBT* Normalise(std::string* text, size_t capacity, const BTrie* replacements,
                      bool keepGuarded = false);

// Whether a replacement is a guard: its value is its key with some bytes
// blanked ('_') and no other change.
bool IsGuard(const retTypeBBT* hit);
bool IsGuard(std::string_view key, const char* value);

// ReplaceMatchStr within `capacity` bytes; drops (frees) the hits from the
// first one that would not fit.  Returns the number applied.
int32_t ReplaceWithin(retTypeBBT* hits, char* text, size_t capacity);

}  // namespace eti

#endif  // EXTRACTOR_KR_ANALYSIS_NORMALISE_H_
