// Zones: named groups of the gateway's network ports (LAN port indexes,
// WAN port indexes, network card names). At run time each zone becomes a
// 64-bit selection mask of port bits (CalSelIndexGrp), against which a
// packet's port is tested (IsFit).
//
// Mask layout: WAN port j, or card index j in card-name mode, is bit j;
// LAN port i is bit 32 + i. Shift counts are taken modulo 64.
//
// The document is "zone_obj_mgr" (version 0). Loading adds zones to what
// the manager holds, so a reload is preceded by close(). Not thread-safe:
// CalSelIndexGrp writes every mask and must not overlap IsFit.

#ifndef QUARN_OBJECTS_CZONEOBJMGRCONFIG_H_
#define QUARN_OBJECTS_CZONEOBJMGRCONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CZoneObjMgrConfig : public CBaseXMLConfig {
 public:
  static constexpr uint64_t ms_all_sel_grp = 0xFFFFFFFFFFFFFFFFull;
  static constexpr uint64_t ms_null_sel_grp = 0;

  // One zone.
  struct tagONE_ZONE_OBJ {
    int32_t zone_id = 0;
    std::string name;  // GBK
    std::string desc;
    uint64_t sel_grp = 0;  // computed by CalSelIndexGrp, never stored
    std::vector<int32_t> lan_index;
    std::vector<int32_t> wan_index;
    std::vector<std::string> card_name;

    bool operator==(const tagONE_ZONE_OBJ& other) const;
    bool operator!=(const tagONE_ZONE_OBJ& other) const {
      return !(*this == other);
    }
  };

  CZoneObjMgrConfig();
  CZoneObjMgrConfig(const CZoneObjMgrConfig& other);
  CZoneObjMgrConfig& operator=(const CZoneObjMgrConfig& other);
  ~CZoneObjMgrConfig() override;

  // Empties the list.
  void close() override;

  // Same zones in the same order, all fields (masks included) equal.
  bool operator==(const CZoneObjMgrConfig& other) const {
    return objs == other.objs;
  }
  bool operator!=(const CZoneObjMgrConfig& other) const {
    return !(*this == other);
  }

  // The first zone with `zone_id`, or null. Valid until the next load,
  // close(), assignment or change of `objs`.
  tagONE_ZONE_OBJ* find_by_zone_id(int zone_id);
  const tagONE_ZONE_OBJ* find_by_zone_id(int zone_id) const;
  // The first zone named `name`, ASCII letter case folded, or null.
  tagONE_ZONE_OBJ* find_by_name(const char* name);
  const tagONE_ZONE_OBJ* find_by_name(const char* name) const;

  // An id no zone holds: the current time in seconds, counted up past the
  // ids in use.
  int GetNewZoneId() const;

  // Computes every zone's mask for the running port layout. Mode 0 maps
  // card names: a zone's card named like names[k] (ASCII letter case
  // folded) sets bit indexes[k], unless that is -1. Modes 3, 4 and 5 map
  // port indexes: bit 32 + i for LAN port i, bit j for WAN port j. Any
  // other mode leaves every mask 0.
  void CalSelIndexGrp(int mode, const std::vector<std::string>& names,
                      const std::vector<int>& indexes);
  // True when the zone exists and its mask shares a bit with `mask`.
  bool IsFit(int zone_id, uint64_t mask) const;

  static bool IsAboutLanZone(const uint64_t& mask, int i) {
    return (mask >> ((32 + i) & 63) & 1) != 0;
  }
  static bool IsAboutWanZone(const uint64_t& mask, int j) {
    return (mask >> (j & 63) & 1) != 0;
  }
  static bool IsAboutCardIndexZone(const uint64_t& mask, int j) {
    return IsAboutWanZone(mask, j);
  }

  std::vector<tagONE_ZONE_OBJ> objs;

 private:
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CZoneObjMgrConfig, ACE_Null_Mutex>;

class QUARN_EXPORT CZoneObjMgrConfig_Singleton
    : public ACE_Singleton<CZoneObjMgrConfig, ACE_Null_Mutex> {
 public:
  // The process-wide manager, created empty on first call; null when it
  // cannot be created.
  static CZoneObjMgrConfig* instance() {
    return ACE_Singleton<CZoneObjMgrConfig, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_OBJECTS_CZONEOBJMGRCONFIG_H_
