#include "filter/COneFltExpress.h"

namespace {

bool CoversAny(const IPADDR_FLT_EXPRESS& side) {
  return !side.ip_ranges.empty() || !side.internet_types.empty() ||
         !side.intranet_types.empty() || !side.device_ids.empty();
}

uint64_t KindBit(int kind) { return uint64_t(1) << kind; }

}  // namespace

bool COneFltExpress::IsEmpty() const {
  return !CoversAny(src) && !CoversAny(dst) && time.value == 0;
}

uint64_t COneFltExpress::GetEffectiveMask() const {
  uint64_t mask = 0;
  if (CoversAny(src)) mask |= KindBit(KIND_SRC_ADDR);
  if (CoversAny(dst)) mask |= KindBit(KIND_DST_ADDR);
  if (time.value != 0) mask |= KindBit(KIND_TIME);
  return mask;
}

uint64_t COneFltExpress::GetNegativeMask() const {
  uint64_t mask = 0;
  if (!src.positive) mask |= KindBit(KIND_SRC_ADDR);
  if (!dst.positive) mask |= KindBit(KIND_DST_ADDR);
  if (!time.positive) mask |= KindBit(KIND_TIME);
  return mask;
}

void COneFltExpress::CopyFrom(const COneFltExpress& other) {
  if (&other == this) return;
  src = other.src;
  dst = other.dst;
}
