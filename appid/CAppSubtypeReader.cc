#include "appid/CAppSubtypeReader.h"

#include <string.h>

#include "base/OrvaPath.h"
#include "base/internal/BuiltinTexts.h"
#include "base/internal/NoThrow.h"

namespace {

using quarn_texts::kAppAll;
using quarn_texts::kAppDeletedUserDef;
using quarn_texts::kAppNotJudged;
using quarn_texts::kAppUndefined;

const size_t kNameCapacity = 32;
const size_t kDispCapacity = 64;

// Byte-wise equality with ASCII letters folded; other bytes (GBK) compare
// as they are, whatever the process locale.
bool EqualsFoldingAscii(const char* a, const char* b) {
  for (;; ++a, ++b) {
    unsigned char x = static_cast<unsigned char>(*a);
    unsigned char y = static_cast<unsigned char>(*b);
    if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x + 32);
    if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y + 32);
    if (x != y) return false;
    if (x == 0) return true;
  }
}

bool IsUserDefRange(uint32_t appid) {
  return appid >= 19000001u && appid <= 19009999u;
}

}  // namespace

// Out-of-line definitions, so the constants can be bound to references.
const unsigned int CAppSubtypeReader::APP_EXTERN_NOT_JUDGE;
const unsigned int CAppSubtypeReader::APP_EXTERN;
const unsigned int CAppSubtypeReader::APP_INTERN;
const unsigned int CAppSubtypeReader::APP_EX_USERD;
const unsigned int CAppSubtypeReader::APP_IN_USERD;
const unsigned int CAppSubtypeReader::ALL_APP_TYPE;
const unsigned int CAppSubtypeReader::APP_EX_WEB;
const unsigned int CAppSubtypeReader::APP_EX_MAIL;
const unsigned int CAppSubtypeReader::APP_EX_SMTP;
const unsigned int CAppSubtypeReader::APP_EX_POP3;
const unsigned int CAppSubtypeReader::APP_EX_IMAP;
const unsigned int CAppSubtypeReader::APP_EX_WEB_MAIL;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS_FTP;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS_HTTP;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS_MULTI_FTP;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS_MULTI_HTTP;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS_QQ_SHARE_FILE;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS_PSEUDO_HTTP;
const unsigned int CAppSubtypeReader::APP_EX_FILE_TRANS_PSEUDO_HTTPS;
const unsigned int CAppSubtypeReader::APP_EX_P2P;
const unsigned int CAppSubtypeReader::APP_EX_CRY_P2P;
const unsigned int CAppSubtypeReader::APP_EX_IM;
const unsigned int CAppSubtypeReader::APP_EX_IM_MSN;
const unsigned int CAppSubtypeReader::APP_EX_IM_QQ;
const unsigned int CAppSubtypeReader::APP_EX_IM_FETION;
const unsigned int CAppSubtypeReader::APP_EX_IM_YMSG;
const unsigned int CAppSubtypeReader::APP_EX_IM_QQ_TM;
const unsigned int CAppSubtypeReader::APP_EX_IM_MSN_FILE;
const unsigned int CAppSubtypeReader::APP_EX_IM_QQ_FILE;
const unsigned int CAppSubtypeReader::APP_EX_IM_FETION_FILE;
const unsigned int CAppSubtypeReader::APP_EX_IM_YMSG_FILE;
const unsigned int CAppSubtypeReader::APP_EX_GAME;
const unsigned int CAppSubtypeReader::APP_EX_STOCK;
const unsigned int CAppSubtypeReader::APP_EX_VOIP;
const unsigned int CAppSubtypeReader::APP_EX_NETVIDEO;
const unsigned int CAppSubtypeReader::APP_EX_WEB_VIDEO;
const unsigned int CAppSubtypeReader::APP_EX_WEB_AUDIO;
const unsigned int CAppSubtypeReader::APP_EX_VPN;
const unsigned int CAppSubtypeReader::APP_EX_VPN_PPTP;
const unsigned int CAppSubtypeReader::APP_EX_VPN_L2TP;
const unsigned int CAppSubtypeReader::APP_EX_VPN_GRE;
const unsigned int CAppSubtypeReader::APP_EX_VPN_IPSEC;
const unsigned int CAppSubtypeReader::APP_EX_UK_DATA;
const unsigned int CAppSubtypeReader::APP_EX_UK_DATA_TCP;
const unsigned int CAppSubtypeReader::APP_EX_UK_DATA_UDP;
const unsigned int CAppSubtypeReader::APP_EX_UK_SERVICE;
const unsigned int CAppSubtypeReader::APP_EX_UK_SERVICE_TCP;
const unsigned int CAppSubtypeReader::APP_EX_UK_SERVICE_UDP;
const unsigned int CAppSubtypeReader::APP_EX_UJ_DATA;
const unsigned int CAppSubtypeReader::APP_EX_UJ_DATA_TCP;
const unsigned int CAppSubtypeReader::APP_EX_UJ_DATA_UDP;
const unsigned int CAppSubtypeReader::APP_EX_UJ_SERVICE;
const unsigned int CAppSubtypeReader::APP_EX_UJ_SERVICE_TCP;
const unsigned int CAppSubtypeReader::APP_EX_UJ_SERVICE_UDP;
const unsigned int CAppSubtypeReader::APP_EX_NOT_IP_GRP;
const unsigned int CAppSubtypeReader::APP_EX_MAC_ARP;
const unsigned int CAppSubtypeReader::APP_EX_MAC_NETBIOS;
const unsigned int CAppSubtypeReader::APP_EX_MAC_BPDU;
const unsigned int CAppSubtypeReader::APP_EX_MAC_DNA;
const unsigned int CAppSubtypeReader::APP_EX_MAC_PPPOE;
const unsigned int CAppSubtypeReader::APP_EX_OTHER_NOT_IP;
const unsigned int CAppSubtypeReader::APP_EX_DB;
const unsigned int CAppSubtypeReader::APP_EX_DB_ORACLE;
const unsigned int CAppSubtypeReader::APP_EX_DB_SYBASE;
const unsigned int CAppSubtypeReader::APP_EX_DB_SQLSERVER;
const unsigned int CAppSubtypeReader::APP_EX_DB_MYSQL;
const unsigned int CAppSubtypeReader::APP_EX_DB_INFORMIX;
const unsigned int CAppSubtypeReader::APP_EX_DB_DB2;
const unsigned int CAppSubtypeReader::APP_EX_DB_POSTGRESQL;
const unsigned int CAppSubtypeReader::APP_EX_DB_ACCESS;
const unsigned int CAppSubtypeReader::APP_EX_NOT_TCPUDP_DATA;
const unsigned int CAppSubtypeReader::APP_EX_NOT_IP_OLD;
const unsigned int CAppSubtypeReader::APP_EX_IP_ERROR;
const unsigned int CAppSubtypeReader::APP_EX_ICMP;
const unsigned int CAppSubtypeReader::APP_EX_OTHER_TRANS;
const unsigned int CAppSubtypeReader::APP_EX_OTHER_COMMON_DATA;
const unsigned int CAppSubtypeReader::APP_EX_DNS;
const unsigned int CAppSubtypeReader::APP_EX_TELNET;
const unsigned int CAppSubtypeReader::APP_EX_HTTPS;
const unsigned int CAppSubtypeReader::APP_EX_REMOTE_CTRL;
const unsigned int CAppSubtypeReader::APP_EX_MOBILE_APP;
const unsigned int CAppSubtypeReader::APP_EX_MOBIEL_WECHAT;
const unsigned int CAppSubtypeReader::APP_EX_MOBIEL_QQ;
const unsigned int CAppSubtypeReader::APP_EX_MOBIEL_SINA_WEIBO;
const unsigned int CAppSubtypeReader::APP_EX_MOBIEL_MOMO;
const unsigned int CAppSubtypeReader::APP_EX_MOBIEL_TAOBAO;
const unsigned int CAppSubtypeReader::APP_EX_MOBIEL_YUJIAN;
const unsigned int CAppSubtypeReader::APP_EX_MOBIEL_ALIPAY;
const unsigned int CAppSubtypeReader::APP_EX_OVER_MALL;
const unsigned int CAppSubtypeReader::APP_IN_WEB;
const unsigned int CAppSubtypeReader::APP_IN_MAIL;
const unsigned int CAppSubtypeReader::APP_IN_SMTP;
const unsigned int CAppSubtypeReader::APP_IN_POP3;
const unsigned int CAppSubtypeReader::APP_IN_FTP;
const unsigned int CAppSubtypeReader::APP_IN_SMB;
const unsigned int CAppSubtypeReader::APP_IN_TELNET;
const unsigned int CAppSubtypeReader::APP_IN_RCTRL;
const unsigned int CAppSubtypeReader::APP_IN_DB;
const unsigned int CAppSubtypeReader::APP_IN_DB_ORACLE;
const unsigned int CAppSubtypeReader::APP_IN_DB_SYBASE;
const unsigned int CAppSubtypeReader::APP_IN_DB_SQLSERVER;
const unsigned int CAppSubtypeReader::APP_IN_DB_MYSQL;
const unsigned int CAppSubtypeReader::APP_IN_DB_INFORMIX;
const unsigned int CAppSubtypeReader::APP_IN_DB_DB2;
const unsigned int CAppSubtypeReader::APP_IN_DB_POSTGRESQL;
const unsigned int CAppSubtypeReader::APP_IN_DB_ACCESS;
const unsigned int CAppSubtypeReader::APP_IN_DHCP;
const unsigned int CAppSubtypeReader::APP_IN_DNS;
const unsigned int CAppSubtypeReader::APP_IN_VOIP;
const unsigned int CAppSubtypeReader::APP_IN_UK_DATA;
const unsigned int CAppSubtypeReader::APP_IN_UK_DATA_TCP;
const unsigned int CAppSubtypeReader::APP_IN_UK_DATA_UDP;
const unsigned int CAppSubtypeReader::APP_IN_UK_SERVICE;
const unsigned int CAppSubtypeReader::APP_IN_UK_SERVICE_TCP;
const unsigned int CAppSubtypeReader::APP_IN_UK_SERVICE_UDP;
const unsigned int CAppSubtypeReader::APP_IN_UJ_DATA;
const unsigned int CAppSubtypeReader::APP_IN_UJ_DATA_TCP;
const unsigned int CAppSubtypeReader::APP_IN_UJ_DATA_UDP;
const unsigned int CAppSubtypeReader::APP_IN_UJ_SERVICE;
const unsigned int CAppSubtypeReader::APP_IN_UJ_SERVICE_TCP;
const unsigned int CAppSubtypeReader::APP_IN_UJ_SERVICE_UDP;
CAppSubtypeReader::tagPROTO_TREE_ITEM* CAppSubtypeReader::ms_root_item =
    nullptr;
