// A fixed-size chained hash index over a pool of nodes.
//
// Each node carries a value pointer, a next link, a back link (the previous
// node of its chain, or kPool + bucket when it heads its bucket, or -2 when
// free) and an in-use flag. Buckets hold the first node of their chain, or
// kPool + bucket when empty: any link of kPool or more ends a chain. New
// entries go to the head of their chain, so a chain lists the latest first.
// Free nodes form a singly linked list, 0, 1, 2 ... after Reset().
//
// `HashComp` supplies `static uint32_t Hash(const Key&)` and
// `static bool Equal(const Value* value, const Key& key)`. The index does
// not own the values. Not thread-safe.

#ifndef QUARN_APPID_CTHASHFINDEREX_H_
#define QUARN_APPID_CTHASHFINDEREX_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <vector>

template <typename Key, typename Value, typename HashComp, int32_t kPool,
          uint32_t kBuckets>
class CTHashFinderEx {
  static_assert((kBuckets & (kBuckets - 1)) == 0, "buckets: a power of two");

 public:
  static constexpr int32_t kNone = -1;
  static constexpr int32_t kFreeMark = -2;

  CTHashFinderEx() {}

  // Whether Reset() has allocated the arrays.
  bool IsReady() const { return !nodes_.empty(); }

  // Allocates the arrays (once) and puts them in the empty state.
  void Reset() {
    nodes_.assign(kPool, Node());
    values_.assign(kPool, nullptr);
    buckets_.resize(kBuckets);
    for (uint32_t b = 0; b < kBuckets; ++b) buckets_[b] = EndOf(b);
    for (int32_t n = 0; n < kPool; ++n) {
      nodes_[n].next = n + 1 < kPool ? n + 1 : kNone;
      nodes_[n].back = kFreeMark;
    }
    free_head_ = kPool > 0 ? 0 : kNone;
    free_count_ = kPool;
  }

  // Frees the arrays; every lookup fails until the next Reset().
  void Release() {
    std::vector<Node>().swap(nodes_);
    std::vector<Value*>().swap(values_);
    std::vector<int32_t>().swap(buckets_);
    free_head_ = kNone;
    free_count_ = 0;
  }

  // Takes a free node for `key`, links it at the head of its chain with a
  // null value, and returns its number; kNone when the pool is exhausted.
  int32_t Insert(const Key& key) {
    if (free_head_ == kNone) return kNone;
    int32_t n = free_head_;
    free_head_ = nodes_[n].next;
    --free_count_;
    uint32_t b = BucketOf(key);
    int32_t head = buckets_[b];
    nodes_[n].next = head;
    nodes_[n].back = EndOf(b);
    nodes_[n].in_use = true;
    if (head < kPool) nodes_[head].back = n;
    buckets_[b] = n;
    values_[n] = nullptr;
    return n;
  }

  // The first node in use whose value equals `key`, or kNone.
  int32_t Find(const Key& key) const {
    if (buckets_.empty()) return kNone;
    for (int32_t n = buckets_[BucketOf(key)]; n >= 0 && n < kPool;
         n = nodes_[n].next) {
      const Node& node = nodes_[n];
      if (node.in_use && values_[n] != nullptr &&
          HashComp::Equal(values_[n], key)) {
        return n;
      }
    }
    return kNone;
  }

  // Unlinks node `n` and returns it to the head of the free list.
  void Remove(int32_t n) {
    if (n < 0 || n >= kPool || !nodes_[n].in_use) return;
    Node& node = nodes_[n];
    if (node.back >= kPool) {
      buckets_[node.back - kPool] = node.next;
    } else {
      nodes_[node.back].next = node.next;
    }
    if (node.next >= 0 && node.next < kPool) nodes_[node.next].back = node.back;
    node.in_use = false;
    node.back = kFreeMark;
    node.next = free_head_;
    values_[n] = nullptr;
    free_head_ = n;
    ++free_count_;
  }

  Value*& ValueAt(int32_t n) { return values_[n]; }
  Value* ValueAt(int32_t n) const { return values_[n]; }
  int32_t free_count() const { return free_count_; }

  // Exposed for tests of the chain layout.
  int32_t BucketHead(uint32_t b) const { return buckets_[b]; }
  int32_t NextOf(int32_t n) const { return nodes_[n].next; }
  int32_t BackOf(int32_t n) const { return nodes_[n].back; }
  int32_t free_head() const { return free_head_; }

 private:
  struct Node {
    int32_t next = kNone;
    int32_t back = kFreeMark;
    bool in_use = false;
  };

  static int32_t EndOf(uint32_t bucket) {
    return kPool + static_cast<int32_t>(bucket);
  }
  static uint32_t BucketOf(const Key& key) {
    return HashComp::Hash(key) & (kBuckets - 1);
  }

  std::vector<Node> nodes_;
  std::vector<Value*> values_;
  std::vector<int32_t> buckets_;
  int32_t free_head_ = kNone;
  int32_t free_count_ = 0;
};

#endif  // QUARN_APPID_CTHASHFINDEREX_H_
