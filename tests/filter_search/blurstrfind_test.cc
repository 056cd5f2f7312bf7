#include "filter/blurstrfind.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filter_search/BlurReference.h"

namespace {

using Values = std::vector<int64_t>;

int Add(blurstrfind& f, const std::string& key, int value) {
  return f.AddKey(key.data(), static_cast<int>(key.size()), value);
}

// The values a search appends, checked against its returned count.
Values Find(blurstrfind& f, const std::string& text, bool whole = false) {
  CDataArray out;
  int n = whole ? f.FindNumEx(text.data(), static_cast<int>(text.size()), out)
                : f.FindAllEx(text.data(), static_cast<int>(text.size()), out);
  EXPECT_EQ(n, out.GetSize());
  Values values;
  for (int i = 0; i < out.GetSize(); ++i) values.push_back(int64_t(out[i]));
  return values;
}

TEST(BlurStrFind, KeyKindsAndSearches) {
  blurstrfind f;
  ASSERT_EQ(0, Add(f, "abc", -7));  // values come back sign-extended
  ASSERT_EQ(0, Add(f, "ab,cd", 1));
  ASSERT_EQ(0, Add(f, "ef*gh", 2));
  ASSERT_EQ(0, Add(f, "ij|kl", 3));
  ASSERT_EQ(0, Add(f, "x", 4));
  EXPECT_EQ(Values({-7, -7}), Find(f, "..abc..abc"));
  EXPECT_EQ(Values({1}), Find(f, "cd.ab"));
  EXPECT_EQ(Values({1}), Find(f, "ab.cd"));
  EXPECT_EQ(Values({2}), Find(f, "gh.ef.gh"));  // gh counts only after ef
  EXPECT_EQ(Values(), Find(f, "gh.ef"));
  EXPECT_EQ(Values({3, 3, 3}), Find(f, "ij.kl.ij"));
  // The last byte never starts a match; a whole-text search takes it.
  EXPECT_EQ(Values({4}), Find(f, "xa"));
  EXPECT_EQ(Values(), Find(f, "ax"));
  EXPECT_EQ(Values(), Find(f, "x"));
  EXPECT_EQ(Values({4}), Find(f, "x", true));
  EXPECT_EQ(Values({-7}), Find(f, "abc", true));
  EXPECT_EQ(Values(), Find(f, "abcd", true));
  // A zero byte after a one-byte key must not report it twice.
  EXPECT_EQ(Values({4}), Find(f, std::string("x\0", 2)));
  // Progress never survives a search, partial or whole-text.
  EXPECT_EQ(Values(), Find(f, "ab.ef"));
  EXPECT_EQ(Values(), Find(f, "cd.gh"));
  EXPECT_EQ(Values(), Find(f, "ab", true));
  EXPECT_EQ(Values(), Find(f, "cd", true));
}

TEST(BlurStrFind, KeysAreRefusedSplitAndReleased) {
  blurstrfind f;
  EXPECT_EQ(-1, Add(f, "a*b,c", 1));
  EXPECT_EQ(0, Add(f, "abc", 1));
  EXPECT_EQ(-1, Add(f, "abc", 2));
  EXPECT_EQ(-1, f.AddKey("abcdef", 3, 2));  // only `length` bytes count
  // Beyond the tenth separator the rest, separators zeroed, is one piece.
  std::string eleven = "aa,bb,,cc,dd,ee,ff,gg,hh,ii,jj,kk,ll";
  ASSERT_EQ(0, Add(f, eleven, 6));
  const BLURSTRNODE* key = f.GetHead();
  ASSERT_EQ(11, key->piece_count);
  EXPECT_EQ(std::string("kk\0ll", 5),
            std::string(key->buffer + key->piece_offsets[10],
                        key->piece_lengths[10]));
  EXPECT_EQ(key, f.FindKey(eleven.data(), static_cast<int>(eleven.size())));
  EXPECT_EQ(1, key->next->value);
  // The state array grows by a hundred keys at a time.
  for (int i = f.GetSize(); i < 100; ++i) Add(f, "k" + std::to_string(i), i);
  EXPECT_EQ(100, f.GetStateCapacity());
  ASSERT_EQ(0, Add(f, "last,key", 100));
  EXPECT_EQ(200, f.GetStateCapacity());
  EXPECT_EQ(Values({100}), Find(f, "key last"));
  f.Close();
  EXPECT_EQ(0, f.GetSize());
  EXPECT_EQ(nullptr, f.GetHead());
  EXPECT_EQ(Values(), Find(f, "key last abc"));
  ASSERT_EQ(0, Add(f, "abc", 5));
  EXPECT_EQ(Values({5}), Find(f, "abc"));
}

// Random keys and texts over a tiny alphabet (with separators and zero
// bytes) against a slow model of the same rules: catches any position,
// piece or order that the index skips or offers twice.
TEST(BlurStrFind, AgreesWithASlowModel) {
  std::mt19937 rng(61);
  const char alphabet[] = {'a', 'b', 'c', 'a', 'b', ',', '*', '|', '\0'};
  auto random_text = [&](size_t max_len, size_t alphabet_size) {
    std::string s(rng() % (max_len + 1), ' ');
    for (char& c : s) c = alphabet[rng() % alphabet_size];
    return s;
  };
  for (int round = 0; round < 300; ++round) {
    blurstrfind f;
    quarn_test::BlurReference model;
    for (int i = 0, n = 1 + rng() % 12; i < n; ++i) {
      std::string key = random_text(i % 4 == 0 ? 40 : 7, 8);
      int value = static_cast<int>(rng() % 1000) - 500;
      ASSERT_EQ(model.Add(key, value), Add(f, key, value)) << key;
    }
    for (int t = 0; t < 10; ++t) {
      std::string text = random_text(48, t % 2 ? 9 : 5);
      ASSERT_EQ(model.Find(text, false), Find(f, text)) << round;
      std::string whole = random_text(4, 5);
      ASSERT_EQ(model.Find(whole, true), Find(f, whole, true)) << round;
    }
  }
}

// Many keys that share prefixes, are prefixes of one another, hold GBK
// bytes and long pieces, beside compound keys of every separator: the
// model must see the same values in the same order, and a growing index
// must keep every key it had.
TEST(BlurStrFind, AgreesWithASlowModelOnManyOverlappingKeys) {
  std::mt19937 rng(907);
  const char alphabet[] = {'a', 'b', 'a', '\xB0', '\xA1', 'c', ',', '*', '|'};
  auto random_text = [&](size_t min_len, size_t max_len, size_t size) {
    std::string s(min_len + rng() % (max_len - min_len + 1), ' ');
    for (char& c : s) c = alphabet[rng() % size];
    return s;
  };
  for (int round = 0; round < 12; ++round) {
    blurstrfind f;
    quarn_test::BlurReference model;
    for (int i = 0; i < 400; ++i) {
      std::string key = i % 50 == 0  ? std::string(200 + i, 'a')
                        : i % 3 == 0 ? random_text(1, 40, 9)
                                     : random_text(1, 8, 6);
      ASSERT_EQ(model.Add(key, i), Add(f, key, i)) << key;
    }
    for (int t = 0; t < 6; ++t) {
      std::string text = random_text(0, 600, t % 2 ? 9 : 6);
      if (t == 5) text += std::string(700, 'a');
      ASSERT_EQ(model.Find(text, false), Find(f, text)) << round;
      std::string whole = random_text(1, 3, 6);
      ASSERT_EQ(model.Find(whole, true), Find(f, whole, true)) << round;
    }
  }
}

// Duplicates are found by the text as strncmp sees it (up to a zero byte)
// and by length, at any key count.
// More pieces than a search takes in one go at a position, negative
// values, and a piece shared by keys that any occurrence satisfies, mixed
// with keys that need their other pieces.
TEST(BlurStrFind, ManyPiecesAtOnePositionAgreeWithTheModel) {
  for (int shared = 0; shared < 2; ++shared) {
    blurstrfind f;
    quarn_test::BlurReference model;
    int value = -40;
    for (size_t n = 1; n <= 30; ++n) {
      const std::string key(n, 'a');
      ASSERT_EQ(model.Add(key, value), Add(f, key, value));
      ++value;
    }
    if (shared != 0) {
      for (const char* key : {"aaa|zz", "aaaa,b", "b*aaaaa", "a|b"}) {
        ASSERT_EQ(model.Add(key, value), Add(f, key, value)) << key;
        ++value;
      }
    }
    for (const std::string& text :
         {std::string(40, 'a'), "b" + std::string(20, 'a') + "b",
          std::string(17, 'a') + "zz"}) {
      EXPECT_EQ(model.Find(text, false), Find(f, text)) << text;
    }
  }
}

TEST(BlurStrFind, DuplicatesAmongManyKeys) {
  blurstrfind f;
  for (int i = 0; i < 20000; ++i) {
    std::string key = "k" + std::to_string(i);
    ASSERT_EQ(0, Add(f, key, i));
  }
  EXPECT_EQ(-1, Add(f, "k123", 0));
  ASSERT_EQ(0, Add(f, std::string("ab\0c", 4), 1));
  EXPECT_EQ(-1, Add(f, std::string("ab\0d", 4), 2));
  EXPECT_EQ(0, Add(f, std::string("ab\0", 3), 3));
  ASSERT_NE(nullptr, f.FindKey("k19999", 6));
  EXPECT_EQ(19999, f.FindKey("k19999", 6)->value);
  EXPECT_EQ(nullptr, f.FindKey("k19999x", 7));
  EXPECT_EQ(20002, f.GetSize());
  // Keys that are prefixes of one another, newest first.
  EXPECT_EQ(Values({123, 12, 1}), Find(f, " k123 "));
}

}  // namespace
