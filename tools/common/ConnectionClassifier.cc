#include "tools/common/ConnectionClassifier.h"

#include <inttypes.h>
#include <stdio.h>

#include "address/InternetRange.h"
#include "appid/CAppSubtypeReader.h"
#include "base/OrvaAddr.h"

namespace quarn_tool {

namespace {

const char* const kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};

bool LooksBroadcast(uint32_t ip) { return (ip & 0xFF) == 0xFF; }

std::string RangeText(const IP_RANGE_PAIR& range) {
  if (range.first == range.second) return Orva::hip_to_string(range.first);
  return Orva::hip_to_string(range.first) + "-" +
         Orva::hip_to_string(range.second);
}

// The first range of `ranges` that holds `ip`, as text; empty when none.
std::string HoldingRange(const std::vector<IP_RANGE_PAIR>& ranges,
                         uint32_t ip) {
  for (const IP_RANGE_PAIR& range : ranges) {
    if (range.first <= ip && ip <= range.second) return RangeText(range);
  }
  return std::string();
}

// What the company plan makes of one address, for the evidence texts.
std::string AddressKind(const CLocalIPTypeTable& plan, uint32_t ip) {
  int type = 0;
  if (plan.IsIPInCompany(ip, &type)) {
    return type == 31 ? "DMZ address" : "intranet address";
  }
  return plan.IsOutterAddr(ip) ? "outside address" : "private address";
}

std::string PortRanges(const std::vector<UINT16_RANGE_PAIR>& ports) {
  std::string text;
  for (const UINT16_RANGE_PAIR& range : ports) {
    if (!text.empty()) text += ",";
    text += std::to_string(range.first);
    if (range.second != range.first) text += "-" + std::to_string(range.second);
  }
  return text.empty() ? "any" : text;
}

std::string IpRanges(const std::vector<IP_RANGE_PAIR>& ranges) {
  std::string text;
  for (const IP_RANGE_PAIR& range : ranges) {
    if (!text.empty()) text += ",";
    text += RangeText(range);
  }
  return text.empty() ? "any" : text;
}

const char* CondText(uint32_t cond) {
  switch (cond) {
    case UserDefAppItem::COND_SERVER_PORT:
      return "server port";
    case UserDefAppItem::COND_CLIENT_PORT:
      return "client port";
    case UserDefAppItem::COND_SERVER_IP_SERVER_PORT:
      return "server address and port";
    case UserDefAppItem::COND_CLIENT_IP_SERVER_PORT:
      return "client address and server port";
    case UserDefAppItem::COND_ANY_IP:
      return "either address";
  }
  return "unknown condition";
}

// The URL as the gateway sees it: without "http://" or "https://".
std::string StripScheme(const std::string& url) {
  for (const char* scheme : {"http://", "https://"}) {
    std::string s = scheme;
    if (url.size() >= s.size() &&
        strncasecmp(url.c_str(), s.c_str(), s.size()) == 0) {
      return url.substr(s.size());
    }
  }
  return url;
}

// The host part of a URL without its scheme: up to the first '/', without
// a port.
std::string HostOf(const std::string& url) {
  std::string host = url.substr(0, url.find('/'));
  return host.substr(0, host.find(':'));
}

void Categories(uint64_t word, bool system, const CSimpleURLTypeConfig& names,
                std::vector<NamedId>* out) {
  for (int bit = 0; bit < 64; ++bit) {
    const uint64_t mask = uint64_t{1} << bit;
    if ((word & mask) == 0) continue;
    NamedId category;
    category.id = bit;
    for (const auto& list : names.url_db().types) {
      if ((system ? list.hitype : list.lotype) & mask) {
        category.name = list.name;
        break;
      }
    }
    out->push_back(category);
  }
}

}  // namespace

const char* CsDirName(DIR_CS dir) {
  switch (dir) {
    case DIR_CS_FIRST_CLIENT:
      return "DIR_CS_FIRST_CLIENT";
    case DIR_CS_FIRST_SERVER:
      return "DIR_CS_FIRST_SERVER";
    default:
      return "DIR_CS_UNKNOWN";
  }
}

const char* DataDirName(DIR_IO dir) {
  switch (dir) {
    case DIR_IO_OUT:
      return "DIR_IO_OUT";
    case DIR_IO_IN:
      return "DIR_IO_IN";
    default:
      return "DIR_IO_UNKNOWN";
  }
}

std::string ClassName(const CLocalIPTypeTable& plan, uint32_t id) {
  if (id == COrgStructInfo::ORG_DMZ) return plan.dmz().GetName();
  return plan.GetDepartmentName(id);
}

URL_GROUP_TYPE LookUpUrl(GatewayConfig* config, const std::string& url,
                         Classification* out) {
  out->has_url = true;
  out->url = StripScheme(url);
  URL_GROUP_TYPE set;
  CURL_Type_Finder_Ex& finder = config->urls();
  finder.find_url(out->url.data(), static_cast<int>(out->url.size()), set);
  Categories(set.hitype, true, finder.system_names(), &out->sys_categories);
  Categories(set.lotype, false, finder.user_names(), &out->user_categories);
  out->url_type_name = finder.GetURLTypeName(set);
  const std::string host = HostOf(out->url);
  out->white = config->white_urls().IsWhiteHost(host.data(), host.size());
  return set;
}

