#include "address/CLocalIPTypeTable.h"

#include <algorithm>
#include <vector>

#include "address/internal/OrgNames.h"
#include "base/OrvaText.h"
#include "base/OrvaTime.h"
#include "base/internal/NoThrow.h"

namespace {

const char kOrgInfo[] = "org_info";
const char kIpManager[] = "ip_manager";
const char kIpRange[] = "iprange";

bool IsRefusedDepartmentId(uint32_t id) {
  return id == COrgStructInfo::ORG_ABNORMAL_INTRANET ||
         id == COrgStructInfo::ORG_ABNORMAL_EXTERNAL;
}

// Department ids that are classes of their own and never written as
// departments.
bool IsUnwrittenDepartmentId(uint32_t id) {
  return id == COrgStructInfo::ORG_SERVER || IsRefusedDepartmentId(id);
}

}  // namespace

const char* const CLocalIPTypeTable::kRootName = "organization";

CLocalIPTypeTable::CLocalIPTypeTable()
    : log_ip_change(0),
      permit_ip_select(0),
      permit_macip_bind(0),
      intranet_(COrgStructInfo::ORG_INTRANET),
      server_(COrgStructInfo::ORG_SERVER),
      dmz_(COrgStructInfo::ORG_DMZ),
      abnormal_intranet_(COrgStructInfo::ORG_ABNORMAL_INTRANET),
      abnormal_external_(COrgStructInfo::ORG_ABNORMAL_EXTERNAL),
      max_dep_id_(kInitialMaxDepId) {
  intranet_.SetName(quarn_org::kIntranetName);
  server_.SetName(quarn_org::kServerName);
  dmz_.SetName(quarn_org::kDmzName);
  abnormal_intranet_.SetName(quarn_org::kAbnormalIntranetName);
  abnormal_external_.SetName(quarn_org::kAbnormalExternalName);
  private_nets_.AddDefaultPrivateNetRange();
}

CLocalIPTypeTable::CLocalIPTypeTable(const CLocalIPTypeTable& other) = default;

CLocalIPTypeTable& CLocalIPTypeTable::operator=(
    const CLocalIPTypeTable& other) = default;

CLocalIPTypeTable::~CLocalIPTypeTable() {}

bool CLocalIPTypeTable::operator==(const CLocalIPTypeTable& other) const {
  return private_nets_ == other.private_nets_ && intranet_ == other.intranet_ &&
         server_ == other.server_ && dmz_ == other.dmz_ &&
         abnormal_intranet_ == other.abnormal_intranet_ &&
         abnormal_external_ == other.abnormal_external_ &&
         netenv_.compare_config(other.netenv_) &&
         log_ip_change == other.log_ip_change &&
         permit_ip_select == other.permit_ip_select &&
         permit_macip_bind == other.permit_macip_bind;
}

void CLocalIPTypeTable::close() {
  intranet_.close();
  server_.close();
  dmz_.close();
  abnormal_intranet_.close();
  abnormal_external_.close();
  netenv_.close();
  log_ip_change = 0;
  permit_ip_select = 0;
  permit_macip_bind = 0;
}

// ---------------------------------------------------------------- loading

int CLocalIPTypeTable::LoadFromFile(const char* path) {
  return quarn_guard::Guarded(0, [&] {
    close();
    if (path == nullptr || path[0] == '\0') return 0;
    CTinyXmlEx doc;
    if (doc.open_for_readonly(path) != 0) return 0;
    return LoadDocument(doc);
  });
}

int CLocalIPTypeTable::LoadFromMem(const char* text, int length) {
  return quarn_guard::Guarded(0, [&] {
    close();
    if (text == nullptr || length == 0) return 1;
    if (length < 0) return 0;
    CTinyXmlEx doc;
    if (doc.open(text, length) != 0) return 0;
    return LoadDocument(doc);
  });
}

