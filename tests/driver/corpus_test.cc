// The development corpus through ETI_Main with the bundled dictionaries,
// compiled from their sources: every sentence must give its expected
// results.  Prints the coverage of each class.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "common/case_file.h"
#include "support/dict_builder.h"

namespace eti::testing {
namespace {

TEST(Corpus, EverySentenceGivesItsExpectedResults) {
  const DictSet dicts = LoadDictSet("dicts/ko");
  const std::vector<std::string> files =
      tools::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv");
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
