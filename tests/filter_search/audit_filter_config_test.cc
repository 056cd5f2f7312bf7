#include "filter/CAuditFilterConfig.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

constexpr uint32_t Ip(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  return (a << 24) | (b << 16) | (c << 8) | d;
}

const IP_RANGE_PAIR kNet10{Ip(10, 0, 0, 0), Ip(10, 0, 0, 255)};
const IP_RANGE_PAIR kNet20{Ip(20, 0, 0, 0), Ip(20, 0, 0, 255)};
const uint32_t kA = Ip(10, 0, 0, 5), kA2 = Ip(10, 0, 0, 9);
const uint32_t kB = Ip(20, 0, 0, 7), kB2 = Ip(20, 0, 0, 1);
const uint32_t kOut = Ip(192, 0, 2, 8);

tagSIMPLE_IP_FILTER Filter(int dir_mode, std::vector<IP_RANGE_PAIR> first,
                           uint32_t first_negate,
                           std::vector<IP_RANGE_PAIR> second,
                           uint32_t second_negate,
                           std::vector<uint32_t> values = {},
                           uint32_t values_negate = 0, uint32_t invert = 0) {
  tagSIMPLE_IP_FILTER f;
  f.dir_mode = dir_mode;
  f.first_ranges = first;
  f.first_negate = first_negate;
  f.second_ranges = second;
  f.second_negate = second_negate;
  f.values = values;
  f.values_negate = values_negate;
  f.invert = invert;
  return f;
}

// The pair-match table in every mode: each filter against the pairs it
// must and must not match, as a white list and as a black list.
TEST(AuditFilterConfig, PairMatchInEveryMode) {
  struct Case {
    tagSIMPLE_IP_FILTER filter;
    std::vector<std::pair<uint32_t, uint32_t>> match, no_match;
  };
  const Case cases[] = {
      // Unset lists match nothing, even inverted.
      {Filter(0, {}, 1, {}, 0, {}, 0, 1), {}, {{kA, kB}}},
      {Filter(1, {kNet10}, 0, {kNet20}, 0), {{kA, kB}}, {{kB, kA}, {kA, kOut}}},
      {Filter(-1, {kNet10}, 0, {kNet20}, 0), {{kB, kA}}, {{kA, kB}}},
      // Only the second list: only the second address is tested.
      {Filter(1, {}, 1, {kNet20}, 0), {{kOut, kB}}, {{kB, kOut}}},
      {Filter(1, {kNet10}, 1, {kNet20}, 1),
       {{kOut, kOut}},
       {{kA, kOut}, {kOut, kB}}},
      {Filter(2, {kNet10}, 0, {}, 0), {}, {{kA, kA}}},
      {Filter(2, {kNet10}, 0, {}, 0, {}, 0, 1), {{kA, kA}}, {}},
      // Either direction: forward or reverse pairing.
      {Filter(0, {kNet10}, 0, {}, 0), {{kOut, kA}, {kA, kOut}}, {{kOut, kB}}},
      {Filter(0, {kNet10}, 0, {kNet20}, 0), {{kA, kB}, {kB, kA}}, {{kA, kA2}}},
      // Both negated: not both in the first list, not both in the second.
      {Filter(0, {kNet10}, 1, {kNet20}, 1),
       {{kA, kB}, {kA, kOut}},
       {{kA, kA2}, {kB, kB2}}},
      // One negated, either one: neither pairing may hold.
      {Filter(0, {kNet10}, 1, {kNet20}, 0),
       {{kA, kA2}, {kOut, kOut}},
       {{kA, kB}, {kB, kA}}},
      {Filter(0, {kNet10}, 0, {kNet20}, 1),
       {{kA, kA2}, {kOut, kOut}},
       {{kA, kB}, {kB, kA}}},
      // Value step: only whether 0 is listed, after the addresses pass.
      {Filter(0, {kNet10}, 0, {}, 0, {3, 4}), {}, {{kA, kA}}},
      {Filter(0, {kNet10}, 0, {}, 0, {3, 4}, 1), {{kA, kA}}, {{kOut, kOut}}},
      {Filter(0, {kNet10}, 0, {}, 0, {3, 0}, 1), {}, {{kA, kA}}},
      {Filter(0, {kNet10}, 0, {}, 0, {3, 0}, 0, 1), {{kOut, kOut}}, {{kA, kA}}},
      {Filter(0, {}, 0, {}, 0, {0}), {{kOut, kOut}}, {}},
  };
  for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) {
    CAuditFilterConfig white, black;
    white.white_list = cases[i].filter;
    black.black_list = cases[i].filter;
    for (auto pair : cases[i].match) {
      EXPECT_EQ(1, white.IsWhiteList(pair.first, pair.second)) << i;
      tagIPv4_CONNECT_ADDR addr{pair.first, 1, pair.second, 2};
      EXPECT_EQ(1, black.IsBlackList(addr)) << i;
      EXPECT_EQ(0, black.IsWhiteList(addr)) << i;
    }
    for (auto pair : cases[i].no_match) {
      EXPECT_EQ(0, white.IsWhiteList(pair.first, pair.second)) << i;
      EXPECT_EQ(0, black.IsBlackList(pair.first, pair.second)) << i;
    }
  }
}

