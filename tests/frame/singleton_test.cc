#include <stdlib.h>

#include <ace/Object_Manager.h>
#include <gtest/gtest.h>

#include "frame/quarn_common_frame.h"
#include "objects/CIPObjMgr.h"
#include "objects/CKeyTypeObjMgr.h"

namespace {

typedef ACE_Singleton<CIPObjMgr, ACE_Null_Mutex> IPObjHolder;

TEST(ProcessWideInstanceTest, WrapperIsTheHolderAndOutlivesTheLibrary) {
  CIPObjMgr* mgr = CIPObjMgr_Singleton::instance();
  ASSERT_NE(nullptr, mgr);
  EXPECT_EQ(mgr, IPObjHolder::instance());
  EXPECT_EQ(CKeyTypeObjMgr_Singleton::instance(),
            CFileTypeObjMgr_Singleton::instance());

  // The library's stop leaves process-wide instances as they are.
  const int defaults = mgr->GetCount();
  CIPObjMgr::tagONE_IP_MGR_OBJ extra;
  extra.name = "extra";
  extra.id = 1ull << 40;
  mgr->AddObj(extra);
  quarn_common_init(0, 0);
  quarn_common_fini();
  EXPECT_EQ(mgr, CIPObjMgr_Singleton::instance());
  EXPECT_EQ(defaults + 1, mgr->GetCount());

  // close() destroys the instance early; the next access builds a fresh one
  // with defaults only.
  IPObjHolder::close();
  CIPObjMgr* fresh = CIPObjMgr_Singleton::instance();
  ASSERT_NE(nullptr, fresh);
  EXPECT_EQ(defaults, fresh->GetCount());
}

// While ACE's object manager shuts down, a first access still gets an
// instance: it is built without taking the singleton lock and without
// registering for release at exit, so the caller owns its release.
TEST(ProcessWideInstanceDeathTest, FirstAccessDuringShutdownTakesNoLock) {
  EXPECT_EXIT(
      {
        IPObjHolder::close();
        ACE_Object_Manager::instance()->fini();
        if (!ACE_Object_Manager::shutting_down()) exit(2);
        CIPObjMgr* mgr = CIPObjMgr_Singleton::instance();
        if (mgr == nullptr || mgr != CIPObjMgr_Singleton::instance()) exit(3);
        IPObjHolder::close();
        exit(0);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
