// The consistency check of a dictionary set: whether the tag, pattern and
// unit-sequence dictionaries fit together the way the pipeline reads them.
#ifndef EXTRACTOR_KR_TOOLS_DICTC_CONSISTENCY_H_
#define EXTRACTOR_KR_TOOLS_DICTC_CONSISTENCY_H_

#include <string>
#include <vector>

#include "dict/source.h"

namespace eti::tools {

// Every problem found, with file and line:
// - a tag key that the tagger never looks up (it starts with a digit, a
//   space or one of the separators : . / - ~);
// - a pattern whose count is not its number of items;
// - a pattern item that neither the tag dictionary nor the tagger produces;
// - a pattern that the unit-sequence dictionary does not cut into units
//   exactly, as the dispatcher cuts it;
// - a unit whose name no handler or marker of the dispatcher answers to.
// Problems of the sources themselves (bad lines) are reported too.
// Each dictionary may be written in several files (read as one source).
using Sources = std::vector<SourceFile>;
std::vector<SourceError> CheckDictionarySet(const Sources& tags, const Sources& patterns,
                                            const Sources& units);

// Replacements whose value holds a space where its key has none: the marks
// of a replaced word are mapped back byte by byte, and such a space (never
// part of an expression) would leave half of a two-byte character of the
// input behind.  And keys
// of one two-byte character: replacement is tried at every byte, so such a
// key also matches the second byte of one character and the first of the
// next (낼 is inside 졌어), in everyday words.
std::vector<SourceError> CheckReplacements(const Sources& replace);

// Tag keys that replacement rewrites before the tagger sees them: a tag
// key that holds a replacement key is never found as written (tagging
// 주말 while 주말 is rewritten to 토요일부터일요일까지 adds nothing).
std::vector<SourceError> CheckTagsAgainstReplacements(const Sources& tags,
                                                      const Sources& replace);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_DICTC_CONSISTENCY_H_
