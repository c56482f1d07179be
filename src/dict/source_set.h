// A dictionary set written as readable sources in one directory:
// settings.txt, words.txt, and the four tries replace, tags, patterns and
// units.  A trie may be written in several files: NAME.txt and then every
// NAME-*.txt in name order (dicts/ko keeps its generated replacements in
// replace-*.txt beside the hand-written replace.txt); they are read as one
// source.
#ifndef EXTRACTOR_KR_DICT_SOURCE_SET_H_
#define EXTRACTOR_KR_DICT_SOURCE_SET_H_

#include <string>
#include <unordered_map>
#include <vector>

#include "dict/source.h"
#include "extractor_kr.h"

namespace eti {

// The base names of the four tries in a source directory, in the order of
// the tries of ekr_dictionaries, with their kinds.
struct TrieSourceName {
  const char* base;  // "replace" -> replace.txt, replace-*.txt
  DictKind kind;
};
extern const TrieSourceName kTrieSources[4];

// The source files of the trie `base` in `dir`: base.txt (whether or not it
// exists; reading it reports it missing) and every base-*.txt, sorted.
std::vector<std::string> TrieSourceFiles(const std::string& dir, const std::string& base);

// Reads the given files; a file that cannot be read is an error of its own.
std::vector<SourceFile> ReadSourceFiles(const std::vector<std::string>& paths,
                                        std::vector<SourceError>* errors);

// A set compiled in memory, the six parts in the order of ekr_dictionaries,
// and where each key of the four tries was written ("replace.txt:12").
struct CompiledSet {
  std::string settings, replace, tags, patterns, units, words;
  std::unordered_map<std::string, std::string> origins[4];  // CP949 key -> file:line
  ekr_dictionaries View() const;
};

// The sources of a directory compiled as dictc compiles them, less the trie
// source files named in `without`.  Every problem found is appended to
// *errors; the set is usable only when none was.
CompiledSet CompileSourceDir(const std::string& dir, std::vector<SourceError>* errors,
                             const std::vector<std::string>& without = {});

}  // namespace eti

#endif  // EXTRACTOR_KR_DICT_SOURCE_SET_H_
