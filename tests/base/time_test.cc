#include <stdlib.h>
#include <time.h>

#include <string>

#include "base/OrvaTime.h"
#include "gtest/gtest.h"

namespace {

// Runs a test in a fixed zone, UTC+8 with no daylight saving.
class OrvaTimeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* tz = getenv("TZ");
    had_tz_ = tz != nullptr;
    if (had_tz_) old_tz_ = tz;
    setenv("TZ", "CST-8", 1);
    tzset();
  }
  void TearDown() override {
    if (had_tz_) {
      setenv("TZ", old_tz_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  bool had_tz_ = false;
  std::string old_tz_;
};

TEST_F(OrvaTimeTest, FormatsLocalTime) {
  EXPECT_EQ("1970-01-01 08:00:00", Orva::FormatTime(6, 0, 0));
  EXPECT_EQ("2024-02-29 23:59:59", Orva::FormatTime(6, 1709222399, 0));
  EXPECT_EQ("2024-02-29 15:59:59",
            Orva::FormatTime(6, 1709222399, Orva::kTimeUtc));
  EXPECT_EQ("1969-12-31 23:59:59", Orva::FormatTime(6, -1, Orva::kTimeUtc));
  EXPECT_EQ("", Orva::FormatTime(5, 0, 0));
}

TEST_F(OrvaTimeTest, ParsesWhatItFormatsAndLooserForms) {
  const int32_t samples[] = {0, 1, -1, 1709222399, 2147483647, -2147483647};
  for (int32_t t : samples) {
    int32_t back = 12345;
    ASSERT_EQ(1, Orva::StrToTime(6, Orva::FormatTime(6, t, 0).c_str(), &back))
        << t;
    EXPECT_EQ(t, back);
  }
  int32_t t = 0;
  ASSERT_EQ(1, Orva::StrToTime(6, "  2024-3-5 8:07:09 ", &t));
  EXPECT_EQ("2024-03-05 08:07:09", Orva::FormatTime(6, t, 0));
  ASSERT_EQ(1, Orva::StrToTime(6, "2024/03/05T08:07", &t));
  EXPECT_EQ("2024-03-05 08:07:00", Orva::FormatTime(6, t, 0));
  ASSERT_EQ(1, Orva::StrToTime(6, "2024-03-05", &t));
  EXPECT_EQ("2024-03-05 00:00:00", Orva::FormatTime(6, t, 0));
  ASSERT_EQ(1, Orva::StrToTime(6, "1970-01-01 00:00:00", &t, Orva::kTimeUtc));
  EXPECT_EQ(0, t);
}

TEST_F(OrvaTimeTest, RefusesBadTextAndLeavesTheTarget) {
  const char* bad[] = {
      "",
      "yesterday",
      "2023-02-29 00:00:00",  // not a leap year
      "2024-13-01 00:00:00",
      "2024-04-31 00:00:00",
      "2024-01-01 24:00:00",
      "2024-01-01 10:60:00",
      "2024-01-01 10:00:00x",
      "2024-01/01 10:00:00",  // mixed date separators
      "2038-01-19 11:14:08",  // one second past the 32-bit range here
      "1901-12-13 00:00:00",  // before it
      "1709222399",
  };
  for (const char* text : bad) {
    int32_t t = 777;
    EXPECT_EQ(0, Orva::StrToTime(6, text, &t)) << text;
    EXPECT_EQ(777, t) << text;
  }
  int32_t t = 777;
  EXPECT_EQ(1, Orva::StrToTime(6, "2038-01-19 11:14:07", &t));
  EXPECT_EQ(2147483647, t);
  EXPECT_EQ(0, Orva::StrToTime(6, nullptr, &t));
  EXPECT_EQ(0, Orva::StrToTime(1, "2024-01-01 00:00:00", &t));
}

TEST(OrvaTimeSegTest, EndMinuteIsExcludedAndEmptySegmentsHoldNothing) {
  Orva_Time_Seg day(8, 0, 18, 0);
  EXPECT_EQ(-1, day.cmp(7, 59));
  EXPECT_EQ(0, day.cmp(8, 0));
  EXPECT_EQ(0, day.cmp(17, 59));
  EXPECT_EQ(1, day.cmp(18, 0));
  EXPECT_EQ(1, day.cmp(23, 59));

  Orva_Time_Seg whole(0, 0, 24, 0);
  EXPECT_EQ(0, whole.cmp(0, 0));
  EXPECT_EQ(0, whole.cmp(23, 59));

  Orva_Time_Seg none;
  EXPECT_NE(0, none.cmp(0, 0));
  EXPECT_NE(0, none.cmp(12, 0));
  Orva_Time_Seg same(9, 30, 9, 30);
  EXPECT_NE(0, same.cmp(9, 30));
}

TEST(OrvaTimeSegTest, SegmentEndingBeforeItsBeginWrapsOverMidnight) {
  Orva_Time_Seg night(22, 0, 6, 0);
  EXPECT_EQ(0, night.cmp(22, 0));
  EXPECT_EQ(0, night.cmp(23, 59));
  EXPECT_EQ(0, night.cmp(0, 0));
  EXPECT_EQ(0, night.cmp(5, 59));
  EXPECT_NE(0, night.cmp(6, 0));
  EXPECT_NE(0, night.cmp(21, 59));
  EXPECT_NE(0, night.cmp(12, 0));
  EXPECT_TRUE(night == Orva_Time_Seg(22, 0, 6, 0));
  EXPECT_TRUE(night != Orva_Time_Seg(22, 0, 6, 1));
}

TEST(OrvaDateSegTest, StoredMonthsCountFromOneCallersFromZero) {
  // October 1 to October 7, as a configuration file writes it.
  Orva_Date_Seg national(10, 1, 10, 7);
  const int kOctober = 9;  // struct tm's month
  EXPECT_NE(0, national.cmp(kOctober - 1, 30));
  EXPECT_EQ(0, national.cmp(kOctober, 1));
  EXPECT_EQ(0, national.cmp(kOctober, 7));  // end day included
  EXPECT_EQ(1, national.cmp(kOctober, 8));
  EXPECT_EQ(-1, national.cmp(kOctober - 1, 30));
  // November 1 would match if the month were taken as stored.
  EXPECT_NE(0, national.cmp(kOctober + 1, 1));
}

TEST(OrvaDateSegTest, SegmentsWrapOverTheYearEndAndDefaultsHoldNothing) {
  Orva_Date_Seg new_year(12, 30, 1, 2);
  EXPECT_EQ(0, new_year.cmp(11, 30));
  EXPECT_EQ(0, new_year.cmp(11, 31));
  EXPECT_EQ(0, new_year.cmp(0, 1));
  EXPECT_EQ(0, new_year.cmp(0, 2));
  EXPECT_NE(0, new_year.cmp(0, 3));
  EXPECT_NE(0, new_year.cmp(11, 29));
  EXPECT_NE(0, new_year.cmp(5, 15));

  Orva_Date_Seg one_day(2, 29, 2, 29);
  EXPECT_EQ(0, one_day.cmp(1, 29));
  EXPECT_NE(0, one_day.cmp(2, 1));

  Orva_Date_Seg none;
  for (int month = 0; month < 12; ++month) {
    EXPECT_NE(0, none.cmp(month, 1));
  }
  EXPECT_NE(0, Orva_Date_Seg(13, 1, 14, 1).cmp(0, 1));
}

TEST(OrvaTickTest, AdvancesInMilliseconds) {
  uint32_t first = Orva::GetTickCount();
  struct timespec pause = {0, 20 * 1000 * 1000};
  nanosleep(&pause, nullptr);
  uint32_t elapsed = GetTickCount() - first;
  EXPECT_GE(elapsed, 15u);
  EXPECT_LT(elapsed, 5000u);
}

}  // namespace
