// Signed-in state: recording paths, host checks, queries by did, the
// stream form and the "auth_center.dat" files with their fallbacks.

#include "employee/CMyEmployeeDynamicInfoMgr.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/TempDir.h"

namespace {

const unsigned char kMacA[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const unsigned char kMacB[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x66};
const unsigned char kBroadcast[6] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
const unsigned int kIp1 = 0x0A000001;  // 10.0.0.1
const unsigned int kIp2 = 0x0A000002;

std::string MainFile(const std::string& dir) {
  return dir + "/" + CMyEmployeeDynamicInfoMgr::kMainFileName;
}
std::string NewFile(const std::string& dir) {
  return dir + "/" + CMyEmployeeDynamicInfoMgr::kNewFileName;
}

std::string Le32(uint32_t v) {
  std::string s;
  for (int i = 0; i < 4; ++i) s += static_cast<char>((v >> (8 * i)) & 0xFF);
  return s;
}

// One file record as the format lays it out.
std::string Record(uint32_t ip, const unsigned char* mac, uint32_t auth,
                   uint64_t did, int32_t state, uint32_t refresh) {
  std::string s = Le32(ip);
  s.append(reinterpret_cast<const char*>(mac), 6);
  s += Le32(auth);
  s +=
      Le32(static_cast<uint32_t>(did)) + Le32(static_cast<uint32_t>(did >> 32));
  s += Le32(static_cast<uint32_t>(state)) + Le32(refresh);
  return s;
}

std::string File(uint32_t format, uint32_t tick, int32_t count,
                 const std::string& records) {
  return Le32(format) + Le32(tick) + Le32(static_cast<uint32_t>(count)) +
         records;
}

TEST(DynamicInfo, Layer3RecordingAndHostChecks) {
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(16, 0));
  int result = -1;
  EMPLOYEE_DYNAMIC_INFO* e = mgr.SetAuth(kIp1, 7, kMacA, 100, 1, &result);
  ASSERT_NE(nullptr, e);
  EXPECT_EQ(1, result);
  EXPECT_EQ(100u, e->first_auth_time);
  EXPECT_EQ(nullptr, mgr.FindEmployeeByMac(kMacA));  // no MAC finder

  // Same IP, new did: moved in the did index, state kept.
  EXPECT_EQ(e, mgr.SetAuth(kIp1, 8, kMacA, 120, 3, &result));
  EXPECT_EQ(1, result);
  EXPECT_EQ(1, e->state);
  EXPECT_EQ(0, mgr.GetLiveCountByDid(7));
  EXPECT_EQ(1, mgr.CheckDidAndIP(8, kIp1));
  EXPECT_EQ(8u, mgr.GetEmployeeDidByRunIP(kIp1));
  mgr.SetAuth(kIp1, 8, kMacA, 130, 3, &result);
  EXPECT_EQ(0, result);

  // Broadcast and zero MACs do not contradict; another MAC does.
  EXPECT_EQ(130u, mgr.TestAuthPassByIP(kIp1, kBroadcast));
  EXPECT_EQ(130u, mgr.TestAuthPassByIP(kIp1, nullptr));
  EXPECT_EQ(130u, mgr.TestAuthPassByIP(kIp1, kMacA));
  EXPECT_EQ(0u, mgr.TestAuthPassByIP(kIp1, kMacB));
  EXPECT_EQ(nullptr, mgr.FindEmployeeByRunIP(kIp1));
  EXPECT_EQ(0u, mgr.GetUsedCount());

  // An entry without MAC learns the first MAC it is checked with.
  mgr.SetAuth(kIp2, 9, nullptr, 50, 1);
  EXPECT_EQ(50u, mgr.TestAuthPassByIP(kIp2, kMacB));
  EXPECT_EQ(0u, mgr.TestAuthPassByIP(kIp2, kMacA));
  EXPECT_EQ(0u, mgr.GetAuthPassByIP(kIp2));
}

TEST(DynamicInfo, Layer2RecordingFollowsTheMac) {
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(16, 1));
  int result = -1;
  EMPLOYEE_DYNAMIC_INFO* e = mgr.SetAuth(kIp1, 7, kMacA, 100, 1, &result);
  ASSERT_NE(nullptr, e);
  EXPECT_EQ(e, mgr.FindEmployeeByMac(kMacA));
  mgr.SetAuth(kIp2, 8, kMacB, 100, 1);

  // kMacA moves to kIp2: the entry that held kIp2 goes, the IP index
  // follows.
  EXPECT_EQ(e, mgr.SetAuth(kIp2, 7, kMacA, 110, 2, &result));
  EXPECT_EQ(1, result);
  EXPECT_EQ(1u, mgr.GetUsedCount());
  EXPECT_EQ(e, mgr.FindEmployeeByRunIP(kIp2));
  EXPECT_EQ(nullptr, mgr.FindEmployeeByRunIP(kIp1));
  EXPECT_EQ(nullptr, mgr.FindEmployeeByMac(kMacB));
  EXPECT_EQ(2, e->state);

