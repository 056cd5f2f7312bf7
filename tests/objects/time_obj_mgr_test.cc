#include <stdlib.h>
#include <time.h>

#include <string>

#include <gtest/gtest.h>

#include "objects/CTimeObjMgrConfig.h"
#include "support/TempDir.h"

namespace {

typedef CTimeObjMgrConfig Mgr;

// "工作时间" (working time)
const char kWorkingName[] = "\xB9\xA4\xD7\xF7\xCA\xB1\xBC\xE4";
// "所有时间" (all time)
const char kAllTimeName[] = "\xCB\xF9\xD3\xD0\xCA\xB1\xBC\xE4";
// "该时间对象被删除" (this time object has been deleted)
const char kDeletedName[] =
    "\xB8\xC3\xCA\xB1\xBC\xE4\xB6\xD4\xCF\xF3\xB1\xBB\xC9\xBE\xB3\xFD";

// March 2024, month counted from 0: the 6th is a Wednesday, the 9th a
// Saturday, the 10th a Sunday, the 12th a Tuesday.
const int kMarch = 2;

int Load(Mgr* mgr, const std::string& xml) {
  return mgr->LoadFromMem(xml.data(), static_cast<int>(xml.size()));
}

Mgr LoadedEmpty() {
  Mgr mgr;
  EXPECT_EQ(1, Load(&mgr, "<time_obj_mgr version=\"0\"/>"));
  return mgr;
}

Mgr::tagONE_TIME_OBJ Lunch() {
  Mgr::tagONE_TIME_OBJ obj;
  obj.id = 16;
  obj.name = "lunch";
  Mgr::tagOne_TimeSeg_Item item;
  item.seg = Orva_Time_Seg(12, 0, 13, 0);
  for (int d = 0; d < 7; ++d) item.week[d] = 1;
  obj.segs.push_back(item);
  return obj;
}

// Sets TZ for the life of the object.
class ScopedTZ {
 public:
  explicit ScopedTZ(const char* tz) {
    const char* old = getenv("TZ");
    had_ = old != nullptr;
    if (had_) old_ = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTZ() {
    if (had_) {
      setenv("TZ", old_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  bool had_;
  std::string old_;
};

TEST(TimeObjMgrTest, WorkingTimeDefaultAndWeekdays) {
  Mgr fresh;
  EXPECT_EQ(Mgr::ms_all_time_id, fresh.get_time_type(kMarch, 6, 3, 0, 3));

  Mgr mgr = LoadedEmpty();
  ASSERT_EQ(1u, mgr.objs.size());
  EXPECT_EQ(kWorkingName, mgr.objs[0].name);
  EXPECT_EQ(2u, mgr.get_time_type(kMarch, 6, 10, 0, 3));
  EXPECT_EQ(2u, mgr.get_time_type(kMarch, 6, 8, 0, 3));
  EXPECT_EQ(2u, mgr.get_time_type(kMarch, 6, 17, 59, 3));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 6, 18, 0, 3));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 6, 18, 30, 3));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 6, 7, 59, 3));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 9, 10, 0, 6));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 10, 10, 0, 0));

  // A document with nothing of ours adds nothing, not even a second
  // working-time object.
  mgr.objs.push_back(Lunch());
  Mgr copy(mgr);
  ASSERT_EQ(1, Load(&mgr, "<nothing/>"));
  EXPECT_TRUE(mgr == copy);
}

TEST(TimeObjMgrTest, HolidaysAndWorkingDates) {
  Mgr mgr = LoadedEmpty();
  mgr.objs.push_back(Lunch());
  EXPECT_EQ(17u, mgr.get_time_type(kMarch, 10, 12, 30, 0));
  EXPECT_EQ(18u, mgr.get_time_type(kMarch, 12, 12, 30, 2));

  // Saturday the 9th is worked on Monday's schedule.
  mgr.working_dates[1].push_back(Orva_Date_Seg(3, 9, 3, 9));
  EXPECT_EQ(1, mgr.IsWorkingDate(kMarch, 9));
  EXPECT_EQ(-1, mgr.IsWorkingDate(kMarch, 10));
  EXPECT_EQ(2u, mgr.get_time_type(kMarch, 9, 10, 0, 6));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 10, 10, 0, 0));

  // A holiday turns working time into non-working time and keeps the
  // other objects' bits; it wins over a working date.
  mgr.holidays.push_back(Orva_Date_Seg(3, 6, 3, 9));
  EXPECT_EQ(1, mgr.IsHoliday(kMarch, 6));
  EXPECT_EQ(0, mgr.IsHoliday(kMarch, 10));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 6, 10, 0, 3));
  EXPECT_EQ(17u, mgr.get_time_type(kMarch, 6, 12, 30, 3));
  EXPECT_EQ(1u, mgr.get_time_type(kMarch, 9, 10, 0, 6));
  EXPECT_EQ(2u, mgr.get_time_type(kMarch, 12, 10, 0, 2));
}