int CLocalIPTypeTable::LoadDocument(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  TiXmlNode* org_info = CTinyXmlEx::FirstChildElement(root, kOrgInfo);
  if (org_info == nullptr || !Load(doc, org_info)) return 0;
  TiXmlNode* ip_manager = CTinyXmlEx::FirstChildElement(root, kIpManager);
  if (ip_manager != nullptr) {
    CTinyXmlEx::GetAttr(ip_manager, "log_ip_change", log_ip_change);
    CTinyXmlEx::GetAttr(ip_manager, "permit_ip_select", permit_ip_select);
    CTinyXmlEx::GetAttr(ip_manager, "permit_macip_bind", permit_macip_bind);
  }
  return 1;
}

int CLocalIPTypeTable::Load(CTinyXmlEx& doc, TiXmlNode* org_info) {
  return quarn_guard::Guarded(0, [&] {
    close();
    netenv_.LoadFromFile(doc, org_info);
    TiXmlNode* company = CTinyXmlEx::FirstChildElement(org_info, "company");
    if (company == nullptr) return 0;
    LoadCompany(company);
    return 1;
  });
}

void CLocalIPTypeTable::LoadCompany(TiXmlNode* company) {
  TiXmlNode* intranet = CTinyXmlEx::FirstChildElement(company, "intranet");
  if (intranet != nullptr) LoadIntranet(intranet);
  TiXmlNode* dmz = CTinyXmlEx::FirstChildElement(
      CTinyXmlEx::FirstChildElement(company, "internet"), "dmz");
  if (dmz != nullptr) {
    CTinyXmlEx::GetValue_HostOrderIPRangeVector(dmz, dmz_.ranges(), kIpRange);
  }
  // The max id never goes down while loading, so an id handed out in this
  // process is not handed out again even if the file lags behind.
  unsigned int max_dep_id = 0;
  if (CTinyXmlEx::GetValueLikeIni(company, "max_dep_id", &max_dep_id)) {
    max_dep_id_ = std::max(max_dep_id_, max_dep_id);
  }
}

void CLocalIPTypeTable::LoadIntranet(TiXmlNode* intranet) {
  CTinyXmlEx::GetValue_HostOrderIPRangeVector(
      CTinyXmlEx::FirstChildElement(intranet, "in_vpn"), intranet_.ranges(),
      kIpRange);
  if (intranet_.ranges().empty()) {
    CPrivateNetList defaults;
    defaults.SetToDefaultPrivateNetRange();
    intranet_.ranges() = defaults.ranges();
  }
  CTinyXmlEx::GetValue_HostOrderIPRangeVector(
      CTinyXmlEx::FirstChildElement(intranet, "in_vpn_server"),
      server_.ranges(), kIpRange);
  TiXmlNode* department = CTinyXmlEx::FirstChildElement(intranet, "department");
  for (TiXmlNode* node =
           CTinyXmlEx::FirstChildElement(department, "sub_department");
       node != nullptr;
       node = CTinyXmlEx::NextSiblingElement(node, "sub_department")) {
    LoadDepartment(node);
  }
  if (intranet_.FindDepartmentById(COrgStructInfo::ORG_UNCLASSIFIED) ==
      nullptr) {
    tagDEPARTMENT_ITEM placeholder;
    placeholder.id = COrgStructInfo::ORG_UNCLASSIFIED;
    placeholder.name = quarn_org::kUnclassifiedName;
    placeholder.type = COrgStructInfo::DEP_TYPE_IPSET;
    placeholder.net_area_id = COrgStructInfo::ORG_INTRANET;
    intranet_.AddDepartment(placeholder);
  }
}

