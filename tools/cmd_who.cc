// quarn who: the employee record, department and signed-in account behind
// an address, from a configuration directory (by default "gateway" in the
// module directory) holding "organization.xml", "tb_employee.xml",
// "tb_employee_auth_account.xml" and "auth_center.dat".

#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "base/OrvaAddr.h"
#include "base/OrvaTime.h"
#include "employee/CEmployeeAuthAccountMgr.h"
#include "employee/CEmployeeInfoMgr.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"
#include "tools/Command.h"
#include "tools/common/GatewayConfig.h"

namespace {

const char kUsage[] =
    "usage: quarn who [--config DIR] <IPv4 address | MAC address> [...]\n";
// The name of a department or class id; the DMZ class has a name of its
// own.
std::string DepartmentName(const CLocalIPTypeTable& plan, unsigned int id) {
  if (id == COrgStructInfo::ORG_DMZ) return plan.dmz().GetName();
  return plan.GetDepartmentName(id);
}

std::string MacText(const unsigned char* mac) {
  static const unsigned char kZero[6] = {0, 0, 0, 0, 0, 0};
  return memcmp(mac, kZero, 6) == 0 ? "none" : Orva::mac_addr_to_a(mac);
}

std::string TimeText(int32_t time) {
  return time == 0 ? "never"
                   : Orva::FormatTime(Orva::kTimeFormatDateTime, time);
}

void PrintAccount(quarn_tool::GatewayConfig& t,
                  const EMPLOYEE_DYNAMIC_INFO* e) {
  if (e == nullptr) {
    printf("  %-13s no\n", "signed in");
    return;
  }
  printf("  %-13s %s (did %llu) since %s, state %d\n", "signed in",
         quarn_tool::ToTerminal(t.accounts().GetShowName(e->did, 2).c_str())
             .c_str(),
         static_cast<unsigned long long>(e->did),
         TimeText(static_cast<int32_t>(e->auth_time)).c_str(), e->state);
}

void PrintEmployee(quarn_tool::GatewayConfig& t, const EMPLOYEE_INFO& r) {
  int from_ip = 0;
  printf("%s\n", quarn_tool::ToTerminal(r.GetShownName(&from_ip)).c_str());
  printf("  %-13s %s", "ip", Orva::hip_to_string(r.ip).c_str());
  if (r.cip != 0)
    printf(" (configured %s)", Orva::hip_to_string(r.cip).c_str());
  printf("\n  %-13s %s", "mac", MacText(r.host_mac).c_str());
  if (MacText(r.vlan_mac) != "none") {
    printf(" (seen as %s)", MacText(r.vlan_mac).c_str());
  }
  printf("\n  %-13s %u %s\n", "department", r.dep_id,
         quarn_tool::ToTerminal(DepartmentName(*t.plan(), r.dep_id)).c_str());
  const std::pair<const char*, const std::string*> texts[] = {
      {"name", &r.name},
      {"host name", &r.host_name},
      {"os", &r.os_name},
      {"mail", &r.mail},
      {"description", &r.desc}};
  for (const auto& text : texts) {
    if (!text.second->empty()) {
      printf("  %-13s %s\n", text.first,
             quarn_tool::ToTerminal(*text.second).c_str());
    }
  }
  printf("  %-13s %s%s%s\n", "last active",
         TimeText(r.last_active_time).c_str(), r.checked ? ", checked" : "",
         r.ipmac_bind ? ", IP-MAC bound" : "");
  EMPLOYEE_DYNAMIC_INFO* e = t.signed_in().FindEmployeeByRunIP(r.ip);
  PrintAccount(t, e);
}

int Who(quarn_tool::GatewayConfig& t, const std::string& address) {
  uint32_t ip = 0;
  unsigned char mac[6];
  std::vector<EMPLOYEE_INFO*> found;
  if (Orva::string_to_hip(address.c_str(), &ip)) {
    for (int c = t.employees().GetHeadBlockByOneIP(ip); c != -1;) {
      found.push_back(t.employees().GetNextBlockFromHeadByOneIP(ip, c));
    }
  } else if (Orva::a_to_mac_addr(address.c_str(), mac)) {
    EMPLOYEE_INFO* r = t.employees().FindByMAC(mac);
    if (r != nullptr) found.push_back(r);
  } else {
    fprintf(stderr, "quarn: not an address: %s\n", address.c_str());
    return 2;
  }
  if (found.empty()) {
    printf("%s: no employee record\n", address.c_str());
    if (ip != 0) {
      const unsigned int dep = t.plan()->GetDepartmentIdByIP(ip);
      printf("  %-13s %u %s\n", "department", dep,
             quarn_tool::ToTerminal(DepartmentName(*t.plan(), dep)).c_str());
      PrintAccount(t, t.signed_in().FindEmployeeByRunIP(ip));
    }
    return 1;
  }
  for (EMPLOYEE_INFO* r : found) PrintEmployee(t, *r);
  return 0;
}

int RunWho(const std::vector<std::string>& args) {
  if (quarn_tool::HelpRequested(args, "who")) return 0;
  std::string dir;
  std::vector<std::string> addresses;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--config" && i + 1 < args.size()) {
      dir = args[++i];
    } else {
      addresses.push_back(args[i]);
    }
  }
  if (addresses.empty()) {
    fputs(kUsage, stderr);
    return 2;
  }
  if (dir.empty()) dir = quarn_tool::DefaultConfigDir();
  quarn_tool::GatewayConfig tables;
  const bool loaded = tables.Load(dir, quarn_tool::kConfigEmployees);
  for (const std::string& problem : tables.problems()) {
    fprintf(stderr, "quarn: %s\n", problem.c_str());
  }
  if (!loaded || !tables.has_employees()) return 2;
  int status = 0;
  for (const std::string& address : addresses) {
    int one = Who(tables, address);
    if (one > status) status = one;
  }
  return status;
}

}  // namespace

QUARN_COMMAND(who, "[--config DIR] <address> [...]",
              "employee, department and signed-in account behind an address",
              RunWho);
