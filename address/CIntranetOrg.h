// One address class of the company address plan (intranet hosts, internal
// servers, DMZ, or one of the two abnormal classes): its address ranges
// and, for the intranet class, its departments.
//
// Departments are owned by the class and kept in display order, with the
// placeholders 25 and 27 always last. Pointers handed out stay valid until
// the department is deleted, the class is closed, assigned or destroyed.
// No locks.

#ifndef QUARN_ADDRESS_CINTRANETORG_H_
#define QUARN_ADDRESS_CINTRANETORG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "quarn_common/address/COrgStructInfo.h"
#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CIntranetOrg {
 public:
  typedef COrgStructInfo::tagDEPARTMENT_ITEM tagDEPARTMENT_ITEM;
  typedef std::vector<std::unique_ptr<tagDEPARTMENT_ITEM>> DepartmentList;

  // A class with id and net area id `net_area_id`, no name, no ranges.
  explicit CIntranetOrg(int net_area_id);
  // Copies are deep: every department is copied.
  CIntranetOrg(const CIntranetOrg& other);
  CIntranetOrg& operator=(const CIntranetOrg& other);
  ~CIntranetOrg();

  // Compares id, name, ranges and the departments pairwise in order.
  bool operator==(const CIntranetOrg& other) const;
  bool operator!=(const CIntranetOrg& other) const { return !(*this == other); }

  // Deletes every department and clears the ranges; id and name stay.
  void close();

  uint32_t GetId() const { return id_; }
  int GetNetAreaId() const { return net_area_id_; }
  const std::string& GetName() const { return name_; }
  void SetName(const std::string& name) { name_ = name; }
  std::vector<IP_RANGE_PAIR>& ranges() { return ranges_; }
  const std::vector<IP_RANGE_PAIR>& ranges() const { return ranges_; }
  const DepartmentList& departments() const { return departments_; }

  // 1 when `ip` is in one of the class's ranges.
  int IsIPIn(uint32_t ip) const;
  // 1 when `begin` and `end` each lie in some class range.
  int IsIPRangeIn(uint32_t begin, uint32_t end) const;

  // The first department, in list order, holding `ip`. With none: the
  // placeholder 25 when `ip` is 0, or when `ip` is in the class's ranges
  // and this is the intranet class (21); else null.
  const tagDEPARTMENT_ITEM* FindDepartmentByIP(uint32_t ip) const;
  // The found department's id, or 0xFFFFFFFF.
  unsigned int GetDepartmentIdByIP(uint32_t ip) const;
  // The first department whose name equals `name` byte for byte, or null.
  const tagDEPARTMENT_ITEM* FindDepartmentByName(const char* name) const;
  // Its id, or 0xFFFFFFFF.
  unsigned int GetDepartmentIdByName(const char* name) const;
  // The first department with id `id`, or null.
  const tagDEPARTMENT_ITEM* FindDepartmentById(uint32_t id) const;
  tagDEPARTMENT_ITEM* FindDepartmentById(uint32_t id);
  // The department's name, or "未知部门" (unknown department).
  std::string GetDepartmentName(uint32_t id) const;

  // Adds a copy of `item` before the placeholders (ids 25 and 27), or at
  // the end when there are none. A disabled department (status 0) is not
  // added. Returns the stored copy, or null when nothing was added (also
  // when memory runs out).
  tagDEPARTMENT_ITEM* AddDepartment(const tagDEPARTMENT_ITEM& item);
  // Removes and frees the first department with id `id`. 1 when found.
  int DeleteDeparment(uint32_t id);
  // Removes and frees every department except the placeholders.
  void RemoveAllDeparment();

  // The id of the first department other than `exclude_id` that shares an
  // address with [begin, end]; 0 when none does.
  unsigned int IsAddrDiff(uint32_t begin, uint32_t end,
                          uint32_t exclude_id) const;
  // 1 when both ends of every range of `item` lie in class ranges (or the
  // item has no ranges); 0 otherwise.
  int IsDepartmentInNetArea(const tagDEPARTMENT_ITEM& item) const;
  // Checks new ranges for department `dep_id`: 0xFFFFFFFF when a range
  // lies outside the class, the id of another department it overlaps, or 0
  // when every range is valid.
  unsigned int IsNewAddrValid(const std::vector<IP_RANGE_PAIR>& ranges,
                              uint32_t dep_id) const;

  // Swaps `item` (found by address) with the department before it.
  // Returns 0 when `item` is not held or already first; else 1, with the
  // other department, still owned by the class, stored in `*swapped` when
  // `swapped` is not null.
  int MoveUp(const tagDEPARTMENT_ITEM* item,
             tagDEPARTMENT_ITEM** swapped = nullptr);
  // Swaps `item` with the department after it; 0 when `item` is not held,
  // last, or followed by a placeholder. `*swapped` as for MoveUp.
  int MoveDown(const tagDEPARTMENT_ITEM* item,
               tagDEPARTMENT_ITEM** swapped = nullptr);

 private:
  // Index of `item` in departments_, or -1.
  QUARN_HIDDEN int IndexOf(const tagDEPARTMENT_ITEM* item) const;

  uint32_t id_;
  std::string name_;
  std::vector<IP_RANGE_PAIR> ranges_;
  DepartmentList departments_;
  int32_t net_area_id_;
};

#endif  // QUARN_ADDRESS_CINTRANETORG_H_
