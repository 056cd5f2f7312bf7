#include "address/CARPProtectData.h"

#include <string.h>

namespace {

bool IsZeroMac(const unsigned char* mac) {
  static const unsigned char kZero[6] = {0, 0, 0, 0, 0, 0};
  return memcmp(mac, kZero, 6) == 0;
}

}  // namespace

const char* const CARPProtectData::kRootName = "arp_protect";

CARPProtectData::tagARP_ITEM::tagARP_ITEM() : ip(0), user(-1) {
  memset(mac, 0, sizeof(mac));
}

bool CARPProtectData::tagARP_ITEM::operator==(const tagARP_ITEM& other) const {
  return card_name == other.card_name && ip == other.ip &&
         memcmp(mac, other.mac, 6) == 0;
}

CARPProtectData::tagBIND_ITEM::tagBIND_ITEM() : ip(0) {
  memset(mac, 0, sizeof(mac));
}

bool CARPProtectData::tagBIND_ITEM::operator==(
    const tagBIND_ITEM& other) const {
  return ip == other.ip && memcmp(mac, other.mac, 6) == 0;
}

CARPProtectData::CARPProtectData() : broadcast_freq(kDefaultBroadcastFreq) {}

CARPProtectData::CARPProtectData(const CARPProtectData& other) = default;

CARPProtectData& CARPProtectData::operator=(const CARPProtectData& other) =
    default;

CARPProtectData::~CARPProtectData() {}

void CARPProtectData::close() {
  broadcast_freq = kDefaultBroadcastFreq;
  arp_list.clear();
  bind_list.clear();
}

int CARPProtectData::compare_config(const CARPProtectData& other) const {
  return broadcast_freq == other.broadcast_freq && arp_list == other.arp_list &&
                 bind_list == other.bind_list
             ? 1
             : 0;
}

int CARPProtectData::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 0;
  TiXmlNode* node = CTinyXmlEx::FirstChildElement(root, kRootName);
  if (node == nullptr) return 1;
  return Inner_LoadFromFile(doc, node);
}

int CARPProtectData::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRootName);
  TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(root, kRootName);
  if (node == nullptr) return 0;
  return Inner_SaveToFile(doc, node);
}

int CARPProtectData::Inner_LoadFromFile(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
  close();
  CTinyXmlEx::GetValueLikeIni(node, "broadcast_freq", &broadcast_freq);
  if (broadcast_freq < 0) broadcast_freq = 0;
  for (TiXmlNode* child = CTinyXmlEx::FirstChildElement(node, "arp_list2");
       child != nullptr;
       child = CTinyXmlEx::NextSiblingElement(child, "arp_list2")) {
    tagARP_ITEM item;
    CTinyXmlEx::GetAttr(child, "card_name", item.card_name);
    CTinyXmlEx::GetAttr_HostOrderIP(child, "ip", item.ip);
    CTinyXmlEx::GetAttr_Macaddr(child, "mac", item.mac);
    // A pair without an address or a MAC protects nothing.
    if (item.ip != 0 && !IsZeroMac(item.mac)) arp_list.push_back(item);
  }
  for (TiXmlNode* child =
           CTinyXmlEx::FirstChildElement(node, "ip_mac_bind_item");
       child != nullptr;
       child = CTinyXmlEx::NextSiblingElement(child, "ip_mac_bind_item")) {
    tagBIND_ITEM item;
    CTinyXmlEx::GetAttr_HostOrderIP(child, "ip", item.ip);
    CTinyXmlEx::GetAttr_Macaddr(child, "mac", item.mac);
    bind_list.push_back(item);
  }
  return 1;
}

int CARPProtectData::Inner_SaveToFile(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
  if (broadcast_freq < 0) broadcast_freq = 0;
  CTinyXmlEx::SetValueLikeIni(node, "broadcast_freq",
                              static_cast<int>(broadcast_freq));
  for (const tagARP_ITEM& item : arp_list) {
    TiXmlNode* child = CTinyXmlEx::InsertEndChildElement(node, "arp_list2");
    if (child == nullptr) return 0;
    CTinyXmlEx::SetAttr(child, "card_name", item.card_name);
    CTinyXmlEx::SetAttr_HostOrderIP(child, "ip", item.ip);
    CTinyXmlEx::SetAttr_Macaddr(child, "mac", item.mac);
  }
  for (const tagBIND_ITEM& item : bind_list) {
    TiXmlNode* child =
        CTinyXmlEx::InsertEndChildElement(node, "ip_mac_bind_item");
    if (child == nullptr) return 0;
    CTinyXmlEx::SetAttr_HostOrderIP(child, "ip", item.ip);
    CTinyXmlEx::SetAttr_Macaddr(child, "mac", item.mac);
  }
  return 1;
}

template class ACE_Singleton<CARPProtectData, ACE_Null_Mutex>;
