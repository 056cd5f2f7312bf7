// The classification engine of `quarn classify`: takes one connection and
// asks the library every question a gateway process asks about it, end to
// end, returning each decision (and, on request, the evidence behind it).
// Does no I/O, so it can be driven by tests as by the command.

#ifndef QUARN_TOOLS_COMMON_CONNECTIONCLASSIFIER_H_
#define QUARN_TOOLS_COMMON_CONNECTIONCLASSIFIER_H_

#include <stdint.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "address/AddressPredicates.h"
#include "tools/common/ConnectionRecord.h"
#include "tools/common/GatewayConfig.h"
#include "tools/policy/ConnectionFacts.h"

namespace quarn_tool {

// A numbered, named thing: an object, a category, an area. Names are GBK.
struct NamedId {
  uint64_t id = 0;
  std::string name;
  std::string evidence;  // filled only when explaining
};

struct Classification {
  DIR_CS cs_dir = DIR_CS_UNKNOWN;
  DIR_IO data_dir = DIR_IO_UNKNOWN;
  uint32_t inside_ip = 0;
  uint16_t inside_port = 0;
  uint32_t outside_ip = 0;
  uint16_t outside_port = 0;
  // Whether the first end of the connection is the inside one, and the
  // inside end's MAC address: the record's mac, else the end MAC of the
  // end found inside (has_inside_mac false when there is none).
  bool first_inside = false;
  bool has_inside_mac = false;
  unsigned char inside_mac[6] = {0, 0, 0, 0, 0, 0};

  // Company class or department of the inside end (21, 25, 31, 40, 50 or
  // a department id) and its name, and whether it lies in a server or DMZ
  // range.
  uint32_t class_id = 0;
  std::string class_name;
  bool inside_server = false;

  NamedId area1;  // internet areas of the outside end
  NamedId area2;

  uint32_t appid = 0;
  std::string app_name;
  bool user_defined_app = false;
  std::string app_item;  // the administrator's application name, if any

  bool has_url = false;
  // As the library was asked: without its scheme, the host lower-cased.
  std::string url;
  std::vector<NamedId> sys_categories;   // id: bit of the system word
  std::vector<NamedId> user_categories;  // id: bit of the user word
  std::string url_type_name;
  bool white = false;
  // The texts the white list was asked with, in order: the host, then the
  // host with the path (when there is one). The last asked answered.
  std::vector<std::string> white_asked;

  uint64_t ip_object_mask = 0;
  std::vector<NamedId> ip_objects;
  uint64_t time_object_mask = 0;
  std::vector<NamedId> time_objects;

  bool has_employee = false;
  std::string employee;  // the name shown for the host
  uint32_t employee_dep_id = 0;
  std::string employee_dep;
  bool signed_in = false;
  uint64_t account_did = 0;
  std::string account;

  // Evidence of the single decisions, filled only when explaining. UTF-8
  // or ASCII, except that names inside them are GBK.
  std::string cs_evidence;
  std::string data_dir_evidence;
  std::string class_evidence;
  std::string app_evidence;
  std::string url_evidence;
  std::string time_evidence;  // the instant as the time objects saw it
  std::string employee_evidence;

  // What the connection policy and the audit decision read, filled from
  // the decisions above as they are made (each question is asked once):
  // the inside end's department is class_id, the outside end's areas are
  // area1 and area2 (the intranet area for a private address), and so on.
  // facts.url points into `url`: valid while this object is unchanged.
  ConnectionFacts facts;

  // Back to a default-constructed state, keeping the memory of every text
  // and list: one object serves a whole input.
  void Reset();
};

class ConnectionClassifier {
 public:
  // `config` must stay loaded, and unchanged, while this object is used.
  explicit ConnectionClassifier(GatewayConfig* config);

  // Every decision for `record` into *out (which is reset first). With
  // `explain`, the evidence fields too. One thread at a time.
  void Classify(const ConnectionRecord& record, bool explain,
                Classification* out);

 private:
  void Directions(const ConnectionRecord& record, bool explain,
                  Classification* out);
  void InsideClass(bool explain, Classification* out) const;
  void Areas(Classification* out) const;
  void Application(const ConnectionRecord& record, bool explain,
                   Classification* out);
  void Url(const ConnectionRecord& record, bool explain, Classification* out);
  void IPObjects(bool explain, Classification* out) const;
  void TimeObjects(const ConnectionRecord& record, bool explain,
                   Classification* out);
  void Employee(bool explain, Classification* out);
  void UrlFacts(const URL_GROUP_TYPE& set, Classification* out) const;

  // Lists of time objects already made, by mask.
  static const size_t kMaxTimeLists = 4096;

  GatewayConfig* config_;
  const UserDefAppItem* app_item_ = nullptr;  // of the current record
  std::unordered_map<uint64_t, std::vector<NamedId>> time_lists_;
};

// Single facts, asked the way Classify() asks them; the inspection
// commands use these so that they agree with classify.

// The name of a company class or department id: the plan names the
// departments and the abnormal classes; the DMZ has a name of its own. GBK.
std::string ClassName(const CLocalIPTypeTable& plan, uint32_t id);

// The URL categories of `url` (GBK, with or without its scheme) and
// whether it is on the white list: fills the URL fields of *out (has_url,
// url, the category lists, url_type_name, white, white_asked). Host names
// are case-insensitive and the library's lookups byte-wise, so the host
// (not the path) is lower-cased before the finder and the white list are
// asked. The white list is asked with the host alone, then, when that does
// not hold and the URL has a path, with the host and the path (so that an
// entry that names a path can match). Returns the category words, for the
// evidence. A URL that is empty once its scheme is taken away leaves
// has_url false. `config` must have loaded kConfigUrls.
URL_GROUP_TYPE LookUpUrl(GatewayConfig* config, const std::string& url,
                         Classification* out);

// The IP objects of `mask`, in the manager's order; with `objects`, the
// manager's entries behind them, index for index. The pointers stay valid
// while `mgr` is unchanged.
void IPObjectList(
    const CIPObjMgr& mgr, uint64_t mask, std::vector<NamedId>* out,
    std::vector<const CIPObjMgr::tagONE_IP_MGR_OBJ*>* objects = nullptr);

// The time objects of `mask`, from its lowest bit up; the all-time mask is
// the single all-time object. With `when`, each object's evidence says
// what made it hold at that instant.
void TimeObjectList(const CTimeObjMgrConfig& mgr, uint64_t mask,
                    std::vector<NamedId>* out, const LocalTime* when = nullptr);

// Text forms of the library's direction values: "DIR_CS_FIRST_CLIENT"...
const char* CsDirName(DIR_CS dir);
const char* DataDirName(DIR_IO dir);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_CONNECTIONCLASSIFIER_H_