  // A new MAC at a known IP replaces the entry's MAC in the index.
  EXPECT_EQ(e, mgr.SetAuth(kIp2, 7, kMacB, 120, 2, &result));
  EXPECT_EQ(0, result);
  EXPECT_EQ(nullptr, mgr.FindEmployeeByMac(kMacA));
  EXPECT_EQ(e, mgr.FindEmployeeByMac(kMacB));

  // A host check by MAC moves the entry to the packet's IP.
  EXPECT_EQ(120u, mgr.TestAuthPassByIP(kIp1, kMacB));
  EXPECT_EQ(e, mgr.FindEmployeeByRunIP(kIp1));
  EXPECT_EQ(0u, mgr.TestAuthPassByIP(kIp1, kMacA));

  // The empty-MAC path clears the MAC, in the index too.
  mgr.SetAuth(kIp1, 7, nullptr, 130, 1);
  EXPECT_EQ(nullptr, mgr.FindEmployeeByMac(kMacB));
  EXPECT_EQ(130u, mgr.GetAuthPassByIP(kIp1));

  // Switching the MAC finder drops the entries.
  mgr.EnableMacFinder(0);
  EXPECT_EQ(0u, mgr.GetUsedCount());
  EXPECT_EQ(16u, mgr.GetTotalCount());
}

TEST(DynamicInfo, DidQueriesAndRemoval) {
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(16, 0));
  const uint64_t did = (uint64_t{1} << 48) + 5;
  const uint64_t twin = (uint64_t{2} << 48) + 5;  // same low 32 bits
  mgr.SetAuth(kIp1, did, nullptr, 100, 1);
  mgr.SetAuth(kIp2, did, nullptr, 50, 1);
  mgr.SetAuth(0x0A000003, twin, nullptr, 10, 1);
  EXPECT_EQ(2, mgr.GetLiveCountByDid(did));
  EXPECT_EQ(kIp2, mgr.GetFirstEmployeeByDid(did)->ip);
  EXPECT_EQ(kIp1, mgr.GetLastEmployeeByDid(did)->ip);
  EXPECT_EQ(0, mgr.CheckDidAndIP(did, 0x0A000003));
  int seen = 0;
  for (int c = mgr.FindFirstEmployeeByDid(did); c != -1;) {
    EXPECT_EQ(did, mgr.FindNextEmployeeByDid(did, c)->did);
    ++seen;
  }
  EXPECT_EQ(2, seen);

  EXPECT_EQ(1, mgr.DelAuthByDid(did));
  EXPECT_EQ(0, mgr.DelAuthByDid(did));
  EXPECT_EQ(1u, mgr.GetUsedCount());
  EXPECT_EQ(1, mgr.GetLiveCountByDid(twin));
  EXPECT_EQ(0, mgr.DelAuthByIP(kIp1));
  EXPECT_EQ(1, mgr.DelAuthByIP(0x0A000003));
  EXPECT_EQ(-1, mgr.GetHeadBlock());
}

TEST(DynamicInfo, StreamFormIs26BytesAndBounded) {
  EMPLOYEE_DYNAMIC_INFO e;
  e.did = 0x0102030405060708ull;
  e.ip = kIp1;
  memcpy(e.mac, kMacA, 6);
  e.auth_time = 0xAABBCCDD;
  e.state = -2;
  e.refresh_time = 9;  // not carried
  char buffer[32];
  char* p = buffer;
  ASSERT_EQ(26, e.PutStream(p));
  EXPECT_EQ(buffer + 26, p);
  EXPECT_EQ('\x08', buffer[0]);  // little-endian did first
  EXPECT_EQ('\x01', buffer[8]);  // then the IP, low byte first

  EMPLOYEE_DYNAMIC_INFO back;
  back.aux = 3;
  const char* q = buffer;
  EXPECT_EQ(-1, back.GetStream(q, 25));
  EXPECT_EQ(buffer, q);
  EXPECT_EQ(3u, back.aux);
  EXPECT_EQ(26, back.GetStream(q, 26));
  EXPECT_EQ(buffer + 26, q);
  e.refresh_time = 0;
  EXPECT_EQ(e, back);
}

