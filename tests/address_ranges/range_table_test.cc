// CInternetIPRangeTable: reading both file forms, keeping ranges sorted
// and disjoint, answering lookups, and distrusting what files say.

#include <stdio.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "address/CInternetIPRangeTable.h"
#include "gtest/gtest.h"
#include "tools/IptWriter.h"

namespace {

using quarn_tool::EncodeIpt;
using quarn_tool::IptRecord;

std::string TempPath(const char* name) {
  mkdir(QUARN_TEST_TMP_DIR, 0755);
  return std::string(QUARN_TEST_TMP_DIR) + "/" + name;
}

void WriteFile(const std::string& path, const std::string& bytes) {
  FILE* f = fopen(path.c_str(), "wb");
  ASSERT_NE(f, nullptr);
  fwrite(bytes.data(), 1, bytes.size(), f);
  fclose(f);
}

int LoadImage(CInternetIPRangeTable* t, const std::string& image,
              int build_index = 1) {
  return t->Load_dat_buffer(
      reinterpret_cast<const unsigned char*>(image.data()), image.size(),
      build_index, nullptr);
}

uint64_t IdAt(const CInternetIPRangeTable& t, uint32_t ip) {
  return t.GetAreaId(ip);
}

TEST(RangeTable, BoundariesAndGaps) {
  CInternetIPRangeTable t;
  EXPECT_EQ(t.Find(0), nullptr);  // empty table
  ASSERT_EQ(LoadImage(&t, EncodeIpt(7,
                                    {{0x01000000, 0x010000FF, 1, "a"},
                                     {0x01000100, 0x01000100, 2, "b"},
                                     {0x01000200, 0x0100FFFF, 3, "c"},
                                     {0xFFFFFF00, 0xFFFFFFFF, 4, "top"}},
                                    0x10)),
            1);
  EXPECT_EQ(t.IsLoadOK(), 1);
  // Both ends belong to a range; a range may hold one address; the
  // addresses between ranges, and below the first, belong to none.
  const std::vector<std::pair<uint32_t, uint64_t>> cases = {
      {0, 0},          {0x00FFFFFF, 0}, {0x01000000, 1}, {0x010000FF, 1},
      {0x01000100, 2}, {0x01000101, 0}, {0x010001FF, 0}, {0x01000200, 3},
      {0x0100FFFF, 3}, {0x01010000, 0}, {0xFFFFFEFF, 0}, {0xFFFFFFFF, 4}};
  for (const auto& c : cases) EXPECT_EQ(IdAt(t, c.first), c.second) << c.first;
  EXPECT_STREQ(t.GetAreaDesc(0x01000200), "c");
  EXPECT_EQ(t.GetAreaDesc(0x01000101), nullptr);
  EXPECT_EQ(t.Find(0x100000000ul), nullptr);  // not an IPv4 address
}

// A range spanning many /16 blocks, and many ranges inside one /16, must
// both be found from any address they hold.
TEST(RangeTable, LookupAgreesWithScanOnRandomTables) {
  std::mt19937 rng(11);
  for (int round = 0; round < 20; ++round) {
    std::vector<IptRecord> records;
    uint32_t cursor = rng() % 4096;
    const uint32_t spread = round % 2 ? 0xFFFFF : 0x3F;  // wide or dense
    while (records.size() < 3000) {
      const uint64_t begin = uint64_t(cursor) + rng() % spread;
      const uint64_t end = begin + rng() % spread;
      if (end > 0xFFFFFFFFull) break;
      records.push_back(
          {uint32_t(begin), uint32_t(end), records.size() + 1, ""});
      cursor = uint32_t(end) + 1;
      if (cursor == 0) break;
    }
    // Some files come in no particular order.
    std::vector<IptRecord> file = records;
    if (round % 4 >= 2) std::shuffle(file.begin(), file.end(), rng);
    CInternetIPRangeTable t;
    ASSERT_EQ(LoadImage(&t, EncodeIpt(1, file, uint8_t(round))), 1);
    ASSERT_EQ(t.ranges().size(), records.size());
    auto scan = [&](uint32_t ip) -> uint64_t {
      for (const IptRecord& r : records)
        if (r.begin <= ip && ip <= r.end) return r.area_id;
      return 0;
    };
    for (int i = 0; i < 400; ++i) {
      const IptRecord& r = records[rng() % records.size()];
      for (uint32_t ip : {r.begin, r.end, r.begin - 1, r.end + 1,
                          r.begin + (r.end - r.begin) / 2, uint32_t(rng()),
                          uint32_t(rng()) & 0xFFFF0000}) {
        ASSERT_EQ(IdAt(t, ip), scan(ip)) << "ip " << ip << " round " << round;
      }
    }
  }
}

TEST(RangeTable, UnsortedOverlappingAndInvertedRecords) {
  CInternetIPRangeTable t;
  ASSERT_EQ(LoadImage(&t, EncodeIpt(1,
                                    {{300, 400, 3, "third"},
                                     {100, 200, 1, "first"},
                                     {150, 250, 9, "overlaps first"},
                                     {201, 299, 2, "between"},
                                     {50, 100, 9, "touches first"},
                                     {390, 500, 9, "overlaps third"},
                                     {20, 10, 9, "inverted"},
                                     {0, 49, 0, "lowest"}},
                                    0)),
            1);
  std::vector<uint64_t> ids;
  for (const INTERNET_IP_RANGE& r : t.ranges()) ids.push_back(r.desc.area_id);
  EXPECT_EQ(ids, (std::vector<uint64_t>{0, 1, 2, 3}));
  EXPECT_EQ(IdAt(t, 100), 1u);
  EXPECT_EQ(IdAt(t, 250), 2u);
  EXPECT_EQ(t.Find(450), nullptr);
  EXPECT_EQ(t.Find(15), t.Find(0));  // the inverted record added nothing

  // A second load merges, and ranges already held win.
  ASSERT_EQ(LoadImage(&t, EncodeIpt(1,
                                    {{1000, 2000, 5, "new"},
                                     {120, 130, 9, "inside first"}},
                                    0)),
            1);
  EXPECT_EQ(t.ranges().size(), 5u);
  EXPECT_EQ(IdAt(t, 125), 1u);
  EXPECT_EQ(IdAt(t, 1500), 5u);
}

TEST(RangeTable, AreaIndexAndIteration) {
  const std::vector<IptRecord> records = {{500, 600, 30, "c-high"},
                                          {100, 199, 20, "b"},
                                          {300, 399, 10, "a"},
                                          {0, 99, 20, "b-low"},
                                          {700, 799, 10, "a-high"}};
  CInternetIPRangeTable t;
  ASSERT_EQ(LoadImage(&t, EncodeIpt(1, records, 1)), 1);
  std::vector<std::string> seen;
  for (int pos = t.GetArea_First(); pos != -1;) {
    const INTERNET_IP_DESC* d = t.GetArea_Next(pos);
    ASSERT_NE(d, nullptr);
    seen.push_back(d->desc);
  }
  // Each area once, ordered by its lowest range, named after that range.
  EXPECT_EQ(seen, (std::vector<std::string>{"b-low", "a", "c-high"}));
  EXPECT_STREQ(t.GetAreaDescByAreaId(10), "a");
  EXPECT_EQ(t.FindByAreaId(20), t.Find(50));
  EXPECT_EQ(t.FindByAreaId(99), nullptr);

  // A table loaded without an index answers no area questions.
  CInternetIPRangeTable plain;
  ASSERT_EQ(LoadImage(&plain, EncodeIpt(1, records, 1), 0), 1);
  EXPECT_EQ(plain.GetArea_First(), -1);
  EXPECT_EQ(plain.FindByAreaId(10), nullptr);

  // A copy has an index of its own that outlives the source.
  CInternetIPRangeTable* source = new CInternetIPRangeTable(t);
  CInternetIPRangeTable copy(*source);
  plain = *source;
  delete source;
  EXPECT_STREQ(copy.GetAreaDescByAreaId(30), "c-high");
  EXPECT_EQ(copy.FindByAreaId(10), copy.Find(350));
  EXPECT_EQ(plain.FindByAreaId(20), plain.Find(0));
  EXPECT_STREQ(plain.GetAreaDesc(750), "a-high");
}

TEST(RangeTable, BinaryHeaderAndKeyRules) {
  const std::vector<IptRecord> one = {{1, 2, 3, "x"}};
  CInternetIPRangeTable t;
  EXPECT_EQ(LoadImage(&t, EncodeIpt(0, one, 0)), 0);      // zero version
  EXPECT_EQ(LoadImage(&t, EncodeIpt(1, 0, one, 0)), 0);   // count 0
  EXPECT_EQ(LoadImage(&t, EncodeIpt(1, -5, one, 0)), 0);  // negative count
  EXPECT_EQ(LoadImage(&t, EncodeIpt(1, one, 0).substr(0, 8)), 0);
  EXPECT_EQ(t.IsLoadOK(), 0);
  EXPECT_TRUE(t.ranges().empty());
  // Key byte 0xC3 makes the sum wrap to 0, which means key 0x5A.
  std::string image = EncodeIpt(1, one, 0xC3);
  EXPECT_EQ(static_cast<unsigned char>(image[1]), 1 ^ 0x5A);
  EXPECT_EQ(LoadImage(&t, image), 1);
  EXPECT_EQ(IdAt(t, 2), 3u);

  EXPECT_EQ(t.Load_dat(TempPath("no-such-file.dat").c_str(), 1, nullptr), 0);
  EXPECT_EQ(t.Load_dat("", 1, nullptr), 0);
  EXPECT_EQ(IdAt(t, 2), 3u);  // a failed open leaves the table alone
  const std::string path = TempPath("header_rules.dat");
  WriteFile(path, EncodeIpt(9, {{10, 20, 4, "y"}}, 0x80));
  EXPECT_EQ(t.Load_dat(path.c_str(), 1, nullptr), 1);
  EXPECT_EQ(IdAt(t, 15), 4u);
}

// Files that lie about their size must neither over-allocate nor be read
// past their end; what came before the lie is kept.
TEST(RangeTable, TruncatedAndLyingFiles) {
  std::vector<IptRecord> records;
  for (uint32_t i = 0; i < 4; ++i)
    records.push_back({i * 10, i * 10 + 5, i + 1, "desc"});
  const std::string full = EncodeIpt(1, records, 0x42);

  CInternetIPRangeTable huge;
  ASSERT_EQ(LoadImage(&huge, EncodeIpt(1, 2000000000, records, 0x42)), 1);
  EXPECT_EQ(huge.ranges().size(), 4u);
  EXPECT_LE(huge.ranges().capacity(), 16u);

  for (size_t cut = 9; cut < full.size(); ++cut) {
    CInternetIPRangeTable t;
    // Copy into a buffer of exactly the cut size so a sanitizer sees any
    // read past it.
    std::vector<unsigned char> bytes(full.begin(), full.begin() + cut);
    ASSERT_EQ(t.Load_dat_buffer(bytes.data(), bytes.size(), 1, nullptr), 1);
    const size_t whole_records = (cut - 9) / (20 + 4);
    EXPECT_EQ(t.ranges().size(), whole_records) << "cut " << cut;
  }

  // A description length pointing far past the end ends the load there.
  std::string lying = EncodeIpt(1, records, 0x42);
  const size_t length_at = 9 + 24 + 16;  // second record's length field
  const unsigned char key = quarn_tool::IptKey(0x42);
  for (int i = 0; i < 4; ++i) lying[length_at + i] = char(0xFF ^ key);
  CInternetIPRangeTable t;
  ASSERT_EQ(LoadImage(&t, lying), 1);
  EXPECT_EQ(t.ranges().size(), 1u);

  int cancel = 1;
  CInternetIPRangeTable cancelled;
  EXPECT_EQ(cancelled.Load_dat_buffer(
                reinterpret_cast<const unsigned char*>(full.data()),
                full.size(), 1, &cancel),
            1);
  EXPECT_TRUE(cancelled.ranges().empty());
}

TEST(RangeTable, TextForm) {
  const std::string path = TempPath("area.v2.ini");
  // Line lengths: 20 characters is too short, 21 is enough.
  const std::string line20 = "1;2;3;abcdefghijklmn";
  const std::string line21 = "4;5;6;abcdefghijklmno";
  ASSERT_EQ(line20.size(), 20u);
  ASSERT_EQ(line21.size(), 21u);
  WriteFile(path,
            "a record before the header;;;;\r\n"
            "x COUNT=3 DATE=2026-11-01 VERSION=42\r\n" +
                line20 + "\r\n" + line21 + "\r\n" +
                "100;200;0xABC;not-a-decimal-area-id\n"
                "1000;2000;18446744073709551615;\xB9\xFA\xC4\xDA|last\n"
                "3000;3001;77;has a blank so ends early\n"
                "5000;5001;8;" +
                std::string(1013, 'x') + "\n" + "6000;6001;9;" +
                std::string(1012, 'y') + "\n");
  CInternetIPRangeTable t;
  EXPECT_NE(t.Load_ini(path.c_str(), 1, nullptr), 0);
  EXPECT_EQ(t.version(), 42u);
  EXPECT_EQ(t.name(), "area.v2");
  EXPECT_EQ(t.Find(1), nullptr);
  EXPECT_EQ(IdAt(t, 5), 6u);
  EXPECT_EQ(IdAt(t, 150), 0u);  // "0xABC" is not decimal: line skipped
  EXPECT_EQ(IdAt(t, 1500), 18446744073709551615ull);
  EXPECT_STREQ(t.GetAreaDesc(1000), "\xB9\xFA\xC4\xDA|last");
  EXPECT_STREQ(t.GetAreaDesc(3000), "has");
  EXPECT_STREQ(t.GetAreaDescByAreaId(6), "abcdefghijklmno");
  EXPECT_EQ(t.Find(5000), nullptr);  // 1025 characters: too long
  EXPECT_EQ(IdAt(t, 6001), 9u);      // 1024 characters: read

  // A header without "DATE=" ends the read; the count stays unknown.
  WriteFile(path, "VERSION=3 COUNT=2 and nothing else\n" + line21 + "\n");
  CInternetIPRangeTable no_date;
  EXPECT_EQ(no_date.Load_ini(path.c_str(), 1, nullptr), 0);
  EXPECT_EQ(no_date.IsLoadOK(), 1);
  EXPECT_TRUE(no_date.ranges().empty());
  EXPECT_EQ(no_date.Load_ini(TempPath("missing.ini").c_str(), 1, nullptr), 0);
  EXPECT_EQ(no_date.IsLoadOK(), 0);
}

}  // namespace
