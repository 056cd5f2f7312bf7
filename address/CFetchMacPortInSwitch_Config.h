// Polling of switches for their MAC-to-port table.
//
// Host processes learn which switch port each company host hangs on by
// reading the bridge MIB's port table of the switches over SNMP. This class
// holds the settings of that polling (a document of its own, root
// "fetch_macport_inswitch"). No locks; hosts serialise loads against
// readers.

#ifndef QUARN_ADDRESS_CFETCHMACPORTINSWITCH_CONFIG_H_
#define QUARN_ADDRESS_CFETCHMACPORTINSWITCH_CONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include "quarn_common/address/CSwitchPollingConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"

// One switch to poll by CFetchMacPortInSwitch_Config.
struct QUARN_EXPORT tagMACPORT_SWITCH_ITEM {
  tagMACPORT_SWITCH_ITEM();
  bool operator==(const tagMACPORT_SWITCH_ITEM& other) const;
  bool operator!=(const tagMACPORT_SWITCH_ITEM& other) const {
    return !(*this == other);
  }

  uint32_t ip;  // host order
  std::string oid;
  std::string community;
  int32_t port;
};

class QUARN_EXPORT CFetchMacPortInSwitch_Config
    : public CSwitchPollingConfig<CFetchMacPortInSwitch_Config,
                                  tagMACPORT_SWITCH_ITEM> {
 public:
  static const char* const kRootName;          // "fetch_macport_inswitch"
  static const char* const kDefaultOid;        // "1.3.6.1.2.1.17.1.4.1"
  static const char* const kDefaultCommunity;  // "kestra"
  static const int kDefaultTimeOut = 5;
  static const int kDefaultScheduleTime = 300;
  static const int kDefaultSnmpPort = 161;

  typedef tagMACPORT_SWITCH_ITEM tagONE_ITEM;

 private:
  friend class CSwitchPollingConfig<CFetchMacPortInSwitch_Config, tagONE_ITEM>;
  QUARN_HIDDEN static void LoadOneItem(TiXmlNode* node, tagONE_ITEM* item);
  QUARN_HIDDEN static void SaveOneItem(TiXmlNode* node,
                                       const tagONE_ITEM& item);
};

#endif  // QUARN_ADDRESS_CFETCHMACPORTINSWITCH_CONFIG_H_
