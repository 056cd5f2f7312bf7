// quarn who: the employee record, department and signed-in account behind
// an address, from "organization.xml", "tb_employee.xml",
// "tb_employee_auth_account.xml" and "auth_center.dat" in the
// configuration directory.

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
#include "tools/common/ClassificationOutput.h"
#include "tools/common/CommandLine.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

namespace {

const char kOptions[] =
    "  ADDRESS        an IPv4 or MAC address; several may follow\n";

const char kDetails[] =
    "One JSON object per employee record found (or per address without\n"
    "one): query, ip, class_id and class (from the address plan), employee\n"
    "(null, or name as classify shows it, department_id, department,\n"
    "record_name, host_name, os, mail, description, mac, seen_mac,\n"
    "configured_ip, last_active, checked, ipmac_bind) and account (null, or\n"
    "did, name, since, state). Times are local. The exit status is 1 when\n"
    "an address has no employee record.\n";

// What is known about one address: the record (null when none), and the
// account signed in from its IP (null when none).
struct Found {
  std::string query;
  uint32_t ip = 0;  // 0 for a MAC without a record
  const EMPLOYEE_INFO* record = nullptr;
  const EMPLOYEE_DYNAMIC_INFO* account = nullptr;
};

bool IsZero(const unsigned char* mac) {
  static const unsigned char kZero[6] = {0, 0, 0, 0, 0, 0};
  return memcmp(mac, kZero, 6) == 0;
}

std::string TimeText(int64_t time) {
  return time == 0 ? std::string()
                   : Orva::FormatTime(Orva::kTimeFormatDateTime,
                                      static_cast<int32_t>(time));
}

// Text keys with empty texts left out would make objects differ in shape;
// they are written as null instead.
void TextOrNull(const char* key, const std::string& gbk,
                quarn_tool::JsonWriter* json) {
  json->KeyText(key);
  if (gbk.empty()) {
    json->Null();
  } else {
    json->Gbk(gbk);
  }
}

void WriteEmployee(const CLocalIPTypeTable& plan, const EMPLOYEE_INFO& r,
                   quarn_tool::JsonWriter* json) {
  json->BeginObject();
  TextOrNull("name", r.GetShownName(static_cast<int*>(nullptr)), json);
  json->Key("department_id");
  json->Uint(r.dep_id);
  TextOrNull("department", quarn_tool::ClassName(plan, r.dep_id), json);
  TextOrNull("record_name", r.name, json);
  TextOrNull("host_name", r.host_name, json);
  TextOrNull("os", r.os_name, json);
  TextOrNull("mail", r.mail, json);
  TextOrNull("description", r.desc, json);
  TextOrNull("mac", IsZero(r.host_mac) ? "" : Orva::mac_addr_to_a(r.host_mac),
             json);
  TextOrNull("seen_mac",
             IsZero(r.vlan_mac) ? "" : Orva::mac_addr_to_a(r.vlan_mac), json);
  TextOrNull("configured_ip", r.cip == 0 ? "" : quarn_tool::IpText(r.cip),
             json);
  TextOrNull("last_active", TimeText(r.last_active_time), json);
  json->Key("checked");
  json->Bool(r.checked != 0);
  json->Key("ipmac_bind");
  json->Bool(r.ipmac_bind != 0);
  json->EndObject();
}

void WriteJson(quarn_tool::GatewayConfig& config, const Found& f,
               quarn_tool::JsonWriter* json) {
  const CLocalIPTypeTable& plan = *config.plan();
  json->BeginObject();
  json->Key("query");
  json->Utf8(f.query);
  TextOrNull("ip", f.ip == 0 ? "" : quarn_tool::IpText(f.ip), json);
  json->Key("class_id");
  if (f.ip != 0) {
    const uint32_t id = static_cast<uint32_t>(plan.GetDepartmentIdByIP(f.ip));
    json->Uint(id);
    TextOrNull("class", quarn_tool::ClassName(plan, id), json);
  } else {
    json->Null();
    TextOrNull("class", "", json);
  }
  json->Key("employee");
  if (f.record != nullptr) {
    WriteEmployee(plan, *f.record, json);
  } else {
    json->Null();
  }
  json->Key("account");
  if (f.account != nullptr) {
    json->BeginObject();
    json->Key("did");
    json->Uint(f.account->did);
    json->Key("name");
    json->Gbk(config.accounts().GetShowName(f.account->did, 2).c_str());
    TextOrNull("since", TimeText(f.account->auth_time), json);
    json->Key("state");
    json->Int(f.account->state);
    json->EndObject();
  } else {
    json->Null();
  }
  json->EndObject();
}

std::vector<std::string> Cells(quarn_tool::GatewayConfig& config,
                               const Found& f, quarn_tool::Utf8Cache* cache) {
  const CLocalIPTypeTable& plan = *config.plan();
  std::vector<std::string> cells = {f.query};
  const EMPLOYEE_INFO* r = f.record;
  if (r != nullptr) {
    cells.push_back(cache->Get(r->GetShownName(static_cast<int*>(nullptr))));
    cells.push_back(std::to_string(r->dep_id) + " " +
                    cache->Get(quarn_tool::ClassName(plan, r->dep_id)));
  } else {
    cells.push_back("-");
    const uint32_t id =
        f.ip == 0 ? 0 : static_cast<uint32_t>(plan.GetDepartmentIdByIP(f.ip));
    cells.push_back(f.ip == 0
                        ? "-"
                        : std::to_string(id) + " " +
                              cache->Get(quarn_tool::ClassName(plan, id)));
  }
  cells.push_back(f.ip == 0 ? "-" : quarn_tool::IpText(f.ip));
  cells.push_back(r == nullptr || IsZero(r->host_mac)
                      ? "-"
                      : Orva::mac_addr_to_a(r->host_mac));
  cells.push_back(
      r == nullptr || r->host_name.empty() ? "-" : cache->Get(r->host_name));
  cells.push_back(r == nullptr || r->last_active_time == 0
                      ? "-"
                      : TimeText(r->last_active_time));
  cells.push_back(
      f.account == nullptr
          ? "-"
          : cache->Get(
                config.accounts().GetShowName(f.account->did, 2).c_str()));
  return cells;
}

// The records behind `query` (an IPv4 or MAC address) into *found, one
// entry per record, or one without a record. False when `query` is neither
// kind of address.
bool Look(quarn_tool::GatewayConfig& config, const std::string& query,
          std::vector<Found>* found) {
  uint32_t ip = 0;
  unsigned char mac[6];
  CEmployeeInfoMgr& employees = config.employees();
  std::vector<const EMPLOYEE_INFO*> records;
  if (Orva::string_to_hip(query.c_str(), &ip)) {
    for (int c = employees.GetHeadBlockByOneIP(ip); c != -1;) {
      records.push_back(employees.GetNextBlockFromHeadByOneIP(ip, c));
    }
  } else if (Orva::a_to_mac_addr(query.c_str(), mac)) {
    const EMPLOYEE_INFO* r = employees.FindByMAC(mac);
    if (r != nullptr) records.push_back(r);
  } else {
    return false;
  }
  if (records.empty()) records.push_back(nullptr);
  for (const EMPLOYEE_INFO* r : records) {
    Found f;
    f.query = query;
    f.record = r;
    f.ip = r != nullptr ? r->ip : ip;
    if (f.ip != 0) f.account = config.signed_in().FindEmployeeByRunIP(f.ip);
    found->push_back(f);
  }
  return true;
}

int RunWho(const std::vector<std::string>& args) {
  quarn_tool::CommandLine line(quarn_tool::Format::kTable);
  const int rc = quarn_tool::ParseCommandLine("who", args, &line);
  if (rc >= 0) return rc;
  if (line.positional().empty()) {
    return quarn_tool::UsageError("who", "no address given");
  }
  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(line.config_dir(),
                                 quarn_tool::kConfigEmployees, &config) ||
      !config.has_employees()) {
    return quarn_tool::kExitNothingDone;
  }
  std::vector<Found> found;
  for (const std::string& query : line.positional()) {
    if (!Look(config, query, &found)) {
      return quarn_tool::UsageError("who", "not an address: " + query);
    }
  }
  quarn_tool::ResultWriter out(quarn_tool::StandardOutput(), line.table(),
                               {"address", "employee", "department", "ip",
                                "mac", "host name", "last active", "account"});
  int status = config.problems().empty() ? quarn_tool::kExitOk
                                         : quarn_tool::kExitSomeBad;
  for (const Found& f : found) {
    if (f.record == nullptr) status = quarn_tool::kExitSomeBad;
    if (out.table()) {
      out.Row(Cells(config, f, out.cache()));
    } else {
      WriteJson(config, f, out.BeginItem());
      out.EndItem();
    }
  }
  out.Finish();
  return status;
}

}  // namespace

QUARN_COMMAND(who, "ADDRESS [...]",
              "the employee record, department and signed-in account behind "
              "an address",
              kOptions, kDetails, RunWho);
