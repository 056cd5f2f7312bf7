// The stores shared between threads through their recursive mutexes:
// writers and readers bracket their work with Lock() / UnLock(), and the
// loads that lock by themselves run beside them. Meant to be run under
// ThreadSanitizer as well (docs/FORMATS.md, "Thread checks").

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "employee/CEmployeeAuthAccountMgr.h"
#include "employee/CEmployeeInfoMgr.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"
#include "support/TempDir.h"

namespace {

const int kRounds = 2000;

template <typename Store>
class Locked {
 public:
  explicit Locked(Store& store) : store_(store) { store_.Lock(); }
  ~Locked() { store_.UnLock(); }

 private:
  Store& store_;
};

void RunAll(std::vector<std::thread>& threads) {
  for (std::thread& t : threads) t.join();
}

TEST(EmployeeThreads, SignedInStateWritersReadersAndSaves) {
  std::string dir = quarn_test::MakeTempDir("threads_auth");
  CMyEmployeeDynamicInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(256, 1));
  std::vector<std::thread> threads;
  for (int w = 0; w < 2; ++w) {
    threads.emplace_back([&mgr, w]() {
      for (int i = 0; i < kRounds; ++i) {
        unsigned char mac[6] = {0,
                                1,
                                2,
                                3,
                                static_cast<unsigned char>(w),
                                static_cast<unsigned char>(i % 200)};
        Locked<CMyEmployeeDynamicInfoMgr> lock(mgr);
        mgr.SetAuth(0x0A000000u + static_cast<unsigned>(i % 300), 7 + w, mac,
                    static_cast<unsigned>(i), 1);
        if (i % 3 == 0) mgr.DelAuthByIP(0x0A000000u + (i * 7 % 300));
      }
    });
  }
  threads.emplace_back([&mgr]() {
    for (int i = 0; i < kRounds; ++i) {
      Locked<CMyEmployeeDynamicInfoMgr> lock(mgr);
      EXPECT_LT(mgr.GetAuthPassByIP(0x0A000000u + (i % 300)),
                static_cast<unsigned>(kRounds));
      int count = 0;
      for (int c = mgr.GetHeadBlock(); c != -1; ++count) {
        mgr.GetNextBlockFromHead(c);
      }
      EXPECT_EQ(static_cast<int>(mgr.GetUsedCount()), count);
    }
  });
  threads.emplace_back([&mgr, &dir]() {
    for (int i = 0; i < 20; ++i) {
      Locked<CMyEmployeeDynamicInfoMgr> lock(mgr);
      mgr.Save_bin(dir.c_str());
    }
  });
  RunAll(threads);

  // Reloads (which lock while they empty the table) beside locked readers.
  CMyEmployeeDynamicInfoMgr reader;
  ASSERT_EQ(1, reader.Create(256, 1));
  std::thread loader([&reader, &dir]() {
    for (int i = 0; i < 20; ++i) {
      Locked<CMyEmployeeDynamicInfoMgr> lock(reader);
      EXPECT_EQ(1, reader.Load_bin(dir.c_str()));
    }
  });
  for (int i = 0; i < 200; ++i) {
    Locked<CMyEmployeeDynamicInfoMgr> lock(reader);
    EXPECT_LE(reader.GetUsedCount(), 256u);
  }
  loader.join();
}

TEST(EmployeeThreads, EmployeeAndAccountStores) {
  CLocalIPTypeTable plan;
  plan.intranet().ranges().push_back({0x0A000000u, 0x0AFFFFFFu});
  CEmployeeInfoMgr employees;
  ASSERT_EQ(1, employees.Create(&plan, 512, 1));
  CEmployeeAuthAccountMgr accounts;
  ASSERT_EQ(1, accounts.Create(512));
  std::string dir = quarn_test::MakeTempDir("threads_tables");
  std::string employee_path = dir + "/tb_employee.xml";
  std::string account_path = dir + "/tb_employee_auth_account.xml";

  std::vector<std::thread> threads;
  for (int w = 0; w < 2; ++w) {
    threads.emplace_back([&, w]() {
      for (int i = 0; i < kRounds; ++i) {
        unsigned char mac[6] = {0,
                                9,
                                9,
                                static_cast<unsigned char>(w),
                                static_cast<unsigned char>(i >> 8),
                                static_cast<unsigned char>(i % 97)};
        {
          Locked<CEmployeeInfoMgr> lock(employees);
          employees.InsertEmployee(i, 0x0A000000u + (i % 400), mac);
          if (i % 5 == 0) employees.CleanOldEmployee(i, 50);
        }
        {
          Locked<CEmployeeAuthAccountMgr> lock(accounts);
          std::string name =
              "u" + std::to_string(w) + "_" + std::to_string(i % 150);
          accounts.InsertOneEmployee(name.c_str(), nullptr,
                                     accounts.CalNewDid(w), 1);
          if (i % 4 == 0) accounts.DeleteEmployeeByKeyName(name.c_str());
        }
      }
    });
  }
  threads.emplace_back([&]() {
    for (int i = 0; i < kRounds; ++i) {
      {
        Locked<CEmployeeInfoMgr> lock(employees);
        EMPLOYEE_INFO* r =
            employees.FindLastEmployeeByRunIP(0x0A000000u + (i % 400));
        if (r != nullptr) {
          EXPECT_EQ(0x0A000000u + (i % 400), r->ip);
        }
      }
      {
        Locked<CEmployeeAuthAccountMgr> lock(accounts);
        accounts.CheckPwd("u0_1", "60481357");
      }
    }
  });
  // Saves lock by themselves.
  threads.emplace_back([&]() {
    for (int i = 0; i < 10; ++i) {
      employees.Save(employee_path.c_str());
      Locked<CEmployeeAuthAccountMgr> lock(accounts);
      accounts.SaveToFile(account_path.c_str());
    }
  });
  RunAll(threads);

  // Loads lock by themselves too; readers beside them bracket.
  std::thread loader([&]() {
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(1, employees.Load(employee_path.c_str()));
      Locked<CEmployeeAuthAccountMgr> lock(accounts);
      EXPECT_EQ(1, accounts.LoadFromFile(account_path.c_str()));
    }
  });
  for (int i = 0; i < 200; ++i) {
    Locked<CEmployeeInfoMgr> lock(employees);
    int count = 0;
    for (int c = employees.GetHeadBlock(); c != -1; ++count) {
      employees.GetNextBlockFromHead(c);
    }
    EXPECT_EQ(static_cast<int>(employees.GetUsedCount()), count);
  }
  loader.join();
}

}  // namespace
