#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "appid/CAppSubtypeReader.h"
#include "support/TempDir.h"

namespace {

typedef CAppSubtypeReader R;

// GBK display names used below.
const char kMailDisp[] = "\xd3\xca\xbc\xfe";  // "邮件"
const char kNotJudged[] =                     // "系统暂未判定"
    "\xcf\xb5\xcd\xb3\xd4\xdd\xce\xb4\xc5\xd0\xb6\xa8";
const char kDeletedUserApp[] =  // "已删除自定义应用"
    "\xd2\xd1\xc9\xbe\xb3\xfd\xd7\xd4\xb6\xa8\xd2\xe5\xd3\xa6\xd3\xc3";
const char kUndefined[] =  // "系统未定义应用"
    "\xcf\xb5\xcd\xb3\xce\xb4\xb6\xa8\xd2\xe5\xd3\xa6\xd3\xc3";
const char kAllApps[] = "\xcb\xf9\xd3\xd0\xd3\xa6\xd3\xc3";  // "所有应用"

const char kTree[] =
    "<?xml version=\"1.0\" encoding=\"GBK\"?>\n"
    "<tree>\n"
    " <version_info current=\"3.1\" time=\"2026-01-02\"/>\n"
    " <root appid=\"10000000\" disp=\"ext\">\n"
    "  <web appid=\"10010000\" disp=\"Web\"/>\n"
    "  <mail appid=\"10020000\" disp=\"\xd3\xca\xbc\xfe\">\n"
    "   <smtp appid=\"10020001\" disp=\"SMTP\" visible=\"0\">\n"
    "    <deep appid=\"10020901\" disp=\"Deep\"/>\n"
    "   </smtp>\n"
    "   <pop3 appid=\"10020002\" disp=\"POP3\"/>\n"
    "  </mail>\n"
    "  <voip appid=\"10110000\" disp=\"VoIP\"/>\n"
    "  <nodisp appid=\"10120000\"><lost appid=\"10120001\" disp=\"Lost\"/>"
    "</nodisp>\n"
    "  <noid disp=\"NoId\"/>\n"
    "  <a_name_that_is_thirty_two_chars_ appid=\"10130000\" disp=\"Long\"/>\n"
    "  <dupdisp appid=\"10140000\" disp=\"SMTP\">\n"
    "   <orphan appid=\"10140001\" disp=\"Orphan\"/>\n"
    "  </dupdisp>\n"
    "  <user appid=\"19000000\" disp=\"User\"><erp_file appid=\"19000050\" "
    "disp=\"ERP file\"><erp_part appid=\"19000051\" disp=\"ERP part\"/>"
    "</erp_file></user>\n"
    "  <uk_data appid=\"19010000\" disp=\"UK\"><uk_tcp appid=\"19010001\" "
    "disp=\"UKTCP\"/></uk_data>\n"
    " </root>\n"
    " <internal appid=\"20000000\" disp=\"int\"><in_web appid=\"20010000\" "
    "disp=\"InWeb\"/></internal>\n"
    "</tree>\n";

class ProtoTreeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = quarn_test::MakeTempDir("tree");
    mkdir((dir_ + "/pat").c_str(), 0755);
    quarn_test::WriteFile(dir_ + "/pat/proto_tree.xml", kTree);
    module_dir_.reset(new quarn_test::ScopedModuleDir(dir_));
    ASSERT_EQ(1, R::ReadAppTypeTree());
  }
  void TearDown() override { R::CloseAppTypeTree(); }

  std::string dir_;
  std::unique_ptr<quarn_test::ScopedModuleDir> module_dir_;
};

TEST_F(ProtoTreeTest, ReadsItemsAndSkipsBadOnesWithTheirSubtrees) {
  const R::tagPROTO_TREE_ITEM* smtp = R::FindItemByAppid(10020001);
  ASSERT_NE(nullptr, smtp);
  EXPECT_STREQ("smtp", smtp->name);
  EXPECT_EQ(0, smtp->visible);
  EXPECT_EQ(10020000u, smtp->parent->appid);
  EXPECT_EQ(1, R::FindItemByAppid(10020002)->visible);
  EXPECT_EQ("3.1", R::GetVersion().current);
  EXPECT_EQ("2026-01-02", R::GetVersion().time);

  // Missing disp, missing appid and a 32-character name drop the subtree.
  EXPECT_EQ(nullptr, R::FindItemByAppid(10120000));
  EXPECT_EQ(nullptr, R::FindItemByAppid(10120001));
  EXPECT_EQ(nullptr, R::FindItemByAppid(10130000));
  // A duplicate display name is refused, but its children are still read,
  // as top-level items.
  EXPECT_EQ(nullptr, R::FindItemByAppid(10140000));
  const R::tagPROTO_TREE_ITEM* orphan = R::FindItemByAppid(10140001);
  ASSERT_NE(nullptr, orphan);
  EXPECT_EQ(nullptr, orphan->parent);
  EXPECT_EQ(0u, R::GetExtGrpAppType(10140001));
  // The internal tree and third-level items are indexed by id.
  EXPECT_NE(nullptr, R::FindItemByAppid(20010000));
  EXPECT_NE(nullptr, R::FindItemByAppid(10020901));
}

