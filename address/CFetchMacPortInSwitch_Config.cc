#include "address/CFetchMacPortInSwitch_Config.h"

const char* const CFetchMacPortInSwitch_Config::kRootName =
    "fetch_macport_inswitch";
// The bridge MIB's base port table.
const char* const CFetchMacPortInSwitch_Config::kDefaultOid =
    "1.3.6.1.2.1.17.1.4.1";
const char* const CFetchMacPortInSwitch_Config::kDefaultCommunity = "kestra";

tagMACPORT_SWITCH_ITEM::tagMACPORT_SWITCH_ITEM()
    : ip(0),
      oid(CFetchMacPortInSwitch_Config::kDefaultOid),
      community(CFetchMacPortInSwitch_Config::kDefaultCommunity),
      port(CFetchMacPortInSwitch_Config::kDefaultSnmpPort) {}

bool tagMACPORT_SWITCH_ITEM::operator==(
    const tagMACPORT_SWITCH_ITEM& other) const {
  return ip == other.ip && oid == other.oid && community == other.community &&
         port == other.port;
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