void IPObjectList(const CIPObjMgr& mgr, uint64_t mask,
                  std::vector<NamedId>* out,
                  std::vector<const CIPObjMgr::tagONE_IP_MGR_OBJ*>* objects) {
  for (int i = 0; i < mgr.GetCount(); ++i) {
    const CIPObjMgr::tagONE_IP_MGR_OBJ* obj = mgr.GetAt(i);
    if ((obj->id & mask) == 0) continue;
    NamedId named;
    named.id = obj->id;
    named.name = obj->name;
    out->push_back(named);
    if (objects != nullptr) objects->push_back(obj);
  }
}

void TimeObjectList(const CTimeObjMgrConfig& mgr, uint64_t mask,
                    std::vector<NamedId>* out) {
  if (mask == CTimeObjMgrConfig::ms_all_time_id) {
    NamedId all;
    all.id = mask;
    all.name = mgr.GetTimeObjIdString(mask);
    out->push_back(all);
    return;
  }
  for (int bit = 0; bit < 64; ++bit) {
    const uint64_t id = uint64_t{1} << bit;
    if ((mask & id) == 0) continue;
    NamedId named;
    named.id = id;
    named.name = mgr.GetTimeObjIdString(id);
    out->push_back(named);
  }
}

ConnectionClassifier::ConnectionClassifier(GatewayConfig* config)
    : config_(config) {}

void ConnectionClassifier::Classify(const ConnectionRecord& record,
                                    bool explain, Classification* out) {
  *out = Classification();
  Directions(record, explain, out);
  InsideClass(explain, out);
  Areas(out);
  Application(record, explain, out);
  Url(record, explain, out);
  IPObjects(record, explain, out);
  TimeObjects(record, explain, out);
  Employee(explain, out);
}

void ConnectionClassifier::Directions(const ConnectionRecord& record,
                                      bool explain, Classification* out) {
  const tagIPv4_CONNECT_ADDR& addr = record.addr;
  // An administrator's application that names a server or client side
  // decides the client end; the address plan decides the rest.
  DIR_CS cs = DIR_CS_UNKNOWN;
  app_item_ = config_->apps().find(addr, record.transport, 0, cs);
  const bool by_app = cs != DIR_CS_UNKNOWN;
  quarn_JudgeCSDir(addr, cs);
  out->cs_dir = cs;
  out->data_dir = quarn_GetDataDir(DIR_IO_UNKNOWN, addr);
  int taken = 0;
  quarn_GetIPDir(out->data_dir, addr, out->inside_ip, out->outside_ip, taken);
  quarn_GetPortDir(out->data_dir, addr, out->inside_port, out->outside_port,
                   taken);
  if (!explain) return;
  const CLocalIPTypeTable& plan = *config_->plan();
  if (by_app) {
    out->cs_evidence = "user-defined application \"" + app_item_->name +
                       "\" (" + CondText(app_item_->cond_type) + ")";
  } else if (LooksBroadcast(addr.first_ip)) {
    out->cs_evidence = "first end ends in .255 (broadcast): it is the server";
  } else if (LooksBroadcast(addr.second_ip)) {
    out->cs_evidence = "second end ends in .255 (broadcast): it is the server";
  } else {
    out->cs_evidence =
        std::string("first end is ") +
        (plan.IsOutterAddr(addr.first_ip) ? "an outside" : "not an outside") +
        " address";
  }
  out->data_dir_evidence = "first end " + AddressKind(plan, addr.first_ip) +
                           ", second end " + AddressKind(plan, addr.second_ip);
}

void ConnectionClassifier::InsideClass(bool explain,
                                       Classification* out) const {
  const CLocalIPTypeTable& plan = *config_->plan();
  const uint32_t ip = out->inside_ip;
  out->class_id = static_cast<uint32_t>(plan.GetDepartmentIdByIP(ip));
  out->class_name = ClassName(plan, out->class_id);
  if (!explain) return;
  const COrgStructInfo::tagDEPARTMENT_ITEM* dep =
      plan.intranet().FindDepartmentByIP(ip);
  if (out->class_id == COrgStructInfo::ORG_DMZ) {
    out->class_evidence = "DMZ range " + HoldingRange(plan.dmz().ranges(), ip);
  } else if (out->class_id == COrgStructInfo::ORG_UNCLASSIFIED) {
    out->class_evidence = "intranet range " +
                          HoldingRange(plan.intranet().ranges(), ip) +
                          ", in no department";
  } else if (dep != nullptr && dep->id == out->class_id) {
    std::string range = HoldingRange(dep->ranges, ip);
    out->class_evidence = range.empty() ? "address listed in the department"
                                        : "department range " + range;
  } else if (out->class_id == COrgStructInfo::ORG_ABNORMAL_INTRANET) {
    out->class_evidence = "private address outside the company ranges";
  } else {
    out->class_evidence = "address outside the company ranges";
  }
}