void CLocalIPTypeTable::LoadDepartment(TiXmlNode* node) {
  tagDEPARTMENT_ITEM item;
  if (!CTinyXmlEx::GetAttr(node, "id", item.id) ||
      !CTinyXmlEx::GetAttr(node, "name", item.name)) {
    return;
  }
  if (Orva::isUTF8_16(item.name)) item.name = Orva::UTF8_to_HOME(item.name);
  CTinyXmlEx::GetAttr(node, "desc", item.desc);
  CTinyXmlEx::GetAttr(node, "mgr", item.mgr);
  CTinyXmlEx::GetAttr(node, "tel", item.tel);
  CTinyXmlEx::GetAttr(node, "mail", item.mail);
  CTinyXmlEx::GetAttr(node, "status", item.status);
  std::string text;
  if (CTinyXmlEx::GetAttr(node, "updatetime", text)) {
    Orva::StrToTime(Orva::kTimeFormatDateTime, text.c_str(), &item.updatetime);
  }
  if (!CTinyXmlEx::GetAttr(node, "bipselected", item.bIPSelected)) {
    CTinyXmlEx::GetAttr(node, "bIPSelected", item.bIPSelected);
  }
  std::string type;
  CTinyXmlEx::GetAttr(node, "type", type);
  if (type == "iprange") {
    item.type = COrgStructInfo::DEP_TYPE_IPRANGE;
    CTinyXmlEx::GetValue_HostOrderIPRangeVector(node, item.ranges, kIpRange);
  } else if (type == "ipset") {
    item.type = COrgStructInfo::DEP_TYPE_IPSET;
    for (TiXmlNode* ip = CTinyXmlEx::FirstChildElement(node, "ip");
         ip != nullptr; ip = CTinyXmlEx::NextSiblingElement(ip, "ip")) {
      uint32_t address = 0;
      if (CTinyXmlEx::GetValue_HostOrderIP(ip, address)) {
        item.ipset.push_back(address);
      }
    }
  }
  if (IsRefusedDepartmentId(item.id)) return;
  item.net_area_id = COrgStructInfo::ORG_INTRANET;
  // Even a disabled department keeps its id from being handed out again.
  if (item.id >= max_dep_id_) max_dep_id_ = item.id;
  if (item.status == 0) return;
  intranet_.AddDepartment(item);
}

// ----------------------------------------------------------------- saving

int CLocalIPTypeTable::SaveToFile(const char* path) const {
  return quarn_guard::Guarded(0, [&] {
    if (path == nullptr || path[0] == '\0') return 0;
    CTinyXmlEx doc;
    if (doc.open_ex(path, CTinyXmlEx::OPEN_CREATE_NEW) != 0) return 0;
    TiXmlNode* root = doc.InsertRootElement(kRootName);
    TiXmlNode* org_info = CTinyXmlEx::InsertEndChildElement(root, kOrgInfo);
    if (org_info == nullptr || !Save(doc, org_info)) return 0;
    TiXmlNode* ip_manager = CTinyXmlEx::InsertEndChildElement(root, kIpManager);
    if (ip_manager == nullptr) return 0;
    CTinyXmlEx::SetAttr(ip_manager, "log_ip_change",
                        static_cast<int>(log_ip_change));
    CTinyXmlEx::SetAttr(ip_manager, "permit_ip_select",
                        static_cast<int>(permit_ip_select));
    CTinyXmlEx::SetAttr(ip_manager, "permit_macip_bind",
                        static_cast<int>(permit_macip_bind));
    const int written = doc.savefile(path) == 0 ? 1 : 0;
    doc.close();
    return written;
  });
}

int CLocalIPTypeTable::Save(CTinyXmlEx& doc, TiXmlNode* org_info) const {
  return quarn_guard::Guarded(0, [&] {
    if (!netenv_.SaveToFile(doc, org_info)) return 0;
    TiXmlNode* company = CTinyXmlEx::InsertEndChildElement(org_info, "company");
    return company != nullptr && SaveCompany(company) ? 1 : 0;
  });
}

