// The time part of a filter record: a time value (0 means the filter has
// no time condition) and a flag that says whether the condition is
// positive. What the value means is up to the filters that match it.

#ifndef QUARN_OBJECTS_CTIMERANGE_H_
#define QUARN_OBJECTS_CTIMERANGE_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

class QUARN_EXPORT CTimeRange {
 public:
  CTimeRange() : value(0), positive(true) {}

  // True when there is no time condition.
  bool IsEmpty() const { return value == 0; }
  // Kept for filters that compare a range with a plain number: no number
  // ever equals a range, so the answer is always false.
  bool compare(int) const { return false; }

  uint32_t value;
  bool positive;
};

#endif  // QUARN_OBJECTS_CTIMERANGE_H_
