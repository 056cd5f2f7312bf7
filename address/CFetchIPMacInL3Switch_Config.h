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

#include <stdint.h>

#include <string>
#include <vector>

#include "base/CBaseXMLConfig.h"
#include "base/CTinyXmlEx.h"

class CFetchIPMacInL3Switch_Config : public CBaseXMLConfig {
 public:
  // Root element of the stand-alone document and name of the embedded one.
  static const char* const kRootName;          // "fetch_ipmac_inl3switch"
  static const char* const kDefaultOid;        // "1.3.6.1.2.1.3.1.1.2"
  static const char* const kDefaultCommunity;  // "kestra"
  static const int kDefaultTimeOut = 2;
  static const int kDefaultScheduleTime = 10;
  static const int kDefaultSnmpPort = 161;

  // One switch to poll.
  struct tagONE_ITEM {
    tagONE_ITEM();
    bool operator==(const tagONE_ITEM& other) const;
    bool operator!=(const tagONE_ITEM& other) const {
      return !(*this == other);
    }

    uint32_t ip;           // host order
    unsigned char mac[8];  // 6 bytes used, last 2 always 0
    std::string oid;
    std::string community;
    int32_t port;
  };

  CFetchIPMacInL3Switch_Config();
  CFetchIPMacInL3Switch_Config(const CFetchIPMacInL3Switch_Config& other);
  CFetchIPMacInL3Switch_Config& operator=(
      const CFetchIPMacInL3Switch_Config& other);
  ~CFetchIPMacInL3Switch_Config() override;

  // time_out, schedule_time and enable back to their defaults, no items.
  void close() override;

  // Reads the attribute "enable", the keys "time_out" and "schedule_time"
  // and the "one_item" children of `node`. Settings that are absent keep
  // their values and items are appended to those held: call close() first
  // for a fresh read. Returns 1.
  int LoadConfig(CTinyXmlEx& doc, TiXmlNode* node);
  // Writes every setting and item below `node`. Returns 1 (0 for a null
  // node).
  int SaveConfig(CTinyXmlEx& doc, TiXmlNode* node) const;

  bool operator==(const CFetchIPMacInL3Switch_Config& other) const;
  bool operator!=(const CFetchIPMacInL3Switch_Config& other) const {
    return !(*this == other);
  }

  int32_t time_out;
  int32_t schedule_time;
  int32_t enable;
  std::vector<tagONE_ITEM> items;

 private:
  // Replaces what is held by the document's root element; 0 without one.
  int LoadConfig(CTinyXmlEx& doc) override;
  int SaveConfig(CTinyXmlEx& doc) override;
  static void LoadOneItem(TiXmlNode* node, tagONE_ITEM* item);
  static void SaveOneItem(TiXmlNode* node, const tagONE_ITEM& item);
};

#endif  // QUARN_ADDRESS_CFETCHIPMACINL3SWITCH_CONFIG_H_
