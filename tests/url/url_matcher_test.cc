#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "url/CBlurKeyMatcher.h"
#include "url/URLTypes.h"

namespace {

typedef CBlurKeyMatcher<URL_TYPE, URL_GROUP_TYPE> Matcher;

int Add(Matcher& m, const std::string& key, uint64_t hitype) {
  return m.AddKey(key.data(), key.size(), URL_TYPE(hitype, 0));
}

uint64_t Contains(Matcher& m, const std::string& text) {
  URL_GROUP_TYPE result;
  m.ContainsSearch(text.data(), text.size(), result);
  return result.hitype;
}

TEST(BlurKeyMatcherTest, BlurTypesDecideWhatCompletesAPattern) {
  Matcher m(100);
  ASSERT_EQ(1, Add(m, "alpha*beta", 1));   // in order
  ASSERT_EQ(1, Add(m, "gamma,delta", 2));  // all, any order (after a split)
  ASSERT_EQ(1, Add(m, "eps|zeta", 4));     // any one
  EXPECT_EQ(1u, Contains(m, "xxalpha--betaxx"));
  EXPECT_EQ(0u, Contains(m, "xxbeta--alphaxx"));
  EXPECT_EQ(2u, Contains(m, "delta...gamma"));
  EXPECT_EQ(0u, Contains(m, "delta...gamm"));
  EXPECT_EQ(4u, Contains(m, "--zeta--"));
  EXPECT_EQ(7u, Contains(m, "alpha beta gamma delta eps"));
  // Fragments that share their first bytes are all found at one position.
  ASSERT_EQ(1, Add(m, "ab", 8));
  ASSERT_EQ(1, Add(m, "abcd", 16));
  ASSERT_EQ(1, Add(m, "abce", 32));
  EXPECT_EQ(8u | 16u, Contains(m, "zabcd"));
  EXPECT_EQ(2u, m.min_fragment_length());
}

TEST(BlurKeyMatcherTest, ProgressNeverLeaksIntoTheNextSearch) {
  Matcher m(100);
  ASSERT_EQ(1, Add(m, "left*right", 1));
  ASSERT_EQ(1, Add(m, "one,two", 2));
  EXPECT_EQ(0u, Contains(m, "left only"));
  EXPECT_EQ(0u, Contains(m, "right only"));
  EXPECT_EQ(0u, Contains(m, "one only"));
  EXPECT_EQ(0u, Contains(m, "two only"));
  // Nor from a label that saw a part into the next label.
  URL_GROUP_TYPE result;
  std::string text = "x.one.two";
  EXPECT_EQ(0, m.LabelSearch(text.data(), text.size(), result));
  EXPECT_TRUE(result.IsZero());
  EXPECT_EQ(3u, Contains(m, "left one right two"));
  EXPECT_EQ(0u, Contains(m, "right"));
}

TEST(BlurKeyMatcherTest, RefusedPatternsLeaveNothingBehind) {
  Matcher m(5);
  EXPECT_EQ(0, Add(m, "a*bcd", 1));  // one-byte fragment
  EXPECT_EQ(0, Add(m, "", 1));
  EXPECT_EQ(0, Add(m, "x,y", 1));
  ASSERT_EQ(1, Add(m, "first,second,third", 2));
  EXPECT_EQ(3u, m.fragment_count());
  // Three fragments do not fit in the two entries left: refused whole.
  EXPECT_EQ(0, Add(m, "bcd*cde*def", 4));
  EXPECT_EQ(3u, m.fragment_count());
  EXPECT_EQ(0u, Contains(m, "bcd cde def"));
  // The room is still there for patterns that fit.
  ASSERT_EQ(1, Add(m, "bcd*cde", 8));
  EXPECT_EQ(8u, Contains(m, "bcd cde def"));
  EXPECT_EQ(0, Add(m, "zz", 16));
  EXPECT_EQ(5u, m.fragment_count());

  // More than 31 fragments is refused; 31 still fits the mask.
  Matcher wide(1000);
  std::string key31, key32;
  for (int i = 0; i < 32; ++i) {
    std::string piece = "p" + std::to_string(100 + i);
    if (i < 31) key31 += (i ? "," : "") + piece;
    key32 += (i ? "," : "") + piece;
  }
  EXPECT_EQ(0, Add(wide, key32, 1));
  ASSERT_EQ(1, Add(wide, key31, 2));
  EXPECT_EQ(2u, Contains(wide, key32));
  EXPECT_EQ(0u, Contains(wide, key31.substr(5)));
}

TEST(BlurKeyMatcherTest, EqualPatternsMergeAndCopiesAreIndependent) {
  Matcher m(100);
  ASSERT_EQ(1, Add(m, "ab*cd", 1));
  ASSERT_EQ(1, Add(m, "ab*cd", 2));
  ASSERT_EQ(1, Add(m, "abc*d2", 4));
  EXPECT_EQ(2u, m.pattern_count());
  EXPECT_EQ(3u, Contains(m, "ab..cd"));

  Matcher copy(m);
  ASSERT_EQ(1, Add(copy, "new1", 8));
  EXPECT_EQ(8u, Contains(copy, "new1"));
  EXPECT_EQ(0u, Contains(m, "new1"));
  EXPECT_EQ(3u, Contains(m, "ab..cd"));
}

TEST(BlurKeyMatcherTest, EmptyMatcherFindsNothing) {
  Matcher m(0);
  EXPECT_EQ(0, Add(m, "abc", 1));
  EXPECT_EQ(SIZE_MAX, m.min_fragment_length());
  EXPECT_EQ(0u, Contains(m, "abc"));
  URL_GROUP_TYPE result;
  EXPECT_EQ(0, m.PrefixSearch("abc", 3, result));
  EXPECT_EQ(0, m.LabelSearch("a.abc", 5, result));
}

// Random patterns and texts over a three-letter alphabet, so fragments share
// prefixes and overlap; the matcher must agree with a plain substring test.
TEST(BlurKeyMatcherTest, AgreesWithSubstringSearchOnRandomInput) {
  std::mt19937 rng(7);
  auto word = [&](size_t min, size_t max) {
    std::string w;
    size_t n = min + rng() % (max - min + 1);
    for (size_t i = 0; i < n; ++i) w += "ab."[rng() % 3];
    return w;
  };
  for (int round = 0; round < 200; ++round) {
    Matcher m(1000);
    std::vector<std::vector<std::string>> patterns;  // bit i: patterns[i]
    std::vector<bool> needs_one;
    for (int i = 0; i < 20; ++i) {
      std::vector<std::string> parts = {word(2, 5)};
      if (rng() % 3 == 0) parts.push_back(word(2, 4));
      bool any = rng() % 2 == 0;
      std::string key = parts[0];
      if (parts.size() > 1) key += (any ? "|" : ",") + parts[1];
      ASSERT_EQ(1, Add(m, key, uint64_t{1} << i)) << key;
      patterns.push_back(parts);
      needs_one.push_back(any || parts.size() == 1);
    }
    for (int t = 0; t < 20; ++t) {
      std::string text = word(0, 16);
      uint64_t want = 0;
      for (size_t i = 0; i < patterns.size(); ++i) {
        size_t found = 0;
        for (const std::string& f : patterns[i]) {
          found += text.find(f) != std::string::npos;
        }
        if (needs_one[i] ? found > 0 : found == patterns[i].size()) {
          want |= uint64_t{1} << i;
        }
      }
      EXPECT_EQ(want, Contains(m, text)) << text;
    }
  }
}

}  // namespace
