#include "base/CPrivateNetList.h"

#include <algorithm>

namespace {

const IP_RANGE_PAIR kDefaultPrivateNets[] = {
    {0x0A000000u, 0x0AFFFFFFu},  // 10.0.0.0/8
    {0xAC100000u, 0xAC1FFFFFu},  // 172.16.0.0/12
    {0xC0A80000u, 0xC0A8FFFFu},  // 192.168.0.0/16
};

}  // namespace

void CPrivateNetList::AddDefaultPrivateNetRange() {
  for (const IP_RANGE_PAIR& net : kDefaultPrivateNets) {
    if (std::find(ranges_.begin(), ranges_.end(), net) == ranges_.end()) {
      ranges_.push_back(net);
    }
  }
}

void CPrivateNetList::SetToDefaultPrivateNetRange() {
  ranges_.clear();
  AddDefaultPrivateNetRange();
}

void CPrivateNetList::Add(uint32_t begin, uint32_t end) {
  if (begin > end) std::swap(begin, end);
  ranges_.push_back(IP_RANGE_PAIR(begin, end));
}

int CPrivateNetList::find_hostorder_ip(uint32_t ip) const {
  for (const IP_RANGE_PAIR& range : ranges_) {
    if (range.first <= ip && ip <= range.second) return 1;
  }
  return 0;
}
