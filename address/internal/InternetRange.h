// The process-wide range table slots, for tests and tools that place a
// table of their own. Whoever sets a slot hands the table over: it is
// destroyed by the matching unload.

#ifndef QUARN_ADDRESS_INTERNAL_INTERNETRANGE_H_
#define QUARN_ADDRESS_INTERNAL_INTERNETRANGE_H_

#include "address/CInternetIPRangeTable.h"

namespace quarn_internet_range {

CInternetIPRangeTable*& Level1Slot();
CInternetIPRangeTable*& Level2Slot();
CInternetIPRangeTable*& CombinedSlot();

}  // namespace quarn_internet_range

#endif  // QUARN_ADDRESS_INTERNAL_INTERNETRANGE_H_
