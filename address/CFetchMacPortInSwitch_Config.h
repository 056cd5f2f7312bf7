// Polling of switches for their MAC-to-port table.
//
// Host processes learn which switch port each company host hangs on by
// reading the bridge MIB's port table of the switches over SNMP. This class
// holds the settings of that polling (a document of its own, root
// "fetch_macport_inswitch"). No locks; hosts serialise loads against
// readers.

#ifndef QUARN_ADDRESS_CFETCHMACPORTINSWITCH_CONFIG_H_
#define QUARN_ADDRESS_CFETCHMACPORTINSWITCH_CONFIG_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "base/CBaseXMLConfig.h"
#include "base/CTinyXmlEx.h"

class CFetchMacPortInSwitch_Config : public CBaseXMLConfig {
 public:
  static const char* const kRootName;          // "fetch_macport_inswitch"
  static const char* const kDefaultOid;        // "1.3.6.1.2.1.17.1.4.1"
  static const char* const kDefaultCommunity;  // "kestra"
  static const int kDefaultTimeOut = 5;
  static const int kDefaultScheduleTime = 300;
  static const int kDefaultSnmpPort = 161;

  // One switch to poll.
  struct tagONE_ITEM {
    tagONE_ITEM();
    bool operator==(const tagONE_ITEM& other) const;
    bool operator!=(const tagONE_ITEM& other) const {
      return !(*this == other);
    }

    uint32_t ip;  // host order
    std::string oid;
    std::string community;
    int32_t port;
  };

  CFetchMacPortInSwitch_Config();
  CFetchMacPortInSwitch_Config(const CFetchMacPortInSwitch_Config& other);
  CFetchMacPortInSwitch_Config& operator=(
      const CFetchMacPortInSwitch_Config& other);
  ~CFetchMacPortInSwitch_Config() override;

  // time_out, schedule_time and enable back to their defaults, no items.
  void close() override;

  // Reads the attribute "enable", the keys "time_out" and "schedule_time"
  // and the "one_item" children of `node`; absent settings keep their
  // values and items are appended to those held. Returns 1.
  int LoadConfig(CTinyXmlEx& doc, TiXmlNode* node);
  // Writes every setting and item below `node`. Returns 1 (0 for a null
  // node).
  int SaveConfig(CTinyXmlEx& doc, TiXmlNode* node) const;

  bool operator==(const CFetchMacPortInSwitch_Config& other) const;
  bool operator!=(const CFetchMacPortInSwitch_Config& other) const {
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

#endif  // QUARN_ADDRESS_CFETCHMACPORTINSWITCH_CONFIG_H_
