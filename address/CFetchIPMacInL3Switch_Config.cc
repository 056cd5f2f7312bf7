#include "address/CFetchIPMacInL3Switch_Config.h"

#include <string.h>

const char* const CFetchIPMacInL3Switch_Config::kRootName =
    "fetch_ipmac_inl3switch";
// The physical-address column of MIB-II's address-translation table.
const char* const CFetchIPMacInL3Switch_Config::kDefaultOid =
    "1.3.6.1.2.1.3.1.1.2";
const char* const CFetchIPMacInL3Switch_Config::kDefaultCommunity = "kestra";

CFetchIPMacInL3Switch_Config::tagONE_ITEM::tagONE_ITEM()
    : ip(0),
      oid(kDefaultOid),
      community(kDefaultCommunity),
      port(kDefaultSnmpPort) {
  memset(mac, 0, sizeof(mac));
}

bool CFetchIPMacInL3Switch_Config::tagONE_ITEM::operator==(
    const tagONE_ITEM& other) const {
  return ip == other.ip && memcmp(mac, other.mac, 6) == 0 && oid == other.oid &&
         community == other.community && port == other.port;
}

CFetchIPMacInL3Switch_Config::CFetchIPMacInL3Switch_Config()
    : time_out(kDefaultTimeOut),
      schedule_time(kDefaultScheduleTime),
      enable(0) {}

CFetchIPMacInL3Switch_Config::CFetchIPMacInL3Switch_Config(
    const CFetchIPMacInL3Switch_Config& other) = default;

CFetchIPMacInL3Switch_Config& CFetchIPMacInL3Switch_Config::operator=(
    const CFetchIPMacInL3Switch_Config& other) = default;

CFetchIPMacInL3Switch_Config::~CFetchIPMacInL3Switch_Config() {}

void CFetchIPMacInL3Switch_Config::close() {
  time_out = kDefaultTimeOut;
  schedule_time = kDefaultScheduleTime;
  enable = 0;
  items.clear();
}

int CFetchIPMacInL3Switch_Config::LoadConfig(CTinyXmlEx& /*doc*/,
                                             TiXmlNode* node) {
  if (node == nullptr) return 1;
  CTinyXmlEx::GetAttr(node, "enable", enable);
  CTinyXmlEx::GetValueLikeIni(node, "time_out", &time_out);
  CTinyXmlEx::GetValueLikeIni(node, "schedule_time", &schedule_time);
  for (TiXmlNode* child = CTinyXmlEx::FirstChildElement(node, "one_item");
       child != nullptr;
       child = CTinyXmlEx::NextSiblingElement(child, "one_item")) {
    tagONE_ITEM item;
    LoadOneItem(child, &item);
    items.push_back(item);
  }
  return 1;
}

int CFetchIPMacInL3Switch_Config::SaveConfig(CTinyXmlEx& /*doc*/,
                                             TiXmlNode* node) const {
  if (node == nullptr) return 0;
  CTinyXmlEx::SetAttr(node, "enable", static_cast<int>(enable));
  CTinyXmlEx::SetValueLikeIni(node, "time_out", static_cast<int>(time_out));
  CTinyXmlEx::SetValueLikeIni(node, "schedule_time",
                              static_cast<int>(schedule_time));
  for (const tagONE_ITEM& item : items) {
    TiXmlNode* child = CTinyXmlEx::InsertEndChildElement(node, "one_item");
    if (child == nullptr) return 0;
    SaveOneItem(child, item);
  }
  return 1;
}

int CFetchIPMacInL3Switch_Config::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 0;
  // A whole document replaces what is held, so a reload does not repeat
  // the items.
  close();
  return LoadConfig(doc, root);
}

int CFetchIPMacInL3Switch_Config::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRootName);
  if (root == nullptr) return 0;
  return SaveConfig(doc, root);
}

void CFetchIPMacInL3Switch_Config::LoadOneItem(TiXmlNode* node,
                                               tagONE_ITEM* item) {
  CTinyXmlEx::GetValueLikeIni_HostOrderIP(node, "ip", &item->ip);
  CTinyXmlEx::GetValueLikeIni_Macaddr(node, "mac", item->mac);
  CTinyXmlEx::GetValueLikeIni(node, "oid", &item->oid);
  CTinyXmlEx::GetValueLikeIni(node, "community", &item->community);
  CTinyXmlEx::GetValueLikeIni(node, "port", &item->port);
}

void CFetchIPMacInL3Switch_Config::SaveOneItem(TiXmlNode* node,
                                               const tagONE_ITEM& item) {
  CTinyXmlEx::SetValueLikeIni_HostOrderIP(node, "ip", item.ip);
  CTinyXmlEx::SetValueLikeIni_Macaddr(node, "mac", item.mac);
  CTinyXmlEx::SetValueLikeIni(node, "oid", item.oid.c_str());
  CTinyXmlEx::SetValueLikeIni(node, "community", item.community.c_str());
  CTinyXmlEx::SetValueLikeIni(node, "port", static_cast<int>(item.port));
}

bool CFetchIPMacInL3Switch_Config::operator==(
    const CFetchIPMacInL3Switch_Config& other) const {
  return enable == other.enable && time_out == other.time_out &&
         schedule_time == other.schedule_time && items == other.items;
}
