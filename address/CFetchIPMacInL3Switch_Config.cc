#include "address/CFetchIPMacInL3Switch_Config.h"

#include <string.h>

const char* const CFetchIPMacInL3Switch_Config::kRootName =
    "fetch_ipmac_inl3switch";
// The physical-address column of MIB-II's address-translation table.
const char* const CFetchIPMacInL3Switch_Config::kDefaultOid =
    "1.3.6.1.2.1.3.1.1.2";
const char* const CFetchIPMacInL3Switch_Config::kDefaultCommunity = "kestra";

tagL3SWITCH_ITEM::tagL3SWITCH_ITEM()
    : ip(0),
      oid(CFetchIPMacInL3Switch_Config::kDefaultOid),
      community(CFetchIPMacInL3Switch_Config::kDefaultCommunity),
      port(CFetchIPMacInL3Switch_Config::kDefaultSnmpPort) {
  memset(mac, 0, sizeof(mac));
}

bool tagL3SWITCH_ITEM::operator==(const tagL3SWITCH_ITEM& other) const {
  return ip == other.ip && memcmp(mac, other.mac, 6) == 0 && oid == other.oid &&
         community == other.community && port == other.port;
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
