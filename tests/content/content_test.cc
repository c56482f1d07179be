#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "extractor_kr/stages.h"
#include "support/dict_builder.h"
#include "support/temp_dir.h"

namespace eti::testing {
namespace {

std::string Stripped(const std::string& tagged) {
  std::vector<char> out(tagged.size() + 1);
  EXPECT_EQ(RemoveDTTag(tagged.c_str(), out.data()), 1);
  return out.data();
}

TEST(Content, RemoveDTTagStripsEveryTagKind) {
  EXPECT_EQ(Stripped("<D>내일</D> <T>3시</T>에 <L>회의</L><C>실</C>"), "내일 3시에 회의실");
  EXPECT_EQ(Stripped("<T><T>a</T></T>"), "a");
  EXPECT_EQ(Stripped("<<T>T>x</</T>T>"), "x");  // removing one tag can form another
  EXPECT_EQ(Stripped("no tags"), "no tags");
}

TEST(Content, ConvertDataWrapsRunsOfOnes) {
  const struct {
    const char* text;
    const char* mask;
    const char* expected;
  } cases[] = {
      {"abcd", "1111", "<T>abcd</T> "},
      {"abcd", "0000", "abcd "},
      {"abcdef", "011001", "a<T>bc</T>de<T>f</T> "},
      {"", "", " "},
  };
  for (const auto& c : cases) {
    char* out = ConvertData(c.text, c.mask);
    ASSERT_NE(out, nullptr) << c.text;
    EXPECT_STREQ(out, c.expected) << c.mask;
    std::free(out);
  }
  EXPECT_EQ(ConvertData("abc", "11"), nullptr);
  // Alternating marks outgrow 1024 bytes: the result grows with them.
  const std::string text(600, 'x');
  std::string mask;
  for (int k = 0; k < 600; ++k) mask += (k % 2) ? '1' : '0';
  char* big = ConvertData(text.c_str(), mask.c_str());
  ASSERT_NE(big, nullptr);
  EXPECT_EQ(std::string(big).size(), 600u + 300u * 7u + 1u);
  std::free(big);
}

class RemovalFile : public ::testing::Test {
 protected:
  void Write(const std::string& utf8) { dir_.Write("rem_words.dic", Cp949(utf8)); }
  std::string Extract(const std::string& taggedUtf8) {
    char* out = ExtractContent(Cp949(taggedUtf8).c_str(), dir_.path().c_str());
    if (out == nullptr) return "NULL";
    std::string s = Utf8(out);
    std::free(out);
    return s;
  }
  TempDir dir_;
};

TEST_F(RemovalFile, SpacesOnlyNeedNoFile) {
  EXPECT_EQ(Extract("<T>  </T>\t"), "  \t");
  EXPECT_EQ(Extract("회의"), "NULL");  // the file is missing
}

TEST_F(RemovalFile, SectionsApplyInFileOrder) {
  Write(
      "요\r\n"            // before any header: an ending
      "emotion\n"
      "ㅋㅋ\n"            // written in the marked form: ㅋ_ㅋ
      "ㅋ_ㅋ\n"
      "useless\n"
      "그냥\n"
      "# comment\n"
      "\n"
      "headWord\n"
      "메모\n"
      "ending\n"
      "에서 trailing words are ignored\n");
  // Tags go, their words stay: this text was tagged but lists no time word.
  EXPECT_EQ(Extract("메모 <T>내일</T> 회의 ㅋㅋ 그냥 하자"), "내일 회의 하자");
  EXPECT_EQ(Extract("카페에서 보자"), "보자");
  EXPECT_EQ(Extract("아주아주긴카페에서 보자"), "아주아주긴카페에서 보자");  // over 10 bytes
  EXPECT_EQ(Extract("  회의   그냥  하자  "), "회의 하자");
}

TEST_F(RemovalFile, OverlongTextsAreRefused) {
  Write("ending\n");
  const std::string text(1024, 'a');
  EXPECT_EQ(ExtractContent(text.c_str(), dir_.path().c_str()), nullptr);
  std::vector<char> out(text.size() + 1, 'x');
  EXPECT_EQ(RemoveDTTag(text.c_str(), out.data()), 0);
  EXPECT_EQ(out[0], '\0');
  EXPECT_EQ(ConvertData(text.c_str(), std::string(1024, '0').c_str()), nullptr);
  EXPECT_EQ(RemoveDTwithJosa(text.c_str(), out.data(), ""), 0);
}

std::string Josa(const std::string& taggedUtf8, const std::string& particlesUtf8) {
  const std::string tagged = Cp949(taggedUtf8);
  std::vector<char> out(tagged.size() + 1);
  EXPECT_EQ(RemoveDTwithJosa(tagged.c_str(), out.data(), CompileWords(particlesUtf8).c_str()), 1);
  return Utf8(out.data());
}

TEST(Content, RemoveDTwithJosaTakesTheParticleAlong) {
  EXPECT_EQ(Josa("<T>내일</T>에 보자", "에\n에는\n"), " 보자");
  EXPECT_EQ(Josa("<T>내일</T>에는 <T>3시</T>까지 보자", "에\n까지\n"), "는  보자");
  EXPECT_EQ(Josa("<D>내일</D> 보자", "에\n"), "<D>내일</D> 보자");  // only <T> spans
  // The meal exception never fires on CP949 text: the word goes with its
  // particle like any other.
  EXPECT_EQ(Josa("<T>아침</T>먹자", "먹\n"), "자");
  EXPECT_EQ(Josa("<T>열린 채", ""), "<T>열린 채");  // an unclosed span stays
}

}  // namespace
}  // namespace eti::testing
