#include "support/dict_builder.h"

#include <gtest/gtest.h>

#include <vector>

#include "common/trie_format.h"

namespace eti::testing {

std::string CompileTrie(DictKind kind, std::string_view source) {
  std::vector<tools::SourceError> errors;
  const auto entries = tools::ReadTrieSource(source, "test-source", kind, &errors);
  for (const auto& e : errors) ADD_FAILURE() << e.Format();
  return tools::BuildTrieBlob(tools::TrieEntries(entries));
}

std::string CompileWords(std::string_view source) {
  std::vector<tools::SourceError> errors;
  const auto words = tools::ReadWordSource(source, "test-words", &errors);
  for (const auto& e : errors) ADD_FAILURE() << e.Format();
  return tools::WordListText(words);
}

TriePtr LoadSource(DictKind kind, std::string_view source) {
  const std::string blob = CompileTrie(kind, source);
  TriePtr trie(LoadTrie(blob.data()));
  EXPECT_GT(NodeCount(trie.get()), 0) << "the compiled blob did not load";
  return trie;
}

}  // namespace eti::testing
