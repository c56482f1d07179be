// The development corpus through ETI_Main with the bundled dictionaries,
// compiled from their sources: every sentence must give its expected
// results.  Prints the coverage of each class.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/dict_builder.h"

namespace eti::testing {
namespace {

std::vector<std::string> CorpusFiles() {
  std::vector<std::string> files;
  const std::string dir = std::string(ETI_SOURCE_DIR) + "/corpus/ko";
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      const std::string name = e->d_name;
      if (name.size() > 4 && name.substr(name.size() - 4) == ".tsv") files.push_back(name);
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(Corpus, EverySentenceGivesItsExpectedResults) {
  const DictSet dicts = LoadDictSet("dicts/ko");
  const std::vector<std::string> files = CorpusFiles();
  ASSERT_EQ(files.size(), 10u);
  int total = 0, passed = 0;
  std::printf("%-22s %9s %7s\n", "class", "sentences", "passed");
  for (const std::string& file : files) {
    int n = 0, ok = 0;
    for (const Case& c : ReadCases("corpus/ko/" + file)) {
      std::string content;
      const std::string got = Summary(Extract(dicts, c.text, c.ref), &content);
      const bool good = got == c.expected && (c.expected == "-" || content == c.content);
      EXPECT_TRUE(good) << file << ":" << c.line << ": " << c.text << "\n  want " << c.expected
                        << " [" << c.content << "]\n  got  " << got << " [" << content << "]";
      ++n;
      ok += good;
    }
    EXPECT_GE(n, 10) << file << " holds fewer than ten sentences";
    std::printf("%-22s %9d %7d\n", file.substr(0, file.size() - 4).c_str(), n, ok);
    total += n;
    passed += ok;
  }
  std::printf("%-22s %9d %7d\n", "all", total, passed);
  EXPECT_GE(total, 300);
}

}  // namespace
}  // namespace eti::testing
