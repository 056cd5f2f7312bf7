#include "appid/CUserDefAppConfig.h"

#include "appid/internal/CUserDefAppConfig.h"
#include "base/OrvaPath.h"
#include "base/internal/NoThrow.h"

using quarn_userdef::InList;

// ---- Shared with CUserDefAppConfig2
// ------------------------------------------

namespace quarn_userdef {

const char kRootElement[] = "user_def_app";
const char kItemElement[] = "one_app";

namespace {
const char kIpElement[] = "ip";
const char kIpRange[] = "ip_range";
const char kPortElement[] = "port";
const char kPortRange[] = "port_range";
}  // namespace

void ReadRanges(TiXmlNode* node, std::vector<IP_RANGE_PAIR>* ips,
                std::vector<UINT16_RANGE_PAIR>* ports) {
  TiXmlNode* ip = CTinyXmlEx::FirstChildElement(node, kIpElement);
  if (ip != nullptr) {
    CTinyXmlEx::GetValue_HostOrderIPRangeVector(ip, *ips, kIpRange);
  }
  TiXmlNode* port = CTinyXmlEx::FirstChildElement(node, kPortElement);
  if (port != nullptr) {
    CTinyXmlEx::GetValue_Uint16RangeVector(port, *ports, kPortRange);
  }
}

bool WriteRanges(TiXmlNode* node, const std::vector<IP_RANGE_PAIR>& ips,
                 const std::vector<UINT16_RANGE_PAIR>& ports) {
  TiXmlNode* ip = CTinyXmlEx::InsertEndChildElement(node, kIpElement);
  if (!CTinyXmlEx::SetValue_HostOrderIPRangeVector(ip, ips, kIpRange)) {
    return false;
  }
  TiXmlNode* port = CTinyXmlEx::InsertEndChildElement(node, kPortElement);
  return CTinyXmlEx::SetValue_Uint16RangeVector(port, ports, kPortRange);
}

int ServerIPAndServerPort(const std::vector<IP_RANGE_PAIR>& ips,
                          const std::vector<UINT16_RANGE_PAIR>& ports,
                          const tagIPv4_CONNECT_ADDR& addr, DIR_CS& dir) {
  const bool second_serves =
      InList(ports, addr.second_port) && InList(ips, addr.second_ip);
  switch (dir) {
    case DIR_CS_FIRST_CLIENT:
      return second_serves;
    case DIR_CS_FIRST_SERVER:
      return InList(ports, addr.first_port) && InList(ips, addr.first_ip);
    default:
      if (second_serves) {
        dir = DIR_CS_FIRST_CLIENT;
        return 1;
      }
      if (InList(ports, addr.first_port) && InList(ips, addr.first_ip)) {
        dir = DIR_CS_FIRST_SERVER;
        return 1;
      }
      return 0;
  }
}

std::string BaseNameWithoutExtension(const char* path) {
  std::string name = Orva::GetFileNameFromFullName(path);
  std::string::size_type dot = name.rfind('.');
  if (dot != std::string::npos) name.erase(dot);
  return name;
}

}  // namespace quarn_userdef

namespace {

const char kNextAppid[] = "next_appid";
const char kName[] = "name";
const char kAppid[] = "appid";
const char kTransType[] = "trans_type";
const char kCondType[] = "cond_type";
const char kJudgeType[] = "judge_type";
const char kDesc[] = "desc";

// Reads one "one_app" into `item`; false when the entry is refused.
bool ReadItem(TiXmlNode* node, UserDefAppItem* item) {
  item->close();
  quarn_userdef::ReadRanges(node, &item->ips, &item->ports);
  if (item->IsEmpty()) return false;
  int appid = 0, cond_type = 0;
  if (!CTinyXmlEx::GetAttr(node, kName, item->name) ||
      !CTinyXmlEx::GetAttr(node, kAppid, appid) ||
      !CTinyXmlEx::GetAttr(node, kCondType, cond_type)) {
    return false;
  }
  item->appid = static_cast<uint32_t>(appid);
  item->cond_type = static_cast<uint32_t>(cond_type);
  int value = 0;
  if (CTinyXmlEx::GetAttr(node, kTransType, value)) {
    item->trans_type = static_cast<uint32_t>(value);
  }
  if (CTinyXmlEx::GetAttr(node, kJudgeType, value)) {
    item->judge_type = static_cast<uint32_t>(value);
  }
  CTinyXmlEx::GetAttr(node, kDesc, item->desc);
  return true;
}

// Writes one item; stops at the first step that fails.
bool WriteItem(TiXmlNode* node, const UserDefAppItem& item) {
  return quarn_userdef::WriteRanges(node, item.ips, item.ports) &&
         CTinyXmlEx::SetAttr(node, kName, item.name) &&
         CTinyXmlEx::SetAttr(node, kAppid, static_cast<int>(item.appid)) &&
         CTinyXmlEx::SetAttr(node, kTransType,
                             static_cast<int>(item.trans_type)) &&
         CTinyXmlEx::SetAttr(node, kCondType,
                             static_cast<int>(item.cond_type)) &&
         CTinyXmlEx::SetAttr(node, kJudgeType,
                             static_cast<int>(item.judge_type)) &&
         CTinyXmlEx::SetAttr(node, kDesc, item.desc);
}

}  // namespace

