// quarn objects: the IP objects and time objects that hold for a host at an
// instant, from "ip_obj_mgr.xml" and "time_obj_mgr.xml" in a configuration
// directory (by default "gateway" in the module directory).

#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <string>
#include <vector>

#include "base/OrvaAddr.h"
#include "base/OrvaPath.h"
#include "base/OrvaTime.h"
#include "objects/CIPObjMgr.h"
#include "objects/CTimeObjMgrConfig.h"
#include "tools/Command.h"
#include "tools/common/GatewayConfig.h"

namespace {

const char kUsage[] =
    "usage: quarn objects [--config DIR] <address> [<mac>] "
    "[\"YYYY-MM-DD HH:MM[:SS]\"]\n";

struct Query {
  std::string config_dir;
  uint32_t ip = 0;
  unsigned char mac[6] = {0, 0, 0, 0, 0, 0};
  bool has_mac = false;
  int32_t when = 0;
};

bool ParseArgs(const std::vector<std::string>& args, Query* query) {
  std::vector<std::string> rest;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--config" && i + 1 < args.size()) {
      query->config_dir = args[++i];
    } else {
      rest.push_back(args[i]);
    }
  }
  if (rest.empty() || rest.size() > 3) return false;
  if (!Orva::string_to_hip(rest[0].c_str(), &query->ip)) {
    fprintf(stderr, "quarn: not an IPv4 address: %s\n", rest[0].c_str());
    return false;
  }
  query->when = static_cast<int32_t>(time(nullptr));
  for (size_t i = 1; i < rest.size(); ++i) {
    if (!query->has_mac && Orva::a_to_mac_addr(rest[i].c_str(), query->mac)) {
      query->has_mac = true;
    } else if (!Orva::StrToTime(Orva::kTimeFormatDateTime, rest[i].c_str(),
                                &query->when)) {
      fprintf(stderr, "quarn: neither a MAC address nor a time: %s\n",
              rest[i].c_str());
      return false;
    }
  }
  if (query->config_dir.empty()) {
    query->config_dir = quarn_tool::DefaultConfigDir();
  }
  return true;
}

void PrintIPObjects(const CIPObjMgr& mgr, const Query& query) {
  uint64_t mask = 0;
  mgr.find(mask, query.has_mac ? query.mac : nullptr, query.ip, 0);
  printf("ip objects: mask 0x%llx\n", static_cast<unsigned long long>(mask));
  for (int i = 0; i < mgr.GetCount(); ++i) {
    const CIPObjMgr::tagONE_IP_MGR_OBJ* obj = mgr.GetAt(i);
    if ((obj->id & mask) == 0) continue;
    printf("  %-20llu %s\n", static_cast<unsigned long long>(obj->id),
           quarn_tool::ToTerminal(obj->name).c_str());
  }
}

void PrintTimeObjects(const CTimeObjMgrConfig& mgr, const Query& query) {
  uint64_t mask = mgr.get_time_type(query.when);
  printf("time objects: mask 0x%llx\n", static_cast<unsigned long long>(mask));
  if (mask == CTimeObjMgrConfig::ms_all_time_id) {
    printf("  %-20s %s\n", "all",
           quarn_tool::ToTerminal(mgr.GetTimeObjIdString(mask)).c_str());
    return;
  }
  for (int bit = 0; bit < 64; ++bit) {
    uint64_t id = uint64_t{1} << bit;
    if ((mask & id) == 0) continue;
    printf("  %-20llu %s\n", static_cast<unsigned long long>(id),
           quarn_tool::ToTerminal(mgr.GetTimeObjIdString(id)).c_str());
  }
}

int RunObjects(const std::vector<std::string>& args) {
  if (quarn_tool::HelpRequested(args, "objects")) return 0;
  Query query;
  if (!ParseArgs(args, &query)) {
    fputs(kUsage, stderr);
    return 2;
  }
  quarn_tool::GatewayConfig config;
  const bool loaded = config.Load(query.config_dir, quarn_tool::kConfigObjects);
  for (const std::string& problem : config.problems()) {
    fprintf(stderr, "quarn: %s\n", problem.c_str());
  }
  if (!loaded || !config.problems().empty()) return 1;
  const CIPObjMgr& ip_objects = config.ip_objects();
  const CTimeObjMgrConfig& time_objects = config.time_objects();
  printf("host %s", Orva::hip_to_string(query.ip).c_str());
  if (query.has_mac) printf("  mac %s", Orva::mac_addr_to_a(query.mac).c_str());
  printf("  at %s\n",
         Orva::FormatTime(Orva::kTimeFormatDateTime, query.when).c_str());
  PrintIPObjects(ip_objects, query);
  PrintTimeObjects(time_objects, query);
  return 0;
}

}  // namespace

QUARN_COMMAND(objects,
              "[--config DIR] <address> [<mac>] [\"YYYY-MM-DD HH:MM:SS\"]",
              "the IP objects and time objects that hold for a host at an "
              "instant (now by default), with their ids and names",
              RunObjects);
