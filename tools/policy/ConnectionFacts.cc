#include "tools/policy/ConnectionFacts.h"

namespace quarn_tool {

void DescribeEndpoint(const CLocalIPTypeTable& plan, uint32_t ip, uint16_t port,
                      EndpointFacts* out) {
  out->ip = ip;
  out->port = port;
  DescribePlace(plan, ip, nullptr, out);
  DescribeAreas(plan, ip, nullptr, nullptr, out);
}

void DescribePlace(const CLocalIPTypeTable& plan, uint32_t ip,
                   const uint32_t* department, EndpointFacts* out) {
  out->department = department != nullptr
                        ? *department
                        : static_cast<uint32_t>(plan.GetDepartmentIdByIP(ip));
  int type = 0;
  out->company_class = plan.IsIPInCompany(ip, &type)
                           ? static_cast<uint32_t>(type)
                           : COrgStructInfo::ORG_NONE;
  out->server = plan.IsInVPNServer(ip) != 0;
}

void DescribeAreas(const CLocalIPTypeTable& plan, uint32_t ip,
                   const INTERNET_IP_DESC* level1,
                   const INTERNET_IP_DESC* level2, EndpointFacts* out) {
  if (plan.IsPrivateAddr(ip)) {
    // Private addresses are not looked up in the range tables: they are
    // in the fixed intranet area.
    out->area1 = kAreaIntranet;
    out->area2 = kAreaIntranet;
    return;
  }
  if (level1 == nullptr || level2 == nullptr) {
    level1 = GetIP_INTERNET_Range_Type_Level1(ip);
    level2 = GetIP_INTERNET_Range_Type_Level2(ip);
  }
  out->area1 = level1->area_id;
  out->area2 = level2->area_id;
}

}  // namespace quarn_tool
