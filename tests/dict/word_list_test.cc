#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "extractor_kr/stages.h"

namespace {

std::vector<std::string> Words(const char* text, int32_t* result) {
  DicHanddle* dic = nullptr;
  EXPECT_EQ(InitDicHanddle(&dic), 1);
  *result = MakeDic(&dic, text);
  std::vector<std::string> words(dic->words, dic->words + dic->count);
  EXPECT_EQ(FreeDicHanddle(&dic), 1);
  return words;
}

TEST(WordList, LinesBecomeWordsInOrder) {
  const struct {
    const char* text;
    std::vector<std::string> words;
  } cases[] = {
      {"", {}},
      {"\xBF\xA1\n\xBF\xA1\xB4\xC2\n", {"\xBF\xA1", "\xBF\xA1\xB4\xC2"}},
      {"a\nb", {"a", "b"}},             // the last line without a line feed
      {"abc\r\n", {"abc"}},             // CR and LF both go
      {"\n", {""}},                     // a blank line is an empty word
      {"\r\r\n\n", {"", ""}},
      {" x \n", {" x "}},               // nothing is trimmed at the start
      {"b\na\nb\n", {"b", "a", "b"}},   // neither sorted nor made unique
  };
  for (const auto& c : cases) {
    int32_t result = 0;
    EXPECT_EQ(Words(c.text, &result), c.words) << c.text;
    EXPECT_EQ(result, 1);
  }
}

TEST(WordList, LongLinesComeOutInPieces) {
  const std::string line(2000, 'x');
  int32_t result = 0;
  const auto words = Words((line + "\nend\n").c_str(), &result);
  ASSERT_EQ(words.size(), 3u);
  EXPECT_EQ(words[0].size(), 1023u);
  EXPECT_EQ(words[1].size(), 2000u - 1023u);
  EXPECT_EQ(words[2], "end");
}

TEST(WordList, NullHandles) {
  DicHanddle* dic = nullptr;
  EXPECT_EQ(FreeDicHanddle(&dic), 0);
  EXPECT_EQ(MakeDic(&dic, "a\n"), 0);
  ASSERT_EQ(InitDicHanddle(&dic), 1);
  EXPECT_EQ(MakeDic(&dic, nullptr), 1);
  EXPECT_EQ(dic->count, 0);
  EXPECT_EQ(FreeDicHanddle(&dic), 1);
}

}  // namespace