CAppSubtypeReader::AppIdIndex CAppSubtypeReader::ms_hash_finder;
__ST_DB_VERSION_TMP__ CAppSubtypeReader::ms_version;
ACE_Recursive_Thread_Mutex CAppSubtypeReader::m_tm;
std::vector<CAppSubtypeReader::tagPROTO_TREE_ITEM*>
    CAppSubtypeReader::ms_top_items;

int CAppSubtypeReader::ReadAppTypeTree() {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    CloseAppTypeTree();
    ms_hash_finder.Reset();
    std::string path = Orva::GetModuleOtherFileName("pat", "proto_tree.xml");
    CTinyXmlEx doc;
    if (doc.open_for_readonly(path.c_str()) != 0) return 0;
    TiXmlNode* root = doc.GetRootNode();
    if (root == nullptr) return 0;
    ReadVersionInfo(path.c_str(), ms_version);
    ReadTreeInfo(doc, root, nullptr);
    return 1;
  });
}

void CAppSubtypeReader::CloseAppTypeTree() {
  ms_hash_finder.Release();
  for (tagPROTO_TREE_ITEM* item : ms_top_items) DeleteSubtree(item);
  ms_top_items.clear();
  ms_root_item = nullptr;
}

void CAppSubtypeReader::UnindexSubtree(const tagPROTO_TREE_ITEM* item) {
  for (int32_t node = ms_hash_finder.Find(item->appid);
       node != AppIdIndex::kNone; node = ms_hash_finder.Find(item->appid)) {
    ms_hash_finder.Remove(node);
  }
  for (const tagPROTO_TREE_ITEM* child : item->children) UnindexSubtree(child);
}

