#include <string.h>

#include "tools/capture/AddressNames_internal.h"

namespace quarn_tool {

namespace {

uint32_t PowerOfTwoAtLeast(uint32_t n) {
  uint32_t p = 1;
  while (p < n && p < (1u << 30)) p <<= 1;
  return p;
}

}  // namespace

AddressNames::AddressNames(uint32_t capacity)
    : capacity_(capacity == 0 ? 1 : capacity),
      buckets_(PowerOfTwoAtLeast(2 * capacity_), -1) {
  // Entries are made as names come, in room reserved now, so that a
  // capture with few names touches little memory.
  entries_.reserve(capacity_);
}

uint32_t AddressNames::Bucket(uint32_t ip) const {
  return (ip * 2654435761u) >> 7 & (buckets_.size() - 1);
}

int32_t AddressNames::Find(uint32_t ip) const {
  for (int32_t i = buckets_[Bucket(ip)]; i >= 0; i = entries_[i].next) {
    if (entries_[i].ip == ip) return i;
  }
  return -1;
}

void AddressNames::Unlink(int32_t index) {
  int32_t* link = &buckets_[Bucket(entries_[index].ip)];
  while (*link != index) link = &entries_[*link].next;
  *link = entries_[index].next;
  entries_[index].used = false;
  --size_;
}

void AddressNames::Put(uint32_t ip, std::string_view name) {
  if (name.empty() || name.size() > kMaxName) return;
  int32_t index = Find(ip);
  if (index < 0) {
    if (entries_.size() < capacity_) entries_.emplace_back();
    index = static_cast<int32_t>(next_);
    next_ = (next_ + 1) % capacity_;
    if (entries_[index].used) Unlink(index);
    Entry& e = entries_[index];
    e.ip = ip;
    e.used = true;
    int32_t& head = buckets_[Bucket(ip)];
    e.next = head;
    head = index;
    ++size_;
  }
  Entry& e = entries_[index];
  memcpy(e.name, name.data(), name.size());
  e.len = static_cast<uint16_t>(name.size());
}

std::string_view AddressNames::Get(uint32_t ip) const {
  const int32_t index = Find(ip);
  if (index < 0) return {};
  return std::string_view(entries_[index].name, entries_[index].len);
}

}  // namespace quarn_tool
