// A dictionary set written as readable sources in one directory:
// settings.txt, words.txt, and the four tries replace, tags, patterns and
// units.  A trie may be written in several files: NAME.txt and then every
// NAME-*.txt in name order (dicts/ko keeps its generated replacements in
// replace-*.txt beside the hand-written replace.txt); they are read as one
// source.
#ifndef EXTRACTOR_KR_TOOLS_COMMON_SOURCE_SET_H_
#define EXTRACTOR_KR_TOOLS_COMMON_SOURCE_SET_H_

#include <ostream>
#include <string>
#include <vector>

#include "common/dict_source.h"
#include "extractor_kr.h"

namespace eti::tools {

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

// A set compiled in memory, the six parts in the order of ekr_dictionaries.
struct CompiledSet {
  std::string settings, replace, tags, patterns, units, words;
  ekr_dictionaries View() const;
};

// The sources of a directory compiled as dictc compiles them, less the trie
// source files named in `without`.  Every problem found is appended to
// *errors; the set is usable only when none was.
CompiledSet CompileSourceDir(const std::string& dir, std::vector<SourceError>* errors,
                             const std::vector<std::string>& without = {});

// The set of a tool's --dict DIR: the compiled files when tags.bin is
// there, otherwise the sources compiled in memory.  Problems go to `err`,
// one a line, after the tool's name.
bool LoadDictDir(const std::string& dir, const std::string& tool, CompiledSet* set,
                 std::ostream& err);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_COMMON_SOURCE_SET_H_