TEST(DynamicInfo, SaveWritesOnlyKeptStatesAndBothFilesMatch) {
  std::string dir = quarn_test::MakeTempDir("auth_center");
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(16, 0));
  EMPLOYEE_DYNAMIC_INFO* kept = mgr.SetAuth(kIp1, 7, kMacA, 100, 1);
  mgr.SetAuth(kIp2, 8, kMacB, 200, 5);
  kept->refresh_time = 1;
  mgr.SetLastSaveTickCount(0x01020304);
  ASSERT_EQ(1, mgr.Save_bin(dir.c_str()));

  std::string bytes = quarn_test::ReadFile(MainFile(dir));
  EXPECT_EQ(bytes, quarn_test::ReadFile(NewFile(dir)));
  EXPECT_EQ(File(9, 0x01020304, 1, Record(kIp1, kMacA, 100, 7, 1, 1)), bytes);

  CMyEmployeeDynamicInfoMgr back;
  ASSERT_EQ(1, back.Create(16, 1));
  ASSERT_EQ(1, back.Load_bin(dir.c_str()));
  EXPECT_EQ(1u, back.GetUsedCount());
  EMPLOYEE_DYNAMIC_INFO* e = back.FindEmployeeByMac(kMacA);
  ASSERT_NE(nullptr, e);
  EXPECT_EQ(7u, e->did);
  EXPECT_NE(1u, e->refresh_time);  // reloaded entries get the load time
  EXPECT_FALSE(back.IsModified());
  EXPECT_EQ(0x01020304u, back.GetLastSavedTickCount());
}

TEST(DynamicInfo, LoadFallsBackToTheNewFile) {
  std::string dir = quarn_test::MakeTempDir("auth_fallback");
  const std::string good = File(
      9, 1, 2,
      Record(kIp1, kMacA, 100, 7, 1, 0) + Record(kIp2, kMacB, 200, 8, 1, 4));
  quarn_test::WriteFile(NewFile(dir), good);
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(16, 0));

  // Each broken main file leads to the new file, read from an empty table.
  const std::string broken[] = {
      File(8, 1, 1, Record(0x0B000001, kMacA, 1, 1, 1, 0)),  // other format
      good.substr(0, 10),                                    // header cut
      File(9, 1, 3, Record(0x0B000001, kMacA, 1, 1, 1, 0)),  // records missing
      std::string(),                                         // empty
      std::string(100, '\xEE'),                              // garbage
      File(9, 1, -1, ""),                                    // count < 0
  };
  for (const std::string& main : broken) {
    quarn_test::WriteFile(MainFile(dir), main);
    EXPECT_EQ(1, mgr.Load_bin(dir.c_str()));
    EXPECT_EQ(2u, mgr.GetUsedCount());
    EXPECT_EQ(nullptr, mgr.FindEmployeeByRunIP(0x0B000001));
    ASSERT_NE(nullptr, mgr.FindEmployeeByRunIP(kIp2));
    EXPECT_EQ(0u, mgr.FindEmployeeByRunIP(kIp1)->refresh_time);
    EXPECT_NE(0u, mgr.FindEmployeeByRunIP(kIp2)->refresh_time);
  }

  // A main file cut inside a record keeps the records before the cut.
  quarn_test::WriteFile(MainFile(dir), good.substr(0, good.size() - 5));
  EXPECT_EQ(1, mgr.Load_bin(dir.c_str()));
  EXPECT_EQ(1u, mgr.GetUsedCount());
  EXPECT_NE(nullptr, mgr.FindEmployeeByRunIP(kIp1));

  // Both files broken: failure.
  quarn_test::WriteFile(MainFile(dir), "xx");
  quarn_test::WriteFile(NewFile(dir), File(7, 0, 0, ""));
  EXPECT_EQ(0, mgr.Load_bin(dir.c_str()));
  EXPECT_EQ(0u, mgr.GetUsedCount());
}

TEST(DynamicInfo, FailedSaveLeavesTheMainFileAlone) {
  std::string dir = quarn_test::MakeTempDir("auth_readonly");
  const std::string old = File(9, 1, 0, "");
  quarn_test::WriteFile(MainFile(dir), old);
  // The new file cannot be created: a directory stands in its way.
  ASSERT_EQ(0, mkdir(NewFile(dir).c_str(), 0755));
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(4, 0));
  mgr.SetAuth(kIp1, 7, nullptr, 100, 1);
  EXPECT_EQ(0, mgr.Save_bin(dir.c_str()));
  EXPECT_EQ(old, quarn_test::ReadFile(MainFile(dir)));
  EXPECT_EQ(0, mgr.Save_bin((dir + "/missing").c_str()));
}

TEST(DynamicInfo, ModifiedTicksDriveSaving) {
  std::string dir = quarn_test::MakeTempDir("auth_judge");
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(4, 0));
  mgr.SetModified(0);
  EXPECT_EQ(0, mgr.JudgeModifyedToSave(dir.c_str()));
  mgr.SetCurModifiedTickCount(mgr.GetLastSavedTickCount() + 1);
  EXPECT_EQ(1, mgr.JudgeModifyedToSave(dir.c_str()));
  EXPECT_FALSE(mgr.IsModified());
  EXPECT_EQ(mgr.GetCurModifiedTickCount(), mgr.GetLastSavedTickCount());
  // The saved tick is the one written into the file.
  std::string bytes = quarn_test::ReadFile(MainFile(dir));
  ASSERT_EQ(12u, bytes.size());
  EXPECT_EQ(Le32(mgr.GetLastSavedTickCount()), bytes.substr(4, 4));
}

}  // namespace
