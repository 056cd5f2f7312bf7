#include "appid/CUserDefAppConfig2.h"

#include "base/internal/NoThrow.h"

#include "appid/CAppSubtypeReader.h"
#include "appid/internal/CUserDefAppConfig.h"

namespace {

const char kAppid[] = "appid";
const char kTransType[] = "trans_type";

// Reads one "one_app" into `item`; false when the entry is refused.
bool ReadItem(TiXmlNode* node, UserDefAppItem2* item) {
  item->close();
  quarn_userdef::ReadRanges(node, &item->ips, &item->ports);
  if (item->IsEmpty()) return false;
  if (!CTinyXmlEx::GetAttr(node, kAppid, item->appid) ||
      CAppSubtypeReader::FindItemByAppid(item->appid) == nullptr) {
    return false;
  }
  item->trans_type = 0xFFFFFFFFu;
  int trans_type = 0;
  if (CTinyXmlEx::GetAttr(node, kTransType, trans_type)) {
    item->trans_type = static_cast<uint32_t>(trans_type);
  }
  return true;
}

}  // namespace

// ---- UserDefAppItem2 --------------------------------------------------------

UserDefAppItem2::UserDefAppItem2() : appid(0), trans_type(0xFFFFFFFFu) {}

bool UserDefAppItem2::operator==(const UserDefAppItem2& other) const {
  return appid == other.appid && trans_type == other.trans_type &&
         ports == other.ports && ips == other.ips;
}

int UserDefAppItem2::IsEmpty() const {
  return ips.empty() && ports.empty() ? 1 : 0;
}

void UserDefAppItem2::close() {
  appid = 0;
  trans_type = 1;
  ports.clear();
  ips.clear();
}

int UserDefAppItem2::Cmp(const tagIPv4_CONNECT_ADDR& addr, int transport,
                         DIR_CS& dir) const {
  if ((trans_type & static_cast<uint32_t>(transport)) == 0) return 0;
  return Cmp(addr, dir);
}

int UserDefAppItem2::Cmp(const tagIPv4_CONNECT_ADDR& addr, DIR_CS& dir) const {
  return Cmp_ServerIPAndServerPort(addr, dir);
}

int UserDefAppItem2::Cmp_ServerIPAndServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                               DIR_CS& dir) const {
  return quarn_userdef::ServerIPAndServerPort(ips, ports, addr, dir);
}

// ---- CUserDefAppConfig2 -----------------------------------------------------

bool CUserDefAppConfig2::operator==(const CUserDefAppConfig2& other) const {
  return items == other.items && name == other.name;
}

void CUserDefAppConfig2::close() { items.clear(); }

bool CUserDefAppConfig2::read(const char* path) {
  return quarn_guard::Guarded<bool>(false, [&]() -> bool {
    close();
    CTinyXmlEx doc;
    if (path == nullptr || doc.open_for_readonly(path) != 0) return false;
    name = quarn_userdef::BaseNameWithoutExtension(path);
    return ReadDocument(doc);
  });
}

bool CUserDefAppConfig2::LoadFromMem(const char* text, int length) {
  return quarn_guard::Guarded<bool>(false, [&]() -> bool {
    close();
    if (text == nullptr || length <= 0) return true;
    CTinyXmlEx doc;
    if (doc.open(text, length) != 0) return false;
    return ReadDocument(doc);
  });
}

bool CUserDefAppConfig2::ReadDocument(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  UserDefAppItem2 item;
  for (TiXmlNode* node =
           CTinyXmlEx::FirstChildElement(root, quarn_userdef::kItemElement);
       node != nullptr; node = CTinyXmlEx::NextSiblingElement(
                            node, quarn_userdef::kItemElement)) {
    if (ReadItem(node, &item)) items.push_back(item);
  }
  return true;
}

bool CUserDefAppConfig2::SaveToFile(const char* path) const {
  return quarn_guard::Guarded<bool>(false, [&]() -> bool {
    if (path == nullptr || *path == '\0') return false;
    CTinyXmlEx doc;
    if (doc.open_ex(path, CTinyXmlEx::OPEN_CREATE_NEW) != 0) return false;
    TiXmlNode* root = doc.InsertRootElement(quarn_userdef::kRootElement);
    if (root == nullptr) return false;
    for (const UserDefAppItem2& item : items) {
      TiXmlNode* node =
          CTinyXmlEx::InsertEndChildElement(root, quarn_userdef::kItemElement);
      if (!quarn_userdef::WriteRanges(node, item.ips, item.ports)) continue;
      CTinyXmlEx::SetAttr(node, kAppid, item.appid);
      CTinyXmlEx::SetAttr(node, kTransType, static_cast<int>(item.trans_type));
    }
    return doc.savefile() == 0;
  });
}

const UserDefAppItem2* CUserDefAppConfig2::find(
    const tagIPv4_CONNECT_ADDR& addr, int transport, DIR_CS& dir) const {
  for (const UserDefAppItem2& item : items) {
    if (item.Cmp(addr, transport, dir)) return &item;
  }
  return nullptr;
}

template class ACE_Singleton<CUserDefAppConfig2, ACE_Null_Mutex>;
