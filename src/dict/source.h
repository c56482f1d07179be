// Readable dictionary sources: UTF-8 text, one entry per line, key and value
// separated by a tab; lines that start with '#' and blank lines are
// ignored; a carriage return before the line feed is dropped.  Keys and
// values are converted to CP949, the encoding the library reads.
#ifndef EXTRACTOR_KR_DICT_SOURCE_H_
#define EXTRACTOR_KR_DICT_SOURCE_H_

#include <string>
#include <string_view>
#include <vector>

#include "dict/trie_format.h"

namespace eti {

// What a trie source holds; each kind adds its own checks of the values.
enum class DictKind {
  kReplace,  // key -> replacement text
  kTag,      // word -> tag list NAME or NAME[INT], comma-separated
  kPattern,  // '*'-joined tag names -> token count; keys may hold {A|B|}
             // groups of alternatives, and the value # stands for the count
  kUnit,     // '*'-joined item names -> unit name
};

// Parses "replace", "tag", "pattern" or "unit".
bool ParseDictKind(std::string_view name, DictKind* kind);

struct SourceError {
  std::string file;
  int line = 0;
  std::string message;
  std::string Format() const;  // "file:line: message"
};

struct SourceEntry {
  TrieEntry entry;      // CP949 key and value
  std::string keyUtf8;  // as written in the source
  std::string valueUtf8;
  std::string file;     // where it is written
  int line = 0;
};

// A source as read from its file.
struct SourceFile {
  std::string name;  // for messages
  std::string text;  // UTF-8 source
};

// Reads a trie source.  Every problem found is appended to *errors (all of
// them, in line order); the result is usable only when none was found.
std::vector<SourceEntry> ReadTrieSource(std::string_view text, std::string_view file,
                                        DictKind kind, std::vector<SourceError>* errors);

// Reads the sources of one dictionary written in several files, as one
// source: a key given twice must have one value, in whichever files.
std::vector<SourceEntry> ReadTrieSources(const std::vector<SourceFile>& files, DictKind kind,
                                         std::vector<SourceError>* errors);

// Reads a word list source: one word per line, converted to CP949.
std::vector<std::string> ReadWordSource(std::string_view text, std::string_view file,
                                        std::vector<SourceError>* errors);

// The entries' trie entries, for BuildTrieBlob.
std::vector<TrieEntry> TrieEntries(const std::vector<SourceEntry>& entries);

// The blob the library reads for a dictionary of `kind`, in the compact
// shape (keys of '*'-joined names for patterns and units).
std::string CompileTrie(const std::vector<SourceEntry>& entries, DictKind kind);

// The CP949 word list text of words, one per line.
std::string WordListText(const std::vector<std::string>& words);

}  // namespace eti

#endif  // EXTRACTOR_KR_DICT_SOURCE_H_
