#include <gtest/gtest.h>

#include <string>

#include "extractor_kr/stages.h"
#include "support/dict_builder.h"

namespace eti::testing {
namespace {

// "pos:text=NAME(value)|NAME..." per token, tokens joined by spaces.
std::string Dump(RETTAGS* tokens) {
  std::string out;
  for (RETTAGS* t = tokens; t != nullptr; t = t->next) {
    if (!out.empty()) out += " ";
    out += std::to_string(t->startPos) + ":" + Utf8(t->text) + "=";
    EXPECT_EQ(t->length, static_cast<int32_t>(std::string(t->text).size()));
    for (TAGATTR* a = t->attrs; a != nullptr; a = a->next) {
      if (a != t->attrs) out += "|";
      out += a->name;
      if (a->value != ETI_UNSET) out += "(" + std::to_string(a->value) + ")";
    }
  }
  Free_RETTAGS(tokens);
  return out;
}

constexpr char kTags[] =
    "내일\trDay[1]\n"
    "내일모레\trDay[2]\n"
    "모레\trDay[2]\n"
    "년\tYear,YUnit[2]\n"
    "시\tHour\n"
    "오후\tPM\n"
    "-x\tNever\n";  // starts with a separator: the tagger never looks it up

struct Case {
  const char* text;
  const char* tokens;
};

TEST(Tagger, TokensOfText) {
  const std::string blob = CompileTrie(DictKind::kTag, kTags);
  const Case cases[] = {
      {"2014.12", "0:2014=NUM(2014) 4:.=D_SEP(0) 5:12=NUM(12)"},
      {"123456789 5", "9: =SP(0) 10:5=NUM(5)"},  // nine digits: no token
      {"12345678", "0:12345678=NUM(12345678)"},
      {"a   b", "1:   =SP(0)"},
      {"1-2~3:4/5", "0:1=NUM(1) 1:-=Dur(3) 2:2=NUM(2) 3:~=Dur(3) 4:3=NUM(3) 5::=T_SEP(0) "
                    "6:4=NUM(4) 7:/=D_SEP(0) 8:5=NUM(5)"},
      // Entries are pushed at the front: the last one is the head.
      {"2014년", "0:2014=NUM(2014) 4:년=YUnit(2)|Year"},
      // Several entries at one place: all of them, longer first; and the
      // scan goes on at the next character, so words inside are tagged too.
      {"내일모레 오후 3시", "0:내일모레=rDay(2) 0:내일=rDay(1) 4:모레=rDay(2) "
                            "8: =SP(0) 9:오후=PM 13: =SP(0) 14:3=NUM(3) 15:시=Hour"},
      {"x-x", "1:-=Dur(3)"},
      {"\t\n", ""},
      {"", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Dump(StackFinder(Cp949(c.text).c_str(), blob.data())), c.tokens) << c.text;
  }
}

TEST(Tagger, TwoByteCharactersAreSteppedWhole) {
  // The trail byte of 모 (0xB8 0xF0) is never a start, even where a key
  // (0xF0 0xA1) would match from it.
  const std::string blob = CompileTrie(DictKind::kTag, Utf8("\xF0\xA1") + "\tX\n");
  EXPECT_EQ(Dump(StackFinder("\xB8\xF0\xA1", blob.data())), "");
  EXPECT_EQ(Dump(StackFinder("a\xF0\xA1", blob.data())), "1:" + Utf8("\xF0\xA1") + "=X");
}

TEST(Tagger, MakeTagStructParsesAndCutsSafely) {
  const std::string longName(100, 'N');
  const std::string value = "A[1],,B,C[-7]junk]," + longName + "[5]";
  retTypeBBT hit{3, const_cast<char*>("word"), const_cast<char*>(value.c_str()), nullptr};
  RETTAGS* t = MakeTagStruct(&hit);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->startPos, 3);
  EXPECT_EQ(t->length, 4);
  ASSERT_NE(t->attrs, nullptr);
  EXPECT_EQ(std::string(t->attrs->name), std::string(63, 'N'));  // cut to the buffer
  EXPECT_EQ(t->attrs->value, 5);
  EXPECT_EQ(Dump(t), "3:word=" + std::string(63, 'N') + "(5)|C(-7)|B|A(1)");

  const std::string huge(2000, 'Z');  // past the 512-byte work area
  retTypeBBT big{0, const_cast<char*>("w"), const_cast<char*>(huge.c_str()), nullptr};
  Free_RETTAGS(MakeTagStruct(&big));
  EXPECT_EQ(MakeTagStruct(nullptr), nullptr);
}

TEST(Tagger, RecognisersLeavePosOnTheLastByte) {
  int32_t pos = 10;
  RETTAGS* t = NumberAutomata("2024x", &pos);
  EXPECT_EQ(pos, 13);
  EXPECT_EQ(Dump(t), "10:2024=NUM(2024)");
  pos = 0;
  EXPECT_EQ(NumberAutomata("123456789", &pos), nullptr);
  EXPECT_EQ(pos, 8);
  pos = 4;
  EXPECT_EQ(Dump(SpaceAutomata("  x", &pos)), "4:  =SP(0)");
  EXPECT_EQ(pos, 5);
  pos = 0;
  EXPECT_EQ(SepAutomata("x", &pos), nullptr);
  EXPECT_EQ(SpaceAutomata("x", &pos), nullptr);
  EXPECT_EQ(NumberAutomata("x", &pos), nullptr);
}

}  // namespace
}  // namespace eti::testing