// ---- UserDefAppItem ---------------------------------------------------------

UserDefAppItem::UserDefAppItem() { close(); }

bool UserDefAppItem::operator==(const UserDefAppItem& other) const {
  return cond_type == other.cond_type && judge_type == other.judge_type &&
         trans_type == other.trans_type && appid == other.appid &&
         name == other.name && desc == other.desc && ports == other.ports &&
         ips == other.ips;
}

void UserDefAppItem::close() {
  cond_type = COND_SERVER_PORT;
  judge_type = 0;
  trans_type = 0xFFFFFFFFu;
  appid = 0;
  name.clear();
  desc.clear();
  ports.clear();
  ips.clear();
}

int UserDefAppItem::IsEmpty() const {
  return ips.empty() && ports.empty() ? 1 : 0;
}

int UserDefAppItem::Cmp(const tagIPv4_CONNECT_ADDR& addr, int transport,
                        int judge, DIR_CS& dir) const {
  if (judge_type != static_cast<uint32_t>(judge)) return 0;
  return Cmp(addr, transport, dir);
}

int UserDefAppItem::Cmp(const tagIPv4_CONNECT_ADDR& addr, int transport,
                        DIR_CS& dir) const {
  if ((trans_type & static_cast<uint32_t>(transport)) == 0) return 0;
  return Cmp(addr, dir);
}

int UserDefAppItem::Cmp(const tagIPv4_CONNECT_ADDR& addr, DIR_CS& dir) const {
  switch (cond_type) {
    case COND_SERVER_PORT:
      return Cmp_ServerPort(addr, dir);
    case COND_CLIENT_PORT:
      return Cmp_ClientPort(addr, dir);
    case COND_SERVER_IP_SERVER_PORT:
      return Cmp_ServerIPAndServerPort(addr, dir);
    case COND_CLIENT_IP_SERVER_PORT:
      return Cmp_ClientIPAndServerPort(addr, dir);
    case COND_ANY_IP:
      return Cmp_IP(addr, dir);
    default:
      return 0;
  }
}

int UserDefAppItem::Cmp_ServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                   DIR_CS& dir) const {
  switch (dir) {
    case DIR_CS_FIRST_CLIENT:
      return InList(ports, addr.second_port);
    case DIR_CS_FIRST_SERVER:
      return InList(ports, addr.first_port);
    default:
      // An empty list holds the second port, so it settles on the second
      // endpoint as the server.
      if (InList(ports, addr.second_port)) {
        dir = DIR_CS_FIRST_CLIENT;
        return 1;
      }
      if (InList(ports, addr.first_port)) {
        dir = DIR_CS_FIRST_SERVER;
        return 1;
      }
      return 0;
  }
}

int UserDefAppItem::Cmp_ClientPort(const tagIPv4_CONNECT_ADDR& addr,
                                   DIR_CS& dir) const {
  switch (dir) {
    case DIR_CS_FIRST_CLIENT:
      return InList(ports, addr.first_port);
    case DIR_CS_FIRST_SERVER:
      return InList(ports, addr.second_port);
    default:
      // The second endpoint is tried as the client first.
      if (InList(ports, addr.second_port)) {
        dir = DIR_CS_FIRST_SERVER;
        return 1;
      }
      if (InList(ports, addr.first_port)) {
        dir = DIR_CS_FIRST_CLIENT;
        return 1;
      }
      return 0;
  }
}

