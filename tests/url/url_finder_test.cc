#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "base/CBaseXMLConfig.h"
#include "support/TempDir.h"
#include "url/CURL_Type_Finder_Ex.h"

namespace {

const uint64_t kRoom = 1000;
const char kUserDefined[] = "\xD3\xC3\xBB\xA7\xD7\xD4\xB6\xA8\xD2\xE5URL";

// System categories: bit 0 "www" host, bit 1 plain host, bit 2 domain
// suffix, bit 3 prefix, bit 4 "www" prefix; bit 5 shares a pattern with
// bit 1.
const char kSystemDB[] =
    "<sys_url><version_info current=\"7\" time=\"t\"/><url_db>"
    "<url_type name=\"s0\" hitype=\"1\"><url url=\"www.wonly.example\"/>"
    "</url_type>"
    "<url_type name=\"s1\" hitype=\"2\"><url url=\"plain.example\"/>"
    "</url_type>"
    "<url_type name=\"s2\" hitype=\"4\"><url url=\".zone.example\"/>"
    "</url_type>"
    "<url_type name=\"s3\" hitype=\"8\">"
    "<url url=\"pre.example/path\" match=\"1\"/></url_type>"
    "<url_type name=\"s4\" hitype=\"16\">"
    "<url url=\"www.wpre.example/dir\" match=\"1\"/></url_type>"
    "<url_type name=\"s5\" hitype=\"32\">"
    "<url url=\"plain.example, www.\"/></url_type>"
    "</url_db></sys_url>";

const char kUserDB[] =
    "<sys_url><url_db url_db_type=\"2\">"
    "<url_type name=\"u0\" lotype=\"2\"><url url=\"plain.example\"/>"
    "<url url=\"mine.example\"/></url_type>"
    "<url_type name=\"u1\" lotype=\"4\"><url url=\".corp.example\"/>"
    "</url_type>"
    "</url_db></sys_url>";

class URLFinderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = quarn_test::MakeTempDir("urlfinder");
    sys_path_ = dir_ + "/sys_url.xml";
    user_path_ = dir_ + "/user_url.xml";
    quarn_test::WriteFile(sys_path_, kSystemDB);
    quarn_test::WriteFile(user_path_, kUserDB);
    finder_.init(kRoom, kRoom, kRoom, kRoom, kRoom, 1, kRoom, kRoom, kRoom,
                 kRoom, kRoom, 1);
    finder_.LoadURLDB(sys_path_.c_str(), user_path_.c_str(), 1);
  }

  URL_GROUP_TYPE Find(const std::string& url) {
    URL_GROUP_TYPE set;
    finder_.find_url(url.data(), static_cast<int>(url.size()), set);
    return set;
  }
  uint64_t System(const std::string& url) { return Find(url).hitype; }

  std::string dir_, sys_path_, user_path_;
  CURL_Type_Finder_Ex finder_;
};

TEST_F(URLFinderTest, EachSlotKeepsItsWwwAndDotRules) {
  // "www." host: only with "www." in front.
  EXPECT_EQ(1u, System("www.wonly.example/a") & 1);
  EXPECT_EQ(0u, System("wonly.example/a") & 1);
  // Plain host: anywhere, with or without "www.", inside longer names.
  EXPECT_EQ(2u | 32u, System("plain.example/a"));
  EXPECT_EQ(2u | 32u, System("www.plain.example/a"));
  EXPECT_EQ(2u | 32u, System("cdn.plain.example.net/a"));
  // Domain suffix: sub-domains and "www." + the domain, not the domain.
  EXPECT_EQ(4u, System("www.zone.example/x"));
  EXPECT_EQ(4u, System("a.b.zone.example/x"));
  EXPECT_EQ(0u, System("zone.example/x"));
  EXPECT_EQ(0u, System("zone.example.zone"));
  // Prefix: the URL must begin with it; not after "www.", not a sub-domain.
  EXPECT_EQ(8u, System("pre.example/path/more"));
  EXPECT_EQ(0u, System("www.pre.example/path/more"));
  EXPECT_EQ(0u, System("x.pre.example/path"));
  // "www." prefix: begins with it after "www.".
  EXPECT_EQ(16u, System("www.wpre.example/dir/x"));
  EXPECT_EQ(0u, System("wpre.example/dir/x"));
  EXPECT_EQ(0u, System("www.a.wpre.example/dir"));
  // Too short for "www." handling: the whole text is searched.
  EXPECT_EQ(0u, System("www."));
}

