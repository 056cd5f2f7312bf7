// The process-wide range tables: loading from the module directory, the
// level-2 refinement and its fallbacks, area lookups by id, and the
// intranet / combined-table answer.

#include <stdlib.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "address/InternetRange.h"
#include "address/internal/InternetRange.h"
#include "base/OrvaAddr.h"
#include "gtest/gtest.h"
#include "tools/IptWriter.h"

namespace {

using quarn_tool::EncodeIpt;
using quarn_tool::IptRecord;

CInternetIPRangeTable* MakeTable(const std::vector<IptRecord>& records) {
  const std::string image = EncodeIpt(1, records, 0x33);
  CInternetIPRangeTable* t = new CInternetIPRangeTable;
  t->Load_dat_buffer(reinterpret_cast<const unsigned char*>(image.data()),
                     image.size(), 1, nullptr);
  return t;
}

class InternetRangeTest : public ::testing::Test {
 protected:
  void TearDown() override {
    UnLoadInternetRangeTypeLevel2();
    UnLoadInternetRangeTypeCombined();
  }
};

constexpr uint64_t kCity1 = kAreaRefinedByLevel2 | 0x01000000;
constexpr uint64_t kCity2 = kAreaRefinedByLevel2 | 0x02000000;
constexpr uint64_t kProvince = 0x0000A00300000000ull;
constexpr uint64_t kCountry = 0x0000C00100000000ull;

TEST_F(InternetRangeTest, AbsentTablesGiveFixedAreas) {
  const INTERNET_IP_DESC* d = GetIP_INTERNET_Range_Type_Level1(0x01020304);
  EXPECT_EQ(d->area_id, kAreaUnknown);
  EXPECT_EQ(d->desc, "unkonwn");
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(0x01020304), d);
  EXPECT_EQ(GetInternetArea_Level1_First(), -1);
  int pos = 3;
  EXPECT_EQ(GetInternetArea_Level2_Next(pos), nullptr);
  EXPECT_EQ(pos, -1);
  // The two broad areas are known by id without any table.
  EXPECT_EQ(GetAreaId_Desc_Level2(kAreaDomestic)->desc,
            "\xB9\xFA\xC4\xDA");  // "国内" (domestic)
  EXPECT_EQ(GetAreaId_Desc_Level2(kAreaForeign)->desc,
            "\xB9\xFA\xCD\xE2");  // "国外" (foreign)
  EXPECT_EQ(GetAreaId_Desc_Level2(kProvince), nullptr);
}

TEST_F(InternetRangeTest, LevelTwoRefinesOneAreaOnly) {
  quarn_internet_range::Level1Slot() =
      MakeTable({{100, 199, kAreaRefinedByLevel2, "refined"},
                 {200, 299, kProvince, "province"},
                 {300, 399, kCountry, "country"}});
  // Without a level-2 table the refined area is reported as unknown city.
  const INTERNET_IP_DESC* none = GetIP_INTERNET_Range_Type_Level2(150);
  EXPECT_EQ(none->area_id, kAreaRefinedUnknown);
  EXPECT_EQ(none->desc, "unkonwn");
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level1(150)->area_id,
            kAreaRefinedByLevel2);

  quarn_internet_range::Level2Slot() =
      MakeTable({{100, 149, kCity1, "city1"},
                 {160, 199, kCity2, "city2"},
                 {200, 299, kCity2, "covers a province"},
                 {400, 499, kCity1, "outside level 1"}});
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(100)->desc, "city1");
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(149)->desc, "city1");
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(150)->area_id,
            kAreaRefinedUnknown);  // gap in level 2
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(199)->desc, "city2");
  // Level 2 is asked only for the refined area.
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(250)->desc, "province");
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(350)->desc, "country");
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level2(450)->area_id, kAreaUnknown);
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level1(450)->area_id, kAreaUnknown);

  // By area id: level 2 first, then level 1, then the fixed broad areas.
  EXPECT_EQ(GetAreaId_Desc_Level2(kCity2)->desc, "city2");
  EXPECT_EQ(GetAreaId_Desc_Level2(kCountry)->desc, "country");
  EXPECT_EQ(GetAreaId_Desc_Level2(kAreaRefinedUnknown), nullptr);

  std::vector<uint64_t> areas;
  for (int pos = GetInternetArea_Level2_First(); pos != -1;)
    areas.push_back(GetInternetArea_Level2_Next(pos)->area_id);
  EXPECT_EQ(areas, (std::vector<uint64_t>{kCity1, kCity2}));
}

