#include "fuzz_dicts.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "common/dict_source.h"
#include "common/file_util.h"
#include "common/trie_format.h"

namespace eti::fuzz {
namespace {

std::string Source(const char* name) {
  std::string text, error;
  if (!tools::ReadFile(std::string(ETI_SOURCE_DIR) + "/dicts/ko/" + name, &text, &error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    std::abort();
  }
  return text;
}

std::string Trie(const char* name, tools::DictKind kind) {
  std::vector<tools::SourceError> errors;
  return tools::BuildTrieBlob(tools::TrieEntries(tools::ReadTrieSource(Source(name), name, kind, &errors)));
}

}  // namespace

const DictSet& DefaultDicts() {
  static const DictSet set = [] {
    DictSet d;
    std::vector<tools::SourceError> errors;
    d.parts[0] = Source("settings.txt");
    d.parts[1] = Trie("replace.txt", tools::DictKind::kReplace);
    d.parts[2] = Trie("tags.txt", tools::DictKind::kTag);
    d.parts[3] = Trie("patterns.txt", tools::DictKind::kPattern);
    d.parts[4] = Trie("units.txt", tools::DictKind::kUnit);
    d.parts[5] = tools::WordListText(tools::ReadWordSource(Source("words.txt"), "words", &errors));
    return d;
  }();
  return set;
}

std::string CallInput(const std::string& ref, const std::string& text) {
  std::string input(1, '\0');
  input += ref.substr(0, 12);
  input.resize(13, '0');
  input += '\0';  // default settings
  input += '\0';  // no edits
  return input + text;
}

}  // namespace eti::fuzz
