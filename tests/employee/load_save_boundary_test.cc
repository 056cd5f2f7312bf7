// Loads and saves of the employee table and of the address plan its hosts
// are admitted by, with memory running out: whichever allocation fails,
// the call returns a failure value instead of throwing, leaves the store's
// lock free, and the same call succeeds once memory is back.
//
// This binary replaces operator new so that one chosen allocation throws
// std::bad_alloc (or returns null for the nothrow forms).

#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "address/CLocalIPTypeTable.h"
#include "base/OrvaAddr.h"
#include "employee/CEmployeeInfoMgr.h"
#include "support/TempDir.h"

namespace {

// Allocations still allowed before one fails; negative: none fails.
std::atomic<long> g_allowed{-1};
std::atomic<bool> g_failed{false};

bool FailThisAllocation() {
  if (g_allowed.load(std::memory_order_relaxed) < 0) return false;
  if (g_allowed.fetch_sub(1) != 0) return false;
  g_failed = true;
  return true;
}

__attribute__((noinline)) void Release(void* block) { free(block); }

void* Allocate(size_t size) { return malloc(size == 0 ? 1 : size); }

}  // namespace

void* operator new(size_t size) {
  void* block = FailThisAllocation() ? nullptr : Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return FailThisAllocation() ? nullptr : Allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* block) noexcept { Release(block); }
void operator delete(void* block, size_t) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete[](void* block, size_t) noexcept { Release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept {
  Release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  Release(block);
}

// TinyXML is not written for exceptions: when an allocation inside its
// parser or its node copies throws, the nodes it made so far are lost. Those
// leaks are the library's and are not reported; leaks anywhere else are.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libtinyxml.so\n";
}

namespace {

unsigned int Ip(const char* text) {
  uint32_t ip = 0;
  Orva::string_to_hip(text, &ip);
  return ip;
}

// Runs `call` once with allocation n failing, for n = 0, 1, ... until a run
// in which nothing failed; that run must succeed (1). Every run must return
// 0 or 1 without throwing. Returns the number of allocations of the
// successful run.
template <typename Call>
long SweepAllocationFailures(const char* what, Call call) {
  for (long n = 0;; ++n) {
    int result = -1;
    bool threw = false;
    g_failed = false;
    g_allowed = n;
    try {
      result = call();
    } catch (...) {
      threw = true;
    }
    g_allowed = -1;
    EXPECT_FALSE(threw) << what << ": allocation " << n;
    EXPECT_TRUE(result == 0 || result == 1) << what << ": allocation " << n;
    if (!g_failed) {
      EXPECT_EQ(1, result) << what;
      return n;
    }
    if (threw || n > 100000) return n;
  }
}

// True when another thread can take the store's lock within five seconds.
bool LockIsFree(CEmployeeInfoMgr& mgr) {
  auto taken = std::make_shared<std::atomic<bool>>(false);
  std::thread([&mgr, taken] {
    mgr.Lock();
    mgr.UnLock();
    *taken = true;
  }).detach();
  for (int i = 0; i < 500 && !*taken; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return *taken;
}

const char kPlan[] =
    "<organization><org_info><netenv_layer>0</netenv_layer><company>"
    "<intranet><in_vpn><iprange>10.0.0.0-10.0.255.255</iprange></in_vpn>"
    "<department><sub_department id='101' name='sales' type='iprange'>"
    "<iprange>10.0.1.0-10.0.1.255</iprange></sub_department>"
    "<sub_department id='102' name='lab' type='ipset'><ip>10.0.2.2</ip>"
    "</sub_department></department></intranet>"
    "<internet><dmz><iprange>172.16.0.0-172.16.0.255</iprange></dmz>"
    "</internet><max_dep_id>102</max_dep_id></company></org_info>"
    "<ip_manager log_ip_change='1'/></organization>";

TEST(LoadSaveBoundary, AddressPlanNeverThrows) {
  const std::string dir = quarn_test::MakeTempDir("plan_boundary");
  const std::string path = dir + "/organization.xml";
  quarn_test::WriteFile(path, kPlan);
  CLocalIPTypeTable expected;
  ASSERT_EQ(1, expected.LoadFromMem(kPlan, sizeof(kPlan) - 1));

  CLocalIPTypeTable plan;
  EXPECT_GT(SweepAllocationFailures(
                "LoadFromMem",
                [&] { return plan.LoadFromMem(kPlan, sizeof(kPlan) - 1); }),
            0);
  EXPECT_TRUE(plan == expected);
  SweepAllocationFailures("LoadFromFile",
                          [&] { return plan.LoadFromFile(path.c_str()); });
  EXPECT_TRUE(plan == expected);
  const std::string saved = dir + "/saved.xml";
  SweepAllocationFailures("SaveToFile",
                          [&] { return plan.SaveToFile(saved.c_str()); });
  CLocalIPTypeTable back;
  ASSERT_EQ(1, back.LoadFromFile(saved.c_str()));
  EXPECT_TRUE(back == expected);
}

TEST(LoadSaveBoundary, EmployeeTableNeverThrowsNorKeepsItsLock) {
  CLocalIPTypeTable plan;
  ASSERT_EQ(1, plan.LoadFromMem(kPlan, sizeof(kPlan) - 1));
  const unsigned char mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan, 50, 1));
  EMPLOYEE_INFO* named = mgr.InsertEmployee(1700000000, Ip("10.0.1.7"), mac);
  ASSERT_NE(nullptr, named);
  named->name = "a name long enough to live on the heap, not in the string";
  named->host_name = "pc-7";
  mgr.InsertEmployee(-1, Ip("10.0.2.2"), nullptr)->desc = "lab host";
  const std::string dir = quarn_test::MakeTempDir("employee_boundary");
  const std::string path = dir + "/tb_employee.xml";

  SweepAllocationFailures("Save", [&] { return mgr.Save(path.c_str()); });
  EXPECT_TRUE(LockIsFree(mgr));
  CEmployeeInfoMgr back;
  ASSERT_EQ(1, back.Create(&plan, 50, 1));
  SweepAllocationFailures("Load", [&] { return back.Load(path.c_str()); });
  EXPECT_TRUE(LockIsFree(back));
  ASSERT_EQ(2u, back.GetUsedCount());
  EXPECT_EQ(0, back.DiffToOther(mgr));

  // Switching the MAC index off and on again rebuilds the pool; when that
  // runs out of memory the table stays as it was.
  for (int on : {0, 1}) {
    SweepAllocationFailures("EanbelMacFinder", [&] {
      back.EanbelMacFinder(on);
      if (back.GetUsedCount() != 2) return -1;  // records lost
      return back.IfHaveMacFinder() == on ? 1 : 0;
    });
  }
  EXPECT_TRUE(LockIsFree(back));
  EXPECT_EQ(0, back.DiffToOther(mgr));
}

}  // namespace
