#include "support/dict_builder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "common/file_util.h"
#include "common/trie_format.h"
#include "jni/json_writer.h"

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

std::string ReadSourceFile(const std::string& relative) {
  std::string text, error;
  if (!tools::ReadFile(std::string(ETI_SOURCE_DIR) + "/" + relative, &text, &error)) {
    ADD_FAILURE() << error;
  }
  return text;
}

DictSet LoadDictSet(const std::string& relativeDir) {
  const auto source = [&](const char* name) { return ReadSourceFile(relativeDir + "/" + name); };
  DictSet d;
  d.settings = source("settings.txt");
  d.replace = CompileTrie(DictKind::kReplace, source("replace.txt"));
  d.tags = CompileTrie(DictKind::kTag, source("tags.txt"));
  d.patterns = CompileTrie(DictKind::kPattern, source("patterns.txt"));
  d.units = CompileTrie(DictKind::kUnit, source("units.txt"));
  d.words = CompileWords(source("words.txt"));
  return d;
}

std::string Extract(const DictSet& d, const std::string& textUtf8, const std::string& ref) {
  const std::string text = Cp949(textUtf8);
  TYPED_RESULT* results = nullptr;
  if (ETI_Main(text.c_str(), &results, ref.c_str(), d.settings.c_str(), d.replace.data(),
               d.tags.data(), d.patterns.data(), d.units.data(), d.words.c_str()) != 0) {
    return "REJECTED";
  }
  char* json = WriteJsonArray(results);
  std::string out = Utf8(json);
  std::free(json);
  ETI_FreeTypedResults(results);
  return out;
}

}  // namespace eti::testing
