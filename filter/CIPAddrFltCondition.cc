#include "filter/CIPAddrFltCondition.h"

#include <algorithm>

namespace {

template <typename Key>
int Insert(std::vector<FLT_KEY_MASK<Key> >& table, uint64_t index,
           const Key& key) {
  const uint64_t bit = FilterBit(index);
  for (FLT_KEY_MASK<Key>& entry : table) {
    if (entry.key == key) {
      entry.mask |= bit;
      return 1;
    }
  }
  table.push_back(FLT_KEY_MASK<Key>{key, bit});
  return 1;
}

template <typename Key>
void InsertAll(std::vector<FLT_KEY_MASK<Key> >& table, uint64_t index,
               const std::vector<Key>& keys) {
  for (const Key& key : keys) Insert(table, index, key);
}

IP_RANGE_PAIR Ordered(uint32_t a, uint32_t b) {
  return IP_RANGE_PAIR(std::min(a, b), std::max(a, b));
}

}  // namespace

int CIPAddrFltCondition::InsertIPRange(uint64_t index,
                                       const IP_RANGE_PAIR& range) {
  return Insert(ip_ranges, index, range);
}

int CIPAddrFltCondition::InsertIPRange(uint64_t index, uint32_t a, uint32_t b) {
  return Insert(ip_ranges, index, Ordered(a, b));
}

int CIPAddrFltCondition::InsertInternetIPType(uint64_t index,
                                              const uint64_t& type) {
  return Insert(internet_types, index, type);
}

int CIPAddrFltCondition::InsertIntranetIPType(uint64_t index,
                                              const uint32_t& type) {
  return Insert(intranet_types, index, type);
}

int CIPAddrFltCondition::InsertDeviceIdIPType(uint64_t index,
                                              const uint64_t& id) {
  return Insert(device_ids, index, id);
}

int CIPAddrFltCondition::InsertExceptIPRange(uint64_t index,
                                             const IP_RANGE_PAIR& range) {
  return Insert(except_ip_ranges, index, range);
}

int CIPAddrFltCondition::InsertExceptIPRange(uint64_t index, uint32_t a,
                                             uint32_t b) {
  return Insert(except_ip_ranges, index, Ordered(a, b));
}

int CIPAddrFltCondition::InsertExceptInternetIPType(uint64_t index,
                                                    const uint64_t& type) {
  return Insert(except_internet_types, index, type);
}

int CIPAddrFltCondition::InsertExceptIntranetIPType(uint64_t index,
                                                    const uint32_t& type) {
  return Insert(except_intranet_types, index, type);
}

int CIPAddrFltCondition::InsertExceptDeviceIdIPType(uint64_t index,
                                                    const uint64_t& id) {
  return Insert(except_device_ids, index, id);
}

void CIPAddrFltCondition::IPExpressToFltCondition(
    uint64_t index, const IPADDR_FLT_EXPRESS& expr) {
  InsertAll(ip_ranges, index, expr.ip_ranges);
  InsertAll(internet_types, index, expr.internet_types);
  InsertAll(intranet_types, index, expr.intranet_types);
  InsertAll(device_ids, index, expr.device_ids);
  InsertAll(except_ip_ranges, index, expr.except_ip_ranges);
  InsertAll(except_internet_types, index, expr.except_internet_types);
  InsertAll(except_intranet_types, index, expr.except_intranet_types);
  InsertAll(except_device_ids, index, expr.except_device_ids);
}

FILTER_CONDITION_GROUP CIPAddrFltCondition::Find(uint32_t, uint64_t) const {
  return FILTER_CONDITION_GROUP();
}
