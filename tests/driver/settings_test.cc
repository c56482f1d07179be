#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "extractor_kr/stages.h"

namespace {

// Settings read into a context whose fields start at `fill`.
ETS_CONTEXT Read(const char* settings, int32_t fill = 0) {
  ETS_CONTEXT ctx;
  std::memset(&ctx, 0, sizeof(ctx));
  for (int32_t& h : ctx.defaultAmPm) h = fill;
  ctx.defaultCentury = fill;
  SettingDefaultTime(&ctx, settings);
  return ctx;
}

// The half of the day read for each hour 0..12, one digit each.
std::string AmPm(const ETS_CONTEXT& ctx) {
  std::string out;
  for (const int32_t h : ctx.defaultAmPm) out += std::to_string(h);
  return out;
}

TEST(Settings, HourDefaultsAndCentury) {
  const struct {
    const char* text;
    const char* ampm;
    int32_t century;
  } cases[] = {
      {"DEFAULTTIME 13\n1 pm\n9 am\n", "0200000001000", 7},
      {"1 pm\nDEFAULTTIME 13\n", "0000000000000", 7},  // before the section
      {"DEFAULTTIME 13\n13 pm\n-1 am\n", "0000000000000", 7},
      {"DEFAULTTIME 13\nX am\n", "1000000000000", 7},  // a word is hour 0
      {"DEFAULTTIME 13\n3 PM\n4 noon\n", "0000000000000", 7},
      {"DEFAULTTIME 2\n", "0077777777777", 7},  // only the first two
      {"DEFAULTTIME 500\n", "0000000000000", 7},  // clamped
      {"DEFAULTTIME -3\n12 pm\n", "7777777777772", 7},
      {"DEFAULTCENTURY\t2000\r\n", "7777777777777", 2000},
      {"  \n# DEFAULTCENTURY 19\n", "7777777777777", 7},
      {"  # DEFAULTCENTURY 19\n", "7777777777777", 7},
      {"DEFAULTCENTURY\n", "7777777777777", 7},  // no value
      {"DEFAULTCENTURY", "7777777777777", 7},
      {"DEFAULTCENTURY   \n", "7777777777777", 7},
      {"DEFAULTCENTURY 1900 trailing words\nDEFAULTCENTURY 2000", "7777777777777", 2000},
      {"\tDEFAULTTIME 13\n 5   pm  \n", "0000020000000", 7},
      {"defaulttime 13\n5 pm\n", "7777777777777", 7},  // keys are exact
      {"", "7777777777777", 7},
  };
  for (const auto& c : cases) {
    const ETS_CONTEXT ctx = Read(c.text, 7);
    EXPECT_EQ(AmPm(ctx), c.ampm) << c.text;
    EXPECT_EQ(ctx.defaultCentury, c.century) << c.text;
  }
}

TEST(Settings, LeavesTheOtherFieldsAlone) {
  ETS_CONTEXT ctx;
  std::memset(&ctx, 0, sizeof(ctx));
  ctx.reference = reinterpret_cast<DTINFO*>(0x20);
  SettingDefaultTime(&ctx, "DEFAULTTIME 13\nDEFAULTCENTURY 2000\n");
  EXPECT_TRUE(ctx.reference == reinterpret_cast<DTINFO*>(0x20) && ctx.unitSeqTrie == nullptr);
  SettingDefaultTime(&ctx, nullptr);
  SettingDefaultTime(nullptr, "DEFAULTCENTURY 1");
}

TEST(Settings, OverlongLinesAreReadInPieces) {
  // The second piece of a long line is a line of its own: "9 pm".
  std::string text = "DEFAULTTIME 13\n" + std::string(1022, ' ') + "x9 pm\n";
  const ETS_CONTEXT ctx = Read(text.c_str());
  EXPECT_EQ(ctx.defaultAmPm[9], 2);
}

TEST(GetLineS, CopiesOneLineAtATime) {
  char line[8];
  const char* source = "ab\ncdefghijk";
  char* end = getLineS(line, 8, source);
  ASSERT_NE(end, nullptr);
  EXPECT_STREQ(line, "ab\n");
  EXPECT_EQ(end, line + 3);
  end = getLineS(line, 8, source + 3);
  EXPECT_STREQ(line, "cdefghi");  // capacity - 1 bytes
  end = getLineS(line, 8, source + 10);
  EXPECT_STREQ(line, "jk");
  EXPECT_EQ(getLineS(line, 8, ""), nullptr);
  EXPECT_STREQ(line, "");
  EXPECT_EQ(getLineS(line, 1, "abc"), nullptr);
  EXPECT_STREQ(line, "");
}

}  // namespace
