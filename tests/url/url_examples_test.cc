#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "url/CURL_Type_Finder_Ex.h"
#include "url/CWhiteURLConfig.h"

namespace {

const uint64_t kRoom = 1 << 16;

std::string Example(const char* name) {
  return std::string(QUARN_SOURCE_DIR) + "/examples/" + name;
}

CURL_Type_Finder_Ex* LoadShipped(const char* system_file) {
  CURL_Type_Finder_Ex* finder = new CURL_Type_Finder_Ex;
  finder->init(kRoom, kRoom, kRoom, kRoom, kRoom, 1, kRoom, kRoom, kRoom, kRoom,
               kRoom, 1);
  finder->LoadURLDB(Example(system_file).c_str(),
                    Example("gateway/user_url.xml").c_str(), 1);
  return finder;
}

// Every shipped pattern classifies a URL built from it into its category,
// through the plain and the enciphered database alike.
TEST(URLExamplesTest, ShippedDatabasesFindEveryPattern) {
  std::unique_ptr<CURL_Type_Finder_Ex> xml(LoadShipped("url/sys_url.xml"));
  std::unique_ptr<CURL_Type_Finder_Ex> dat(LoadShipped("url/sys_url.dat"));
  ASSERT_EQ(30u, xml->system_names().url_db().types.size());
  EXPECT_EQ(30u, dat->system_names().url_db().types.size());
  EXPECT_FALSE(xml->system_names().version().current.empty());
  EXPECT_EQ(3u, xml->user_names().url_db().types.size());

  size_t patterns = 0;
  for (const auto& entry : xml->system_finder()->names()) {
    for (const std::string& text : entry.second) {
      ++patterns;
      std::string url =
          (text[0] == '.' ? "img" + text : text) + "/index.html?id=7";
      URL_GROUP_TYPE from_xml, from_dat;
      xml->find_url(url.data(), static_cast<int>(url.size()), from_xml);
      dat->find_url(url.data(), static_cast<int>(url.size()), from_dat);
      ASSERT_NE(0u, from_xml.hitype & entry.first.hitype) << url;
      ASSERT_EQ(from_xml, from_dat) << url;
    }
  }
  EXPECT_GE(patterns, 20000u);

  URL_GROUP_TYPE user;
  std::string url = "intranet.host.corp.example.cn/wiki";
  xml->find_url(url.data(), static_cast<int>(url.size()), user);
  EXPECT_EQ(4u, user.lotype);
}

TEST(URLExamplesTest, ShippedWhiteList) {
  CWhiteURLConfig white;
  ASSERT_EQ(1, white.LoadFromFile(Example("gateway/white_url.xml").c_str()));
  EXPECT_EQ(4u, white.items().size());
  std::string host = "oa.example.cn";
  EXPECT_EQ(1, white.IsWhiteHost(host.data(), host.size()));
  host = "www.gov.example.cn";
  EXPECT_EQ(0, white.IsWhiteHost(host.data(), host.size()));
}

}  // namespace