TEST(AuditFilterConfig, ApplicationFragmentsAndRanges) {
  COneAppAuditFilterConfig app;
  EXPECT_EQ(0, app.find("anything"));
  app.strings = {"MPLE"};
  EXPECT_EQ(0, app.find("a sample"));
  app.strings.push_back("mple");
  EXPECT_EQ(1, app.find("a sample"));
  EXPECT_EQ(0, app.find(nullptr));
  app.ranges = {{kA2, kA}, kNet20};  // the first holds nothing
  EXPECT_EQ(0, app.find(kA, kOut));
  EXPECT_EQ(1, app.find(kOut, kB));
  EXPECT_EQ(1, app.find(tagIPv4_CONNECT_ADDR{kB, 1, kOut, 2}));
}

TEST(AuditFilterConfig, SaveLoadRoundTrip) {
  CAuditFilterConfig saved;
  saved.white_list =
      Filter(-1, {kNet10, {kOut, kOut}}, 1, {kNet20}, 0, {0, 4294967295u}, 1);
  saved.white_list.invert = 1;
  saved.black_list = Filter(0, {}, 0, {kNet20}, 1);
  COneAppAuditFilterConfig* apps[] = {&saved.web,   &saved.mail, &saved.msn,
                                      &saved.qq,    &saved.ymsg, &saved.ftp,
                                      &saved.telnet};
  for (int i = 0; i < 7; ++i) {
    apps[i]->strings = {"\xC9\xE7\xBD\xBB", std::to_string(i)};  // 社交
    apps[i]->ranges = {{kOut, kOut + i}};
  }
  std::string path = quarn_test::MakeTempDir("audit") + "/policy.xml";
  ASSERT_EQ(1, saved.SaveToFile(path.c_str()));
  CAuditFilterConfig loaded;
  ASSERT_EQ(1, loaded.LoadFromFile(path.c_str()));
  EXPECT_TRUE(loaded == saved);
  EXPECT_EQ(path, loaded.file_name);

  // SaveToFile() writes back to the file loaded.
  loaded.ftp.strings.clear();
  ASSERT_EQ(1, loaded.SaveToFile());
  std::string text = quarn_test::ReadFile(path);
  ASSERT_EQ(1, saved.LoadFromMem(text.data(), static_cast<int>(text.size())));
  EXPECT_TRUE(saved == loaded);
  EXPECT_TRUE(saved.file_name.empty());
  EXPECT_EQ(0, saved.SaveToFile());
}

TEST(AuditFilterConfig, LoadingReplacesOrEmpties) {
  CAuditFilterConfig config;
  config.web.strings = {"old"};
  config.white_list = Filter(0, {kNet10}, 0, {}, 0);
  EXPECT_EQ(1, config.LoadFromMem("<x/>", 0));
  EXPECT_TRUE(config == CAuditFilterConfig());

  config.web.strings = {"old"};
  EXPECT_EQ(0, config.LoadFromMem("<broken", 7));
  EXPECT_TRUE(config == CAuditFilterConfig());
  config.web.strings = {"old"};
  EXPECT_EQ(0, config.LoadFromFile("/nonexistent/policy.xml"));
  EXPECT_TRUE(config == CAuditFilterConfig());

  // Any root name; absent elements stay empty; bad items are skipped.
  std::string doc =
      "<other><white_list><ip dir_mode=\"1\"><first>"
      "<ip_range>10.0.0.0-10.0.0.255</ip_range></first></ip></white_list>"
      "<qq><string>x</string><ip_range>bad</ip_range>"
      "<ip_range>20.0.0.1</ip_range></qq></other>";
  ASSERT_EQ(1, config.LoadFromMem(doc.data(), static_cast<int>(doc.size())));
  EXPECT_EQ(1, config.IsWhiteList(kA, kOut));
  EXPECT_EQ(0, config.IsWhiteList(kOut, kA));
  EXPECT_EQ(std::vector<std::string>{"x"}, config.qq.strings);
  EXPECT_EQ(std::vector<IP_RANGE_PAIR>{IP_RANGE_PAIR(kB2, kB2)},
            config.qq.ranges);
  EXPECT_TRUE(config.web == COneAppAuditFilterConfig());

  // The shipped example loads into the process-wide instance.
  CAuditFilterConfig* instance = CAuditFilterConfig_Singleton::instance();
  ASSERT_NE(nullptr, instance);
  std::string example = std::string(QUARN_SOURCE_DIR) +
                        "/examples/gateway/audit_filter_policy.xml";
  ASSERT_EQ(1, instance->LoadFromFile(example.c_str()));
  EXPECT_EQ(1, instance->IsWhiteList(Ip(10, 2, 0, 1), Ip(10, 1, 0, 1)));
  EXPECT_EQ(1, instance->IsBlackList(Ip(192, 168, 100, 3), kOut));
  EXPECT_EQ(1, instance->web.find("\xD5\xD0\xC6\xB8"));  // 招聘 ("hiring")
}

}  // namespace
