#include <string>
#include <vector>

#include "base/CMatchString.h"
#include "base/CStr.h"
#include "base/OrvaString.h"
#include "gtest/gtest.h"

namespace {

typedef std::vector<std::string> Pieces;

int Split(const std::string& key, Pieces* pieces) {
  return Orva::SplitFullKey(key.data(), key.size(), *pieces);
}

TEST(MemstrTest, SearchStaysInsideTheGivenLength) {
  const char data[] = "www.example.com/path";
  EXPECT_EQ(data + 4, Orva::memstr(data, sizeof(data) - 1, "example"));
  // The needle lies partly beyond the bound.
  EXPECT_EQ(nullptr, Orva::memstr(data, 10, "example"));
  EXPECT_EQ(data + 4, Orva::memstr(data, 11, "example"));
  EXPECT_EQ(nullptr, Orva::memstr(data, sizeof(data) - 1, "EXAMPLE"));
  EXPECT_EQ(data, Orva::memstr(data, 3, ""));
  // Data with zero bytes is searched past them.
  const char binary[] = {'a', '\0', 'b', 'c'};
  EXPECT_EQ(binary + 2, Orva::memstr(binary, 4, "bc"));
}

TEST(StrLwrTest, FoldsAsciiLettersButNotDoubleByteCharacters) {
  char text[] = "ABC xyz \x95\x41 Q";
  EXPECT_EQ(text, Orva::str_lwr(text));
  EXPECT_STREQ("abc xyz \x95\x41 q", text);
  EXPECT_EQ(nullptr, Orva::str_lwr(static_cast<char*>(nullptr)));
  EXPECT_EQ(std::string("a\0b", 3), Orva::str_lwr(std::string("A\0B", 3)));
  // A lead byte at the very end has no trail byte to protect.
  EXPECT_EQ("x\x95", Orva::str_lwr(std::string("X\x95")));
}

TEST(SplitFullKeyTest, SeparatorKindGivesTheBlurType) {
  Pieces pieces;
  EXPECT_EQ(Orva::kBlurOrdered, Split("ab*cd*ef", &pieces));
  EXPECT_EQ((Pieces{"ab", "cd", "ef"}), pieces);
  EXPECT_EQ(Orva::kBlurAllPieces, Split("ab,cd", &pieces));
  EXPECT_EQ((Pieces{"ab", "cd"}), pieces);
  EXPECT_EQ(Orva::kBlurAnyPiece, Split("ab|cd", &pieces));
  EXPECT_EQ((Pieces{"ab", "cd"}), pieces);
  EXPECT_EQ(Orva::kBlurAllPieces, Split("plain key", &pieces));
  EXPECT_EQ((Pieces{"plain key"}), pieces);
  // Empty pieces are dropped.
  EXPECT_EQ(Orva::kBlurOrdered, Split("*www.**.com*", &pieces));
  EXPECT_EQ((Pieces{"www.", ".com"}), pieces);
  // A zero byte is an ordinary byte of a piece.
  EXPECT_EQ(Orva::kBlurAllPieces, Split(std::string("a\0b", 3), &pieces));
  EXPECT_EQ((Pieces{std::string("a\0b", 3)}), pieces);
}

TEST(SplitFullKeyTest, RefusesUnusableKeys) {
  Pieces pieces = {"stale"};
  EXPECT_EQ(Orva::kBlurRefused, Split("", &pieces));
  EXPECT_TRUE(pieces.empty());
  EXPECT_EQ(Orva::kBlurRefused, Split("a*b,c", &pieces));
  EXPECT_EQ(Orva::kBlurRefused, Split("a|b*c", &pieces));
  EXPECT_EQ(Orva::kBlurRefused, Split(",,,", &pieces));
  EXPECT_EQ(Orva::kBlurRefused, Orva::SplitFullKey(nullptr, 3, pieces));

  std::string key = "p0";
  for (int i = 1; i < Orva::kMaxKeyPieces; ++i) key += "|p" + std::to_string(i);
  EXPECT_EQ(Orva::kBlurAnyPiece, Split(key, &pieces));
  EXPECT_EQ(static_cast<size_t>(Orva::kMaxKeyPieces), pieces.size());
  EXPECT_EQ(Orva::kBlurRefused, Split(key + "|one_more", &pieces));
  EXPECT_TRUE(pieces.empty());
  // Trailing separators do not count as pieces.
  EXPECT_EQ(Orva::kBlurAnyPiece, Split(key + "||", &pieces));
}

TEST(CMatchStringTest, WildcardsMatchWholeNamesWithoutLetterCase) {
  CMatchString matcher;
  EXPECT_FALSE(matcher.match("a.exe"));
  matcher.set_multi_match_string(" *.EXE ; report??.doc|;a*b*c ");
  EXPECT_EQ((Pieces{"*.exe", "report??.doc", "a*b*c"}), matcher.patterns());
  EXPECT_TRUE(matcher.match("setup.exe"));
  EXPECT_TRUE(matcher.match("SETUP.Exe"));
  EXPECT_TRUE(matcher.match(".exe"));
  EXPECT_FALSE(matcher.match("setup.exe.bak"));
  EXPECT_TRUE(matcher.match("report01.doc"));
  EXPECT_FALSE(matcher.match("report1.doc"));
  EXPECT_FALSE(matcher.match("report001.doc"));
  EXPECT_TRUE(matcher.match("aXXbYYbZc"));
  EXPECT_FALSE(matcher.match("aXXbYYbZ"));
  EXPECT_FALSE(matcher.match(nullptr));
  // The length bounds the name.
  EXPECT_TRUE(matcher.match("setup.exe-trailing", 9));

  CMatchString none;
  none.set_multi_match_string(" ; | ");
  EXPECT_TRUE(none.empty());
  EXPECT_FALSE(none.match(""));
}

TEST(CMatchStringTest, DoubleByteCharactersAreWholeAndNotCaseFolded) {
  // GBK "\x95\x41" and "\x95\x61": trail bytes "A" and "a", two different
  // characters that folding byte by byte would confuse.
  CMatchString matcher;
  matcher.set_multi_match_string("\x95\x41.txt");
  EXPECT_TRUE(matcher.match("\x95\x41.txt"));
  EXPECT_FALSE(matcher.match("\x95\x61.txt"));
  // "?" takes one whole double-byte character.
  matcher.set_multi_match_string("?.txt");
  EXPECT_TRUE(matcher.match("\xD6\xD0.txt"));
  EXPECT_TRUE(matcher.match("a.txt"));
  EXPECT_FALSE(matcher.match("ab.txt"));
  // "\x95\x7C" holds a "|" trail byte: still one pattern.
  matcher.set_multi_match_string("\x95\x7C*");
  ASSERT_EQ(1u, matcher.patterns().size());
  EXPECT_TRUE(
      matcher.match("\x95\x7C"
                    "abc"));
}

TEST(CMatchStringTest, EqualityFollowsTheNormalisedPatterns) {
  CMatchString a, b;
  a.set_multi_match_string("*.EXE;*.zip");
  b.set_multi_match_string(" *.exe |*.ZIP");
  EXPECT_TRUE(a == b);
  CMatchString copy = a;
  EXPECT_TRUE(copy == a);
  b.set_multi_match_string("*.zip;*.exe");
  EXPECT_TRUE(a != b);
}

TEST(CStrTest, TrimsAsciiBlanksAndFormats) {
  CStr text("  \t host name \r\n");
  EXPECT_EQ("host name", text.AllTrim().str());
  CStr blanks(" \t ");
  EXPECT_TRUE(blanks.AllTrim().empty());
  // A double-byte character is never cut.
  CStr gbk(" \xD6\xD0 ");
  EXPECT_EQ("\xD6\xD0", gbk.AllTrim().str());
  EXPECT_EQ("x  ", CStr("  x  ").LeftTrim().str());

  EXPECT_EQ("18446744073709551615",
            CStr::Format("%llu", 18446744073709551615ull).str());
  std::string long_text(1000, 'z');
  EXPECT_EQ("<" + long_text + ">",
            CStr::Format("<%s>", long_text.c_str()).str());
  EXPECT_TRUE(CStr(static_cast<const char*>(nullptr)).empty());
}

}  // namespace
