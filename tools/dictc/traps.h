// Word traps of a dictionary set: places where a time word is only the
// start, the end or the middle of a longer everyday word (한 시민, 오늘날,
// 인도네시아, 단순한 시도), so that an expression is read across a word
// boundary.  The finder runs the set itself over common words, alone and
// after and before the words that time expressions are made of, and
// reports every expression that ends or starts inside a word, with the
// replacement entry (a guard) that closes it.  A guard rewrites the word
// into bytes that no tag holds, so the tagger finds nothing there; it
// keeps a time expression that stands before the word when there is one
// (6월 초대 keeps 6월).
#ifndef EXTRACTOR_KR_TOOLS_DICTC_TRAPS_H_
#define EXTRACTOR_KR_TOOLS_DICTC_TRAPS_H_

#include <string>
#include <vector>

#include "dict/source.h"
#include "dict/source_set.h"

namespace eti::tools {

// Reads a list of common words: one word per line, or a hunspell
// dictionary (a first line that is a count, then word/flags lines).
// Decomposed Hangul (conjoining jamo, as hunspell-ko writes it) is
// composed; only words made of Hangul syllables alone are kept.
bool ReadCommonWords(const std::string& path, std::vector<std::string>* words,
                     std::string* error);

struct Trap {
  std::string context;     // the text tried, UTF-8
  std::string word;        // the common word the expression cuts
  std::string expression;  // the text the expression covers
  std::string guardKey;    // the replacement entry that closes the trap
  std::string guardValue;
};

// The traps of `set`, whose replacement and tag sources are `replace` and
// `tags`, over `words` (UTF-8), guards deduplicated and reduced to the
// shortest that do the work.  A context the replacements already rewrite
// as a whole (a key equal to it, or to the word in it) counts as guarded:
// an entry that writes a word as itself says it was looked at and is meant
// as it reads (오늘밤 stays today).
// False with *error when the set cannot be opened.
bool FindTraps(const CompiledSet& set, const std::vector<SourceEntry>& replace,
               const std::vector<SourceEntry>& tags, const std::vector<std::string>& words,
               std::vector<Trap>* traps, std::string* error);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_DICTC_TRAPS_H_
