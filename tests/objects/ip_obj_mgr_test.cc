#include <string.h>

#include <string>

#include <gtest/gtest.h>

#include "base/OrvaAddr.h"
#include "objects/CIPObjMgr.h"
#include "support/TempDir.h"

namespace {

// "超级白名单" (super whitelist)
const char kSuperName[] = "\xB3\xAC\xBC\xB6\xB0\xD7\xC3\xFB\xB5\xA5";
// "上网黑名单" (internet blacklist)
const char kFireWallName[] = "\xC9\xCF\xCD\xF8\xBA\xDA\xC3\xFB\xB5\xA5";

uint32_t Ip(const char* text) {
  uint32_t ip = 0;
  EXPECT_TRUE(Orva::string_to_hip(text, &ip)) << text;
  return ip;
}

int Load(CIPObjMgr* mgr, const std::string& xml) {
  return mgr->LoadFromMem(xml.data(), static_cast<int>(xml.size()));
}

uint64_t MacWord(const unsigned char* mac) {
  uint64_t value = 0;
  memcpy(&value, mac, 6);
  return value;
}

const unsigned char kMacA[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
const unsigned char kMacB[6] = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x01};

CIPObjMgr::tagONE_IP_MGR_OBJ UserObj(uint64_t id, const char* name) {
  CIPObjMgr::tagONE_IP_MGR_OBJ obj;
  obj.id = id;
  obj.name = name;
  obj.desc = "d";
  return obj;
}

TEST(IPObjMgrTest, SavedDocumentHoldsBuiltinsAndReadsBackEqual) {
  CIPObjMgr mgr;
  ASSERT_EQ(3, mgr.GetCount());
  CIPObjMgr::tagONE_IP_MGR_OBJ user = UserObj(256, "lab");
  user.ip_ranges.push_back(IP_RANGE_PAIR(Ip("10.1.0.0"), Ip("10.1.255.255")));
  user.macs.push_back(MacWord(kMacA));
  user.dids.push_back(77);
  mgr.AddObj(user);
  mgr.GetAt(1)->dids.push_back(0x123456789ULL);

  std::string dir = quarn_test::MakeTempDir("ipobj");
  std::string path = dir + "/ip_obj_mgr.xml";
  ASSERT_EQ(1, mgr.SaveToFile(path.c_str()));
  std::string text = quarn_test::ReadFile(path);
  EXPECT_NE(std::string::npos, text.find("<ip_obj_mgr version=\"0\""));
  EXPECT_NE(std::string::npos, text.find(kSuperName));
  EXPECT_NE(std::string::npos, text.find(kFireWallName));

  CIPObjMgr back;
  ASSERT_EQ(1, back.LoadFromFile(path.c_str()));
  EXPECT_EQ(4, back.GetCount());
  EXPECT_TRUE(back == mgr);
  EXPECT_EQ(1u, back.GetAt(0)->id);
  EXPECT_EQ(2u, back.GetAt(1)->id);
  EXPECT_EQ(4u, back.GetAt(2)->id);
  EXPECT_EQ(1, back.IsACBlkDid(0x123456789ULL));
  EXPECT_EQ(0, back.IsSuperBlkDid(0x123456789ULL));
}

TEST(IPObjMgrTest, BuiltinObjectsTakeOnlyListsFromDocument) {
  const std::string xml =
      "<ip_obj_mgr version=\"0\">"
      "<one_mgr_obj name=\"x\" desc=\"y\" id=\"1\"><ip>"
      "<ip_range>10.0.0.1-10.0.0.9</ip_range></ip><mac/><did/></one_mgr_obj>"
      "<one_mgr_obj name=\"fw\" id=\"4\"><mac>"
      "<mac_item>AA-BB-CC-DD-EE-01</mac_item><mac_item>junk</mac_item></mac>"
      "</one_mgr_obj>"
      "<one_mgr_obj name=\"u\" id=\"256\"/>"
      "</ip_obj_mgr>";
  CIPObjMgr mgr;
  ASSERT_EQ(1, Load(&mgr, xml));
  ASSERT_EQ(4, mgr.GetCount());
  EXPECT_EQ(kSuperName, mgr.GetSupBlk()->name);
  EXPECT_EQ(kSuperName, mgr.GetSupBlk()->desc);
  EXPECT_EQ(1, mgr.IsSuperBlkIP(Ip("10.0.0.1")));
  EXPECT_EQ(1, mgr.IsSuperBlkIP(Ip("10.0.0.5")));
  EXPECT_EQ(1, mgr.IsSuperBlkIP(Ip("10.0.0.9")));
  EXPECT_EQ(0, mgr.IsSuperBlkIP(Ip("10.0.0.10")));
  EXPECT_EQ(0, mgr.IsSuperBlkIP(Ip("10.0.0.0")));
  EXPECT_EQ(1, mgr.IsBlk(nullptr, Ip("10.0.0.3")));
  EXPECT_EQ(0, mgr.IsACBlk(nullptr, Ip("10.0.0.3")));
  // The unreadable MAC item is dropped, not kept as a zero MAC.
  EXPECT_EQ(1u, mgr.GetAt(2)->macs.size());
  EXPECT_EQ(1, mgr.IsFireWallBlkMAC(kMacB));
  EXPECT_EQ(1, mgr.IsFireWallBlk(kMacB, 0));
  EXPECT_EQ(0, mgr.IsFireWallBlkIP(Ip("10.0.0.3")));

  // Another version leaves everything as it was; so does a missing root.
  CIPObjMgr before(mgr);
  EXPECT_EQ(1, Load(&mgr,
                    "<ip_obj_mgr version=\"1\"><one_mgr_obj id=\"512\"/>"
                    "</ip_obj_mgr>"));
  EXPECT_TRUE(mgr == before);
  // Loading again without close() appends the user objects once more.
  ASSERT_EQ(1, Load(&mgr, xml));
  EXPECT_EQ(5, mgr.GetCount());
  mgr.close();
  EXPECT_EQ(3, mgr.GetCount());
  EXPECT_EQ(0, mgr.IsSuperBlkIP(Ip("10.0.0.5")));
}

TEST(IPObjMgrTest, HostMaskIsTheUnionOfEveryMatchingObject) {
  CIPObjMgr mgr;
  CIPObjMgr::tagONE_IP_MGR_OBJ a = UserObj(256, "a");
  a.ip_ranges.push_back(IP_RANGE_PAIR(Ip("192.168.1.0"), Ip("192.168.1.255")));
  CIPObjMgr::tagONE_IP_MGR_OBJ b = UserObj(512, "b");
  b.macs.push_back(MacWord(kMacA));
  CIPObjMgr::tagONE_IP_MGR_OBJ c = UserObj(1024, "c");
  c.dids.push_back(9);
  c.ip_ranges.push_back(IP_RANGE_PAIR(0xFFFFFFF0u, 0xFFFFFFFFu));
  mgr.AddObj(a);
  mgr.AddObj(b);
  mgr.AddObj(c);

  uint64_t mask = 1;
  EXPECT_EQ(1, mgr.find(mask, kMacA, Ip("192.168.1.20"), 0));
  EXPECT_EQ(768u, mask);
  EXPECT_EQ(1, mgr.find(mask, kMacB, 0xFFFFFFFFu, 9));
  EXPECT_EQ(1024u, mask);
  EXPECT_EQ(0, mgr.find(mask, kMacB, Ip("192.168.2.1"), 8));
  EXPECT_EQ(0u, mask);
  // A zero MAC means "unknown" and matches no list, even one holding it.
  const unsigned char zero[6] = {0, 0, 0, 0, 0, 0};
  mgr.GetAt(4)->macs.push_back(0);
  EXPECT_EQ(0, mgr.find(mask, zero, Ip("192.168.2.1"), 8));
  EXPECT_EQ(0, mgr.find(mask, nullptr, Ip("192.168.2.1"), 8));

  // The two-argument built-in tests never look at device ids.
  mgr.GetSupBlk()->dids.push_back(5);
  EXPECT_EQ(0, mgr.IsSuperBlk(nullptr, 0));
  EXPECT_EQ(1, mgr.IsSuperBlkDid(5));
  EXPECT_EQ(1, mgr.find(mask, nullptr, 0, 5));
  EXPECT_EQ(1u, mask);
}

TEST(IPObjMgrTest, IdsNamesAndIdTests) {
  CIPObjMgr mgr;
  EXPECT_EQ(256u, mgr.GetNewId());
  mgr.AddObj(UserObj(256, "abc"));
  mgr.AddObj(UserObj(1024, "Other"));
  EXPECT_EQ(512u, mgr.GetNewId());
  for (uint64_t id = 512; id != 0; id <<= 1) mgr.AddObj(UserObj(id, "n"));
  EXPECT_EQ(0u, mgr.GetNewId());

  EXPECT_EQ(3, mgr.FindByName("ABC"));
  EXPECT_EQ(-1, mgr.FindByNameButIndex("abc", 3));
  EXPECT_EQ(4, mgr.FindByNameButIndex("other", 3));
  EXPECT_EQ(0, mgr.FindByName(kSuperName));
  EXPECT_EQ(-1, mgr.FindByName("ab"));
  EXPECT_EQ(-1, mgr.FindByName(nullptr));
  EXPECT_EQ(3, mgr.find(uint64_t{256}));
  EXPECT_EQ(-1, mgr.find(uint64_t{8}));

  uint64_t id = 3;
  EXPECT_TRUE(CIPObjMgr::IsIncludeBlkObj(id));
  EXPECT_FALSE(CIPObjMgr::IsBlkObj(id));
  EXPECT_FALSE(CIPObjMgr::IsIncludeFireWallBlkObj(id));
  id = 4;
  EXPECT_TRUE(CIPObjMgr::IsFireWallBlkObj(id));
  EXPECT_FALSE(CIPObjMgr::IsIncludeSuperObj(id));
}

TEST(IPObjMgrTest, AdvanceCmpComparesHostListsById) {
  CIPObjMgr here;
  here.AddObj(UserObj(256, "a"));
  here.AddObj(UserObj(512, "b"));
  CIPObjMgr there(here);
  there.GetAt(3)->desc = "another description";
  uint64_t only_here = 9, only_there = 9, changed = 9;
  EXPECT_FALSE(here == there);
  EXPECT_EQ(0, here.advance_cmp(there, only_here, only_there, changed));
  EXPECT_EQ(0u, only_here | only_there | changed);

  there.GetAt(4)->dids.push_back(1);  // 512 changed
  there.AddObj(UserObj(2048, "new"));
  here.AddObj(UserObj(1024, "gone"));
  EXPECT_EQ(1, here.advance_cmp(there, only_here, only_there, changed));
  EXPECT_EQ(1024u, only_here);
  EXPECT_EQ(2048u, only_there);
  EXPECT_EQ(512u, changed);
}

}  // namespace