int CLocalIPTypeTable::SaveCompany(TiXmlNode* company) const {
  TiXmlNode* intranet = CTinyXmlEx::InsertEndChildElement(company, "intranet");
  TiXmlNode* in_vpn = CTinyXmlEx::InsertEndChildElement(intranet, "in_vpn");
  TiXmlNode* in_vpn_server =
      CTinyXmlEx::InsertEndChildElement(intranet, "in_vpn_server");
  TiXmlNode* department =
      CTinyXmlEx::InsertEndChildElement(intranet, "department");
  TiXmlNode* internet = CTinyXmlEx::InsertEndChildElement(company, "internet");
  TiXmlNode* dmz = CTinyXmlEx::InsertEndChildElement(internet, "dmz");
  if (in_vpn == nullptr || in_vpn_server == nullptr || department == nullptr ||
      dmz == nullptr) {
    return 0;
  }
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(in_vpn, intranet_.ranges(),
                                              kIpRange);
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(in_vpn_server, server_.ranges(),
                                              kIpRange);
  if (!SaveDepartments(department)) return 0;
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(dmz, dmz_.ranges(), kIpRange);
  return CTinyXmlEx::SetValueLikeIni(company, "max_dep_id", max_dep_id_) ? 1
                                                                         : 0;
}

int CLocalIPTypeTable::SaveDepartments(TiXmlNode* department) const {
  // Loading puts each department before the placeholders and each
  // placeholder before those read earlier. So the departments are written
  // in list order and the placeholders last to first: the file then reads
  // back as the same list, even with ids that repeat.
  std::vector<const tagDEPARTMENT_ITEM*> order;
  const CIntranetOrg::DepartmentList& list = intranet_.departments();
  for (const auto& dep : list) {
    if (!COrgStructInfo::IsPlaceholderId(dep->id)) order.push_back(dep.get());
  }
  for (auto it = list.rbegin(); it != list.rend(); ++it) {
    if (COrgStructInfo::IsPlaceholderId((*it)->id)) order.push_back(it->get());
  }
  for (const tagDEPARTMENT_ITEM* dep : order) {
    if (IsUnwrittenDepartmentId(dep->id)) continue;
    TiXmlNode* node =
        CTinyXmlEx::InsertEndChildElement(department, "sub_department");
    if (node == nullptr) return 0;
    SaveDepartment(node, *dep);
  }
  return 1;
}

void CLocalIPTypeTable::SaveDepartment(TiXmlNode* node,
                                       const tagDEPARTMENT_ITEM& dep) {
  CTinyXmlEx::SetAttr(node, "id", static_cast<unsigned int>(dep.id));
  CTinyXmlEx::SetAttr(node, "name", dep.name);
  CTinyXmlEx::SetAttr(node, "status", static_cast<int>(dep.status));
  CTinyXmlEx::SetAttr(node, "desc", dep.desc);
  CTinyXmlEx::SetAttr(node, "mgr", dep.mgr);
  CTinyXmlEx::SetAttr(node, "mail", dep.mail);
  CTinyXmlEx::SetAttr(node, "tel", dep.tel);
  CTinyXmlEx::SetAttr(node, "bipselected", static_cast<int>(dep.bIPSelected));
  CTinyXmlEx::SetAttr(
      node, "updatetime",
      Orva::FormatTime(Orva::kTimeFormatDateTime, dep.updatetime, 0));
  if (dep.type == COrgStructInfo::DEP_TYPE_IPRANGE) {
    CTinyXmlEx::SetAttr(node, "type", "iprange");
    CTinyXmlEx::SetValue_HostOrderIPRangeVector(node, dep.ranges, kIpRange);
  } else if (dep.type == COrgStructInfo::DEP_TYPE_IPSET) {
    CTinyXmlEx::SetAttr(node, "type", "ipset");
    for (uint32_t ip : dep.ipset) {
      CTinyXmlEx::SetValue_HostOrderIP(
          CTinyXmlEx::InsertEndChildElement(node, "ip"), ip);
    }
  }
}