TEST_F(URLFinderTest, AnswerIsTheUnionOfBothDatabases) {
  URL_GROUP_TYPE set = Find("www.plain.example/x");
  EXPECT_EQ(2u | 32u, set.hitype);
  EXPECT_EQ(2u, set.lotype);
  EXPECT_EQ(4u, Find("host.corp.example").lotype);

  URL_GROUP_TYPE preset(0, 64);
  std::string none = "nothing.invalid";
  EXPECT_EQ(
      1, finder_.find_url(none.data(), static_cast<int>(none.size()), preset));
  EXPECT_EQ(URL_GROUP_TYPE(0, 64), preset);

  URL_GROUP_TYPE many;
  std::vector<std::string> urls = {"mine.example", "pre.example/path"};
  EXPECT_EQ(1, finder_.find_url(urls, many));
  EXPECT_EQ(URL_GROUP_TYPE(8, 2), many);
  URL_GROUP_TYPE empty;
  EXPECT_EQ(
      0, finder_.find_url(none.data(), static_cast<int>(none.size()), empty));
}

TEST_F(URLFinderTest, ReloadsReplaceInsteadOfDoubling) {
  const auto* sys = finder_.system_finder();
  uint64_t host_fragments =
      sys->matcher(CURL_Type_Finder_Ex::Finder::host)->fragment_count();
  finder_.LoadURLDB(sys_path_.c_str(), user_path_.c_str(), 1);
  sys = finder_.system_finder();
  EXPECT_EQ(host_fragments,
            sys->matcher(CURL_Type_Finder_Ex::Finder::host)->fragment_count());
  EXPECT_EQ(6u, finder_.system_names().url_db().types.size());
  EXPECT_EQ(2u, finder_.user_names().url_db().types.size());
  EXPECT_EQ(0, finder_.system_names().GetDBType());
  EXPECT_EQ(2, finder_.user_names().GetDBType());
  EXPECT_EQ("7", finder_.system_names().version().current);
  ASSERT_NE(nullptr, finder_.GetNameByURLType(URL_TYPE(2, 0)));
  EXPECT_EQ(1u, finder_.GetNameByURLType(URL_TYPE(2, 0))->size());

  // A reload from a database without a pattern forgets it.
  std::string smaller = kSystemDB;
  smaller.replace(smaller.find("<url url=\"plain.example\"/>"),
                  strlen("<url url=\"plain.example\"/>"), "");
  quarn_test::WriteFile(sys_path_, smaller);
  finder_.LoadURLDB(sys_path_.c_str(), user_path_.c_str(), 1);
  EXPECT_EQ(URL_GROUP_TYPE(32, 2), Find("plain.example"));
  quarn_test::WriteFile(sys_path_, kSystemDB);
  finder_.LoadURLDB(sys_path_.c_str(), user_path_.c_str(), 1);

  // Flag 0: names load, patterns do not; the system side is untouched.
  finder_.ReLoadUserURLDB(user_path_.c_str(), 0);
  EXPECT_EQ(URL_GROUP_TYPE(2 | 32, 0), Find("plain.example"));
  EXPECT_EQ(2u, finder_.user_names().url_db().types.size());
  finder_.ReLoadUserURLDB(user_path_.c_str(), 1);
  EXPECT_EQ(URL_GROUP_TYPE(2 | 32, 2), Find("plain.example"));

  // A missing system file leaves that finder empty.
  finder_.LoadURLDB((dir_ + "/absent.xml").c_str(), nullptr, 1);
  EXPECT_TRUE(Find("plain.example").IsZero());
}

