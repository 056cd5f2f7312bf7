// Settings of the gateway's ARP protection: how often it broadcasts, the
// address/MAC pairs it protects on each network card, and the IP-to-MAC
// bindings. The library only stores them; host processes act on them.
//
// Document: root "arp_protect" holding a child "arp_protect" with the
// settings. One process-wide instance, CARPProtectData_Singleton. No
// locks; hosts load before use and serialise reloads.

#ifndef QUARN_ADDRESS_CARPPROTECTDATA_H_
#define QUARN_ADDRESS_CARPPROTECTDATA_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CARPProtectData : public CBaseXMLConfig {
 public:
  static const char* const kRootName;  // "arp_protect"
  static const int kDefaultBroadcastFreq = 10;

  // A protected address/MAC pair on one network card.
  struct tagARP_ITEM {
    tagARP_ITEM();
    // Compares card name, address and MAC; `user` is the host's own.
    bool operator==(const tagARP_ITEM& other) const;

    std::string card_name;
    uint32_t ip;           // host order
    unsigned char mac[8];  // 6 bytes used, last 2 always 0
    int32_t user;          // -1 after loading; not stored in the file
  };

  // An IP-to-MAC binding.
  struct tagBIND_ITEM {
    tagBIND_ITEM();
    bool operator==(const tagBIND_ITEM& other) const;

    uint32_t ip;           // host order
    unsigned char mac[8];  // 6 bytes used, last 2 always 0
  };

  CARPProtectData();
  CARPProtectData(const CARPProtectData& other);
  CARPProtectData& operator=(const CARPProtectData& other);
  ~CARPProtectData() override;

  // broadcast_freq back to 10, both lists emptied.
  void close() override;
  // 1 when broadcast_freq and both lists (in order) are equal.
  int compare_config(const CARPProtectData& other) const;

  int32_t broadcast_freq;  // never negative after a load or a save
  std::vector<tagARP_ITEM> arp_list;
  std::vector<tagBIND_ITEM> bind_list;

 private:
  // 0 for a document without a root; 1 otherwise. A root without an
  // "arp_protect" child leaves the object unchanged.
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;
  // Reads or writes the inner "arp_protect" element.
  QUARN_HIDDEN int Inner_LoadFromFile(CTinyXmlEx& doc, TiXmlNode* node);
  QUARN_HIDDEN int Inner_SaveToFile(CTinyXmlEx& doc, TiXmlNode* node);
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CARPProtectData, ACE_Null_Mutex>;

// The process-wide ARP protection settings, created empty on first access.
class QUARN_EXPORT CARPProtectData_Singleton
    : public ACE_Singleton<CARPProtectData, ACE_Null_Mutex> {
 public:
  static CARPProtectData* instance() {
    return ACE_Singleton<CARPProtectData, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_ADDRESS_CARPPROTECTDATA_H_
