// A policy folded for matching: per address side, the filters that name
// each address key; per filter, its time ranges. Built once by
// IExpressFilter::TransExpressToCondition, then read-only and shareable by
// the threads that match traffic.

#ifndef QUARN_FILTER_CPROTOFLTCONDITION_H_
#define QUARN_FILTER_CPROTOFLTCONDITION_H_

#include "quarn_common/base/Export.h"

#include "quarn_common/filter/CConfigFilterBase.h"
#include "quarn_common/filter/CIPAddrFltCondition.h"

class QUARN_EXPORT CProtoFltCondition {
 public:
  // Empty tables. Copies (also from a temporary) are deep and leave the
  // source as it was.
  CProtoFltCondition() {}
  CProtoFltCondition(const CProtoFltCondition&) = default;
  CProtoFltCondition& operator=(const CProtoFltCondition&) = default;

  CIPAddrFltCondition src;
  CIPAddrFltCondition dst;
  TIME_CONDITION time;
};

#endif  // QUARN_FILTER_CPROTOFLTCONDITION_H_