TEST(TimeObjMgrTest, InstantIsTakenInLocalTime) {
  Mgr mgr = LoadedEmpty();
  // 2024-03-06 02:00:00 UTC, a Wednesday.
  const int instant = 1709690400;
  {
    ScopedTZ tz("UTC0");
    EXPECT_EQ(1u, mgr.get_time_type(instant));
  }
  {
    ScopedTZ tz("CST-8");  // 10:00 local
    EXPECT_EQ(2u, mgr.get_time_type(instant));
    // 2024-03-09 02:00 UTC is Saturday 10:00 local; worked as a Monday.
    mgr.working_dates[1].push_back(Orva_Date_Seg(3, 9, 3, 9));
    EXPECT_EQ(2u, mgr.get_time_type(instant + 3 * 86400));
  }
  {
    ScopedTZ tz("EST5");  // Tuesday 21:00 local
    EXPECT_EQ(1u, mgr.get_time_type(instant));
  }
}

TEST(TimeObjMgrTest, DocumentReadsAndWritesBack) {
  const std::string xml =
      "<time_obj_mgr version=\"0\">"
      "<one_mgr_obj name=\"night\" desc=\"n\" id=\"32\">"
      "<time_seg begin_hour=\"22\" begin_min=\"0\" end_hour=\"6\" "
      "end_min=\"30\"><weektime><sat>1</sat><mon>0</mon></weektime>"
      "</time_seg></one_mgr_obj>"
      "<one_mgr_obj name=\"off\" id=\"1\"/>"
      "<holiday_list><one_date_seg begin_month=\"10\" begin_date=\"1\" "
      "end_month=\"10\" end_date=\"7\"/></holiday_list>"
      "<working_list_date>"
      "<one_working_date day_name=\"fri\"><one_date_seg begin_month=\"9\" "
      "begin_date=\"28\" end_month=\"9\" end_date=\"28\"/></one_working_date>"
      "<one_working_date day_name=\"Fri\"><one_date_seg/></one_working_date>"
      "</working_list_date></time_obj_mgr>";
  Mgr mgr;
  ASSERT_EQ(1, Load(&mgr, xml));
  ASSERT_EQ(2u, mgr.objs.size());  // id 1 dropped, working time added
  const Mgr::tagOne_TimeSeg_Item& item = mgr.objs[0].segs.at(0);
  const int expected_week[7] = {0, 0, 1, 1, 1, 1, 1};
  for (int d = 0; d < 7; ++d) EXPECT_EQ(expected_week[d], item.week[d]) << d;
  EXPECT_EQ(Orva_Time_Seg(22, 0, 6, 30), item.seg);
  EXPECT_EQ(2u, mgr.objs[1].id);
  EXPECT_EQ(1u, mgr.holidays.size());
  EXPECT_EQ(1u, mgr.working_dates[5].size());
  EXPECT_EQ(5, mgr.IsWorkingDate(8, 28));

  std::string dir = quarn_test::MakeTempDir("timeobj");
  std::string path = dir + "/time_obj_mgr.xml";
  ASSERT_EQ(1, mgr.SaveToFile(path.c_str()));
  Mgr back;
  ASSERT_EQ(1, back.LoadFromFile(path.c_str()));
  EXPECT_TRUE(back == mgr);

  // Another version: objects are not read, the calendar is.
  Mgr other;
  ASSERT_EQ(1, Load(&other,
                    "<time_obj_mgr version=\"3\"><one_mgr_obj id=\"64\"/>"
                    "<holiday_list><one_date_seg begin_month=\"1\" "
                    "begin_date=\"1\" end_month=\"1\" end_date=\"1\"/>"
                    "</holiday_list></time_obj_mgr>"));
  EXPECT_EQ(-1, other.find(64));
  EXPECT_EQ(1u, other.objs.size());
  EXPECT_EQ(1, other.IsHoliday(0, 1));
}

TEST(TimeObjMgrTest, NamesIdsAndDifferences) {
  Mgr mgr = LoadedEmpty();
  EXPECT_EQ(16u, mgr.GetNewId());
  mgr.objs.push_back(Lunch());
  EXPECT_EQ(32u, mgr.GetNewId());
  EXPECT_EQ(2u, mgr.find_by_name(kWorkingName));
  EXPECT_EQ(Mgr::ms_all_time_id, mgr.find_by_name(kAllTimeName));
  EXPECT_EQ(16u, mgr.find_by_name("LUNCH"));
  EXPECT_EQ(0u, mgr.find_by_name("dinner"));
  EXPECT_EQ("lunch", mgr.GetTimeObjIdString(16));
  EXPECT_EQ(kDeletedName, mgr.GetTimeObjIdString(64));
  EXPECT_EQ(kAllTimeName, mgr.GetTimeObjIdString(Mgr::ms_all_time_id));

  EXPECT_FALSE(Mgr::IsAboutTimeObj(Mgr::ms_all_time_id, 0xFF));
  EXPECT_TRUE(Mgr::IsAboutTimeObj(16, 48));
  EXPECT_FALSE(Mgr::IsAboutTimeObj(16, 32));

  Mgr there(mgr);
  there.objs[1].name = "renamed";
  there.holidays.push_back(Orva_Date_Seg(1, 1, 1, 1));
  uint64_t only_here, only_there, changed;
  EXPECT_FALSE(mgr == there);
  EXPECT_EQ(0, mgr.advance_cmp(there, only_here, only_there, changed));
  there.objs[1].segs[0].week[3] = 0;
  there.objs[0].id = 64;
  EXPECT_EQ(1, mgr.advance_cmp(there, only_here, only_there, changed));
  EXPECT_EQ(2u, only_here);
  EXPECT_EQ(64u, only_there);
  EXPECT_EQ(16u, changed);
}

}  // namespace