void CAppSubtypeReader::DeleteSubtree(tagPROTO_TREE_ITEM* item) {
  for (tagPROTO_TREE_ITEM* child : item->children) DeleteSubtree(child);
  delete item;
}

bool CAppSubtypeReader::ReadVersionInfo(const char* path,
                                        __ST_DB_VERSION_TMP__& version) {
  return quarn_guard::Guarded<bool>(false, [&]() -> bool {
    CTinyXmlEx doc;
    if (doc.open_for_readonly(path) != 0) return false;
    TiXmlNode* info =
        CTinyXmlEx::FirstChildElement(doc.GetRootNode(), "version_info");
    if (info == nullptr) return false;
    CTinyXmlEx::GetAttr(info, "current", version.current);
    CTinyXmlEx::GetAttr(info, "time", version.time);
    return true;
  });
}

void CAppSubtypeReader::ReadTreeInfo(CTinyXmlEx& doc, TiXmlNode* node,
                                     tagPROTO_TREE_ITEM* parent) {
  for (TiXmlNode* element = CTinyXmlEx::FirstChildElement(node, nullptr);
       element != nullptr;
       element = CTinyXmlEx::NextSiblingElement(element, nullptr)) {
    const char* name = element->Value();
    if (strcmp(name, "version_info") == 0) continue;
    if (strlen(name) >= kNameCapacity) continue;
    std::string disp;
    if (!CTinyXmlEx::GetAttr(element, "disp", disp) ||
        disp.size() >= kDispCapacity) {
      continue;
    }
    unsigned int appid;
    if (!CTinyXmlEx::GetAttr(element, "appid", appid)) continue;
    int visible = 1;
    CTinyXmlEx::GetAttr(element, "visible", visible);
    tagPROTO_TREE_ITEM* item =
        InsertItem(name, disp.c_str(), appid, visible, parent);
    if (appid == APP_EXTERN) ms_root_item = item;
    // A rejected element's children are still read; with no parent they
    // become top-level items.
    ReadTreeInfo(doc, element, item);
  }
}