TEST_F(InternetRangeTest, PrivateAddressesAndTheCombinedTable) {
  bool domestic = true;
  const INTERNET_IP_DESC* d = GetIP_INTERNET_Range_Type(0x0A000001, domestic);
  EXPECT_EQ(d->area_id, kAreaIntranet);
  EXPECT_EQ(d->desc, "\xC4\xDA\xCD\xF8");  // "内网" (intranet)
  EXPECT_TRUE(domestic);                   // left alone for private addresses

  // No combined table: every internet address is unknown, not domestic.
  domestic = true;
  EXPECT_EQ(GetIP_INTERNET_Range_Type(0x08080808, domestic)->area_id,
            kAreaUnknown);
  EXPECT_FALSE(domestic);

  quarn_internet_range::CombinedSlot() =
      MakeTable({{0x08080800, 0x080808FF, kCountry, "country"},
                 {0x01010100, 0x010101FF, kAreaRefinedByLevel2, "refined"}});
  domestic = true;
  EXPECT_EQ(GetIP_INTERNET_Range_Type(0x08080808, domestic)->desc, "country");
  EXPECT_FALSE(domestic);
  EXPECT_EQ(GetIP_INTERNET_Range_Type(0x01010101, domestic)->desc, "refined");
  EXPECT_TRUE(domestic);
  EXPECT_EQ(GetIP_INTERNET_Range_Type(0x0A000001, domestic)->area_id,
            kAreaIntranet);  // private wins over the table
  UnLoadInternetRangeTypeCombined();
  EXPECT_EQ(quarn_internet_range::CombinedSlot(), nullptr);
}

// Reads a text source of the example range files: first ip, last ip, id.
struct TextRange {
  uint32_t begin, end;
  uint64_t id;
};

std::vector<TextRange> ReadSource(const char* name) {
  std::ifstream in(std::string(QUARN_SOURCE_DIR) + "/examples/ipt/" + name);
  std::vector<TextRange> out;
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#' || line.compare(0, 7, "version") == 0)
      continue;
    std::istringstream fields(line);
    std::string first, last, id;
    fields >> first >> last >> id;
    TextRange r{0, 0, std::stoull(id, 0, 16)};
    EXPECT_TRUE(Orva::string_to_hip(first.c_str(), &r.begin) &&
                Orva::string_to_hip(last.c_str(), &r.end))
        << line;
    out.push_back(r);
  }
  return out;
}

// The shipped example files load from the module directory and agree with
// their text sources, so a stale .dat is caught.
TEST_F(InternetRangeTest, ExampleFilesMatchTheirSources) {
  ASSERT_EQ(LoadInternetRangeTypeLevel2(), 1);
  ASSERT_NE(quarn_internet_range::Level1Slot(), nullptr);
  ASSERT_NE(quarn_internet_range::Level2Slot(), nullptr);
  const std::vector<TextRange> level1 = ReadSource("ipt1.txt");
  const std::vector<TextRange> level2 = ReadSource("ipt2.txt");
  ASSERT_GT(level1.size(), 1000u);
  ASSERT_GT(level2.size(), 100u);
  EXPECT_EQ(quarn_internet_range::Level1Slot()->ranges().size(), level1.size());
  EXPECT_EQ(quarn_internet_range::Level2Slot()->ranges().size(), level2.size());

  std::map<uint32_t, TextRange> fine;  // level-2 ranges by begin
  for (const TextRange& r : level2) fine[r.begin] = r;
  auto level2_id = [&](uint32_t ip) {
    auto it = fine.upper_bound(ip);
    if (it == fine.begin() || (--it)->second.end < ip)
      return kAreaRefinedUnknown;
    return it->second.id;
  };
  int refined = 0, unknown_city = 0;
  for (const TextRange& r : level1) {
    for (uint32_t ip : {r.begin, r.end}) {
      ASSERT_EQ(GetIP_INTERNET_Range_Type_Level1(ip)->area_id, r.id);
      const uint64_t want = r.id == kAreaRefinedByLevel2 ? level2_id(ip) : r.id;
      ASSERT_EQ(GetIP_INTERNET_Range_Type_Level2(ip)->area_id, want);
      if (r.id == kAreaRefinedByLevel2) {
        ++refined;
        unknown_city += want == kAreaRefinedUnknown;
      }
    }
  }
  EXPECT_GT(refined, 0);
  EXPECT_GT(unknown_city, 0);  // the examples show the fallback too
  EXPECT_EQ(GetIP_INTERNET_Range_Type_Level1(0x0A000001)->area_id,
            kAreaUnknown);  // private space is in no table

  std::set<uint64_t> areas;
  for (int pos = GetInternetArea_Level1_First(); pos != -1;)
    EXPECT_TRUE(areas.insert(GetInternetArea_Level1_Next(pos)->area_id).second);
  EXPECT_GT(areas.size(), 40u);
  EXPECT_EQ(GetAreaId_Desc_Level2(kAreaRefinedByLevel2)->area_id,
            kAreaRefinedByLevel2);

  // A reload from a directory without the files leaves both tables absent.
  const std::string keep = getenv("QUARN_MODULE_DIR");
  setenv("QUARN_MODULE_DIR", "/nonexistent/quarn", 1);
  EXPECT_EQ(LoadInternetRangeTypeLevel2(), 1);
  setenv("QUARN_MODULE_DIR", keep.c_str(), 1);
  EXPECT_EQ(quarn_internet_range::Level1Slot(), nullptr);
  EXPECT_EQ(quarn_internet_range::Level2Slot(), nullptr);
}

}  // namespace
