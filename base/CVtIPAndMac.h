// A set of host addresses: IPv4 ranges and MAC addresses.
//
// Text form (GetAddrDesc / GetFromString): items joined by ",", the ranges
// first, then the MACs, e.g.
//   "10.0.0.1-10.0.0.9,192.168.1.5,00-1A-2B-3C-4D-5E"
// A range of one address is that address; a MAC is six hex pairs joined by
// "-". When reading, ";" also separates items, blanks around items are
// ignored, and MACs may use ":" or no separator.
//
// XML form (Read / Write), below the element handed in: one "iprange"
// child per range (its text a range as above) and one "mac" child per MAC.

#ifndef QUARN_BASE_CVTIPANDMAC_H_
#define QUARN_BASE_CVTIPANDMAC_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "quarn_common/base/CTinyXmlEx.h"

namespace Orva {

// True when the 6-byte MAC at `mac` is one of `macs`. List values are
// Orva::mac_to_uint64 values: the six bytes as the low 48 bits, first byte
// most significant. Build them with that function, not by copying the six
// bytes into a uint64_t, whose byte order differs. A null or all-zero MAC
// is never in a list: zero means "no MAC known".
QUARN_EXPORT bool IsMACIn(const void* mac, const std::vector<uint64_t>& macs);

}  // namespace Orva

class QUARN_EXPORT CVtIPAndMac {
 public:
  CVtIPAndMac() {}

  // Adds an inclusive host-order range (put in order when given high to
  // low), or one MAC.
  void AddIPRange(uint32_t begin, uint32_t end);
  void AddMac(const unsigned char* mac);
  // `mac` as Orva::mac_to_uint64 gives it; bits above 48 are dropped.
  void AddMac(uint64_t mac);
  void clear();
  bool empty() const { return ranges_.empty() && macs_.empty(); }

  // True when `ip` (host order) lies in one of the ranges.
  bool IsIn(uint32_t ip) const;
  // True when `ip` lies in one of the ranges or `mac` (6 bytes, may be
  // null) is one of the MACs: the set names hosts by either address.
  bool IsIn(uint32_t ip, const unsigned char* mac) const;
  bool IsMacIn(const unsigned char* mac) const;

  // The text form described above.
  std::string GetAddrDesc() const;
  // Replaces the set by the items of `text`. Items that do not parse are
  // skipped; returns true when every item parsed.
  bool GetFromString(const char* text);

  // Replaces the set by the children of `node`; bad children are skipped.
  // False only when `node` is null (the set is then left as it was).
  bool Read(CTinyXmlEx& doc, TiXmlNode* node);
  // Appends the children for the set to `node`. False when `node` is null.
  bool Write(CTinyXmlEx& doc, TiXmlNode* node) const;

  const std::vector<IP_RANGE_PAIR>& ranges() const { return ranges_; }
  const std::vector<uint64_t>& macs() const { return macs_; }

  bool operator==(const CVtIPAndMac& other) const {
    return ranges_ == other.ranges_ && macs_ == other.macs_;
  }
  bool operator!=(const CVtIPAndMac& other) const { return !(*this == other); }

 private:
  std::vector<IP_RANGE_PAIR> ranges_;
  std::vector<uint64_t> macs_;  // low 48 bits, first byte most significant
};

#endif  // QUARN_BASE_CVTIPANDMAC_H_
