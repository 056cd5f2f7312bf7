// An IFilter over a filter list (CProtoFltExpress): the counts, masks and
// actions come from the list's COneFltExpress objects. The derived filter
// of a protocol module supplies the list, its folded condition, the
// column-kind mask, the matcher, and the folding of its own kinds.

#ifndef QUARN_FILTER_IEXPRESSFILTER_H_
#define QUARN_FILTER_IEXPRESSFILTER_H_

#include "quarn_common/base/Export.h"

#include "quarn_common/filter/CProtoFltCondition.h"
#include "quarn_common/filter/CProtoFltExpress.h"
#include "quarn_common/filter/IFilter.h"

class QUARN_EXPORT IExpressFilter : public IFilter {
 public:
  IExpressFilter() {}
  ~IExpressFilter() override {}

  // The size of the list.
  int GetFilterNum() override;
  // Per filter, COneFltExpress::GetEffectiveMask. Returns 0.
  int GetEffectiveMask(uint64_t* masks) override;
  // Per filter, COneFltExpress::GetNegativeMask. Returns 0.
  int GetNegativeMask(uint64_t* masks) override;
  // Per filter, COneFltExpress::GetActionContent. Returns 0.
  int GetActionAttrib(CFilterActionContent** actions) override;

  // The filter list and its folded form, owned by the derived filter.
  virtual CProtoFltExpress* GetProtoFltExpress() = 0;
  virtual CProtoFltCondition* GetProtoFltCondition() = 0;
  // Folds the derived filter's own kinds of filter `index` into `cond`.
  virtual void TransOneExpressToCondition(int index, COneFltExpress* express,
                                          CProtoFltCondition* cond) = 0;

  // Folds every filter of the list into the condition: both address
  // sides, the time range (also a zero one), then the derived kinds.
  // Nothing is cleared first, so a second call ORs the same bits again
  // and repeats the time ranges.
  void TransExpressToCondition();
};

#endif  // QUARN_FILTER_IEXPRESSFILTER_H_
