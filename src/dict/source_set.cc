#include "dict/source_set.h"

#include <algorithm>

#include "dict/file_util.h"
#include "dict/trie_format.h"

namespace eti {

const TrieSourceName kTrieSources[4] = {{"replace", DictKind::kReplace},
                                        {"tags", DictKind::kTag},
                                        {"patterns", DictKind::kPattern},
                                        {"units", DictKind::kUnit}};

std::vector<std::string> TrieSourceFiles(const std::string& dir, const std::string& base) {
  std::vector<std::string> paths = {dir + "/" + base + ".txt"};
  const std::string prefix = base + "-";
  for (const std::string& name : ListFiles(dir, ".txt")) {
    if (name.compare(0, prefix.size(), prefix) == 0) paths.push_back(dir + "/" + name);
  }
  return paths;
}

std::vector<SourceFile> ReadSourceFiles(const std::vector<std::string>& paths,
                                        std::vector<SourceError>* errors) {
  std::vector<SourceFile> files;
  for (const std::string& path : paths) {
    SourceFile f{path, ""};
    std::string error;
    if (!ReadFile(path, &f.text, &error)) {
      errors->push_back({path, 0, error});
      continue;
    }
    files.push_back(std::move(f));
  }
  return files;
}

ekr_dictionaries CompiledSet::View() const {
  const auto b = [](const std::string& s) { return ekr_blob{s.data(), s.size()}; };
  return {b(settings), b(replace), b(tags), b(patterns), b(units), b(words)};
}

CompiledSet CompileSourceDir(const std::string& dir, std::vector<SourceError>* errors,
                             const std::vector<std::string>& without) {
  CompiledSet set;
  std::string* tries[4] = {&set.replace, &set.tags, &set.patterns, &set.units};
  for (int k = 0; k < 4; ++k) {
    std::vector<std::string> paths;
    for (const std::string& p : TrieSourceFiles(dir, kTrieSources[k].base)) {
      const std::string name = p.substr(p.rfind('/') + 1);
      if (std::find(without.begin(), without.end(), name) == without.end()) paths.push_back(p);
    }
    const auto files = ReadSourceFiles(paths, errors);
    const std::vector<SourceEntry> entries = ReadTrieSources(files, kTrieSources[k].kind, errors);
    for (const SourceEntry& e : entries) {
      const std::string file = e.file.substr(e.file.rfind('/') + 1);
      set.origins[k].emplace(e.entry.key, file + ":" + std::to_string(e.line));
    }
    *tries[k] = CompileTrie(entries, kTrieSources[k].kind);
  }
  std::string error;
  if (!ReadFile(dir + "/settings.txt", &set.settings, &error)) errors->push_back({dir + "/settings.txt", 0, error});
  std::string words;
  if (!ReadFile(dir + "/words.txt", &words, &error)) {
    errors->push_back({dir + "/words.txt", 0, error});
  } else {
    set.words = WordListText(ReadWordSource(words, dir + "/words.txt", errors));
  }
  return set;
}

}  // namespace eti
