// Whole calls of ETI_Main with the end-to-end test dictionary set, compiled
// from its readable sources, against the expectations of its case file.
#include <gtest/gtest.h>

#include "support/dict_builder.h"

namespace eti::testing {
namespace {

TEST(EndToEnd, CaseFile) {
  const DictSet dicts = LoadDictSet("tests/data/e2e");
  const std::vector<Case> cases = ReadCases("tests/data/e2e/cases.txt");
  ASSERT_GT(cases.size(), 30u);
  for (const Case& c : cases) {
    std::string content;
    const std::string json = Extract(dicts, c.text, c.ref);
    EXPECT_EQ(Summary(json, &content), c.expected)
        << "cases.txt:" << c.line << ": " << c.text << "\n" << json;
    if (c.expected != "-") {
      EXPECT_EQ(content, c.content) << "cases.txt:" << c.line << ": " << c.text;
    }
  }
}

}  // namespace
}  // namespace eti::testing
