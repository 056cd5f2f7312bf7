#include "address/CFetchMacPortInSwitch_Config.h"

const char* const CFetchMacPortInSwitch_Config::kRootName =
    "fetch_macport_inswitch";
// The bridge MIB's base port table.
const char* const CFetchMacPortInSwitch_Config::kDefaultOid =
    "1.3.6.1.2.1.17.1.4.1";
const char* const CFetchMacPortInSwitch_Config::kDefaultCommunity = "kestra";

CFetchMacPortInSwitch_Config::tagONE_ITEM::tagONE_ITEM()
    : ip(0),
      oid(kDefaultOid),
      community(kDefaultCommunity),
      port(kDefaultSnmpPort) {}

bool CFetchMacPortInSwitch_Config::tagONE_ITEM::operator==(
    const tagONE_ITEM& other) const {
  return ip == other.ip && oid == other.oid && community == other.community &&
         port == other.port;
}

CFetchMacPortInSwitch_Config::CFetchMacPortInSwitch_Config()
    : time_out(kDefaultTimeOut),
      schedule_time(kDefaultScheduleTime),
      enable(0) {}

CFetchMacPortInSwitch_Config::CFetchMacPortInSwitch_Config(
    const CFetchMacPortInSwitch_Config& other) = default;

CFetchMacPortInSwitch_Config& CFetchMacPortInSwitch_Config::operator=(
    const CFetchMacPortInSwitch_Config& other) = default;

CFetchMacPortInSwitch_Config::~CFetchMacPortInSwitch_Config() {}

void CFetchMacPortInSwitch_Config::close() {
  time_out = kDefaultTimeOut;
  schedule_time = kDefaultScheduleTime;
  enable = 0;
  items.clear();
}

int CFetchMacPortInSwitch_Config::LoadConfig(CTinyXmlEx& /*doc*/,
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

int CFetchMacPortInSwitch_Config::SaveConfig(CTinyXmlEx& /*doc*/,
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

int CFetchMacPortInSwitch_Config::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 0;
  // A whole document replaces what is held, so a reload does not repeat
  // the items.
  close();
  return LoadConfig(doc, root);
}

int CFetchMacPortInSwitch_Config::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRootName);
  if (root == nullptr) return 0;
  return SaveConfig(doc, root);
}

void CFetchMacPortInSwitch_Config::LoadOneItem(TiXmlNode* node,
                                               tagONE_ITEM* item) {
  CTinyXmlEx::GetValueLikeIni_HostOrderIP(node, "ip", &item->ip);
  CTinyXmlEx::GetValueLikeIni(node, "community", &item->community);
  CTinyXmlEx::GetValueLikeIni(node, "port", &item->port);
  CTinyXmlEx::GetValueLikeIni(node, "oid", &item->oid);
}

// Keys go out in the order ip, community, port, oid, which is the order
// this document has always had (it differs from the layer-3 class).
void CFetchMacPortInSwitch_Config::SaveOneItem(TiXmlNode* node,
                                               const tagONE_ITEM& item) {
  CTinyXmlEx::SetValueLikeIni_HostOrderIP(node, "ip", item.ip);
  CTinyXmlEx::SetValueLikeIni(node, "community", item.community.c_str());
  CTinyXmlEx::SetValueLikeIni(node, "port", static_cast<int>(item.port));
  CTinyXmlEx::SetValueLikeIni(node, "oid", item.oid.c_str());
}

bool CFetchMacPortInSwitch_Config::operator==(
    const CFetchMacPortInSwitch_Config& other) const {
  return enable == other.enable && time_out == other.time_out &&
         schedule_time == other.schedule_time && items == other.items;
}
