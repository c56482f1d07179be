// Dictionaries for tests, compiled from readable UTF-8 sources through the
// dictionary compiler's own modules.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_DICT_BUILDER_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_DICT_BUILDER_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "session/cp949.h"
#include "dict/source.h"
#include "dict/source_set.h"
#include "dict/btrie.h"

namespace eti::testing {

using eti::Cp949;
using eti::DictKind;
using eti::Utf8;

// The blob of a trie source; a source error fails the current test.
std::string CompileTrie(DictKind kind, std::string_view source);

// The CP949 word list text of a word source.
std::string CompileWords(std::string_view source);

using TriePtr = std::unique_ptr<BTrie, TrieDeleter>;

// A trie loaded from a source.
TriePtr LoadSource(DictKind kind, std::string_view source);

// A file of the source tree, read whole ("tests/data/e2e/tags.txt").
std::string ReadSourceFile(const std::string& relative);

// The six arrays of a call, compiled from the sources of a directory of the
// source tree as dictc compiles them (a source error fails the test).
using DictSet = eti::CompiledSet;
DictSet LoadDictSet(const std::string& relativeDir);

// ETI_Main over a UTF-8 text with a dictionary set: the JSON array, in
// UTF-8, or "REJECTED" when the reference time is refused.  An answer that
// is not CP949 text is a test failure unless `halves` allows it: the content
// of a whole call may hold half of a character (an expression that covers
// part of a replacement), and the session reads such a byte as U+FFFD; with
// `halves` the answer is decoded the same way.
std::string Extract(const DictSet& dicts, const std::string& textUtf8, const std::string& ref,
                    bool halves = false);

// The JSON array of a call in the compact form of the case files: per result
// START FLAGS@BEGIN-END (a point) or START~END FLAGS/ENDFLAGS@BEGIN-END (a
// span), " every CYCLE" when it repeats, joined by " | "; "-" for none.
// *content receives the content of the first result.
std::string Summary(const std::string& json, std::string* content);

// One line of a case file: reference, text, expected summary, content.
struct Case {
  int line = 0;
  std::string ref, text, expected, content;
};
std::vector<Case> ReadCases(const std::string& relativePath);

}  // namespace eti::testing

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_DICT_BUILDER_H_