TEST_F(URLFinderTest, SimplifiedListAndNames) {
  CURLTypeConfig::tagOne_URL_Type_List acl;
  acl.lotype = CURLTypeConfig::SIMPLE_ACL_URL_TYPE;
  acl.items = {{"blocked.example", 0}, {"www.go.example/x", 1}};
  finder_.AddSimpleACLURLType(acl);
  URL_GROUP_TYPE set = Find("www.blocked.example/");
  EXPECT_EQ(CURLTypeConfig::SIMPLE_ACL_URL_TYPE, set.lotype);
  EXPECT_EQ(CURLTypeConfig::SIMPLE_ACL_URL_TYPE,
            Find("www.go.example/x/y").lotype);
  set.Union(URL_TYPE(2, 2));
  EXPECT_EQ(kUserDefined, finder_.GetURLTypeName(set));
  // The user database is asked before the system one.
  EXPECT_EQ("u0", finder_.GetURLTypeName(URL_GROUP_TYPE(2, 2)));
  EXPECT_EQ("s2", finder_.GetURLTypeName(URL_GROUP_TYPE(4 | 8, 0)));
  EXPECT_EQ("", finder_.GetURLTypeName(URL_GROUP_TYPE(1u << 20, 0)));
  // A user reload drops the simplified list.
  finder_.ReLoadUserURLDB(user_path_.c_str(), 1);
  EXPECT_TRUE(Find("blocked.example").IsZero());

  const std::vector<std::string>* names =
      finder_.GetNameByURLType(URL_TYPE(32, 0));
  ASSERT_NE(nullptr, names);
  EXPECT_EQ((std::vector<std::string>{"plain.example", "www."}), *names);
  names = finder_.GetNameByURLType(URL_TYPE(0, 2));
  ASSERT_NE(nullptr, names);
  EXPECT_EQ(2u, names->size());
  EXPECT_EQ(nullptr, finder_.GetNameByURLType(URL_TYPE(2, 0x100)));
}

TEST_F(URLFinderTest, EncipheredDatabaseLoadsLikeThePlainOne) {
  std::string dat = dir_ + "/sys_url.dat";
  std::string xml = kSystemDB;
  ASSERT_EQ(1, CBaseXMLConfig::SaveCryDataFile(dat.c_str(), xml.data(),
                                               static_cast<int>(xml.size())));
  CURL_Type_Finder_Ex other;
  other.init(kRoom, kRoom, kRoom, kRoom, kRoom, 0, 0, 0, 0, 0, 0, 0);
  other.LoadURLDB(dat.c_str(), nullptr, 1);
  for (const char* url : {"www.wonly.example/", "a.zone.example/",
                          "pre.example/path", "cdn.plain.example"}) {
    URL_GROUP_TYPE got, want;
    other.find_url(url, static_cast<int>(strlen(url)), got);
    finder_.find_url(url, static_cast<int>(strlen(url)), want);
    EXPECT_EQ(want.hitype, got.hitype) << url;
  }
  EXPECT_EQ("s1", other.GetURLTypeName(URL_GROUP_TYPE(2, 0)));
  // Plain XML under a ".dat" name is not read.
  quarn_test::WriteFile(dat, xml);
  other.LoadURLDB(dat.c_str(), nullptr, 1);
  URL_GROUP_TYPE none;
  EXPECT_EQ(0, other.find_url("plain.example", 13, none));
}

TEST_F(URLFinderTest, CopiesOwnTheirFindersAndCloseReleases) {
  CURL_Type_Finder_Ex copy(finder_);
  finder_.close();
  EXPECT_EQ(nullptr, finder_.system_finder());
  EXPECT_TRUE(Find("plain.example").IsZero());
  URL_GROUP_TYPE set;
  EXPECT_EQ(1, copy.find_url("plain.example", 13, set));
  EXPECT_EQ(URL_GROUP_TYPE(2 | 32, 2), set);
  // After close a load fills nothing until init.
  finder_.LoadURLDB(sys_path_.c_str(), user_path_.c_str(), 1);
  EXPECT_TRUE(Find("plain.example").IsZero());
  CURL_Type_Finder_Ex assigned;
  assigned = copy;
  set.Clear();
  EXPECT_EQ(1, assigned.find_url("www.wonly.example", 17, set));
}

TEST(URLFinderSlotsTest, SlotsWithoutCapacityDropTheirPatterns) {
  std::string dir = quarn_test::MakeTempDir("urlslots");
  std::string path = dir + "/sys.xml";
  quarn_test::WriteFile(path, kSystemDB);
  CURL_Type_Finder_Ex finder;
  // Only the domain suffix slot has room.
  finder.init(0, 0, 0, 0, kRoom, 0, 0, 0, 0, 0, 0, 0);
  finder.LoadURLDB(path.c_str(), nullptr, 1);
  URL_GROUP_TYPE set;
  EXPECT_EQ(0, finder.find_url(std::vector<std::string>{"www.wonly.example/",
                                                        "pre.example/path"},
                               set));
  EXPECT_EQ(1,
            finder.find_url(std::vector<std::string>{"a.zone.example"}, set));
  EXPECT_EQ(URL_GROUP_TYPE(4, 0), set);
  EXPECT_EQ(nullptr, finder.GetNameByURLType(URL_TYPE(4, 0)));
}

}  // namespace
