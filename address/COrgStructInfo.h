// A department of the company address plan, and the address tests on one.
//
// Department ids and address-class ids share one number space: 21 intranet
// hosts, 25 the placeholder for intranet hosts in no department, 27
// internal servers, 31 DMZ, 40 abnormal intranet address, 50 abnormal
// external address, 101 and up the administrator's departments.

#ifndef QUARN_ADDRESS_CORGSTRUCTINFO_H_
#define QUARN_ADDRESS_CORGSTRUCTINFO_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT COrgStructInfo {
 public:
  // Ids of the address classes and placeholders.
  static const unsigned int ORG_INTRANET = 21;
  static const unsigned int ORG_UNCLASSIFIED = 25;
  static const unsigned int ORG_SERVER = 27;
  static const unsigned int ORG_DMZ = 31;
  static const unsigned int ORG_ABNORMAL_INTRANET = 40;
  static const unsigned int ORG_ABNORMAL_EXTERNAL = 50;
  static const unsigned int ORG_FIRST_DEPARTMENT = 101;
  static const unsigned int ORG_NONE = 0xFFFFFFFFu;

  // How a department names its addresses.
  enum { DEP_TYPE_NONE = -1, DEP_TYPE_IPRANGE = 1, DEP_TYPE_IPSET = 2 };

  struct tagDEPARTMENT_ITEM {
    tagDEPARTMENT_ITEM();
    bool operator==(const tagDEPARTMENT_ITEM& other) const;
    bool operator!=(const tagDEPARTMENT_ITEM& other) const {
      return !(*this == other);
    }

    uint32_t id;
    int32_t net_area_id;  // the owning class's id; not stored in the file
    std::string name;
    std::string desc;
    std::string mgr;
    std::string tel;
    std::string mail;
    int32_t type;                       // DEP_TYPE_*
    int32_t status;                     // 0: disabled
    int32_t updatetime;                 // seconds since 1970
    std::vector<IP_RANGE_PAIR> ranges;  // used when type is DEP_TYPE_IPRANGE
    std::vector<uint32_t> ipset;        // used when type is DEP_TYPE_IPSET
    int32_t bIPSelected;
  };

  // True when `id` is one of the placeholders that stay last in a list.
  static bool IsPlaceholderId(uint32_t id) {
    return id == ORG_UNCLASSIFIED || id == ORG_SERVER;
  }
  // 1 when `ip` is one of the department's addresses: in one of its ranges
  // for an iprange department, equal to one of its addresses for an ipset
  // department; 0 for any other type.
  static int IsInThisDepartment(uint32_t ip, const tagDEPARTMENT_ITEM& item);
  // 1 when `ip` lies in one of `ranges` (inclusive bounds).
  static int IsInIPRange(uint32_t ip, const std::vector<IP_RANGE_PAIR>& ranges);
  // 1 when [begin, end] shares an address with the department: any range
  // overlaps it, or any ipset address lies in it. A department of no
  // known type always counts as overlapping.
  static int IsIntercross(uint32_t begin, uint32_t end,
                          const tagDEPARTMENT_ITEM& item);
};

#endif  // QUARN_ADDRESS_CORGSTRUCTINFO_H_
