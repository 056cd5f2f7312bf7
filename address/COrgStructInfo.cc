#include "address/COrgStructInfo.h"

COrgStructInfo::tagDEPARTMENT_ITEM::tagDEPARTMENT_ITEM()
    : id(0),
      net_area_id(0),
      type(DEP_TYPE_NONE),
      status(1),
      updatetime(0),
      bIPSelected(0) {}

bool COrgStructInfo::tagDEPARTMENT_ITEM::operator==(
    const tagDEPARTMENT_ITEM& other) const {
  return id == other.id && net_area_id == other.net_area_id &&
         name == other.name && desc == other.desc && mgr == other.mgr &&
         tel == other.tel && mail == other.mail && type == other.type &&
         status == other.status && updatetime == other.updatetime &&
         ranges == other.ranges && ipset == other.ipset &&
         bIPSelected == other.bIPSelected;
}

int COrgStructInfo::IsInIPRange(uint32_t ip,
                                const std::vector<IP_RANGE_PAIR>& ranges) {
  for (const IP_RANGE_PAIR& range : ranges) {
    if (range.first <= ip && ip <= range.second) return 1;
  }
  return 0;
}

int COrgStructInfo::IsInThisDepartment(uint32_t ip,
                                       const tagDEPARTMENT_ITEM& item) {
  switch (item.type) {
    case DEP_TYPE_IPRANGE:
      return IsInIPRange(ip, item.ranges);
    case DEP_TYPE_IPSET:
      for (uint32_t one : item.ipset) {
        if (one == ip) return 1;
      }
      return 0;
    default:
      return 0;
  }
}

int COrgStructInfo::IsIntercross(uint32_t begin, uint32_t end,
                                 const tagDEPARTMENT_ITEM& item) {
  switch (item.type) {
    case DEP_TYPE_IPRANGE:
      for (const IP_RANGE_PAIR& range : item.ranges) {
        // Two inclusive ranges overlap when an end of one lies in the other.
        if ((begin <= range.first && range.first <= end) ||
            (begin <= range.second && range.second <= end) ||
            (range.first <= begin && begin <= range.second) ||
            (range.first <= end && end <= range.second)) {
          return 1;
        }
      }
      return 0;
    case DEP_TYPE_IPSET:
      for (uint32_t one : item.ipset) {
        if (begin <= one && one <= end) return 1;
      }
      return 0;
    default:
      // A department of unknown shape cannot be shown to be apart.
      return 1;
  }
}
