// The facts of one connection that the connection policy and the audit
// decision read: both ends with what the company plan and the internet
// range tables say about them, the application, the URL with its
// categories, the IP and time objects, the employee and the signed-in
// account. A plain record: the host fills it from what it has already
// asked the library (quarn classify does so per connection), and nothing
// in it is owned except by value.

#ifndef QUARN_TOOLS_POLICY_CONNECTIONFACTS_H_
#define QUARN_TOOLS_POLICY_CONNECTIONFACTS_H_

#include <stdint.h>

#include "address/AddressPredicates.h"
#include "address/CLocalIPTypeTable.h"
#include "address/COrgStructInfo.h"
#include "address/InternetRange.h"
#include "url/URLTypes.h"

namespace quarn_tool {

// One end of a connection.
struct EndpointFacts {
  uint32_t ip = 0;  // host order
  uint16_t port = 0;
  // The department or class the plan gives the address
  // (CLocalIPTypeTable::GetDepartmentIdByIP): a department id, 25, 31, 40
  // or 50; ORG_NONE when unknown.
  uint32_t department = COrgStructInfo::ORG_NONE;
  // The company class: 21 (intranet) or 31 (DMZ) from IsIPInCompany;
  // ORG_NONE outside the company.
  uint32_t company_class = COrgStructInfo::ORG_NONE;
  // True when the address is in the plan's server ranges (class 27).
  bool server = false;
  // Internet areas of the address: level 1 and level 2 (equal when the
  // level-2 table does not refine the area). The intranet area for a
  // private address. 0 when unknown.
  uint64_t area1 = 0;
  uint64_t area2 = 0;
  // Device id of the account signed in at this address; 0 for none.
  uint64_t device_id = 0;
};

// Everything the policy's condition kinds test.
struct ConnectionFacts {
  // The two ends as captured (first, second); the audit lists read these.
  tagIPv4_CONNECT_ADDR addr = {0, 0, 0, 0};
  int transport = 0;  // 1 TCP, 2 UDP (the library's numbering)
  // The client end (the source address of the filters) and the server end
  // (the destination address).
  EndpointFacts client;
  EndpointFacts server;
  // True when the client end is the inside end of the connection.
  bool client_inside = true;

  uint32_t app_id = 0;
  // The URL without its scheme, NUL-terminated; null when the connection
  // carries none. Not owned: it must outlive the evaluation.
  const char* url = nullptr;
  // System (hitype) and user (lotype) URL categories of the URL.
  URL_GROUP_TYPE url_types;
  // Another text the connection carries for the audit filters of its
  // application (a mail address, a file name); null for none. Not owned.
  const char* app_text = nullptr;

  uint64_t ip_objects = 0;    // CIPObjMgr::find for the inside end
  uint64_t time_objects = 0;  // CTimeObjMgrConfig::get_time_type
  // Department of the employee record behind the inside end; ORG_NONE
  // when there is no record.
  uint32_t employee_department = COrgStructInfo::ORG_NONE;
  uint64_t account_did = 0;  // signed-in account; 0 for none
};

// Fills *out for address `ip` and port `port` by asking the company plan
// `plan` and the process-wide internet range tables: department, company
// class, server range, and both area levels (the intranet area for a
// private address). Leaves device_id as it was.
void DescribeEndpoint(const CLocalIPTypeTable& plan, uint32_t ip, uint16_t port,
                      EndpointFacts* out);

// The parts of DescribeEndpoint, for a host that has asked some of the
// questions already and must not ask them twice.
//
// The plan's answers for `ip`: company class and server range; the
// department too, unless `department` is given (non-null: what the host
// got from GetDepartmentIdByIP for `ip`).
void DescribePlace(const CLocalIPTypeTable& plan, uint32_t ip,
                   const uint32_t* department, EndpointFacts* out);
// Both area levels of `ip`: the intranet area for a private address (the
// range tables are then not asked); otherwise the areas of `level1` and
// `level2` when the host has asked the range tables already (both
// non-null), else asked here.
void DescribeAreas(const CLocalIPTypeTable& plan, uint32_t ip,
                   const INTERNET_IP_DESC* level1,
                   const INTERNET_IP_DESC* level2, EndpointFacts* out);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_POLICY_CONNECTIONFACTS_H_
