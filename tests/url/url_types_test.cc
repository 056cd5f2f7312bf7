#include <gtest/gtest.h>

#include "url/URLTypes.h"

namespace {

TEST(URLTypesTest, DatabaseIdsRoundTripOverEveryBit) {
  for (int id = 1; id <= 64; ++id) {
    URL_TYPE category = URL_GROUP_TYPE::TransFromDBId(id);
    EXPECT_EQ(uint64_t{1} << (id - 1), category.hitype) << id;
    EXPECT_EQ(0u, category.lotype);
    EXPECT_EQ(id, URL_GROUP_TYPE::TransToDBId(category));
  }
  EXPECT_TRUE(URL_GROUP_TYPE::TransFromDBId(0).IsZero());
  // Only the lowest system bit counts, and user bits never do.
  EXPECT_EQ(2, URL_GROUP_TYPE::TransToDBId(URL_TYPE(0x6, 0)));
  EXPECT_EQ(0, URL_GROUP_TYPE::TransToDBId(URL_TYPE(0, 1)));
  EXPECT_EQ(1, URL_GROUP_TYPE::TransToDBId(URL_GROUP_TYPE::TransFromDBId(65)));
}

TEST(URLTypesTest, AppIdTakesTheFirstRowInTableOrder) {
  EXPECT_EQ(10120019u, URL_GROUP_TYPE::TransToAppId(URL_TYPE(6, 0)));
  EXPECT_EQ(10090060u, URL_GROUP_TYPE::TransToAppId(URL_TYPE(12, 0)));
  EXPECT_EQ(10020007u, URL_GROUP_TYPE::TransToAppId(URL_TYPE(4, 0)));
  EXPECT_EQ(10100013u, URL_GROUP_TYPE::TransToAppId(URL_TYPE(131072, 0)));
  EXPECT_EQ(0u, URL_GROUP_TYPE::TransToAppId(URL_TYPE(1, ~uint64_t{0})));
}

TEST(URLTypesTest, SetOperationsWorkWordByWord) {
  URL_GROUP_TYPE set;
  EXPECT_TRUE(set.IsZero());
  EXPECT_EQ(1, set.Union(URL_TYPE(1, 0)));
  set.Union(URL_GROUP_TYPE(0, 8));
  EXPECT_EQ(URL_GROUP_TYPE(1, 8), set);
  EXPECT_TRUE(set.IsNotZero());
  EXPECT_EQ(URL_GROUP_TYPE(0, 8), set.And(URL_TYPE(2, 12)));
  EXPECT_TRUE(set.And(URL_GROUP_TYPE(2, 4)).IsZero());
  set.Clear();
  EXPECT_FALSE(set.IsNotZero());
}

}  // namespace