void ConnectionClassifier::Areas(Classification* out) const {
  const INTERNET_IP_DESC* level1 =
      GetIP_INTERNET_Range_Type_Level1(out->outside_ip);
  const INTERNET_IP_DESC* level2 =
      GetIP_INTERNET_Range_Type_Level2(out->outside_ip);
  out->area1.id = level1->area_id;
  out->area1.name = level1->desc;
  out->area2.id = level2->area_id;
  out->area2.name = level2->desc;
}

void ConnectionClassifier::Application(const ConnectionRecord& record,
                                       bool explain, Classification* out) {
  if (app_item_ != nullptr) {
    out->appid = app_item_->appid;
    out->user_defined_app = true;
    out->app_item = app_item_->name;
  } else {
    out->appid = quarn_GetUKAppId(record.addr, record.transport);
  }
  const char* name = CAppSubtypeReader::FindDispNameByAppid(out->appid);
  out->app_name = name != nullptr ? name : "";
  if (!explain) return;
  if (app_item_ != nullptr) {
    out->app_evidence = "user-defined application \"" + app_item_->name +
                        "\": " + CondText(app_item_->cond_type) + ", ports " +
                        PortRanges(app_item_->ports) + ", addresses " +
                        IpRanges(app_item_->ips);
  } else {
    const bool service =
        record.addr.first_port <= 1024 || record.addr.second_port <= 1024;
    out->app_evidence = std::string("no user-defined application; ") +
                        (service ? "a port at or below 1024: unknown service"
                                 : "both ports above 1024: unknown data");
  }
}

void ConnectionClassifier::Url(const ConnectionRecord& record, bool explain,
                               Classification* out) {
  if (record.url.empty() || !config_->has_urls()) return;
  const URL_GROUP_TYPE set = LookUpUrl(config_, record.url, out);
  if (!explain) return;
  char words[80];
  snprintf(words, sizeof(words),
           "system word 0x%016" PRIX64 ", user word 0x%016" PRIX64, set.hitype,
           set.lotype);
  out->url_evidence = std::string(words) + "; host \"" + HostOf(out->url) +
                      "\" " + (out->white ? "on" : "not on") +
                      " the white list";
}

void ConnectionClassifier::IPObjects(const ConnectionRecord& record,
                                     bool explain, Classification* out) const {
  const CIPObjMgr& mgr = config_->ip_objects();
  const uint32_t ip = out->inside_ip;
  mgr.find(out->ip_object_mask, record.has_mac ? record.mac : nullptr, ip, 0);
  if (out->ip_object_mask == 0) return;
  std::vector<const CIPObjMgr::tagONE_IP_MGR_OBJ*> objects;
  IPObjectList(mgr, out->ip_object_mask, &out->ip_objects, &objects);
  if (!explain) return;
  for (size_t i = 0; i < objects.size(); ++i) {
    std::string range = HoldingRange(objects[i]->ip_ranges, ip);
    out->ip_objects[i].evidence = range.empty()
                                      ? "MAC " + Orva::mac_addr_to_a(record.mac)
                                      : "range " + range;
  }
}

void ConnectionClassifier::TimeObjects(const ConnectionRecord& record,
                                       bool explain,
                                       Classification* out) const {
  const CTimeObjMgrConfig& mgr = config_->time_objects();
  const LocalTime& t = record.time;
  out->time_object_mask =
      mgr.get_time_type(t.month - 1, t.day, t.hour, t.minute, t.weekday);
  TimeObjectList(mgr, out->time_object_mask, &out->time_objects);
  if (!explain) return;
  char text[64];
  snprintf(text, sizeof(text), "%s %02d:%02d, %s", kWeekdays[t.weekday], t.hour,
           t.minute,
           mgr.IsHoliday(t.month - 1, t.day) ? "a holiday" : "not a holiday");
  out->time_evidence = text;
}

void ConnectionClassifier::Employee(bool explain, Classification* out) {
  if (!config_->has_employees()) return;
  const uint32_t ip = out->inside_ip;
  CEmployeeInfoMgr& employees = config_->employees();
  int cursor = employees.GetHeadBlockByOneIP(ip);
  const EMPLOYEE_INFO* r =
      cursor == -1 ? nullptr
                   : employees.GetNextBlockFromHeadByOneIP(ip, cursor);
  if (r != nullptr) {
    int from_ip = 0;
    out->has_employee = true;
    out->employee = r->GetShownName(&from_ip);
    out->employee_dep_id = r->dep_id;
    out->employee_dep = ClassName(*config_->plan(), r->dep_id);
    if (explain) {
      out->employee_evidence = "employee record of " + Orva::hip_to_string(ip);
    }
  } else if (explain) {
    out->employee_evidence =
        "no employee record for " + Orva::hip_to_string(ip);
  }
  EMPLOYEE_DYNAMIC_INFO* e = config_->signed_in().FindEmployeeByRunIP(ip);
  if (e != nullptr) {
    out->signed_in = true;
    out->account_did = e->did;
    out->account = config_->accounts().GetShowName(e->did, 2).c_str();
    if (explain) out->employee_evidence += "; signed in from this address";
  }
}

}  // namespace quarn_tool
