#include "tools/common/ConnectionClassifier.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <utility>

#include "address/InternetRange.h"
#include "appid/CAppSubtypeReader.h"
#include "base/OrvaAddr.h"

namespace quarn_tool {

namespace {

const char* const kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};

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
    return static_cast<unsigned int>(type) == COrgStructInfo::ORG_DMZ
               ? "DMZ address"
               : "intranet address";
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

// Sets *out to the URL as the gateway sees it: without "http://" or
// "https://". *out keeps its memory from the connection before.
void AssignWithoutScheme(const std::string& url, std::string* out) {
  for (const char* scheme : {"http://", "https://"}) {
    const size_t length = strlen(scheme);
    if (url.size() >= length && strncasecmp(url.c_str(), scheme, length) == 0) {
      out->assign(url, length, std::string::npos);
      return;
    }
  }
  out->assign(url);
}

// Where the host name of a URL without its scheme lies: after any
// "user@", up to a port, a path, a query or a fragment.
struct HostSpan {
  size_t begin = 0;
  size_t end = 0;
  size_t authority_end = 0;  // where the path (or query) begins
};

HostSpan FindHost(const std::string& url) {
  HostSpan span;
  span.authority_end = url.find_first_of("/?#");
  if (span.authority_end == std::string::npos) span.authority_end = url.size();
  const size_t at = url.rfind('@', span.authority_end);
  span.begin = at == std::string::npos ? 0 : at + 1;
  const size_t colon = url.find(':', span.begin);
  span.end = colon < span.authority_end ? colon : span.authority_end;
  return span;
}

// Lower-cases the ASCII letters of the host (at `span`), leaving the two
// bytes of each GBK character as they are (a GBK trail byte may be an
// ASCII letter).
void LowerHost(const HostSpan& span, std::string* url) {
  for (size_t i = span.begin; i < span.end; ++i) {
    const unsigned char c = (*url)[i];
    if (c >= 0x81) {
      ++i;
    } else if (c >= 'A' && c <= 'Z') {
      (*url)[i] = static_cast<char>(c - 'A' + 'a');
    }
  }
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

// The library's client test for a connection from `first` to `second`.
DIR_CS JudgeClient(uint32_t first, uint32_t second) {
  const tagIPv4_CONNECT_ADDR addr = {first, 0, second, 0};
  DIR_CS cs = DIR_CS_UNKNOWN;
  quarn_JudgeCSDir(addr, cs);
  return cs;
}

// Why the library's client test gave `cs`. The test makes an end that
// looks like a broadcast address the server before it asks whether the
// first end is an outside address. Which of the two decided is read off the
// library's answers rather than worked out beside them: only the broadcast
// test makes an inside first end the server, or an outside one the client.
// When both would give the same answer, the outside test is named.
std::string ClientEvidence(const tagIPv4_CONNECT_ADDR& addr, DIR_CS cs) {
  const bool first_outside = GetIP_IsOutterAddr(addr.first_ip) != 0;
  if (cs == DIR_CS_FIRST_SERVER) {
    return first_outside
               ? "first end is an outside address: it is the server"
               : "first end looks like a broadcast address: it is the server";
  }
  // An inside address at both ends of a connection is the server only when
  // it looks like a broadcast address.
  if (first_outside ||
      (GetIP_IsOutterAddr(addr.second_ip) == 0 &&
       JudgeClient(addr.second_ip, addr.second_ip) == DIR_CS_FIRST_SERVER)) {
    return "second end looks like a broadcast address: it is the server";
  }
  return "first end is not an outside address: it is the client";
}

// Whether the library counts `port` as the port of a service: the
// unknown-application id it gives a connection with that port at both ends.
bool IsServicePort(uint16_t port) {
  const tagIPv4_CONNECT_ADDR probe = {0, port, 0, port};
  return quarn_GetUKAppId(probe, 0) == CAppSubtypeReader::APP_EX_UK_SERVICE;
}

std::string PortList(const std::vector<uint16_t>& ports) {
  std::string text = ports.size() == 1 ? "port " : "ports ";
  for (size_t i = 0; i < ports.size(); ++i) {
    if (i > 0) text += " and ";
    text += std::to_string(ports[i]);
  }
  return text;
}

// Why the library gave the unknown-application id `appid`.
std::string UnknownAppEvidence(const tagIPv4_CONNECT_ADDR& addr,
                               uint32_t appid) {
  const bool service = appid == CAppSubtypeReader::APP_EX_UK_SERVICE ||
                       CAppSubtypeReader::GetExtGrpAppType(appid) ==
                           CAppSubtypeReader::APP_EX_UK_SERVICE;
  std::vector<uint16_t> ports;
  for (uint16_t port : {addr.first_port, addr.second_port}) {
    if (IsServicePort(port) == service) ports.push_back(port);
  }
  if (ports.size() == 2 && ports[0] == ports[1]) ports.pop_back();
  if (ports.empty()) {
    return std::string("no user-defined application: unknown ") +
           (service ? "service" : "data");
  }
  if (service) {
    return "no user-defined application; " + PortList(ports) +
           (ports.size() == 1 ? " is a service port" : " are service ports") +
           ": unknown service";
  }
  return "no user-defined application; " + PortList(ports) +
         (ports.size() == 1 ? " is a data port" : " are data ports") +
         ": unknown data";
}

const char* const kDays[] = {"Sundays",   "Mondays", "Tuesdays", "Wednesdays",
                             "Thursdays", "Fridays", "Saturdays"};

std::string Clock(int hour, int minute) {
  char text[8];
  snprintf(text, sizeof(text), "%02d:%02d", hour % 100, minute % 100);
  return text;
}

// What made time object `id` hold at `t`: the segment of its schedule that
// holds, or the rule that gives the non-working or the all-time id.
std::string TimeObjectEvidence(const CTimeObjMgrConfig& mgr, uint64_t id,
                               const LocalTime& t) {
  const int month = t.month - 1;
  if (id == CTimeObjMgrConfig::ms_all_time_id) {
    return "no time object is configured: every one holds";
  }
  if (id == CTimeObjMgrConfig::ms_offduty_time_id) {
    return mgr.IsHoliday(month, t.day)
               ? "a holiday: working time counts as non-working time"
               : "outside working time";
  }
  const int index = mgr.find(id);
  if (index < 0) return std::string();
  // An extra working date runs on another weekday's schedule.
  const int schedule = mgr.IsWorkingDate(month, t.day);
  const int weekday = schedule >= 0 ? schedule : t.weekday;
  for (const auto& item : mgr.objs[index].segs) {
    if (item.week[weekday] == 0 || item.seg.cmp(t.hour, t.minute) != 0) {
      continue;
    }
    std::string text =
        "segment " + Clock(item.seg.begin_hour, item.seg.begin_minute) + "-" +
        Clock(item.seg.end_hour, item.seg.end_minute) + " on " + kDays[weekday];
    if (schedule >= 0) text += " (an extra working date on that schedule)";
    return text;
  }
  return std::string();
}

// The ends of the connection in the policy's facts.
EndpointFacts* InsideEnd(ConnectionFacts* facts) {
  return facts->client_inside ? &facts->client : &facts->server;
}
EndpointFacts* OutsideEnd(ConnectionFacts* facts) {
  return facts->client_inside ? &facts->server : &facts->client;
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
  URL_GROUP_TYPE set;
  AssignWithoutScheme(url, &out->url);
  out->has_url = !out->url.empty();
  if (!out->has_url) return set;
  const HostSpan span = FindHost(out->url);
  LowerHost(span, &out->url);
  CURL_Type_Finder_Ex& finder = config->urls();
  finder.find_url(out->url.data(), static_cast<int>(out->url.size()), set);
  Categories(set.hitype, true, finder.system_names(), &out->sys_categories);
  Categories(set.lotype, false, finder.user_names(), &out->user_categories);
  out->url_type_name = finder.GetURLTypeName(set);
  // The white list is asked with the host, then, when the URL has a path
  // (or query), with the host and the path, without a user or a port:
  // what an entry with a path is compared with.
  const CWhiteURLConfig& white = config->white_urls();
  const std::string& u = out->url;
  out->white_asked.emplace_back(u, span.begin, span.end - span.begin);
  const std::string& host = out->white_asked.back();
  out->white = white.IsWhiteHost(host.data(), host.size()) != 0;
  if (!out->white && span.authority_end < u.size()) {
    std::string with_path = host;
    with_path.append(u, span.authority_end, std::string::npos);
    out->white_asked.push_back(std::move(with_path));
    const std::string& asked = out->white_asked.back();
    out->white = white.IsWhiteHost(asked.data(), asked.size()) != 0;
  }
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
                    std::vector<NamedId>* out, const LocalTime* when) {
  for (int bit = 0; bit < 64; ++bit) {
    const uint64_t id =
        mask == CTimeObjMgrConfig::ms_all_time_id ? mask : uint64_t{1} << bit;
    if ((mask & id) == 0) continue;
    NamedId named;
    named.id = id;
    named.name = mgr.GetTimeObjIdString(id);
    if (when != nullptr) named.evidence = TimeObjectEvidence(mgr, id, *when);
    out->push_back(named);
    if (id == mask) break;
  }
}

void Classification::Reset() {
  // Copy assignment from an empty object empties every text and list in
  // place, keeping its memory, and sets everything else to its default.
  static const Classification kEmpty;
  *this = kEmpty;
}

ConnectionClassifier::ConnectionClassifier(GatewayConfig* config)
    : config_(config) {}

void ConnectionClassifier::Classify(const ConnectionRecord& record,
                                    bool explain, Classification* out) {
  out->Reset();
  Directions(record, explain, out);
  InsideClass(explain, out);
  Areas(out);
  Application(record, explain, out);
  Url(record, explain, out);
  IPObjects(explain, out);
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
  ConnectionFacts& facts = out->facts;
  facts.addr = addr;
  facts.transport = record.transport;
  const bool first_client = cs != DIR_CS_FIRST_SERVER;
  const bool first_inside = taken == DIR_IO_OUT;
  facts.client_inside = first_client == first_inside;
  out->first_inside = first_inside;
  const int inside_end = first_inside ? 0 : 1;
  const unsigned char* mac = record.has_mac ? record.mac
                             : record.has_end_mac[inside_end]
                                 ? record.end_mac[inside_end]
                                 : nullptr;
  out->has_inside_mac = mac != nullptr;
  if (mac != nullptr) memcpy(out->inside_mac, mac, sizeof(out->inside_mac));
  InsideEnd(&facts)->ip = out->inside_ip;
  InsideEnd(&facts)->port = out->inside_port;
  OutsideEnd(&facts)->ip = out->outside_ip;
  OutsideEnd(&facts)->port = out->outside_port;
  if (!explain) return;
  const CLocalIPTypeTable& plan = *config_->plan();
  if (by_app) {
    out->cs_evidence = "user-defined application \"" + app_item_->name +
                       "\" (" + CondText(app_item_->cond_type) + ")";
  } else {
    out->cs_evidence = ClientEvidence(addr, cs);
  }
  out->data_dir_evidence = "first end " + AddressKind(plan, addr.first_ip) +
                           ", second end " + AddressKind(plan, addr.second_ip);
}

void ConnectionClassifier::InsideClass(bool explain,
                                       Classification* out) const {
  const CLocalIPTypeTable& plan = *config_->plan();
  const uint32_t ip = out->inside_ip;
  EndpointFacts* inside = InsideEnd(&out->facts);
  DescribePlace(plan, ip, nullptr, inside);
  DescribeAreas(plan, ip, nullptr, nullptr, inside);
  out->class_id = inside->department;
  out->class_name = ClassName(plan, out->class_id);
  out->inside_server = plan.IsServerIP(ip) != 0;
  if (!explain) return;
  const COrgStructInfo::tagDEPARTMENT_ITEM* dep =
      plan.intranet().FindDepartmentByIP(ip);
  const bool listed = dep != nullptr && dep->id == out->class_id &&
                      COrgStructInfo::IsInThisDepartment(ip, *dep) != 0;
  const std::string intranet_range = HoldingRange(plan.intranet().ranges(), ip);
  if (out->class_id == COrgStructInfo::ORG_DMZ) {
    out->class_evidence = "DMZ range " + HoldingRange(plan.dmz().ranges(), ip);
  } else if (listed) {
    std::string range = HoldingRange(dep->ranges, ip);
    out->class_evidence = range.empty() ? "address listed in the department"
                                        : "department range " + range;
  } else if (out->class_id == COrgStructInfo::ORG_UNCLASSIFIED &&
             !intranet_range.empty()) {
    out->class_evidence =
        "intranet range " + intranet_range + ", in no department";
  } else if (out->class_id == COrgStructInfo::ORG_UNCLASSIFIED) {
    // Outside every range and department, only the unknown address gets
    // the placeholder.
    out->class_evidence = "the unknown address " + Orva::hip_to_string(ip) +
                          ": the placeholder for hosts in no department";
  } else if (out->class_id == COrgStructInfo::ORG_ABNORMAL_INTRANET) {
    out->class_evidence = "private address outside the company ranges";
  } else {
    out->class_evidence = "address outside the company ranges";
  }
  const std::string server_range = HoldingRange(plan.server().ranges(), ip);
  if (out->inside_server && !server_range.empty()) {
    out->class_evidence += "; server range " + server_range;
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
  const CLocalIPTypeTable& plan = *config_->plan();
  EndpointFacts* outside = OutsideEnd(&out->facts);
  DescribePlace(plan, out->outside_ip, nullptr, outside);
  DescribeAreas(plan, out->outside_ip, level1, level2, outside);
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
  out->facts.app_id = out->appid;
  const char* name = CAppSubtypeReader::FindDispNameByAppid(out->appid);
  out->app_name = name != nullptr ? name : "";
  if (!explain) return;
  if (app_item_ != nullptr) {
    out->app_evidence = "user-defined application \"" + app_item_->name +
                        "\": " + CondText(app_item_->cond_type) + ", ports " +
                        PortRanges(app_item_->ports) + ", addresses " +
                        IpRanges(app_item_->ips);
  } else {
    out->app_evidence = UnknownAppEvidence(record.addr, out->appid);
  }
}

void ConnectionClassifier::Url(const ConnectionRecord& record, bool explain,
                               Classification* out) {
  if (record.url.empty() || !config_->has_urls()) return;
  const URL_GROUP_TYPE set = LookUpUrl(config_, record.url, out);
  UrlFacts(set, out);
  if (!explain || !out->has_url) return;
  char words[80];
  snprintf(words, sizeof(words),
           "system word 0x%016" PRIX64 ", user word 0x%016" PRIX64, set.hitype,
           set.lotype);
  std::string white;
  for (size_t i = 0; i < out->white_asked.size(); ++i) {
    const bool last = i + 1 == out->white_asked.size();
    white += std::string(i == 0 ? "host" : ", host and path") + " \"" +
             out->white_asked[i] + "\" " +
             (last && out->white ? "on" : "not on") + " the white list";
  }
  out->url_evidence = std::string(words) + "; " + white;
}

void ConnectionClassifier::UrlFacts(const URL_GROUP_TYPE& set,
                                    Classification* out) const {
  if (!out->has_url) return;
  out->facts.url = out->url.c_str();
  out->facts.url_types = set;
}

void ConnectionClassifier::IPObjects(bool explain, Classification* out) const {
  const CIPObjMgr& mgr = config_->ip_objects();
  const uint32_t ip = out->inside_ip;
  mgr.find(out->ip_object_mask, out->has_inside_mac ? out->inside_mac : nullptr,
           ip, 0);
  out->facts.ip_objects = out->ip_object_mask;
  if (out->ip_object_mask == 0) return;
  std::vector<const CIPObjMgr::tagONE_IP_MGR_OBJ*> objects;
  IPObjectList(mgr, out->ip_object_mask, &out->ip_objects, &objects);
  if (!explain) return;
  for (size_t i = 0; i < objects.size(); ++i) {
    std::string range = HoldingRange(objects[i]->ip_ranges, ip);
    out->ip_objects[i].evidence =
        range.empty() ? "MAC " + Orva::mac_addr_to_a(out->inside_mac)
                      : "range " + range;
  }
}

void ConnectionClassifier::TimeObjects(const ConnectionRecord& record,
                                       bool explain, Classification* out) {
  const CTimeObjMgrConfig& mgr = config_->time_objects();
  const LocalTime& t = record.time;
  const uint64_t mask =
      mgr.get_time_type(t.month - 1, t.day, t.hour, t.minute, t.weekday);
  out->time_object_mask = mask;
  out->facts.time_objects = mask;
  if (!explain) {
    // Without evidence the list follows from the mask alone, and the
    // configuration does not change while this object is used: each list
    // is made once (a bounded number of them).
    auto it = time_lists_.find(mask);
    if (it == time_lists_.end()) {
      std::vector<NamedId> list;
      TimeObjectList(mgr, mask, &list, nullptr);
      if (time_lists_.size() >= kMaxTimeLists) {
        out->time_objects = std::move(list);
        return;
      }
      it = time_lists_.emplace(mask, std::move(list)).first;
    }
    out->time_objects = it->second;
    return;
  }
  TimeObjectList(mgr, mask, &out->time_objects, &t);
  char text[64];
  snprintf(text, sizeof(text), "%s %02d:%02d, %s", kWeekdays[t.weekday], t.hour,
           t.minute,
           mgr.IsHoliday(t.month - 1, t.day) ? "a holiday" : "not a holiday");
  out->time_evidence = text;
}

void ConnectionClassifier::Employee(bool explain, Classification* out) {
  if (!config_->has_employees()) return;
  const uint32_t ip = out->inside_ip;
  // The record a gateway process asks for with each connection: of the
  // records running on the address, the most recently active.
  const EMPLOYEE_INFO* r = config_->employees().FindLastEmployeeByRunIP(ip);
  if (r != nullptr) {
    int from_ip = 0;
    out->has_employee = true;
    out->employee = r->GetShownName(&from_ip);
    out->employee_dep_id = r->dep_id;
    out->employee_dep = ClassName(*config_->plan(), r->dep_id);
    out->facts.employee_department = r->dep_id;
    if (explain) {
      out->employee_evidence = "the most recently active employee record of " +
                               Orva::hip_to_string(ip);
    }
  } else if (explain) {
    out->employee_evidence =
        "no employee record for " + Orva::hip_to_string(ip);
  }
  EMPLOYEE_DYNAMIC_INFO* e = config_->signed_in().FindEmployeeByRunIP(ip);
  if (e != nullptr) {
    out->signed_in = true;
    out->account_did = e->did;
    out->facts.account_did = e->did;
    InsideEnd(&out->facts)->device_id = e->did;
    out->account = config_->accounts().GetShowName(e->did, 2).c_str();
    if (explain) out->employee_evidence += "; signed in from this address";
  }
  // The filters' device ids name the account signed in at either end.
  const EMPLOYEE_DYNAMIC_INFO* other =
      config_->signed_in().FindEmployeeByRunIP(out->outside_ip);
  if (other != nullptr) OutsideEnd(&out->facts)->device_id = other->did;
}

}  // namespace quarn_tool
