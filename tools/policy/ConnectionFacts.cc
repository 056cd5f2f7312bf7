#include "tools/policy/ConnectionFacts.h"

#include "address/InternetRange.h"

namespace quarn_tool {

void DescribeEndpoint(const CLocalIPTypeTable& plan, uint32_t ip, uint16_t port,
                      EndpointFacts* out) {
  out->ip = ip;
  out->port = port;
  out->department = static_cast<uint32_t>(plan.GetDepartmentIdByIP(ip));
  int type = 0;
  out->company_class = plan.IsIPInCompany(ip, &type)
                           ? static_cast<uint32_t>(type)
                           : COrgStructInfo::ORG_NONE;
  out->server = plan.IsInVPNServer(ip) != 0;
  if (plan.IsPrivateAddr(ip)) {
    // Private addresses are not looked up in the range tables: they are
    // in the fixed intranet area.
    out->area1 = kAreaIntranet;
    out->area2 = kAreaIntranet;
    return;
  }
  out->area1 = GetIP_INTERNET_Range_Type_Level1(ip)->area_id;
  out->area2 = GetIP_INTERNET_Range_Type_Level2(ip)->area_id;
}

}  // namespace quarn_tool