// ---------------------------------------------------------------- queries

int CLocalIPTypeTable::IsPrivateAddr(unsigned int ip) const {
  return private_nets_.find_hostorder_ip(ip) || intranet_.IsIPIn(ip) ? 1 : 0;
}

int CLocalIPTypeTable::IsOutterAddr(unsigned int ip) const {
  return IsPrivateAddr(ip) ? 0 : 1;
}

int CLocalIPTypeTable::IsInVPNServer(unsigned int ip) const {
  return server_.IsIPIn(ip);
}

int CLocalIPTypeTable::IsInternetDMZAddr(unsigned int ip) const {
  return dmz_.IsIPIn(ip);
}

int CLocalIPTypeTable::IsServerIP(unsigned int ip) const {
  return dmz_.IsIPIn(ip) || server_.IsIPIn(ip) ? 1 : 0;
}

int CLocalIPTypeTable::IsIPInCompany(unsigned int ip, int* type) const {
  if (intranet_.IsIPIn(ip)) {
    if (type != nullptr) *type = COrgStructInfo::ORG_INTRANET;
    return 1;
  }
  if (dmz_.IsIPIn(ip)) {
    if (type != nullptr) *type = COrgStructInfo::ORG_DMZ;
    return 1;
  }
  return 0;
}

int CLocalIPTypeTable::GetDepartmentIdByIP(unsigned int ip) const {
  if (dmz_.IsIPIn(ip)) return COrgStructInfo::ORG_DMZ;
  const tagDEPARTMENT_ITEM* dep = intranet_.FindDepartmentByIP(ip);
  if (dep != nullptr && dep->id != COrgStructInfo::ORG_NONE) return dep->id;
  return IsPrivateAddr(ip) ? COrgStructInfo::ORG_ABNORMAL_INTRANET
                           : COrgStructInfo::ORG_ABNORMAL_EXTERNAL;
}

int CLocalIPTypeTable::GetDepartmentIdByName(const char* name) const {
  return static_cast<int>(intranet_.GetDepartmentIdByName(name));
}

const CLocalIPTypeTable::tagDEPARTMENT_ITEM*
CLocalIPTypeTable::FindDepartmentById(unsigned int id) const {
  return intranet_.FindDepartmentById(id);
}

std::string CLocalIPTypeTable::GetDepartmentName(unsigned int id) const {
  const tagDEPARTMENT_ITEM* dep = intranet_.FindDepartmentById(id);
  if (dep != nullptr) return dep->name;
  if (id == COrgStructInfo::ORG_ABNORMAL_EXTERNAL) {
    return quarn_org::kAbnormalExternalName;
  }
  if (id == COrgStructInfo::ORG_ABNORMAL_INTRANET) {
    return quarn_org::kAbnormalIntranetName;
  }
  return quarn_org::kUnknownDepName;
}

unsigned int CLocalIPTypeTable::GenNextDepid() { return ++max_dep_id_; }

void CLocalIPTypeTable::RemoveAllDeparnment() {
  intranet_.RemoveAllDeparment();
  server_.RemoveAllDeparment();
  dmz_.RemoveAllDeparment();
  abnormal_intranet_.RemoveAllDeparment();
  abnormal_external_.RemoveAllDeparment();
}

int CLocalIPTypeTable::IsIPManagerPolicyOn() const {
  return permit_ip_select != 0 || permit_macip_bind != 0 ? 1 : 0;
}

int CLocalIPTypeTable::IsIPManagerPolicyChanged(
    const CLocalIPTypeTable& other) const {
  return log_ip_change != other.log_ip_change ||
                 permit_ip_select != other.permit_ip_select ||
                 permit_macip_bind != other.permit_macip_bind
             ? 1
             : 0;
}

template class ACE_Singleton<CLocalIPTypeTable, ACE_Null_Mutex>;
