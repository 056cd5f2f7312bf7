// An ordered list of address/port sets, each with a pass verdict, that
// decides whether traffic of an address, a port and a 32-bit value (for
// instance an application id) passes.
//
// XML form (Load / Save), below the element handed in: one "addr_port_set"
// child per set, in order, with the attribute "pass" (1 = pass, 0 = do not
// pass) and the children
//   "iprange"   an inclusive address range, "a.b.c.d-e.f.g.h" or one address;
//   "portrange" an inclusive port range, "80" or "8000-8080";
//   "value"     one unsigned decimal value.
// A set without "iprange" children matches every address; likewise for
// ports and values.

#ifndef QUARN_BASE_CADDRANDPORTSETVECTOR_H_
#define QUARN_BASE_CADDRANDPORTSETVECTOR_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "quarn_common/base/CTinyXmlEx.h"

// One set. Empty lists match everything.
struct QUARN_EXPORT CAddrAndPortSet {
  std::vector<IP_RANGE_PAIR> ip_ranges;  // host order, inclusive
  std::vector<UINT16_RANGE_PAIR> port_ranges;
  std::vector<uint32_t> values;
  int pass = 1;  // verdict when the set matches: 1 pass, 0 do not pass

  // True when the set holds the address, the port and the value.
  bool Matches(uint32_t ip, uint16_t port, uint32_t value) const;

  bool operator==(const CAddrAndPortSet& other) const;
  bool operator!=(const CAddrAndPortSet& other) const {
    return !(*this == other);
  }
};

class QUARN_EXPORT CAddrAndPortSetVector {
 public:
  CAddrAndPortSetVector() {}

  // The verdict of the first set, in order, that matches: 1 when it passes,
  // 0 when it does not. -1 when no set matches (also for an empty list).
  int is_passed(uint32_t ip, uint16_t port, uint32_t value) const;

  void Add(const CAddrAndPortSet& set) { sets_.push_back(set); }
  void clear() { sets_.clear(); }
  bool empty() const { return sets_.empty(); }
  size_t size() const { return sets_.size(); }
  const std::vector<CAddrAndPortSet>& sets() const { return sets_; }

  // Replaces the list by the "addr_port_set" children of `node`. Items that
  // do not parse are skipped; a "pass" other than 0 counts as 1. False only
  // when `node` is null (the list is then left as it was).
  bool Load(CTinyXmlEx& doc, TiXmlNode* node);
  // Appends one "addr_port_set" child per set to `node`. False when `node`
  // is null.
  bool Save(CTinyXmlEx& doc, TiXmlNode* node) const;

  bool operator==(const CAddrAndPortSetVector& other) const {
    return sets_ == other.sets_;
  }
  bool operator!=(const CAddrAndPortSetVector& other) const {
    return !(*this == other);
  }

 private:
  std::vector<CAddrAndPortSet> sets_;
};

#endif  // QUARN_BASE_CADDRANDPORTSETVECTOR_H_
