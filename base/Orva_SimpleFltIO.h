// A simple address-pair filter and its XML element.
//
// tagSIMPLE_IP_FILTER holds two lists of address ranges, a list of values
// and the flags that say how to read them; the code that evaluates a
// filter decides what a match means. Orva_SimpleFltIO reads and writes
// one filter as the attributes and children of one element (called "ip" by
// its callers):
//
//   <ip invert="0" dir_mode="1">
//     <first negate="0"><ip_range>10.0.0.0-10.0.0.255</ip_range></first>
//     <second negate="1"><ip_range>192.0.2.8</ip_range></second>
//     <values negate="0"><value>0</value></values>
//   </ip>
//
// Every field is written; on reading, an absent attribute or list leaves
// the field at 0 or empty, and list items that do not parse are skipped.

#ifndef QUARN_BASE_ORVA_SIMPLEFLTIO_H_
#define QUARN_BASE_ORVA_SIMPLEFLTIO_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <vector>

#include "quarn_common/base/CTinyXmlEx.h"

struct QUARN_EXPORT tagSIMPLE_IP_FILTER {
  uint32_t invert = 0;   // non-zero: the final outcome is inverted
  int32_t dir_mode = 0;  // 0 either way, 1 forward, -1 reverse
  std::vector<IP_RANGE_PAIR> first_ranges;  // host order, inclusive
  uint32_t first_negate = 0;
  std::vector<IP_RANGE_PAIR> second_ranges;
  uint32_t second_negate = 0;
  std::vector<uint32_t> values;
  uint32_t values_negate = 0;

  // True when the three lists are all empty.
  bool IsUnset() const {
    return first_ranges.empty() && second_ranges.empty() && values.empty();
  }
  // Back to the empty filter: lists emptied, flags and mode 0.
  void Clear() { *this = tagSIMPLE_IP_FILTER(); }

  bool operator==(const tagSIMPLE_IP_FILTER& other) const;
  bool operator!=(const tagSIMPLE_IP_FILTER& other) const {
    return !(*this == other);
  }
};

class QUARN_EXPORT Orva_SimpleFltIO {
 public:
  // Replaces `filter` with what `node` holds. Returns 1, or 0 when `node`
  // is null (the filter is then emptied).
  static int read_ip_flt(CTinyXmlEx& doc, TiXmlNode* node,
                         tagSIMPLE_IP_FILTER& filter);
  // Writes `filter` as attributes and children of `node`. Returns 1, or 0
  // when `node` is null.
  static int write_ip_flt(CTinyXmlEx& doc, TiXmlNode* node,
                          const tagSIMPLE_IP_FILTER& filter);
};

#endif  // QUARN_BASE_ORVA_SIMPLEFLTIO_H_
