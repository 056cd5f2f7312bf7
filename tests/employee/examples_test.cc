// The example employee table, account table and saved signed-in state
// load, and agree with each other and with the example address plan.

#include <gtest/gtest.h>

#include <string>

#include "address/CLocalIPTypeTable.h"
#include "base/OrvaAddr.h"
#include "employee/CEmployeeAuthAccountMgr.h"
#include "employee/CEmployeeInfoMgr.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"

namespace {

const std::string kDir = std::string(QUARN_SOURCE_DIR) + "/examples/gateway";

TEST(EmployeeExamples, TablesAgreeWithThePlanAndEachOther) {
  CLocalIPTypeTable plan;
  ASSERT_EQ(1, plan.LoadFromFile((kDir + "/organization.xml").c_str()));
  CEmployeeInfoMgr employees;
  ASSERT_EQ(1, employees.Create(&plan, 1000, 0));
  ASSERT_EQ(1, employees.Load((kDir + "/tb_employee.xml").c_str()));
  EXPECT_EQ(8u, employees.GetUsedCount());  // every host admitted
  employees.ResetOrgIdForEmployee();
  EXPECT_EQ(1, employees.GetCountInDep(101));
  EXPECT_EQ(1, employees.GetCountInDep(102));
  EXPECT_EQ(1, employees.GetCountIn_DMZ());
  EXPECT_EQ(1, employees.GetCountServer_InPVN());
  EXPECT_EQ(0, employees.GetCountIn_IntranetExcept() +
                   employees.GetCountIn_InternetExecept());
  uint32_t gm = 0;
  Orva::string_to_hip("10.10.1.10", &gm);
  EMPLOYEE_INFO* boss = employees.FindLastEmployeeByRunIP(gm);
  ASSERT_NE(nullptr, boss);
  EXPECT_EQ("\xCD\xF5\xD7\xDC", boss->name);  // 王总 (general manager)

  CEmployeeAuthAccountMgr accounts;
  ASSERT_EQ(1, accounts.Create(1000));
  ASSERT_EQ(1, accounts.LoadFromFile(
                   (kDir + "/tb_employee_auth_account.xml").c_str()));
  EXPECT_EQ(1, accounts.GetVersion());
  EXPECT_EQ(6u, accounts.GetUsedCount());
  EXPECT_NE(nullptr, accounts.CheckPwd("lihj", "Fin pass%88"));
  EXPECT_NE(nullptr, accounts.CheckPwd("wangzong", "Gm@2025"));
  EMPLOYEE_AUTH_ACCOUNT_INFO* wang = accounts.FindEmployeeByKeyName("wangzong");
  EXPECT_EQ(1, wang->IsBindAddr(gm, boss->host_mac));
  EXPECT_EQ(0, wang->IsBindAddr(gm + 1, nullptr));

  CMyEmployeeDynamicInfoMgr signed_in;
  ASSERT_EQ(1, signed_in.Create(1000, 0));
  ASSERT_EQ(1, signed_in.Load_bin(kDir.c_str()));
  EXPECT_EQ(4u, signed_in.GetUsedCount());
  for (int c = signed_in.GetHeadBlock(); c != -1;) {
    EMPLOYEE_DYNAMIC_INFO* e = signed_in.GetNextBlockFromHead(c);
    EXPECT_NE(nullptr, accounts.FindEmployeeByDid(e->did)) << e->did;
    EMPLOYEE_INFO* host = employees.FindLastEmployeeByRunIP(e->ip);
    ASSERT_NE(nullptr, host) << e->ip;
    EXPECT_EQ(0, memcmp(host->host_mac, e->mac, 6));
  }
  EXPECT_EQ(wang->did, signed_in.GetEmployeeDidByRunIP(gm));
}

}  // namespace
