// IFilter is what the evaluator (CFilterResult) sees of a policy: a number
// of filters (at most 64), per filter the condition kinds it tests and the
// kinds that must not hold, its action, and a matcher that says, for the
// data of one kind, which filters' conditions of that kind hold.
// Implementations are read-only during evaluation and may serve many
// CFilterResult objects at once.

#ifndef QUARN_FILTER_IFILTER_H_
#define QUARN_FILTER_IFILTER_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include "quarn_common/filter/CFilterActionContent.h"

class QUARN_EXPORT IFilter {
 public:
  IFilter() {}
  virtual ~IFilter() {}

  // Number of filters n, at most 64.
  virtual int GetFilterNum() = 0;
  // Writes n kind masks: the kinds filter i tests. 0 on success.
  virtual int GetEffectiveMask(uint64_t* masks) = 0;
  // Writes n kind masks: the kinds whose condition must not hold for
  // filter i. 0 on success.
  virtual int GetNegativeMask(uint64_t* masks) = 0;
  // Writes one kind mask: the kinds whose data arrives in pieces and that
  // are complete only when the caller says so. 0 on success.
  virtual int GetColConditionMask(uint64_t* mask) = 0;
  // Writes n action pointers, owned by the policy. 0 on success.
  virtual int GetActionAttrib(CFilterActionContent** actions) = 0;
  // Sets `*matched` (not cleared by the caller) to the mask of the filters
  // whose condition of kind `kind` holds for `data`, with no bit at or
  // above n. `states` is the evaluator's per-filter state, for matchers
  // that skip filters already settled.
  virtual void MatchCondition(uint64_t* matched, int kind, const void* data,
                              const uint64_t* states) = 0;
};

#endif  // QUARN_FILTER_IFILTER_H_