TEST_F(ProtoTreeTest, NameSearchesCoverTwoLevelsAndFoldAsciiCase) {
  EXPECT_EQ(10020001u, R::FindAppIdByAppName("SMTP"));
  EXPECT_EQ(10020000u, R::FindItemByAppDesc(kMailDisp)->appid);
  EXPECT_EQ(10020002u, R::FindItemByAppDesc("pop3")->appid);
  EXPECT_EQ(0u, R::FindAppIdByAppName("deep"));    // third level
  EXPECT_EQ(0u, R::FindAppIdByAppName("root"));    // the root itself
  EXPECT_EQ(0u, R::FindAppIdByAppName("in_web"));  // outside the root
}

TEST_F(ProtoTreeTest, DisplayNamesAndFallbacks) {
  EXPECT_STREQ("SMTP", R::FindDispNameByAppid(10020001));
  EXPECT_STREQ(kNotJudged, R::FindDispNameByAppid(100));
  EXPECT_STREQ(kDeletedUserApp, R::FindDispNameByAppid(19000005));
  EXPECT_STREQ(kUndefined, R::FindDispNameByAppid(19010009));
  EXPECT_STREQ(kUndefined, R::FindDispNameByAppid(30000000));
  EXPECT_EQ(kAllApps, R::ShowAppName({}, 1));
  EXPECT_EQ("", R::ShowAppName({}, 0));
  EXPECT_EQ(std::string("SMTP,") + kNotJudged,
            R::ShowAppName({10020001, 100}, 0));
}

TEST_F(ProtoTreeTest, GroupsAndSubtypes) {
  EXPECT_EQ(0u, R::GetExtGrpAppType(10020000));
  EXPECT_EQ(10020000u, R::GetExtGrpAppType(10020001));
  EXPECT_EQ(19000000u, R::GetExtGrpAppType(19000042));
  EXPECT_EQ(0u, R::GetExtGrpAppType(19010042));
  EXPECT_EQ(1, R::IsExtAppSubType(19010001));
  EXPECT_EQ(0, R::IsExtAppSubType(10010000));

  std::vector<uint32_t> list = {1, 2, 3};
  EXPECT_EQ(0u, R::GetSubAppType(10020001, &list));
  EXPECT_EQ(3u, list.size());  // untouched for a subtype
  EXPECT_EQ(2u, R::GetSubAppType(10020000, &list));
  EXPECT_EQ((std::vector<uint32_t>{10020001, 10020002}), list);
  EXPECT_EQ(0u, R::GetSubAppType(10990000, &list));
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(2u, R::GetSubAppType(10020000));

  R::GetAllExtGrpAppType(list);
  EXPECT_EQ(
      (std::vector<uint32_t>{10010000, 10020000, 10110000, 19000000, 19010000}),
      list);
}

TEST(AppIdPredicatesTest, FollowTheNumbering) {
  EXPECT_EQ(1, R::IsAppGrpType(0));
  EXPECT_EQ(0, R::IsAppGrpType(4294967295u));
  EXPECT_EQ(1, R::IsAppGrpType(10010000));
  EXPECT_EQ(0, R::HasChildAppType(10010000));
  EXPECT_EQ(0, R::HasChildAppType(10110000));
  EXPECT_EQ(1, R::HasChildAppType(10020000));
  EXPECT_EQ(0, R::HasChildAppType(10020001));
  EXPECT_EQ(0, R::IsUserDefSubApp(19000000));
  EXPECT_EQ(1, R::IsUserDefSubApp(19000001));
  EXPECT_EQ(1, R::IsUserDefSubApp(19009999));
  EXPECT_EQ(0, R::IsUserDefSubApp(19010000));
  for (uint32_t id : {19010001u, 19010002u, 19020001u, 19020002u}) {
    EXPECT_EQ(1, R::IsExUkSubAppType(id));
  }
  EXPECT_EQ(0, R::IsExUkSubAppType(19030001));
  EXPECT_EQ(1, R::IsExUkGrpAppType(19020000));
  EXPECT_EQ(0, R::IsExUkGrpAppType(19030000));
}

