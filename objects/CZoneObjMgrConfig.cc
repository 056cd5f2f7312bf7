#include "objects/CZoneObjMgrConfig.h"

#include <ace/OS_NS_sys_time.h>
#include <ace/Time_Value.h>

#include "objects/internal/ObjectText.h"

namespace {

const char kRoot[] = "zone_obj_mgr";
const int kVersion = 0;

typedef CZoneObjMgrConfig::tagONE_ZONE_OBJ Zone;

uint64_t Bit(int index) { return uint64_t{1} << (index & 63); }

uint64_t CardMask(const Zone& zone, const std::vector<std::string>& names,
                  const std::vector<int>& indexes) {
  uint64_t mask = 0;
  for (const std::string& card : zone.card_name) {
    for (size_t k = 0; k < names.size(); ++k) {
      if (!quarn_objects::EqualsAsciiNoCase(names[k], card.c_str())) continue;
      if (k < indexes.size() && indexes[k] != -1) mask |= Bit(indexes[k]);
      break;
    }
  }
  return mask;
}

uint64_t PortMask(const Zone& zone) {
  uint64_t mask = 0;
  for (int i : zone.lan_index) mask |= Bit(32 + i);
  for (int j : zone.wan_index) mask |= Bit(j);
  return mask;
}

}  // namespace

bool CZoneObjMgrConfig::tagONE_ZONE_OBJ::operator==(
    const tagONE_ZONE_OBJ& other) const {
  return zone_id == other.zone_id && name == other.name && desc == other.desc &&
         sel_grp == other.sel_grp && lan_index == other.lan_index &&
         wan_index == other.wan_index && card_name == other.card_name;
}

CZoneObjMgrConfig::CZoneObjMgrConfig() { close(); }

CZoneObjMgrConfig::CZoneObjMgrConfig(const CZoneObjMgrConfig& other)
    : CBaseXMLConfig(other), objs(other.objs) {}

CZoneObjMgrConfig& CZoneObjMgrConfig::operator=(
    const CZoneObjMgrConfig& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    objs = other.objs;
  }
  return *this;
}

CZoneObjMgrConfig::~CZoneObjMgrConfig() {}

void CZoneObjMgrConfig::close() { objs.clear(); }

CZoneObjMgrConfig::tagONE_ZONE_OBJ* CZoneObjMgrConfig::find_by_zone_id(
    int zone_id) {
  for (Zone& zone : objs) {
    if (zone.zone_id == zone_id) return &zone;
  }
  return nullptr;
}

const CZoneObjMgrConfig::tagONE_ZONE_OBJ* CZoneObjMgrConfig::find_by_zone_id(
    int zone_id) const {
  return const_cast<CZoneObjMgrConfig*>(this)->find_by_zone_id(zone_id);
}

CZoneObjMgrConfig::tagONE_ZONE_OBJ* CZoneObjMgrConfig::find_by_name(
    const char* name) {
  for (Zone& zone : objs) {
    if (quarn_objects::EqualsAsciiNoCase(zone.name, name)) return &zone;
  }
  return nullptr;
}

const CZoneObjMgrConfig::tagONE_ZONE_OBJ* CZoneObjMgrConfig::find_by_name(
    const char* name) const {
  return const_cast<CZoneObjMgrConfig*>(this)->find_by_name(name);
}

int CZoneObjMgrConfig::GetNewZoneId() const {
  // Counted in unsigned arithmetic so that the search wraps instead of
  // overflowing; every list is shorter than 2^32, so it ends.
  uint32_t id = static_cast<uint32_t>(ACE_OS::gettimeofday().sec());
  while (find_by_zone_id(static_cast<int>(id)) != nullptr) ++id;
  return static_cast<int>(id);
}

void CZoneObjMgrConfig::CalSelIndexGrp(int mode,
                                       const std::vector<std::string>& names,
                                       const std::vector<int>& indexes) {
  for (Zone& zone : objs) {
    if (mode == 0) {
      zone.sel_grp = CardMask(zone, names, indexes);
    } else if (mode >= 3 && mode <= 5) {
      zone.sel_grp = PortMask(zone);
    } else {
      zone.sel_grp = ms_null_sel_grp;
    }
  }
}

bool CZoneObjMgrConfig::IsFit(int zone_id, uint64_t mask) const {
  const Zone* zone = find_by_zone_id(zone_id);
  return zone != nullptr && (zone->sel_grp & mask) != 0;
}

int CZoneObjMgrConfig::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 1;
  int version = 0;
  CTinyXmlEx::GetAttr(root, "version", version);
  if (version != kVersion) return 1;
  for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(root, "one_mgr_obj");
       node != nullptr;
       node = CTinyXmlEx::NextSiblingElement(node, "one_mgr_obj")) {
    Zone zone;
    CTinyXmlEx::GetAttr(node, "zone_id", zone.zone_id);
    CTinyXmlEx::GetAttr(node, "name", zone.name);
    CTinyXmlEx::GetAttr(node, "desc", zone.desc);
    CTinyXmlEx::GetAttr(node, "lan_index", zone.lan_index, ',');
    CTinyXmlEx::GetAttr(node, "wan_index", zone.wan_index, ',');
    CTinyXmlEx::GetAttr(node, "card_name", zone.card_name, ',');
    objs.push_back(zone);
  }
  return 1;
}

int CZoneObjMgrConfig::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRoot);
  if (root == nullptr) return 0;
  CTinyXmlEx::SetAttr(root, "version", kVersion);
  for (const Zone& zone : objs) {
    TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(root, "one_mgr_obj");
    CTinyXmlEx::SetAttr(node, "zone_id", zone.zone_id);
    CTinyXmlEx::SetAttr(node, "name", zone.name);
    CTinyXmlEx::SetAttr(node, "desc", zone.desc);
    CTinyXmlEx::SetAttr(node, "lan_index", zone.lan_index, ',');
    CTinyXmlEx::SetAttr(node, "wan_index", zone.wan_index, ',');
    CTinyXmlEx::SetAttr(node, "card_name", zone.card_name, ',');
  }
  return 1;
}

template class ACE_Singleton<CZoneObjMgrConfig, ACE_Null_Mutex>;
