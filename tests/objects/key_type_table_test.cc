#include <string.h>

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "objects/CKeyTypeTable.h"
#include "objects/KeyTableReference.h"
#include "support/AllocationCounter.h"
#include "support/TempDir.h"

namespace {

uint64_t Text(CKeyTypeTable& t, const std::string& s) {
  return t.TextMatch(s.data(), s.size());
}
uint64_t Head(CKeyTypeTable& t, const std::string& s) {
  return t.HeadMatch(s.data(), s.size());
}
uint64_t Exact(CKeyTypeTable& t, const std::string& s) {
  return t.FindExact(s.data(), s.size());
}

std::string WriteTemp(const std::string& name, const std::string& bytes) {
  std::string path = quarn_test::MakeTempDir("keytable") + "/" + name;
  quarn_test::WriteFile(path, bytes);
  return path;
}

// A table with room for `pieces` pieces in each piece table.
void Build(CKeyTypeTable* t, uint64_t pieces) {
  ASSERT_EQ(1, t->Create(pieces, pieces, 256, 65536));
}

void Add(CKeyTypeTable* t, uint64_t mask, const std::string& key) {
  ASSERT_EQ(1, t->AddBinaryKey(mask, key.data(), key.size())) << key;
}

TEST(KeyTypeTableTest, XmlFileTypesFormatsAndQueries) {
  // "\xB0\x41" is one GBK character whose second byte is "A": lowering the
  // key must leave it alone.
  const std::string xml =
      "<?xml version=\"1.0\" encoding=\"GBK\"?><keywords><version>7</version>"
      "<type id=\"65\"><key>ABC</key><key format=\"b\">4142</key>"
      "<key format=\"b\">" +
      std::string(200, 'a') +
      "</key>"
      "<key format=\"b\">41zz</key><key></key></type>"
      "<type id=\"3\"><key>X\xB0\x41Y</key></type>"
      "<type id=\"0\"><key>zero</key></type><type><key>none</key></type>"
      "</keywords>";
  CKeyTypeTable t;
  EXPECT_EQ(0u, Text(t, "abc"));  // not built yet
  ASSERT_EQ(1, t.Load_xml(WriteTemp("sample.kw.xml", xml).c_str()));
  EXPECT_EQ(7u, t.GetVersion());
  std::string name;
  t.GetConfigName(name);
  EXPECT_EQ("sample.kw", name);
  EXPECT_EQ(3u, t.KeyCount());

  EXPECT_EQ(2u, Text(t, "xxabcxx"));
  EXPECT_EQ(0u, Text(t, "xxAbCxx"));  // texts are matched as given
  EXPECT_EQ(2u, Text(t, "--AB--"));   // binary keys keep their case
  EXPECT_EQ(2u, Head(t, "abcdef"));
  EXPECT_EQ(0u, Exact(t, "abcdef"));
  EXPECT_EQ(2u, Exact(t, "abc"));
  EXPECT_EQ(0u, Head(t, "xabc"));
  EXPECT_EQ(8u, Text(t, "..x\xB0\x41y.."));
  EXPECT_EQ(0u, Text(t, "zero none"));
  EXPECT_EQ(0u, Text(t, "a"));  // shorter than every piece

  EXPECT_EQ(0, t.Load_xml("/nonexistent/keys.xml"));
  EXPECT_EQ(0, t.Load_xml(WriteTemp("bad.xml", "<keywords><type").c_str()));
  EXPECT_EQ(2u, Text(t, "abc"));  // failed loads change nothing
}

TEST(KeyTypeTableTest, TextFileLines) {
  const std::string ini =
      "secret,1\n"
      "draft,0\n"
      "nocomma\n"
      "bad,x\n"
      "Upper,1\r\n"
      "q,1\n";
  CKeyTypeTable t;
  ASSERT_EQ(1, t.Load_ini(WriteTemp("keys.txt", ini).c_str()));
  EXPECT_EQ(3u, t.KeyCount());
  EXPECT_EQ(2u, Text(t, "top secret"));
  EXPECT_EQ(0u, Text(t, "a draft nocomma bad"));
  EXPECT_EQ(2u, Text(t, "Upper"));
  EXPECT_EQ(0u, Text(t, "upper"));
  EXPECT_EQ(2u, Head(t, "q"));
  EXPECT_EQ(0, t.Load_ini("/nonexistent/keys.txt"));

  // A file whose keys are all one byte long builds only the one-byte table.
  CKeyTypeTable single;
  ASSERT_EQ(1, single.Load_ini(WriteTemp("one.txt", "a,1\nb,1\n").c_str()));
  EXPECT_EQ(2u, Head(single, "a"));
  EXPECT_EQ(0u, Head(single, "ab"));
  EXPECT_EQ(2u, Text(single, "xxb"));

  // A file with nothing storable leaves the table as it was.
  ASSERT_EQ(1, single.Load_ini(WriteTemp("none.txt", "no lines\n").c_str()));
  EXPECT_EQ(2u, Text(single, "a"));
}

TEST(KeyTypeTableTest, OrderedAllAndAnyPieces) {
  CKeyTypeTable t;
  Build(&t, 32);
  Add(&t, 1, "ab*cd");
  Add(&t, 2, "ef,gh");
  Add(&t, 4, "ij|kl");
  Add(&t, 8, "m*no");  // a one-byte piece in an ordered key
  EXPECT_EQ(1u, Text(t, "ab..cd"));
  EXPECT_EQ(0u, Text(t, "cd..ab"));
  EXPECT_EQ(1u, Text(t, "cd..ab..cd"));
  EXPECT_EQ(2u, Text(t, "gh..ef"));
  EXPECT_EQ(0u, Text(t, "gh..e"));
  EXPECT_EQ(4u, Text(t, "..kl"));
  EXPECT_EQ(4u | 2u | 1u, Text(t, "ij ef ab gh cd"));
  EXPECT_EQ(8u, Text(t, "m no"));
  EXPECT_EQ(0u, Text(t, "no m"));
  // A repeated ordered piece needs two occurrences.
  Add(&t, 16, "zz*zz");
  EXPECT_EQ(0u, Text(t, "-zz-"));
  EXPECT_EQ(16u, Text(t, "-zz-zz"));
  // The one-byte table is asked first at each position, so a one-byte
  // piece enables its successor found at the same position.
  Add(&t, 32, "p*pq");
  EXPECT_EQ(32u, Text(t, "pq"));
  EXPECT_EQ(32u, Text(t, "p pq"));
  Add(&t, 64, "rs*r");
  EXPECT_EQ(0u, Text(t, "rs"));
  EXPECT_EQ(64u, Text(t, "rs r"));
  // Once a simple key's type is found, later pieces sharing its first
  // byte still count when they belong to keys with several pieces.
  Add(&t, 128, "uv");
  Add(&t, 256, "uw*ux");
  Add(&t, 512, "y");
  Add(&t, 1024, "yz,uy");
  EXPECT_EQ(128u | 256u, Text(t, "uv uv uw uv ux"));
  EXPECT_EQ(512u | 1024u, Text(t, "y y uy y yz"));
  EXPECT_EQ(128u | 512u, Text(t, "uv y ux uw yz"));
}

TEST(KeyTypeTableTest, QueriesLeaveNoState) {
  CKeyTypeTable t;
  Build(&t, 16);
  Add(&t, 1, "ab,cd");
  Add(&t, 2, "ab*cd");
  // Half a keyword in one query does not carry into the next.
  EXPECT_EQ(0u, Text(t, "ab"));
  EXPECT_EQ(0u, Text(t, "cd"));
  EXPECT_EQ(0u, Head(t, "ab"));
  EXPECT_EQ(0u, Exact(t, "cd"));
  EXPECT_EQ(3u, Text(t, "abcd"));
  EXPECT_EQ(3u, Text(t, "abcd"));
  EXPECT_EQ(1u, Text(t, "cdab"));
}

TEST(KeyTypeTableTest, RefusedKeysAndCapacity) {
  CKeyTypeTable t;
  const char key[] = "abc";
  EXPECT_EQ(0, t.AddBinaryKey(1, key, 3));  // no table yet
  ASSERT_EQ(1, t.Create(0, 2, 0, 16));
  EXPECT_EQ(0, t.AddBinaryKey(1, "a", 1));  // no one-byte table
  EXPECT_EQ(0, t.AddBinaryKey(1, "ab,c", 4));
  EXPECT_EQ(0, t.AddBinaryKey(1, "ab,cd|ef", 8));  // mixed separators
  EXPECT_EQ(0, t.AddBinaryKey(1, "", 0));
  EXPECT_EQ(0, t.AddBinaryKey(1, "ab,cd,ef", 8));  // three pieces, two nodes
  EXPECT_EQ(0u, t.KeyCount());
  EXPECT_EQ(1, t.AddBinaryKey(1, "ab,cd", 5));
  EXPECT_EQ(0, t.AddBinaryKey(1, "ef", 2));
  EXPECT_EQ(1u, Text(t, "cdab"));
  EXPECT_EQ(0u, Text(t, "ef"));
  t.Destroy();
  EXPECT_EQ(0u, Text(t, "cdab"));
  EXPECT_EQ(0u, t.KeyCount());
}

// Single-piece keywords against a plain search, over random text from a
// small alphabet so that pieces share buckets and prefixes.
TEST(KeyTypeTableTest, AgreesWithPlainSearch) {
  std::mt19937 rng(12345);
  auto random_text = [&rng](size_t n) {
    std::string s;
    for (size_t i = 0; i < n; ++i) s += static_cast<char>('a' + rng() % 4);
    return s;
  };
  for (int round = 0; round < 20; ++round) {
    CKeyTypeTable t;
    Build(&t, 64);
    std::vector<std::string> keys;
    for (int k = 0; k < 40; ++k) {
      keys.push_back(random_text(1 + rng() % 6));
      Add(&t, uint64_t{1} << k, keys.back());
    }
    for (int q = 0; q < 20; ++q) {
      std::string text = random_text(rng() % 24);
      uint64_t text_mask = 0, head_mask = 0, exact_mask = 0;
      for (size_t k = 0; k < keys.size(); ++k) {
        const std::string& key = keys[k];
        if (text.find(key) != std::string::npos) text_mask |= uint64_t{1} << k;
        bool one = key.size() == 1;
        if ((text.size() == 1) == one && text.compare(0, key.size(), key) == 0)
          head_mask |= uint64_t{1} << k;
        if (text == key) exact_mask |= uint64_t{1} << k;
      }
      EXPECT_EQ(text_mask, Text(t, text)) << text;
      EXPECT_EQ(head_mask, Head(t, text)) << text;
      EXPECT_EQ(exact_mask, Exact(t, text)) << text;
    }
  }
}

// Compound keywords against the slow model: random keys over a small
// alphabet holding the separators, GBK bytes and a zero byte, so that keys
// overlap, are prefixes of one another, repeat pieces and mix one-byte and
// long pieces (up to 99 bytes) in ordered, all-piece and any-piece forms.
TEST(KeyTypeTableTest, AgreesWithSlowModel) {
  std::mt19937 rng(4242);
  const char alphabet[] = {'a',    'b', 'a', 'b', 'c', '\xB0',
                           '\xA1', ',', '*', '|', '\0'};
  auto random_text = [&](size_t max_len, size_t alphabet_size) {
    std::string s(rng() % (max_len + 1), ' ');
    for (char& c : s) c = alphabet[rng() % alphabet_size];
    return s;
  };
  for (int round = 0; round < 300; ++round) {
    CKeyTypeTable t;
    quarn_test::KeyTableReference model;
    Build(&t, 4096);
    const int keys = 1 + static_cast<int>(rng() % (round % 10 == 0 ? 300 : 16));
    for (int i = 0; i < keys; ++i) {
      std::string key = random_text(i % 7 == 0 ? 99 : 6, 10);
      if (i % 11 == 5) key = std::string(99, 'a');  // a maximum-length piece
      uint64_t mask = uint64_t{1} << (rng() % 64);
      ASSERT_EQ(model.Add(mask, key),
                t.AddBinaryKey(mask, key.data(), key.size()))
          << round << " " << key;
    }
    for (int q = 0; q < 12; ++q) {
      std::string text = random_text(q % 4 == 0 ? 300 : 24, q % 2 ? 11 : 7);
      ASSERT_EQ(model.TextMatch(text), Text(t, text)) << round;
      std::string head = random_text(4, 7);
      ASSERT_EQ(model.HeadMatch(head), Head(t, head)) << round;
      ASSERT_EQ(model.FindExact(head), Exact(t, head)) << round;
      ASSERT_EQ(model.TextMatch(text), Text(t, text)) << "second " << round;
    }
  }
}

// A warm query allocates nothing, even when compound keywords leave marks
// to clear.
TEST(KeyTypeTableTest, QueriesAllocateNothing) {
  CKeyTypeTable t;
  Build(&t, 8192);
  std::string text;
  for (int i = 0; i < 3000; ++i) {
    std::string word = "w" + std::to_string(i * 7919 % 5003);
    Add(&t, uint64_t{1} << (i % 60), word);
    text += word + " ";
  }
  Add(&t, uint64_t{1} << 61, "w1,w2,zz");
  Add(&t, uint64_t{1} << 62, "w3*w4*w5");
  Add(&t, uint64_t{1} << 63, "w");
  text += "w3 w4 w5";
  const uint64_t before = quarn_test::AllocationCount();
  const uint64_t all = Text(t, text);
  const uint64_t head = Head(t, "w0 x");  // word 0 is "w0"
  const uint64_t exact = Exact(t, "w");
  EXPECT_EQ(before, quarn_test::AllocationCount());
  EXPECT_EQ(~(uint64_t{1} << 60 | uint64_t{1} << 61), all);
  EXPECT_EQ(1u, head);
  EXPECT_EQ(uint64_t{1} << 63, exact);
}

}  // namespace
