#include <string>

#include "base/OrvaText.h"
#include "gtest/gtest.h"

namespace {

// "中文" (Chinese) in UTF-8 and in GBK.
const char kChineseUtf8[] = "\xE4\xB8\xAD\xE6\x96\x87";
const char kChineseGbk[] = "\xD6\xD0\xCE\xC4";

TEST(OrvaTextTest, RecognisesUtf8OnlyWhenValidAndNotPlainAscii) {
  EXPECT_TRUE(Orva::isUTF8_16(kChineseUtf8));
  EXPECT_TRUE(Orva::isUTF8_16(std::string("abc") + kChineseUtf8));
  EXPECT_FALSE(Orva::isUTF8_16("plain ascii"));
  EXPECT_FALSE(Orva::isUTF8_16(""));
  EXPECT_FALSE(Orva::isUTF8_16(nullptr));
  // GBK bytes of the same text are not valid UTF-8.
  EXPECT_FALSE(Orva::isUTF8_16(kChineseGbk));
  // Overlong "/" (C0 AF), a surrogate (ED A0 80), above U+10FFFF
  // (F4 90 80 80), and a sequence cut short.
  EXPECT_FALSE(Orva::isUTF8_16("\xC0\xAF"));
  EXPECT_FALSE(Orva::isUTF8_16("\xED\xA0\x80"));
  EXPECT_FALSE(Orva::isUTF8_16("\xF4\x90\x80\x80"));
  EXPECT_FALSE(Orva::isUTF8_16(kChineseUtf8, 5));
  // The length bounds the scan: the valid first character alone.
  EXPECT_TRUE(Orva::isUTF8_16(kChineseUtf8, 3));
}

TEST(OrvaTextTest, ConvertsBothWaysAndKeepsAscii) {
  EXPECT_EQ(kChineseGbk, Orva::UTF8_to_HOME(kChineseUtf8));
  EXPECT_EQ(kChineseUtf8, Orva::HOME_to_UTF8(kChineseGbk));
  std::string mixed = std::string("name=") + kChineseUtf8 + ";";
  EXPECT_EQ(std::string("name=") + kChineseGbk + ";",
            Orva::UTF8_to_HOME(mixed));
  EXPECT_EQ(mixed, Orva::HOME_to_UTF8(Orva::UTF8_to_HOME(mixed)));
  // Embedded zero bytes are text like any other when a length is given.
  EXPECT_EQ(std::string("a\0b", 3), Orva::UTF8_to_HOME("a\0b", 3));
}

TEST(OrvaTextTest, UnconvertibleCharactersBecomeOneQuestionMarkEach) {
  // U+1F600 (an emoji) has no GBK form; the text around it survives.
  std::string text = std::string("a\xF0\x9F\x98\x80") + kChineseUtf8 + "z";
  EXPECT_EQ(std::string("a?") + kChineseGbk + "z", Orva::UTF8_to_HOME(text));
  // Stray bytes that are not UTF-8 at all, one "?" per byte.
  EXPECT_EQ("x??y", Orva::UTF8_to_HOME("x\xFF\xFEy"));
  // A character cut short at the end.
  EXPECT_EQ(std::string(kChineseGbk, 2) + "?",
            Orva::UTF8_to_HOME(kChineseUtf8, 4));
  // Invalid GBK: a lead byte with nothing after it, and the byte 0xFF.
  EXPECT_EQ("a?", Orva::HOME_to_UTF8("a\xD6"));
  EXPECT_EQ("?b", Orva::HOME_to_UTF8("\xFF"
                                     "b"));
}

TEST(OrvaTextTest, LongTextsGrowTheOutput) {
  std::string utf8;
  std::string gbk;
  for (int i = 0; i < 5000; ++i) {
    utf8 += kChineseUtf8;
    gbk += kChineseGbk;
  }
  EXPECT_EQ(gbk, Orva::UTF8_to_HOME(utf8));
  EXPECT_EQ(utf8, Orva::HOME_to_UTF8(gbk));
}

}  // namespace
