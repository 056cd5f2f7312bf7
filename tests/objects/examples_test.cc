// The example configuration in examples/gateway loads and answers as its
// comments say.

#include <string>

#include <gtest/gtest.h>

#include "objects/CIPObjMgr.h"
#include "objects/CKeyTypeObjMgr.h"
#include "objects/CKeyTypeTable.h"
#include "objects/CTimeObjMgrConfig.h"
#include "objects/CZoneObjMgrConfig.h"

namespace {

std::string Example(const char* name) {
  return std::string(QUARN_SOURCE_DIR) + "/examples/gateway/" + name;
}

uint64_t Text(CKeyTypeTable& t, const std::string& s) {
  return t.TextMatch(s.data(), s.size());
}

TEST(ObjectExamplesTest, IPAndTimeObjects) {
  CIPObjMgr ip;
  ASSERT_EQ(1, ip.LoadFromFile(Example("ip_obj_mgr.xml").c_str()));
  ASSERT_EQ(7, ip.GetCount());
  EXPECT_EQ(CIPObjMgr().GetAt(2)->desc, ip.GetAt(2)->desc);
  uint64_t mask = 0;
  EXPECT_EQ(1, ip.find(mask, nullptr, 0xC0A814C8u, 0));  // 192.168.20.200
  EXPECT_EQ(256u | 2048u, mask);
  const unsigned char finance_mac[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x5E, 0x10};
  EXPECT_EQ(1, ip.find(mask, finance_mac, 0x01020304u, 0));
  EXPECT_EQ(512u, mask);
  EXPECT_EQ(1, ip.IsFireWallBlkDid(900001));
  EXPECT_EQ(3, ip.FindByName("\xD1\xD0\xB7\xA2\xB2\xBF"));  // 研发部

  CTimeObjMgrConfig t;
  ASSERT_EQ(1, t.LoadFromFile(Example("time_obj_mgr.xml").c_str()));
  ASSERT_EQ(3u, t.objs.size());
  // 2024 dates, month from 0: Wednesday 6 March at lunch; 3 October, a
  // holiday; Saturday 28 September and 12 October, worked as Monday and
  // Friday; New Year's Eve, in a holiday that wraps over the year end.
  EXPECT_EQ(18u, t.get_time_type(2, 6, 12, 30, 3));
  EXPECT_EQ(2u, t.get_time_type(2, 6, 8, 30, 3));
  EXPECT_EQ(1u, t.get_time_type(2, 6, 8, 29, 3));
  EXPECT_EQ(17u, t.get_time_type(9, 3, 12, 30, 4));
  EXPECT_EQ(2u, t.get_time_type(8, 28, 10, 0, 6));
  EXPECT_EQ(18u, t.get_time_type(9, 12, 12, 30, 6));
  EXPECT_EQ(1u, t.get_time_type(11, 31, 10, 0, 2));
  EXPECT_EQ(33u, t.get_time_type(2, 6, 23, 0, 3));
}

TEST(ObjectExamplesTest, KeywordTypesZonesAndKeywordFiles) {
  CKeyTypeObjMgr types;
  ASSERT_EQ(1, types.LoadFromFile(Example("keytype_obj_mgr.xml").c_str()));
  ASSERT_EQ(3u, types.objs.size());
  EXPECT_EQ(0, types.FindName("\xBB\xFA\xC3\xDC\xCE\xC4\xBC\xFE"));  // 机密文件

  CZoneObjMgrConfig zones;
  ASSERT_EQ(1, zones.LoadFromFile(Example("zone_obj_mgr.xml").c_str()));
  ASSERT_EQ(3u, zones.objs.size());
  zones.CalSelIndexGrp(3, {}, {});
  EXPECT_EQ(3ull << 32, zones.objs[0].sel_grp);
  EXPECT_EQ(3u, zones.objs[1].sel_grp);
  EXPECT_NE(nullptr, zones.find_by_name("\xB0\xEC\xB9\xAB\xC7\xF8"));  // 办公区

  CKeyTypeTable table;
  ASSERT_EQ(1, table.Load_xml(Example("keywords.xml").c_str()));
  EXPECT_EQ(3u, table.GetVersion());
  std::string name;
  table.GetConfigName(name);
  EXPECT_EQ("keywords", name);
  EXPECT_EQ(2u, Text(table, "a \xBE\xF8\xC3\xDC file"));  // 绝密
  EXPECT_EQ(2u, Text(table, "strictly confidential"));
  // 简历 ... 求职 in this order only.
  EXPECT_EQ(4u, Text(table, "\xBC\xF2\xC0\xFA: \xC7\xF3\xD6\xB0"));
  EXPECT_EQ(0u, Text(table, "\xC7\xF3\xD6\xB0: \xBC\xF2\xC0\xFA"));
  EXPECT_EQ(4u, Text(table, "salary after resume"));
  EXPECT_EQ(8u, Text(table, "backup.rar"));
  EXPECT_EQ(8u, Text(table, std::string("PK\x03\x04\x14\x00", 6)));

  CKeyTypeTable lines;
  ASSERT_EQ(1, lines.Load_ini(Example("keywords.txt").c_str()));
  EXPECT_EQ(2u, Text(lines, "\xB2\xCA\xC6\xB1"));          // 彩票
  EXPECT_EQ(0u, Text(lines, "\xB2\xE2\xCA\xD4\xB4\xCA"));  // 测试词
}

}  // namespace
