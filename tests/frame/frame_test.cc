#include <gtest/gtest.h>

#include "address/internal/InternetRange.h"
#include "appid/CAppSubtypeReader.h"
#include "frame/ACE_Memmap_Log_Msg.h"
#include "frame/CFileTypeTable.h"
#include "frame/GlobalSwitches.h"
#include "frame/internal/FrameSlots.h"
#include "frame/quarn_common_frame.h"
#include "objects/CKeyTypeTable.h"

namespace {

class CountingLogSink : public ACE_Memmap_Log_Msg {
 public:
  explicit CountingLogSink(int* deleted) : deleted_(deleted) {}
  ~CountingLogSink() override { ++*deleted_; }

 private:
  int* deleted_;
};

bool RangeTablesLoaded() {
  return quarn_internet_range::Level1Slot() != nullptr &&
         quarn_internet_range::Level2Slot() != nullptr;
}

bool TreeLoaded() {
  return CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_EXTERN) !=
         nullptr;
}

TEST(FrameTest, SwitchDefaults) {
  EXPECT_EQ(2, g_nAuditSavelevel);
  EXPECT_EQ(1, g_nHttpAuditType);
  EXPECT_EQ(0xFFFFFFFFu, g_live_log_level);
  EXPECT_EQ(1, g_save_html_only_have_title);
  EXPECT_FALSE(g_bDisnableActionStat);
  EXPECT_FALSE(g_bDisnableAllWarninglevel);
  EXPECT_FALSE(g_bDisnableAllInterrupt);
  EXPECT_FALSE(g_bAuditWebLogon);
  EXPECT_EQ(nullptr, g_str_cur_step);
  EXPECT_EQ(nullptr, g_pACE_Memmap_Log_Msg);
}

TEST(FrameTest, InitAndFiniAreCounted) {
  // The tests run with the module directory at the example data.
  quarn_common_init(0, 0);
  ASSERT_TRUE(TreeLoaded());
  ASSERT_TRUE(RangeTablesLoaded());
  quarn_common_init(0, 0);
  quarn_common_fini();
  EXPECT_TRUE(TreeLoaded()) << "an inner fini must not release";
  EXPECT_TRUE(RangeTablesLoaded());
  // A combined table placed by a host is the library's to release.
  quarn_internet_range::CombinedSlot() = new CInternetIPRangeTable();
  int deleted = 0;
  g_pACE_Memmap_Log_Msg = new CountingLogSink(&deleted);
  quarn_frame::FileTypeTableSlot() = new CFileTypeTable();
  quarn_frame::FileTypeTableSlot()->Add("report.DOC", 4);
  EXPECT_EQ(4, MyGetFileType("Report.doc", false));
  for (int i = 0; i < quarn_frame::kKeyTypeTableSlots; ++i) {
    quarn_frame::KeyTypeTableSlot(i) = new CKeyTypeTable();
  }
  quarn_common_fini();
  EXPECT_FALSE(TreeLoaded());
  EXPECT_FALSE(RangeTablesLoaded());
  EXPECT_EQ(nullptr, quarn_internet_range::CombinedSlot());
  EXPECT_EQ(1, deleted);
  EXPECT_EQ(nullptr, g_pACE_Memmap_Log_Msg);
  EXPECT_EQ(nullptr, quarn_frame::FileTypeTableSlot());
  EXPECT_EQ(0, MyGetFileType("report.doc", false));
  for (int i = 0; i < quarn_frame::kKeyTypeTableSlots; ++i) {
    EXPECT_EQ(nullptr, quarn_frame::KeyTypeTableSlot(i));
  }

  // An extra fini leaves the count below zero; the next init only counts.
  quarn_common_fini();
  EXPECT_EQ(-1, quarn_frame::InitCount());
  quarn_common_init(0, 0);
  EXPECT_EQ(0, quarn_frame::InitCount());
  EXPECT_FALSE(TreeLoaded());
  quarn_common_init(0, 0);
  EXPECT_TRUE(TreeLoaded());
  quarn_common_fini();
}

}  // namespace
