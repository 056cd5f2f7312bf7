// quarn app: the application a connection belongs to. The administrator's
// applications ("user_def_app.xml" in a configuration directory, by default
// "gateway" in the module directory) are asked first; failing those, the
// connection gets the unknown-application id of its ports and transport.
// Display names come from the protocol tree, into which the administrator's
// applications are entered first, as a host process does.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "address/AddressPredicates.h"
#include "address/CLocalIPTypeTable.h"
#include "appid/CAppSubtypeReader.h"
#include "appid/CUserDefAppConfig.h"
#include "base/OrvaAddr.h"
#include "tools/Command.h"
#include "tools/common/GatewayConfig.h"

namespace {

const char kUsage[] =
    "usage: quarn app [--config DIR] [--judge N] <address:port> "
    "<address:port> [tcp|udp]\n";

struct Query {
  std::string config_dir;
  int judge = 0;
  int transport = QUARN_TRANSPORT_TCP;
  tagIPv4_CONNECT_ADDR addr = {};
};

// "a.b.c.d:port".
bool ParseEndpoint(const std::string& text, uint32_t* ip, uint16_t* port) {
  std::string::size_type colon = text.rfind(':');
  if (colon == std::string::npos) return false;
  if (!Orva::string_to_hip(text.substr(0, colon).c_str(), ip)) return false;
  const char* digits = text.c_str() + colon + 1;
  char* end = nullptr;
  unsigned long value = strtoul(digits, &end, 10);
  if (*digits == '\0' || *end != '\0' || value > 65535) return false;
  *port = static_cast<uint16_t>(value);
  return true;
}

bool ParseArgs(const std::vector<std::string>& args, Query* query) {
  std::vector<std::string> rest;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--config" && i + 1 < args.size()) {
      query->config_dir = args[++i];
    } else if (args[i] == "--judge" && i + 1 < args.size()) {
      query->judge = atoi(args[++i].c_str());
    } else {
      rest.push_back(args[i]);
    }
  }
  if (rest.size() < 2 || rest.size() > 3) return false;
  if (!ParseEndpoint(rest[0], &query->addr.first_ip, &query->addr.first_port) ||
      !ParseEndpoint(rest[1], &query->addr.second_ip,
                     &query->addr.second_port)) {
    fprintf(stderr, "quarn: not an address:port pair\n");
    return false;
  }
  if (rest.size() == 3) {
    if (rest[2] == "tcp") {
      query->transport = QUARN_TRANSPORT_TCP;
    } else if (rest[2] == "udp") {
      query->transport = QUARN_TRANSPORT_UDP;
    } else {
      fprintf(stderr, "quarn: transport must be tcp or udp: %s\n",
              rest[2].c_str());
      return false;
    }
  }
  if (query->config_dir.empty()) {
    query->config_dir = quarn_tool::DefaultConfigDir();
  }
  return true;
}

std::string Endpoint(uint32_t ip, uint16_t port) {
  return Orva::hip_to_string(ip) + ":" + std::to_string(port);
}

void PrintApp(uint32_t appid, const char* how) {
  printf("application: %u  %s  (%s)\n", appid,
         quarn_tool::ToTerminal(CAppSubtypeReader::FindDispNameByAppid(appid))
             .c_str(),
         how);
  uint32_t group = CAppSubtypeReader::GetExtGrpAppType(appid);
  if (group != 0) {
    printf("group:       %u  %s\n", group,
           quarn_tool::ToTerminal(CAppSubtypeReader::FindDispNameByAppid(group))
               .c_str());
  }
}

int RunApp(const std::vector<std::string>& args) {
  if (quarn_tool::HelpRequested(args, "app")) return 0;
  Query query;
  if (!ParseArgs(args, &query)) {
    fputs(kUsage, stderr);
    return 2;
  }
  quarn_tool::LibrarySession session;
  // The company plan lets an undecided direction be judged by address; the
  // administrator's applications are entered into the protocol tree.
  quarn_tool::GatewayConfig gateway;
  if (!gateway.Load(query.config_dir, quarn_tool::kConfigApps)) {
    fprintf(stderr, "quarn: %s\n", gateway.problems()[0].c_str());
    return 1;
  }
  for (const std::string& problem : gateway.problems()) {
    printf("# %s\n", problem.c_str());
  }
  const CUserDefAppConfig* config = &gateway.apps();
  printf("# %zu user-defined applications\n", config->items.size());

  const tagIPv4_CONNECT_ADDR& addr = query.addr;
  printf("connection:  %s  %s  %s\n",
         Endpoint(addr.first_ip, addr.first_port).c_str(),
         Endpoint(addr.second_ip, addr.second_port).c_str(),
         query.transport == QUARN_TRANSPORT_UDP ? "udp" : "tcp");

  DIR_CS dir = DIR_CS_UNKNOWN;
  const UserDefAppItem* item =
      config->find(addr, query.transport, query.judge, dir);
  const char* decided_by = "user-defined application";
  if (dir == DIR_CS_UNKNOWN) {
    quarn_JudgeCSDir(addr, dir);
    decided_by = "company address plan";
  }
  printf("client:      %s endpoint (%s)\n",
         dir == DIR_CS_FIRST_CLIENT ? "first" : "second", decided_by);

  if (item != nullptr) {
    printf("# matched \"%s\", condition kind %u\n",
           quarn_tool::ToTerminal(item->name).c_str(), item->cond_type);
    PrintApp(item->appid, "user-defined");
  } else {
    PrintApp(quarn_GetUKAppId(addr, query.transport), "unknown application");
  }
  return 0;
}

}  // namespace

QUARN_COMMAND(app,
              "[--config DIR] [--judge N] <address:port> <address:port> "
              "[tcp|udp]",
              "the application a connection belongs to: a user-defined "
              "application, or else the unknown-application id",
              RunApp);
