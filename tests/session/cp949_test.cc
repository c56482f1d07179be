#include "session/cp949.h"

#include <gtest/gtest.h>

#include <string>

namespace eti {
namespace {

TEST(Cp949, KnownCharacters) {
  EXPECT_EQ(Cp949("가"), "\xB0\xA1");
  EXPECT_EQ(Cp949("내일 3시"), "\xB3\xBB\xC0\xCF 3\xBD\xC3");
  EXPECT_EQ(Cp949("똠"), "\x8C\x63");  // outside KS X 1001: the extended area
  EXPECT_EQ(Cp949("ABC~-:"), "ABC~-:");
  EXPECT_EQ(Utf8("\xB0\xA1\xB3\xAA"), "가나");
}

TEST(Cp949, EveryHangulSyllableRoundTrips) {
  for (uint32_t cp = 0xAC00; cp <= 0xD7A3; ++cp) {
    std::string utf8;
    utf8.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    utf8.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    utf8.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    std::string cp949, back;
    ConvertError error;
    ASSERT_TRUE(Utf8ToCp949(utf8, &cp949, &error)) << std::hex << cp;
    ASSERT_EQ(cp949.size(), 2u);
    ASSERT_GE(static_cast<unsigned char>(cp949[0]), 0x81);
    ASSERT_TRUE(Cp949ToUtf8(cp949, &back, &error));
    ASSERT_EQ(back, utf8);
  }
}

TEST(Cp949, RefusesWhatItCannotHold) {
  const struct {
    std::string text;
    size_t offset;
    const char* message;
  } cases[] = {
      {"ab\xF0\x9F\x98\x80", 2, "U+1F600 cannot be written in CP949"},
      {"a\xC3\x28", 1, "malformed UTF-8"},
      {"\xE0\x80\xAF", 0, "malformed UTF-8"},  // overlong
      {"\xED\xA0\x80", 0, "malformed UTF-8"},  // a surrogate
      {std::string("a\0b", 3), 1, "NUL character"},
      {"x\xE2\x82\xAC", 1, ""},  // the euro sign exists in CP949
  };
  for (const auto& c : cases) {
    std::string out;
    ConvertError error;
    const bool ok = Utf8ToCp949(c.text, &out, &error);
    if (c.message[0] == '\0') {
      EXPECT_TRUE(ok) << c.text;
      continue;
    }
    EXPECT_FALSE(ok) << c.text;
    EXPECT_EQ(error.offset, c.offset) << c.text;
    EXPECT_EQ(error.message, c.message) << c.text;
  }
  std::string out;
  ConvertError error;
  EXPECT_FALSE(Cp949ToUtf8("\xB0", &out, &error));       // a lone lead byte
  EXPECT_FALSE(Cp949ToUtf8("\xB0\x20", &out, &error));   // a bad trail byte
  EXPECT_FALSE(Cp949ToUtf8("\x80\xA1", &out, &error));
}

}  // namespace
}  // namespace eti
