// quarn ip: what the library makes of IPv4 addresses: the company class or
// department from the company address plan ("organization.xml" in a
// configuration directory, by default "gateway" in the module directory),
// the private and inside/outside predicates, and the level-1 and level-2
// internet areas from the range tables of the module directory.

#include <inttypes.h>
#include <stdio.h>

#include <string>
#include <vector>

#include "address/AddressPredicates.h"
#include "address/CLocalIPTypeTable.h"
#include "address/InternetRange.h"
#include "base/OrvaAddr.h"
#include "frame/quarn_common_frame.h"
#include "tools/Command.h"
#include "tools/common/GatewayConfig.h"

namespace {

const char kUsage[] = "usage: quarn ip [--config DIR] <address> [...]\n";

bool ParseArgs(const std::vector<std::string>& args, std::string* config_dir,
               std::vector<uint32_t>* addresses) {
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--config" && i + 1 < args.size()) {
      *config_dir = args[++i];
      continue;
    }
    uint32_t ip = 0;
    if (!Orva::string_to_hip(args[i].c_str(), &ip)) {
      fprintf(stderr, "quarn: not an IPv4 address: %s\n", args[i].c_str());
      return false;
    }
    addresses->push_back(ip);
  }
  if (config_dir->empty()) *config_dir = quarn_tool::DefaultConfigDir();
  return !addresses->empty();
}

const char* YesNo(int value) { return value ? "yes" : "no"; }

// "intranet (21)", "DMZ (31)" or "no".
std::string CompanyClass(uint32_t ip) {
  int type = 0;
  if (!GetIP_IsIPInCompany(ip, &type)) return "no";
  return std::string(type == 31 ? "DMZ" : "intranet") + " (" +
         std::to_string(type) + ")";
}

void PrintArea(const char* label, const INTERNET_IP_DESC* area) {
  printf("  %-11s 0x%016" PRIX64 " %s\n", label, area->area_id,
         quarn_tool::ToTerminal(area->desc).c_str());
}

// The name of a department or class id: the plan names departments and
// the abnormal classes; the DMZ class has a name of its own.
std::string DepartmentName(const CLocalIPTypeTable& plan, int id) {
  if (id == static_cast<int>(COrgStructInfo::ORG_DMZ)) {
    return plan.dmz().GetName();
  }
  return plan.GetDepartmentName(id);
}

void PrintAddress(const CLocalIPTypeTable& plan, uint32_t ip) {
  const int dep = plan.GetDepartmentIdByIP(ip);
  printf("%s\n", Orva::hip_to_string(ip).c_str());
  printf("  %-11s %d %s\n", "department", dep,
         quarn_tool::ToTerminal(DepartmentName(plan, dep)).c_str());
  printf("  %-11s %s\n", "company", CompanyClass(ip).c_str());
  printf("  %-11s private %s, inside %s, outside %s, server %s\n", "predicates",
         YesNo(GetIP_IsPrivateAddr(ip)), YesNo(GetIP_IsInnerAddr(ip)),
         YesNo(GetIP_IsOutterAddr(ip)), YesNo(plan.IsServerIP(ip)));
  PrintArea("level 1", GetIP_INTERNET_Range_Type_Level1(ip));
  PrintArea("level 2", GetIP_INTERNET_Range_Type_Level2(ip));
}

int RunIp(const std::vector<std::string>& args) {
  if (quarn_tool::HelpRequested(args, "ip")) return 0;
  std::string config_dir;
  std::vector<uint32_t> addresses;
  if (!ParseArgs(args, &config_dir, &addresses)) {
    fputs(kUsage, stderr);
    return 2;
  }
  quarn_tool::GatewayConfig config;
  if (!config.Load(config_dir, quarn_tool::kConfigPlan)) {
    fprintf(stderr, "quarn: %s\n", config.problems()[0].c_str());
    return 1;
  }
  const CLocalIPTypeTable* plan = config.plan();
  quarn_common_init(0, 0);
  for (uint32_t ip : addresses) PrintAddress(*plan, ip);
  quarn_common_fini();
  return 0;
}

}  // namespace

QUARN_COMMAND(ip, "[--config DIR] <address> [...]",
              "the company class or department of each address, its private "
              "and inside/outside predicates, and its level-1 and level-2 "
              "internet areas",
              RunIp);
