// One filter of a policy: a source address expression, a destination
// address expression and a time range, each positive or negative. The
// derived filter of a protocol module adds its own expressions and supplies
// the action content.
//
// Condition kinds defined here: KIND_SRC_ADDR (0), KIND_DST_ADDR (1) and
// KIND_TIME (2); derived filters use further kinds up to 63.

#ifndef QUARN_FILTER_CONEFLTEXPRESS_H_
#define QUARN_FILTER_CONEFLTEXPRESS_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include "quarn_common/filter/CConfigFilterBase.h"
#include "quarn_common/filter/CFilterActionContent.h"
#include "quarn_common/objects/CTimeRange.h"

class QUARN_EXPORT COneFltExpress {
 public:
  static constexpr int KIND_SRC_ADDR = 0;
  static constexpr int KIND_DST_ADDR = 1;
  static constexpr int KIND_TIME = 2;

  // Both address sides empty and positive; no time condition.
  COneFltExpress() {}
  virtual ~COneFltExpress() {}
  COneFltExpress(const COneFltExpress&) = default;
  COneFltExpress& operator=(const COneFltExpress&) = default;

  // What the filter does when it passes. Owned by the derived filter;
  // must stay valid as long as the filter does.
  virtual CFilterActionContent* GetActionContent() = 0;
  // True when neither side covers any address (except lists aside) and
  // there is no time condition.
  virtual bool IsEmpty() const;
  // The kinds this filter tests: bit 0 when src covers something, bit 1
  // when dst does, bit 2 when the time value is non-zero.
  virtual uint64_t GetEffectiveMask() const;
  // The kinds that must not hold: bit 0 for a negative src, bit 1 for a
  // negative dst, bit 2 for a negative time range, whether or not they are
  // tested (the evaluator intersects with the effective mask).
  virtual uint64_t GetNegativeMask() const;

  // Copies both address sides; the time range stays as it was.
  void CopyFrom(const COneFltExpress& other);

  IPADDR_FLT_EXPRESS src;
  IPADDR_FLT_EXPRESS dst;
  CTimeRange time;
};

#endif  // QUARN_FILTER_CONEFLTEXPRESS_H_
