// Polling of layer-3 switches for their IP-to-MAC table.
//
// When the gateway sits behind a layer-3 device it cannot see the MAC
// addresses of company hosts, so host processes read them from the
// switches' address-translation table over SNMP. This class only holds the
// settings of that polling: the switches to ask, how long to wait and how
// often to ask. It is a document of its own (root
// "fetch_ipmac_inl3switch") and is also embedded in the network
// environment settings (CNetEnvSetData). No locks; hosts serialise loads
// against readers.

#ifndef QUARN_ADDRESS_CFETCHIPMACINL3SWITCH_CONFIG_H_
#define QUARN_ADDRESS_CFETCHIPMACINL3SWITCH_CONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include "quarn_common/address/CSwitchPollingConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"

// One switch to poll by CFetchIPMacInL3Switch_Config.
struct QUARN_EXPORT tagL3SWITCH_ITEM {
  tagL3SWITCH_ITEM();
  bool operator==(const tagL3SWITCH_ITEM& other) const;
  bool operator!=(const tagL3SWITCH_ITEM& other) const {
    return !(*this == other);
  }

  uint32_t ip;           // host order
  unsigned char mac[8];  // 6 bytes used, last 2 always 0
  std::string oid;
  std::string community;
  int32_t port;
};

class QUARN_EXPORT CFetchIPMacInL3Switch_Config
    : public CSwitchPollingConfig<CFetchIPMacInL3Switch_Config,
                                  tagL3SWITCH_ITEM> {
 public:
  // Root element of the stand-alone document and name of the embedded one.
  static const char* const kRootName;          // "fetch_ipmac_inl3switch"
  static const char* const kDefaultOid;        // "1.3.6.1.2.1.3.1.1.2"
  static const char* const kDefaultCommunity;  // "kestra"
  static const int kDefaultTimeOut = 2;
  static const int kDefaultScheduleTime = 10;
  static const int kDefaultSnmpPort = 161;

  typedef tagL3SWITCH_ITEM tagONE_ITEM;

 private:
  friend class CSwitchPollingConfig<CFetchIPMacInL3Switch_Config, tagONE_ITEM>;
  QUARN_HIDDEN static void LoadOneItem(TiXmlNode* node, tagONE_ITEM* item);
  QUARN_HIDDEN static void SaveOneItem(TiXmlNode* node,
                                       const tagONE_ITEM& item);
};

#endif  // QUARN_ADDRESS_CFETCHIPMACINL3SWITCH_CONFIG_H_
