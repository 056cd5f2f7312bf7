// The folded form of one address side of a policy: for every distinct
// range, area type, company address type and device id, the mask of the
// filters that name it (bit i for filter i). Four tables for what the
// filters cover, four for what they take out again. Tables keep the order
// of first insertion; keys are unique by exact equality, so overlapping
// but unequal ranges get entries of their own.

#ifndef QUARN_FILTER_CIPADDRFLTCONDITION_H_
#define QUARN_FILTER_CIPADDRFLTCONDITION_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <vector>

#include "quarn_common/filter/CConfigFilterBase.h"

// A set of filters, one bit each.
struct FILTER_CONDITION_GROUP {
  FILTER_CONDITION_GROUP() : mask(0) {}
  explicit FILTER_CONDITION_GROUP(uint64_t m) : mask(m) {}

  uint64_t mask;
};

// One entry of a condition table: a key and the filters that name it.
template <typename Key>
struct FLT_KEY_MASK {
  Key key;
  uint64_t mask;
};

class QUARN_EXPORT CIPAddrFltCondition {
 public:
  typedef std::vector<FLT_KEY_MASK<IP_RANGE_PAIR> > RangeTable;
  typedef std::vector<FLT_KEY_MASK<uint64_t> > Uint64Table;
  typedef std::vector<FLT_KEY_MASK<uint32_t> > Uint32Table;

  // Every insert adds filter `index` (bit index mod 64) to the entry of
  // its key, appending the key when new, and returns 1. The range forms
  // taking two addresses store them low first; the pair forms store the
  // pair as given.
  int InsertIPRange(uint64_t index, const IP_RANGE_PAIR& range);
  int InsertIPRange(uint64_t index, uint32_t a, uint32_t b);
  int InsertInternetIPType(uint64_t index, const uint64_t& type);
  int InsertIntranetIPType(uint64_t index, const uint32_t& type);
  int InsertDeviceIdIPType(uint64_t index, const uint64_t& id);
  int InsertExceptIPRange(uint64_t index, const IP_RANGE_PAIR& range);
  int InsertExceptIPRange(uint64_t index, uint32_t a, uint32_t b);
  int InsertExceptInternetIPType(uint64_t index, const uint64_t& type);
  int InsertExceptIntranetIPType(uint64_t index, const uint32_t& type);
  int InsertExceptDeviceIdIPType(uint64_t index, const uint64_t& id);

  // Folds every list of `expr` into the matching table, covered lists
  // first. The positive flag is not used here; it reaches the evaluator
  // through the filter's negative mask.
  void IPExpressToFltCondition(uint64_t index, const IPADDR_FLT_EXPRESS& expr);

  // Address matching belongs to the derived filter's MatchCondition: this
  // base answers the empty group for every address. `hint` is unused.
  FILTER_CONDITION_GROUP Find(uint32_t ip, uint64_t hint) const;

  RangeTable ip_ranges;
  Uint64Table internet_types;
  Uint32Table intranet_types;
  Uint64Table device_ids;
  RangeTable except_ip_ranges;
  Uint64Table except_internet_types;
  Uint32Table except_intranet_types;
  Uint64Table except_device_ids;
};

#endif  // QUARN_FILTER_CIPADDRFLTCONDITION_H_
