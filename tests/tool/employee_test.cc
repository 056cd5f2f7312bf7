// The employee of a connection is the one a gateway process gets for it:
// of the records running on the inside address, the most recently active,
// not the one entered last.

#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

std::string Replaced(std::string text, const std::string& from,
                     const std::string& to) {
  const size_t at = text.find(from);
  EXPECT_NE(std::string::npos, at) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

TEST(EmployeeTest, TheMostRecentlyActiveRecordOfTheAddress) {
  // A layer-2 gateway that leaves colliding addresses alone keeps both
  // hosts seen on 10.10.5.50: the active one first, the stale one entered
  // after it.
  const std::string dir = FreshDir("employee");
  const std::string gateway = dir + "/gateway";
  ASSERT_EQ(
      0,
      system(("cp -r '" + Examples() + "/gateway' '" + gateway + "'").c_str()));
  std::string plan = ReadFile(gateway + "/organization.xml");
  plan = Replaced(plan, "<netenv_layer>1</", "<netenv_layer>0</");
  plan = Replaced(plan, "<handle_collision_ip_type>1</",
                  "<handle_collision_ip_type>0</");
  WriteFile(gateway + "/organization.xml", plan);
  WriteFile(gateway + "/tb_employee.xml",
            "<?xml version=\"1.0\" encoding=\"GBK\" ?>\n"
            "<tb_employee><employee_info>\n"
            "<one_employee ip=\"10.10.5.50\" host_name=\"active-pc\" "
            "host_mac=\"00-1A-2B-3C-05-01\" "
            "last_active_time=\"2025-06-10 10:00:00\" />\n"
            "<one_employee ip=\"10.10.5.50\" host_name=\"stale-pc\" "
            "host_mac=\"00-1A-2B-3C-05-02\" "
            "last_active_time=\"2025-05-01 08:00:00\" />\n"
            "</employee_info></tb_employee>\n");
  WriteFile(dir + "/in.csv",
            "time,first_ip,first_port,second_ip,second_port,transport\n"
            "2026-11-18 09:15,10.10.5.50,40000,1.2.3.4,80,tcp\n");

  const ToolRun who =
      RunTool({"who", "--config", gateway, "--format", "json", "10.10.5.50"});
  ASSERT_EQ(2u, Lines(who.out).size()) << who.err;  // both are there

  const ToolRun run =
      RunTool({"classify", "--explain", "--config", gateway, dir + "/in.csv"});
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_NE(std::string::npos,
            run.out.find("\"employee\":{\"name\":\"active-pc*\""))
      << run.out;
  EXPECT_NE(std::string::npos,
            run.out.find("the most recently active employee record of "
                         "10.10.5.50"));
}

}  // namespace
}  // namespace quarn_test