TEST_F(ProtoTreeTest, UserDefinedApplicationsComeAndGo) {
  EXPECT_EQ(1, R::AddUserDefApp("erp", "ERP", 19000001, 1));
  EXPECT_EQ(0, R::AddUserDefApp("erp2", "ERP", 19000002, 1));     // disp taken
  EXPECT_EQ(0, R::AddUserDefApp("ERP", "ERP two", 19000002, 1));  // name taken
  EXPECT_EQ(0, R::AddUserDefApp("crm", "CRM", 10020001, 1));      // id taken
  EXPECT_EQ(0,
            R::AddUserDefApp(std::string(32, 'n').c_str(), "N", 19000003, 1));
  EXPECT_EQ(1, R::AddUserDefApp("crm", "CRM", 19000002, 1));
  EXPECT_EQ(19000000u, R::GetExtGrpAppType(19000002));
  EXPECT_EQ(19000001u, R::FindAppIdByAppName("erp"));

  EXPECT_NE(nullptr, R::FindItemByAppid(19000051));
  R::DeleteAllUserDefApp();
  EXPECT_EQ(nullptr, R::FindItemByAppid(19000001));
  // Items below a user-defined application go with it, index entries too.
  EXPECT_EQ(nullptr, R::FindItemByAppid(19000050));
  EXPECT_EQ(nullptr, R::FindItemByAppid(19000051));
  EXPECT_EQ(0u, R::FindAppIdByAppName("crm"));
  EXPECT_NE(nullptr, R::FindItemByAppid(19000000));
  EXPECT_EQ(1, R::AddUserDefApp("erp", "ERP", 19000001, 1));  // slot reused

  // A second read replaces the tree, user-defined applications included.
  ASSERT_EQ(1, R::ReadAppTypeTree());
  EXPECT_EQ(nullptr, R::FindItemByAppid(19000001));
  EXPECT_NE(nullptr, R::FindItemByAppid(10020001));
}

TEST(ProtoTreeLifecycleTest, MissingFileAndClosedTreeGiveFallbacks) {
  std::string dir = quarn_test::MakeTempDir("notree");
  quarn_test::ScopedModuleDir module_dir(dir);
  EXPECT_EQ(0, R::ReadAppTypeTree());
  EXPECT_EQ(nullptr, R::FindItemByAppid(10000000));
  EXPECT_EQ(0, R::AddUserDefApp("x", "X", 19000001, 1));
  R::CloseAppTypeTree();
  EXPECT_STREQ(kNotJudged, R::FindDispNameByAppid(100));
  EXPECT_EQ(nullptr, R::FindItemByAppName("mail"));
}

TEST(AppIdIndexTest, HashChainsAndFreeList) {
  EXPECT_EQ(1u, R::HashCompFun::Hash(10010000) & 16383);
  EXPECT_EQ(258u, R::HashCompFun::Hash(10020001) & 16383);
  EXPECT_EQ(900u, R::HashCompFun::Hash(19000000) & 16383);
  EXPECT_EQ(8216u, R::HashCompFun::Hash(100) & 16383);

  R::AppIdIndex index;
  index.Reset();
  R::tagPROTO_TREE_ITEM a{}, b{};
  a.appid = 10010000;
  // 64 more in the subtype half adds 64 * 256 = 16384 to the hash, which
  // lands in the same bucket.
  b.appid = 10010064;
  ASSERT_EQ(R::HashCompFun::Hash(a.appid) & 16383,
            R::HashCompFun::Hash(b.appid) & 16383);
  int32_t na = index.Insert(a.appid);
  index.ValueAt(na) = &a;
  int32_t nb = index.Insert(b.appid);
  index.ValueAt(nb) = &b;
  EXPECT_EQ(0, na);
  EXPECT_EQ(1, nb);
  EXPECT_EQ(nb, index.BucketHead(1));  // newest first
  EXPECT_EQ(na, index.NextOf(nb));
  EXPECT_EQ(1000 + 1, index.BackOf(nb));
  EXPECT_EQ(na, index.Find(a.appid));
  index.Remove(nb);
  EXPECT_EQ(na, index.BucketHead(1));
  EXPECT_EQ(1001, index.BackOf(na));
  EXPECT_EQ(nb, index.free_head());
  EXPECT_EQ(-2, index.BackOf(nb));
  EXPECT_EQ(999, index.free_count());
  for (int i = 0; i < 999; ++i)
    ASSERT_NE(R::AppIdIndex::kNone, index.Insert(i));
  EXPECT_EQ(R::AppIdIndex::kNone, index.Insert(5));
}

}  // namespace