CAppSubtypeReader::tagPROTO_TREE_ITEM* CAppSubtypeReader::InsertItem(
    const char* name, const char* disp, uint32_t appid, int visible,
    tagPROTO_TREE_ITEM* parent) {
  if (Inner_FindItemByAppid(appid) != nullptr) return nullptr;
  if (FindItemByAppName(name) != nullptr) return nullptr;
  if (FindItemByAppDesc(disp) != nullptr) return nullptr;
  tagPROTO_TREE_ITEM* item = new tagPROTO_TREE_ITEM();
  item->appid = appid;
  item->visible = visible;
  snprintf(item->name, sizeof(item->name), "%s", name);
  snprintf(item->disp, sizeof(item->disp), "%s", disp);
  item->parent = parent;
  if (parent != nullptr) {
    parent->children.push_back(item);
  } else {
    ms_top_items.push_back(item);
  }
  // With the pool exhausted the item stays in the tree, reachable by name
  // and display name, but not by id.
  int32_t node = ms_hash_finder.IsReady() ? ms_hash_finder.Insert(appid)
                                          : AppIdIndex::kNone;
  if (node != AppIdIndex::kNone) ms_hash_finder.ValueAt(node) = item;
  return item;
}

const CAppSubtypeReader::tagPROTO_TREE_ITEM*
CAppSubtypeReader::Inner_FindItemByAppid(uint32_t appid) {
  int32_t node = ms_hash_finder.Find(appid);
  return node == AppIdIndex::kNone ? nullptr : ms_hash_finder.ValueAt(node);
}

const CAppSubtypeReader::tagPROTO_TREE_ITEM* CAppSubtypeReader::FindItemByAppid(
    uint32_t appid) {
  return Inner_FindItemByAppid(appid);
}

const CAppSubtypeReader::tagPROTO_TREE_ITEM* CAppSubtypeReader::FindInTwoLevels(
    const char* key, bool by_disp) {
  if (ms_root_item == nullptr || key == nullptr) return nullptr;
  for (const tagPROTO_TREE_ITEM* group : ms_root_item->children) {
    if (EqualsFoldingAscii(by_disp ? group->disp : group->name, key)) {
      return group;
    }
    for (const tagPROTO_TREE_ITEM* sub : group->children) {
      if (EqualsFoldingAscii(by_disp ? sub->disp : sub->name, key)) return sub;
    }
  }
  return nullptr;
}

const CAppSubtypeReader::tagPROTO_TREE_ITEM*
CAppSubtypeReader::FindItemByAppName(const char* name) {
  return FindInTwoLevels(name, false);
}

uint32_t CAppSubtypeReader::FindAppIdByAppName(const char* name) {
  const tagPROTO_TREE_ITEM* item = FindItemByAppName(name);
  return item == nullptr ? 0 : item->appid;
}

const CAppSubtypeReader::tagPROTO_TREE_ITEM*
CAppSubtypeReader::FindItemByAppDesc(const char* disp) {
  return FindInTwoLevels(disp, true);
}

