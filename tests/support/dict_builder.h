// Dictionaries for tests, compiled from readable UTF-8 sources through the
// dictionary compiler's own modules.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_DICT_BUILDER_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_DICT_BUILDER_H_

#include <memory>
#include <string>
#include <string_view>

#include "common/cp949.h"
#include "common/dict_source.h"
#include "dict/btrie.h"

namespace eti::testing {

using tools::Cp949;
using tools::DictKind;
using tools::Utf8;

// The blob of a trie source; a source error fails the current test.
std::string CompileTrie(DictKind kind, std::string_view source);

// The CP949 word list text of a word source.
std::string CompileWords(std::string_view source);

using TriePtr = std::unique_ptr<BTrie, TrieDeleter>;

// A trie loaded from a source.
TriePtr LoadSource(DictKind kind, std::string_view source);

}  // namespace eti::testing

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_DICT_BUILDER_H_
