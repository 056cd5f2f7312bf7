// A list of IPv4 ranges that count as private networks, searched in order.
//
// The default networks are the three private blocks reserved for internal
// use: 10.0.0.0/8, 172.16.0.0/12 and 192.168.0.0/16, in that order.
// Loopback (127/8) and link-local (169.254/16) addresses are left out: the
// list also stands in for the company's intranet ranges when none are
// configured, and those addresses never appear as hosts of a company
// network in traffic that the gateway sees.

#ifndef QUARN_BASE_CPRIVATENETLIST_H_
#define QUARN_BASE_CPRIVATENETLIST_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CPrivateNetList {
 public:
  // An empty list; AddDefaultPrivateNetRange() fills it.
  CPrivateNetList() {}

  // Appends the default networks that the list does not hold yet.
  void AddDefaultPrivateNetRange();
  // Replaces the list by exactly the default networks.
  void SetToDefaultPrivateNetRange();

  // Appends an inclusive range of host-order addresses; a range given high
  // to low is put in order.
  void Add(uint32_t begin, uint32_t end);
  void clear() { ranges_.clear(); }

  // 1 when some range holds the host-order address `ip`, else 0.
  int find_hostorder_ip(uint32_t ip) const;

  // The ranges in order (begin, end: host order, inclusive).
  const std::vector<IP_RANGE_PAIR>& ranges() const { return ranges_; }
  size_t size() const { return ranges_.size(); }
  bool empty() const { return ranges_.empty(); }

  bool operator==(const CPrivateNetList& other) const {
    return ranges_ == other.ranges_;
  }
  bool operator!=(const CPrivateNetList& other) const {
    return !(*this == other);
  }

 private:
  std::vector<IP_RANGE_PAIR> ranges_;
};

#endif  // QUARN_BASE_CPRIVATENETLIST_H_