const char* CAppSubtypeReader::FindDispNameByAppid(uint32_t appid) {
  const tagPROTO_TREE_ITEM* item = Inner_FindItemByAppid(appid);
  if (item != nullptr) return item->disp;
  if (appid == APP_EXTERN_NOT_JUDGE) return kAppNotJudged;
  if (IsUserDefRange(appid)) return kAppDeletedUserDef;
  return kAppUndefined;
}

std::string CAppSubtypeReader::ShowAppName(const std::vector<uint32_t>& ids,
                                           int flag) {
  if (ids.empty()) return flag != 0 ? kAppAll : "";
  std::string text;
  for (size_t i = 0; i < ids.size(); ++i) {
    if (i > 0) text += ',';
    text += FindDispNameByAppid(ids[i]);
  }
  return text;
}

int CAppSubtypeReader::IsAppGrpType(uint32_t appid) {
  return appid % 10000u == 0 ? 1 : 0;
}

int CAppSubtypeReader::HasChildAppType(uint32_t appid) {
  return (appid % 10000u == 0 && appid != APP_EX_WEB && appid != APP_EX_VOIP)
             ? 1
             : 0;
}

int CAppSubtypeReader::IsExtAppSubType(uint32_t appid) {
  return GetExtGrpAppType(appid) != 0 ? 1 : 0;
}

int CAppSubtypeReader::IsExUkSubAppType(uint32_t appid) {
  return (appid == APP_EX_UK_DATA_TCP || appid == APP_EX_UK_DATA_UDP ||
          appid == APP_EX_UK_SERVICE_TCP || appid == APP_EX_UK_SERVICE_UDP)
             ? 1
             : 0;
}

int CAppSubtypeReader::IsExUkGrpAppType(uint32_t appid) {
  return (appid == APP_EX_UK_DATA || appid == APP_EX_UK_SERVICE) ? 1 : 0;
}

int CAppSubtypeReader::IsUserDefSubApp(uint32_t appid) {
  return IsUserDefRange(appid) ? 1 : 0;
}

uint32_t CAppSubtypeReader::GetExtGrpAppType(uint32_t appid) {
  const tagPROTO_TREE_ITEM* item = Inner_FindItemByAppid(appid);
  if (item == nullptr) return IsUserDefRange(appid) ? APP_EX_USERD : 0;
  if (item->parent == nullptr || item->parent->appid == APP_EXTERN) return 0;
  return item->parent->appid;
}

uint64_t CAppSubtypeReader::GetSubAppType(uint32_t group,
                                          std::vector<uint32_t>* list) {
  if (group % 10000u != 0) return 0;
  if (list != nullptr) list->clear();
  const tagPROTO_TREE_ITEM* item = Inner_FindItemByAppid(group);
  if (item == nullptr) return 0;
  if (list != nullptr) {
    for (const tagPROTO_TREE_ITEM* child : item->children) {
      list->push_back(child->appid);
    }
  }
  return item->children.size();
}

void CAppSubtypeReader::GetAllExtGrpAppType(std::vector<uint32_t>& list) {
  list.clear();
  const tagPROTO_TREE_ITEM* root = Inner_FindItemByAppid(APP_EXTERN);
  if (root == nullptr) return;
  for (const tagPROTO_TREE_ITEM* child : root->children) {
    list.push_back(child->appid);
  }
}

int CAppSubtypeReader::AddUserDefApp(const char* name, const char* disp,
                                     uint32_t appid, int visible) {
  if (name == nullptr || disp == nullptr) return 0;
  // Refused rather than shortened: a cut name could collide with another.
  if (strlen(name) >= kNameCapacity || strlen(disp) >= kDispCapacity) return 0;
  const tagPROTO_TREE_ITEM* group = Inner_FindItemByAppid(APP_EX_USERD);
  if (group == nullptr) return 0;
  return InsertItem(name, disp, appid, visible,
                    const_cast<tagPROTO_TREE_ITEM*>(group)) != nullptr
             ? 1
             : 0;
}

void CAppSubtypeReader::DeleteAllUserDefApp() {
  tagPROTO_TREE_ITEM* group =
      const_cast<tagPROTO_TREE_ITEM*>(Inner_FindItemByAppid(APP_EX_USERD));
  if (group == nullptr) return;
  for (tagPROTO_TREE_ITEM* child : group->children) {
    UnindexSubtree(child);
    DeleteSubtree(child);
  }
  group->children.clear();
}

void CAppSubtypeReader::Lock() { m_tm.acquire(); }

void CAppSubtypeReader::UnLock() { m_tm.release(); }
