#include "filter/IExpressFilter.h"

int IExpressFilter::GetFilterNum() {
  return static_cast<int>(GetProtoFltExpress()->list.size());
}

int IExpressFilter::GetEffectiveMask(uint64_t* masks) {
  const std::vector<COneFltExpress*>& list = GetProtoFltExpress()->list;
  for (int i = 0; i < GetFilterNum(); ++i)
    masks[i] = list[i]->GetEffectiveMask();
  return 0;
}

int IExpressFilter::GetNegativeMask(uint64_t* masks) {
  const std::vector<COneFltExpress*>& list = GetProtoFltExpress()->list;
  for (int i = 0; i < GetFilterNum(); ++i)
    masks[i] = list[i]->GetNegativeMask();
  return 0;
}

int IExpressFilter::GetActionAttrib(CFilterActionContent** actions) {
  const std::vector<COneFltExpress*>& list = GetProtoFltExpress()->list;
  for (int i = 0; i < GetFilterNum(); ++i) {
    actions[i] = list[i]->GetActionContent();
  }
  return 0;
}

void IExpressFilter::TransExpressToCondition() {
  CProtoFltExpress* express = GetProtoFltExpress();
  CProtoFltCondition* cond = GetProtoFltCondition();
  // The count is read again before each filter: the derived hook may
  // change the list.
  for (int i = 0; i < GetFilterNum(); ++i) {
    COneFltExpress* one = express->list[i];
    const uint64_t index = static_cast<uint64_t>(i);
    cond->src.IPExpressToFltCondition(index, one->src);
    cond->dst.IPExpressToFltCondition(index, one->dst);
    TimeExpressToCondition(index, one->time, cond->time);
    TransOneExpressToCondition(i, one, cond);
  }
}
