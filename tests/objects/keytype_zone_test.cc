#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "objects/CKeyTypeObjMgr.h"
#include "objects/CZoneObjMgrConfig.h"
#include "support/TempDir.h"

namespace {

template <typename Mgr>
int Load(Mgr* mgr, const std::string& xml) {
  return mgr->LoadFromMem(xml.data(), static_cast<int>(xml.size()));
}

TEST(KeyTypeObjMgrTest, VersionsLookupsAndDifferences) {
  const std::string body =
      "<one_mgr_obj name=\"abc\" desc=\"d\" id=\"256\"><string>"
      "<string_item key=\"alpha\"/><string_item key=\"beta\"/></string>"
      "</one_mgr_obj><one_mgr_obj name=\"empty\" id=\"512\"/>";
  CKeyTypeObjMgr mgr;
  EXPECT_EQ(256u, mgr.GetNewId());
  ASSERT_EQ(1, Load(&mgr, "<keytype_obj_mgr>" + body + "</keytype_obj_mgr>"));
  ASSERT_EQ(2u, mgr.objs.size());
  EXPECT_EQ((std::vector<std::string>{"alpha", "beta"}), mgr.objs[0].keys);
  EXPECT_TRUE(mgr.objs[1].keys.empty());
  EXPECT_EQ(1024u, mgr.GetNewId());
  EXPECT_EQ(0, mgr.FindName("abc"));
  EXPECT_EQ(-1, mgr.FindName("Abc"));
  EXPECT_EQ(-1, mgr.FindName("ab"));
  EXPECT_EQ(1, mgr.find(512));

  CKeyTypeObjMgr old;
  EXPECT_EQ(1, Load(&old, "<keytype_obj_mgr version=\"0\">" + body +
                              "</keytype_obj_mgr>"));
  EXPECT_TRUE(old.objs.empty());

  std::string path = quarn_test::MakeTempDir("keytype") + "/keytype.xml";
  ASSERT_EQ(1, mgr.SaveToFile(path.c_str()));
  EXPECT_NE(std::string::npos,
            quarn_test::ReadFile(path).find("version=\"1\""));
  CKeyTypeObjMgr back;
  ASSERT_EQ(1, back.LoadFromFile(path.c_str()));
  EXPECT_TRUE(back == mgr);

  back.objs[0].desc = "other";
  uint64_t only_here, only_there, changed;
  EXPECT_TRUE(back != mgr);
  EXPECT_EQ(0, mgr.advance_cmp(back, only_here, only_there, changed));
  EXPECT_EQ(0u, only_here | only_there | changed);
  back.objs[0].keys.push_back("gamma");
  back.objs[1].id = 2048;
  EXPECT_EQ(1, mgr.advance_cmp(back, only_here, only_there, changed));
  EXPECT_EQ(512u, only_here);
  EXPECT_EQ(2048u, only_there);
  EXPECT_EQ(256u, changed);
}

TEST(KeyTypeObjMgrTest, FileTypeWrapperIsTheSameInstance) {
  ASSERT_NE(nullptr, CKeyTypeObjMgr_Singleton::instance());
  EXPECT_EQ(CKeyTypeObjMgr_Singleton::instance(),
            CFileTypeObjMgr_Singleton::instance());
}

const char kZones[] =
    "<zone_obj_mgr version=\"0\">"
    "<one_mgr_obj zone_id=\"7\" name=\"lan\" desc=\"inside\" lan_index=\"1,2\" "
    "wan_index=\"0\" card_name=\"ETH1,eth9\"/>"
    "<one_mgr_obj zone_id=\"8\" name=\"wan\" wan_index=\"31,64\"/>"
    "</zone_obj_mgr>";

TEST(ZoneObjMgrTest, MasksFollowTheMode) {
  CZoneObjMgrConfig mgr;
  ASSERT_EQ(1, Load(&mgr, kZones));
  ASSERT_EQ(2u, mgr.objs.size());
  EXPECT_EQ((std::vector<std::string>{"ETH1", "eth9"}), mgr.objs[0].card_name);
  // Loading leaves every mask 0.
  EXPECT_FALSE(mgr.IsFit(7, CZoneObjMgrConfig::ms_all_sel_grp));

  const std::vector<std::string> names = {"eth0", "eth1", "eth9"};
  const std::vector<int> indexes = {3, 7, -1};
  mgr.CalSelIndexGrp(3, names, indexes);
  const uint64_t lan = mgr.find_by_zone_id(7)->sel_grp;
  EXPECT_EQ((uint64_t{1} << 0) | (uint64_t{1} << 33) | (uint64_t{1} << 34),
            lan);
  EXPECT_TRUE(CZoneObjMgrConfig::IsAboutLanZone(lan, 2));
  EXPECT_FALSE(CZoneObjMgrConfig::IsAboutLanZone(lan, 0));
  EXPECT_TRUE(CZoneObjMgrConfig::IsAboutWanZone(lan, 0));
  EXPECT_FALSE(CZoneObjMgrConfig::IsAboutWanZone(lan, 1));
  EXPECT_TRUE(CZoneObjMgrConfig::IsAboutCardIndexZone(lan, 0));
  // Shift counts wrap at 64: WAN port 64 is bit 0.
  EXPECT_EQ((uint64_t{1} << 31) | 1, mgr.find_by_zone_id(8)->sel_grp);
  EXPECT_TRUE(mgr.IsFit(7, uint64_t{1} << 34));
  EXPECT_FALSE(mgr.IsFit(7, uint64_t{1} << 35));
  EXPECT_FALSE(mgr.IsFit(99, CZoneObjMgrConfig::ms_all_sel_grp));

  mgr.CalSelIndexGrp(1, names, indexes);
  EXPECT_EQ(0u, mgr.objs[0].sel_grp);
  EXPECT_FALSE(mgr.IsFit(7, CZoneObjMgrConfig::ms_all_sel_grp));

  // Card-name mode: ETH1 is eth1, index 7; eth9's index -1 adds nothing.
  mgr.CalSelIndexGrp(0, names, indexes);
  EXPECT_EQ(uint64_t{1} << 7, mgr.objs[0].sel_grp);
  EXPECT_EQ(0u, mgr.objs[1].sel_grp);
}

TEST(ZoneObjMgrTest, LookupsIdsAndDocument) {
  CZoneObjMgrConfig mgr;
  ASSERT_EQ(1, Load(&mgr, kZones));
  ASSERT_NE(nullptr, mgr.find_by_name("LAN"));
  EXPECT_EQ(7, mgr.find_by_name("LAN")->zone_id);
  EXPECT_EQ(nullptr, mgr.find_by_name("la"));
  int id = mgr.GetNewZoneId();
  EXPECT_EQ(nullptr, mgr.find_by_zone_id(id));
  mgr.objs[0].zone_id = id;
  mgr.objs[1].zone_id = id + 1;
  int next = mgr.GetNewZoneId();
  EXPECT_NE(id, next);
  EXPECT_NE(id + 1, next);

  std::string path = quarn_test::MakeTempDir("zone") + "/zone.xml";
  ASSERT_EQ(1, mgr.SaveToFile(path.c_str()));
  CZoneObjMgrConfig back;
  ASSERT_EQ(1, back.LoadFromFile(path.c_str()));
  EXPECT_TRUE(back == mgr);

  CZoneObjMgrConfig other;
  EXPECT_EQ(1, Load(&other,
                    "<zone_obj_mgr version=\"2\"><one_mgr_obj/>"
                    "</zone_obj_mgr>"));
  EXPECT_TRUE(other.objs.empty());
}

}  // namespace
