#include "address/AddressPredicates.h"

#include "address/CLocalIPTypeTable.h"
#include "appid/CAppSubtypeReader.h"

namespace {

// The plan every predicate reads; null only when it cannot be created.
const CLocalIPTypeTable* Plan() {
  return CLocalIPTypeTable_Singleton::instance();
}

bool IsOutside(const CLocalIPTypeTable* plan, uint32_t ip) {
  return plan == nullptr || plan->IsOutterAddr(ip);
}

bool IsInIntranet(const CLocalIPTypeTable* plan, uint32_t ip) {
  return plan != nullptr && plan->intranet().IsIPIn(ip);
}

bool IsInDmz(const CLocalIPTypeTable* plan, uint32_t ip) {
  return plan != nullptr && plan->IsInternetDMZAddr(ip);
}

// The direction quarn_GetIPDir and quarn_GetPortDir take: `dir` when it is
// decided, else outbound unless only the first end is outside.
int ChooseDir(DIR_IO dir, const tagIPv4_CONNECT_ADDR& addr) {
  if (dir == DIR_IO_OUT || dir == DIR_IO_IN) return dir;
  const CLocalIPTypeTable* plan = Plan();
  if (IsOutside(plan, addr.first_ip) && !IsOutside(plan, addr.second_ip)) {
    return DIR_IO_IN;
  }
  return DIR_IO_OUT;
}

bool IsServicePort(uint16_t port) { return port <= 1024; }

}  // namespace

int GetIP_IsPrivateAddr(unsigned int ip) {
  const CLocalIPTypeTable* plan = Plan();
  return plan != nullptr ? plan->IsPrivateAddr(ip) : 0;
}

int GetIP_IsInVPN(unsigned int ip) { return IsInIntranet(Plan(), ip) ? 1 : 0; }

int GetIP_IsInternetDMZ(unsigned int ip) { return IsInDmz(Plan(), ip) ? 1 : 0; }

int GetIP_IsIPInCompany(unsigned int ip, int* ip_type) {
  const CLocalIPTypeTable* plan = Plan();
  return plan != nullptr ? plan->IsIPInCompany(ip, ip_type) : 0;
}

int GetIP_IsOutterAddr(unsigned int ip) {
  return IsOutside(Plan(), ip) ? 1 : 0;
}

int GetIP_IsInnerAddr(unsigned int ip) { return IsOutside(Plan(), ip) ? 0 : 1; }

void quarn_GetIPDir(DIR_IO dir, const tagIPv4_CONNECT_ADDR& addr,
                    unsigned int& inside_ip, unsigned int& outside_ip,
                    int& out_dir) {
  out_dir = ChooseDir(dir, addr);
  const bool first_inside = out_dir == DIR_IO_OUT;
  inside_ip = first_inside ? addr.first_ip : addr.second_ip;
  outside_ip = first_inside ? addr.second_ip : addr.first_ip;
}

void quarn_GetPortDir(DIR_IO dir, const tagIPv4_CONNECT_ADDR& addr,
                      unsigned short& inside_port, unsigned short& outside_port,
                      int& out_dir) {
  out_dir = ChooseDir(dir, addr);
  const bool first_inside = out_dir == DIR_IO_OUT;
  inside_port = first_inside ? addr.first_port : addr.second_port;
  outside_port = first_inside ? addr.second_port : addr.first_port;
}

DIR_IO quarn_GetDataDir(DIR_IO dir, const tagIPv4_CONNECT_ADDR& addr) {
  if (dir != DIR_IO_UNKNOWN) return dir;
  const CLocalIPTypeTable* plan = Plan();
  if (IsInIntranet(plan, addr.first_ip)) return DIR_IO_OUT;
  if (IsInDmz(plan, addr.first_ip)) {
    // A DMZ host talking to the intranet is the outer end of that talk.
    return IsInIntranet(plan, addr.second_ip) ? DIR_IO_IN : DIR_IO_OUT;
  }
  if (!IsOutside(plan, addr.second_ip)) return DIR_IO_IN;
  return IsOutside(plan, addr.first_ip) ? DIR_IO_IN : DIR_IO_OUT;
}

void quarn_JudgeCSDir(const tagIPv4_CONNECT_ADDR& addr, DIR_CS& cs) {
  if (cs != DIR_CS_UNKNOWN) return;
  // An end whose last octet is 255 is a broadcast address, never a client.
  if ((addr.first_ip & 0xFF) == 0xFF) {
    cs = DIR_CS_FIRST_SERVER;
  } else if ((addr.second_ip & 0xFF) == 0xFF) {
    cs = DIR_CS_FIRST_CLIENT;
  } else {
    cs = IsOutside(Plan(), addr.first_ip) ? DIR_CS_FIRST_SERVER
                                          : DIR_CS_FIRST_CLIENT;
  }
}

unsigned int quarn_GetUKAppId(const tagIPv4_CONNECT_ADDR& addr, int transport) {
  const bool service =
      IsServicePort(addr.first_port) || IsServicePort(addr.second_port);
  if (service) {
    if (transport == QUARN_TRANSPORT_TCP)
      return CAppSubtypeReader::APP_EX_UK_SERVICE_TCP;
    if (transport == QUARN_TRANSPORT_UDP)
      return CAppSubtypeReader::APP_EX_UK_SERVICE_UDP;
    return CAppSubtypeReader::APP_EX_UK_SERVICE;
  }
  if (transport == QUARN_TRANSPORT_TCP)
    return CAppSubtypeReader::APP_EX_UK_DATA_TCP;
  if (transport == QUARN_TRANSPORT_UDP)
    return CAppSubtypeReader::APP_EX_UK_DATA_UDP;
  return CAppSubtypeReader::APP_EX_UK_DATA;
}
