#include <gtest/gtest.h>

#include <string>

#include "support/TempDir.h"
#include "url/CSimpleURLTypeConfig.h"
#include "url/CURLTypeConfig.h"
#include "url/CWhiteURLConfig.h"

namespace {

typedef CURLTypeConfig::tagOne_URL_Item Item;

const char kExcept[] = "\xC5\xC5\xB3\xFD";  // 排除

int LoadText(CBaseXMLConfig& config, const std::string& xml) {
  return config.LoadFromMem(xml.data(), static_cast<int>(xml.size()));
}

// Two categories sharing bit 1 of hitype, a zero-mask one, the simplified
// configuration's list under a differently cased name, and an except list
// that calls itself something else.
const char kDatabase[] =
    "<sys_url><version_info current=\"3.1\" time=\"2026-01-02\"/>"
    "<url_db url_db_type=\"0\">"
    "<url_type name=\"news\" hitype=\"3\" lotype=\"0\">"
    "<url url=\" a.example , ,b.example \" match=\"1\"/>"
    "<url url=\"c.example\"/></url_type>"
    "<url_type name=\"late\" hitype=\"2\" lotype=\"0\">"
    "<url url=\"d.example\"/></url_type>"
    "<url_type name=\"zero\" hitype=\"0\" lotype=\"0\">"
    "<url url=\"e.example\"/></url_type>"
    "<url_type name=\"\xBC\xF2\xBB\xAF\xC5\xE4\xD6\xC3\xCA\xB9\xD3\xC3\xB5\xC4"
    "uRl\" hitype=\"0\" lotype=\"8\"><url url=\"f.example\"/></url_type>"
    "<url_type name=\"mine\" hitype=\"0\" lotype=\"4\"/>"
    "</url_db>"
    "<except_url><url_type name=\"other\" hitype=\"9\" lotype=\"16\">"
    "<url url=\"skip.example\"/></url_type></except_url></sys_url>";

TEST(URLTypeConfigTest, LoadFiltersCategoriesAndSplitsPatterns) {
  CURLTypeConfig config;
  ASSERT_EQ(1, LoadText(config, kDatabase));
  EXPECT_EQ(0, config.url_db().url_db_type);
  const auto& types = config.url_db().types;
  ASSERT_EQ(2u, types.size());  // "late" overlaps, "zero" and reserved out
  EXPECT_EQ("news", types[0].name);
  ASSERT_EQ(3u, types[0].items.size());
  EXPECT_EQ("a.example", types[0].items[0].url);
  EXPECT_EQ(1, types[0].items[0].match);
  EXPECT_EQ("b.example", types[0].items[1].url);
  EXPECT_EQ(1, types[0].items[1].match);
  EXPECT_EQ("c.example", types[0].items[2].url);
  EXPECT_EQ(0, types[0].items[2].match);
  EXPECT_EQ("mine", types[1].name);
  EXPECT_EQ(4u, types[1].lotype);

  EXPECT_EQ(kExcept, config.except_list().name);
  EXPECT_EQ(0u, config.except_list().hitype);
  EXPECT_EQ(CURLTypeConfig::EXCEPT_URL_TYPE, config.except_list().lotype);
  ASSERT_EQ(1u, config.except_list().items.size());
  EXPECT_EQ("skip.example", config.except_list().items[0].url);

  // A second load replaces; a database without "url_db" is empty and
  // still a success.
  ASSERT_EQ(1, LoadText(config, kDatabase));
  EXPECT_EQ(2u, config.url_db().types.size());
  ASSERT_EQ(1, LoadText(config, "<sys_url/>"));
  EXPECT_EQ(-1, config.url_db().url_db_type);
  EXPECT_TRUE(config.url_db().types.empty());
  EXPECT_TRUE(config.except_list().items.empty());
  EXPECT_EQ(kExcept, config.except_list().name);
  ASSERT_EQ(1, LoadText(config, "<x><url_db/></x>"));
  EXPECT_EQ(2, config.url_db().url_db_type);
}

TEST(URLTypeConfigTest, SaveAndLoadKeepEverything) {
  CURLTypeConfig config;
  ASSERT_EQ(1, LoadText(config, kDatabase));
  CURLTypeConfig copy(config);
  EXPECT_TRUE(copy == config);
  copy.url_db().types[0].items[1].match = 0;
  EXPECT_FALSE(copy == config);

  std::string dir = quarn_test::MakeTempDir("urlcfg");
  std::string path = dir + "/sys_url.xml";
  ASSERT_EQ(1, config.SaveToFile(path.c_str()));
  CURLTypeConfig reloaded;
  ASSERT_EQ(1, reloaded.LoadFromFile(path.c_str()));
  EXPECT_TRUE(reloaded == config);
  // One "url" element per pattern on writing.
  std::string text = quarn_test::ReadFile(path);
  EXPECT_NE(std::string::npos, text.find("url=\"b.example\""));
  EXPECT_EQ(std::string::npos, text.find("a.example,"));
}

// Saves `config` and loads the file into a fresh configuration.
CURLTypeConfig SavedAndLoaded(const CURLTypeConfig& config) {
  const std::string path = quarn_test::MakeTempDir("urlcfg") + "/user_url.xml";
  CURLTypeConfig copy(config);  // SaveToFile is not const
  CURLTypeConfig back;
  EXPECT_EQ(1, copy.SaveToFile(path.c_str()));
  EXPECT_EQ(1, back.LoadFromFile(path.c_str()));
  return back;
}

TEST(URLTypeConfigTest, ConfigurationWithoutDatabaseSurvivesARoundTrip) {
  // Fresh, and loaded from a document without "url_db": no database kind
  // (-1), no categories; the except list alone may hold patterns.
  CURLTypeConfig fresh;
  fresh.except_list().items.push_back({"intranet.example", 1});
  ASSERT_EQ(-1, fresh.url_db().url_db_type);
  CURLTypeConfig back = SavedAndLoaded(fresh);
  EXPECT_EQ(-1, back.url_db().url_db_type);
  EXPECT_TRUE(back == fresh);

  CURLTypeConfig loaded;
  ASSERT_EQ(1, LoadText(loaded, "<sys_url/>"));
  EXPECT_TRUE(SavedAndLoaded(loaded) == loaded);

  // A database of either kind, even an empty one, keeps its kind.
  for (int kind : {0, 2, 7}) {
    CURLTypeConfig typed;
    typed.url_db().url_db_type = kind;
    EXPECT_TRUE(SavedAndLoaded(typed) == typed) << kind;
  }

  // Categories need a database: given to a configuration without a kind,
  // they are read back as the user database (2), and that then stays.
  CURLTypeConfig::tagOne_URL_Type_List games;
  games.name = "games";
  games.lotype = 2;
  games.items.push_back({"play.example", 0});
  fresh.url_db().types.push_back(games);
  back = SavedAndLoaded(fresh);
  EXPECT_EQ(2, back.url_db().url_db_type);
  EXPECT_TRUE(back.url_db().types == fresh.url_db().types);
  EXPECT_TRUE(SavedAndLoaded(back) == back);
}

TEST(URLTypeConfigTest, FindURLHonoursMatchType) {
  std::vector<Item> anywhere = {{"host.example", 0}};
  std::vector<Item> leading = {{"host.example", 1}};
  const std::string url = "www.host.example/index.html";
  EXPECT_EQ(1, CURLTypeConfig::FindURL(url.data(), url.size(), anywhere));
  EXPECT_EQ(0, CURLTypeConfig::FindURL(url.data(), url.size(), leading));
  EXPECT_EQ(1,
            CURLTypeConfig::FindURL(url.data() + 4, url.size() - 4, leading));
  // Only the first `length` bytes count, and case matters.
  EXPECT_EQ(0, CURLTypeConfig::FindURL(url.data(), 10, anywhere));
  EXPECT_EQ(0, CURLTypeConfig::FindURL(url.data() + 4, 8, leading));
  const std::string upper = "HOST.EXAMPLE";
  EXPECT_EQ(0, CURLTypeConfig::FindURL(upper.data(), upper.size(), anywhere));
  EXPECT_EQ(0, CURLTypeConfig::FindURL(url.data(), url.size(), {}));
}

TEST(SimpleURLTypeConfigTest, KeepsNamesOfEveryDatabaseWithoutOverlapTest) {
  CSimpleURLTypeConfig names;
  names.SetDBType(2);
  std::string xml = std::string(kDatabase);
  xml.insert(xml.find("<except_url>"),
             "<url_db><url_type name=\"second\" hitype=\"64\"/></url_db>");
  ASSERT_EQ(1, LoadText(names, xml));
  EXPECT_EQ(2, names.GetDBType());  // the file's 0 is not taken
  EXPECT_EQ("3.1", names.version().current);
  EXPECT_EQ("2026-01-02", names.version().time);
  const auto& types = names.url_db().types;
  ASSERT_EQ(4u, types.size());
  EXPECT_EQ("news", types[0].name);
  EXPECT_EQ("late", types[1].name);  // overlapping, kept here
  EXPECT_EQ("mine", types[2].name);
  EXPECT_EQ("second", types[3].name);
  EXPECT_TRUE(types[0].items.empty());
  ASSERT_EQ(1, LoadText(names, xml));
  EXPECT_EQ(4u, names.url_db().types.size());

  std::string dir = quarn_test::MakeTempDir("urlnames");
  std::string path = dir + "/names.xml";
  ASSERT_EQ(1, names.SaveToFile(path.c_str()));
  CSimpleURLTypeConfig reloaded;
  reloaded.SetDBType(2);
  ASSERT_EQ(1, reloaded.LoadFromFile(path.c_str()));
  EXPECT_TRUE(reloaded == names);
  EXPECT_EQ("3.1", reloaded.version().current);
  EXPECT_NE(std::string::npos,
            quarn_test::ReadFile(path).find("url_db_type=\"2\""));
}

TEST(WhiteURLConfigTest, LoadMatchAndSave) {
  CWhiteURLConfig white;
  ASSERT_EQ(1, LoadText(white,
                        "<white_url><white_url>"
                        "<url url=\"good.example, cdn.example\"/>"
                        "<url url=\"portal.example/login\" match=\"1\"/>"
                        "<url url=\"good.example\"/>"
                        "</white_url></white_url>"));
  ASSERT_EQ(4u, white.items().size());  // duplicates kept
  auto white_host = [&](const std::string& text) {
    return white.IsWhiteHost(text.data(), text.size());
  };
  EXPECT_EQ(1, white_host("good.example"));
  EXPECT_EQ(1, white_host("img.cdn.example/a.png"));
  EXPECT_EQ(1, white_host("portal.example/login?x=1"));
  EXPECT_EQ(0, white_host("www.portal.example/login"));
  EXPECT_EQ(0, white_host("GOOD.EXAMPLE"));

  std::string dir = quarn_test::MakeTempDir("white");
  std::string path = dir + "/white_url.xml";
  ASSERT_EQ(1, white.SaveToFile(path.c_str()));
  CWhiteURLConfig reloaded;
  ASSERT_EQ(1, reloaded.LoadFromFile(path.c_str()));
  EXPECT_TRUE(reloaded == white);

  // A document without the list loads as an empty list.
  ASSERT_EQ(1, LoadText(white, "<white_url><other/></white_url>"));
  EXPECT_TRUE(white.items().empty());
  EXPECT_EQ(0, white_host("good.example"));

  CWhiteURLConfig* shared = CWhiteURLConfig_Singleton::instance();
  ASSERT_NE(nullptr, shared);
  EXPECT_EQ(shared, CWhiteURLConfig_Singleton::instance());
}

}  // namespace