int UserDefAppItem::Cmp_ServerIPAndServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                              DIR_CS& dir) const {
  return quarn_userdef::ServerIPAndServerPort(ips, ports, addr, dir);
}

int UserDefAppItem::Cmp_ClientIPAndServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                              DIR_CS& dir) const {
  switch (dir) {
    case DIR_CS_FIRST_CLIENT:
      return InList(ports, addr.second_port) && InList(ips, addr.first_ip);
    case DIR_CS_FIRST_SERVER:
      return InList(ports, addr.first_port) && InList(ips, addr.second_ip);
    default:
      if (InList(ports, addr.second_port) && InList(ips, addr.first_ip)) {
        dir = DIR_CS_FIRST_CLIENT;
        return 1;
      }
      if (InList(ports, addr.first_port) && InList(ips, addr.second_ip)) {
        dir = DIR_CS_FIRST_SERVER;
        return 1;
      }
      return 0;
  }
}

int UserDefAppItem::Cmp_IP(const tagIPv4_CONNECT_ADDR& addr,
                           DIR_CS& /*dir*/) const {
  return InList(ips, addr.second_ip) || InList(ips, addr.first_ip);
}

// ---- CUserDefAppConfig ------------------------------------------------------

CUserDefAppConfig::CUserDefAppConfig() : next_appid(1) {}

bool CUserDefAppConfig::operator==(const CUserDefAppConfig& other) const {
  return items == other.items && next_appid == other.next_appid &&
         name == other.name;
}

void CUserDefAppConfig::close() { items.clear(); }

bool CUserDefAppConfig::read(const char* path) {
  return quarn_guard::Guarded<bool>(false, [&]() -> bool {
    close();
    CTinyXmlEx doc;
    if (path == nullptr || doc.open_for_readonly(path) != 0) return false;
    name = quarn_userdef::BaseNameWithoutExtension(path);
    return ReadDocument(doc);
  });
}

bool CUserDefAppConfig::LoadFromMem(const char* text, int length) {
  return quarn_guard::Guarded<bool>(false, [&]() -> bool {
    close();
    if (text == nullptr || length <= 0) return true;
    CTinyXmlEx doc;
    if (doc.open(text, length) != 0) return false;
    return ReadDocument(doc);
  });
}

bool CUserDefAppConfig::ReadDocument(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  CTinyXmlEx::GetAttr(root, kNextAppid, next_appid);
  UserDefAppItem item;
  for (TiXmlNode* node =
           CTinyXmlEx::FirstChildElement(root, quarn_userdef::kItemElement);
       node != nullptr; node = CTinyXmlEx::NextSiblingElement(
                            node, quarn_userdef::kItemElement)) {
    if (!ReadItem(node, &item)) continue;
    items.push_back(item);
    // Ids compare as signed numbers, as next_appid is one.
    if (static_cast<int>(item.appid) >= next_appid) {
      next_appid = static_cast<int>(item.appid + 1u);
    }
  }
  return true;
}

bool CUserDefAppConfig::SaveToFile(const char* path) const {
  return quarn_guard::Guarded<bool>(false, [&]() -> bool {
    if (path == nullptr || *path == '\0') return false;
    CTinyXmlEx doc;
    if (doc.open_ex(path, CTinyXmlEx::OPEN_CREATE_NEW) != 0) return false;
    TiXmlNode* root = doc.InsertRootElement(quarn_userdef::kRootElement);
    if (root == nullptr) return false;
    CTinyXmlEx::SetAttr(root, kNextAppid, next_appid);
    for (const UserDefAppItem& item : items) {
      WriteItem(
          CTinyXmlEx::InsertEndChildElement(root, quarn_userdef::kItemElement),
          item);
    }
    return doc.savefile() == 0;
  });
}

const UserDefAppItem* CUserDefAppConfig::find(const tagIPv4_CONNECT_ADDR& addr,
                                              int transport, int judge,
                                              DIR_CS& dir) const {
  for (const UserDefAppItem& item : items) {
    if (item.Cmp(addr, transport, judge, dir)) return &item;
  }
  return nullptr;
}

void CUserDefAppConfig::ReCalAppid() {
  for (UserDefAppItem& item : items) {
    if (item.appid != 0) continue;
    item.appid = static_cast<uint32_t>(next_appid);
    next_appid = static_cast<int>(item.appid + 1u);
  }
}

template class ACE_Singleton<CUserDefAppConfig, ACE_Null_Mutex>;
