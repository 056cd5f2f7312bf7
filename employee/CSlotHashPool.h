// A fixed-capacity record array with hash indexes over its slots.
//
// The three employee stores keep their records here. Create() allocates
// `capacity` records once; nothing is allocated afterwards. A record lives
// in one slot, and every index of the pool holds a node for that slot, so
// a record has the same slot number in all indexes: slots are taken and
// freed by all indexes together.
//
// Each index has 65536 buckets chosen by key AND 0xFFFF; a bucket holds a
// chain of slots, newest first. Each node keeps its 32-bit key and each
// bucket the key of its first slot and the chain's length, so a walk
// (FindKey / NextKey) skips the other keys of the bucket without touching
// their records, and a key heading its chain is found without reading a
// node; a store whose real key is wider (a 64-bit id, a MAC, a name)
// compares the full key in the record of each slot found. Slots in
// use are also linked in insertion order (Head / NextInOrder), which every
// walk over all records follows, oldest first. Free slots form a list; the
// slot freed last is taken first.
//
// Not thread-safe: the stores guard their pools with their own mutexes.

#ifndef QUARN_EMPLOYEE_CSLOTHASHPOOL_H_
#define QUARN_EMPLOYEE_CSLOTHASHPOOL_H_

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <vector>

template <typename Record>
class CSlotHashPool {
 public:
  static const uint32_t kBucketCount = 65536;
  static const int kMaxIndexes = 4;

  CSlotHashPool() : capacity_(0), free_count_(0) { Reset(); }

  // Drops everything and allocates `capacity` default records and
  // `index_count` (1 to kMaxIndexes) empty indexes. False, with an empty
  // pool, when the arguments are out of range or memory runs out.
  bool Create(uint32_t capacity, int index_count);
  // Releases the records and indexes; the pool then has capacity 0.
  void Destroy();
  // Frees every slot; records keep their contents until taken again.
  void Clear();

  uint32_t capacity() const { return capacity_; }
  uint32_t used_count() const { return capacity_ - free_count_; }
  int index_count() const { return static_cast<int>(indexes_.size()); }
  bool created() const { return capacity_ != 0; }

  // Takes a free slot, enters it in index i under keys[i] for every index,
  // and appends it to the insertion order. The record is not reset. -1
  // when the pool is full.
  int Take(const uint32_t* keys);
  // Removes the slot from every index and the insertion order and frees
  // it. Ignores slots not in use.
  void Free(int slot);
  // Moves a slot in use to the chain of `key` in index `index` (first in
  // its new chain).
  void Rekey(int index, int slot, uint32_t key);

  // The newest slot in the chain of `key`'s bucket in `index`, or -1.
  int First(int index, uint32_t key) const {
    return indexes_[index].buckets[key & 0xFFFF].first;
  }
  // The number of slots in the chain of `key`'s bucket in `index`.
  int ChainLength(int index, uint32_t key) const {
    return indexes_[index].buckets[key & 0xFFFF].count;
  }
  // The slot after `slot` in its chain, or -1.
  int NextInChain(int index, int slot) const {
    return indexes_[index].nodes[slot].next;
  }
  // The key `slot` is entered under in `index`.
  uint32_t KeyOf(int index, int slot) const {
    return indexes_[index].nodes[slot].key;
  }
  // The newest slot entered under exactly `key` in `index`, or -1; then
  // the next older one after `slot`.
  int FindKey(int index, uint32_t key) const {
    const Index& in = indexes_[index];
    const Bucket& bucket = in.buckets[key & 0xFFFF];
    // The bucket knows its first key: a hit there reads no node.
    if (bucket.first < 0 || bucket.first_key == key) return bucket.first;
    return SkipTo(in, in.nodes[bucket.first].next, key);
  }
  int NextKey(int index, int slot) const {
    const Index& in = indexes_[index];
    return SkipTo(in, in.nodes[slot].next, in.nodes[slot].key);
  }
  // The oldest slot in use, or -1; then the next younger one.
  int Head() const { return order_head_; }
  int NextInOrder(int slot) const { return order_[slot].next; }

  bool InUse(int slot) const {
    return slot >= 0 && static_cast<uint32_t>(slot) < capacity_ &&
           in_use_[slot] != 0;
  }
  Record& at(int slot) { return records_[slot]; }
  const Record& at(int slot) const { return records_[slot]; }
  // The slot of a record of this pool, or -1 for any other pointer.
  int SlotOf(const Record* record) const;

 private:
  struct Link {
    int32_t next;
    // The previous slot; for the first node of a chain, the bucket it
    // heads, stored as -2 - bucket.
    int32_t prev;
  };
  struct Node {
    int32_t next;
    int32_t prev;  // as in Link
    uint32_t key;
  };
  struct Bucket {
    int32_t first;       // newest slot of the chain, -1 when empty
    uint32_t first_key;  // that slot's key
    int32_t count;       // slots in the chain
  };
  struct Index {
    std::vector<Bucket> buckets;
    std::vector<Node> nodes;
  };

  static int SkipTo(const Index& index, int slot, uint32_t key) {
    while (slot >= 0 && index.nodes[slot].key != key) {
      slot = index.nodes[slot].next;
    }
    return slot;
  }

  void Reset();
  void LinkIn(Index& index, int slot, uint32_t key);
  void Unlink(Index& index, int slot);

  uint32_t capacity_;
  uint32_t free_count_;
  std::vector<Record> records_;
  std::vector<uint8_t> in_use_;
  std::vector<Index> indexes_;
  std::vector<Link> order_;  // insertion order; `next` also chains free slots
  int32_t order_head_;
  int32_t order_tail_;
  int32_t free_head_;
};

template <typename Record>
bool CSlotHashPool<Record>::Create(uint32_t capacity, int index_count) {
  Destroy();
  if (capacity == 0 || capacity > 0x7FFFFFFFu || index_count < 1 ||
      index_count > kMaxIndexes) {
    return false;
  }
  try {
    records_.resize(capacity);
    in_use_.assign(capacity, 0);
    order_.resize(capacity);
    indexes_.resize(index_count);
    for (Index& index : indexes_) {
      index.buckets.assign(kBucketCount, Bucket{-1, 0, 0});
      index.nodes.assign(capacity, Node{-1, -1, 0});
    }
  } catch (...) {
    Destroy();
    return false;
  }
  capacity_ = capacity;
  Clear();
  return true;
}

template <typename Record>
void CSlotHashPool<Record>::Destroy() {
  std::vector<Record>().swap(records_);
  std::vector<uint8_t>().swap(in_use_);
  std::vector<Index>().swap(indexes_);
  std::vector<Link>().swap(order_);
  capacity_ = 0;
  Reset();
}

template <typename Record>
void CSlotHashPool<Record>::Reset() {
  free_count_ = 0;
  order_head_ = order_tail_ = free_head_ = -1;
}

template <typename Record>
void CSlotHashPool<Record>::Clear() {
  Reset();
  for (Index& index : indexes_) {
    std::fill(index.buckets.begin(), index.buckets.end(), Bucket{-1, 0, 0});
  }
  // Chain the free slots so that slot 0 is taken first.
  for (uint32_t i = capacity_; i-- > 0;) {
    in_use_[i] = 0;
    order_[i].next = free_head_;
    order_[i].prev = -1;
    free_head_ = static_cast<int32_t>(i);
  }
  free_count_ = capacity_;
}

template <typename Record>
int CSlotHashPool<Record>::Take(const uint32_t* keys) {
  if (free_head_ < 0) return -1;
  int slot = free_head_;
  free_head_ = order_[slot].next;
  --free_count_;
  in_use_[slot] = 1;
  for (size_t i = 0; i < indexes_.size(); ++i) {
    LinkIn(indexes_[i], slot, keys[i]);
  }
  order_[slot].next = -1;
  order_[slot].prev = order_tail_;
  if (order_tail_ >= 0) {
    order_[order_tail_].next = slot;
  } else {
    order_head_ = slot;
  }
  order_tail_ = slot;
  return slot;
}

template <typename Record>
void CSlotHashPool<Record>::Free(int slot) {
  if (!InUse(slot)) return;
  for (Index& index : indexes_) Unlink(index, slot);
  Link& link = order_[slot];
  if (link.prev >= 0) {
    order_[link.prev].next = link.next;
  } else {
    order_head_ = link.next;
  }
  if (link.next >= 0) {
    order_[link.next].prev = link.prev;
  } else {
    order_tail_ = link.prev;
  }
  in_use_[slot] = 0;
  link.prev = -1;
  link.next = free_head_;
  free_head_ = slot;
  ++free_count_;
}

template <typename Record>
void CSlotHashPool<Record>::Rekey(int index, int slot, uint32_t key) {
  if (!InUse(slot)) return;
  Unlink(indexes_[index], slot);
  LinkIn(indexes_[index], slot, key);
}

template <typename Record>
int CSlotHashPool<Record>::SlotOf(const Record* record) const {
  if (record == nullptr || records_.empty()) return -1;
  // Compare addresses as integers: the pointer may belong to another
  // object entirely.
  uintptr_t base = reinterpret_cast<uintptr_t>(records_.data());
  uintptr_t at = reinterpret_cast<uintptr_t>(record);
  if (at < base) return -1;
  uintptr_t offset = at - base;
  if (offset % sizeof(Record) != 0) return -1;
  uintptr_t slot = offset / sizeof(Record);
  return slot < capacity_ ? static_cast<int>(slot) : -1;
}

template <typename Record>
void CSlotHashPool<Record>::LinkIn(Index& index, int slot, uint32_t key) {
  uint32_t b = key & 0xFFFF;
  Bucket& bucket = index.buckets[b];
  Node& node = index.nodes[slot];
  node.key = key;
  node.next = bucket.first;
  node.prev = -2 - static_cast<int32_t>(b);
  if (bucket.first >= 0) index.nodes[bucket.first].prev = slot;
  bucket.first = slot;
  bucket.first_key = key;
  ++bucket.count;
}

template <typename Record>
void CSlotHashPool<Record>::Unlink(Index& index, int slot) {
  Node& node = index.nodes[slot];
  Bucket& bucket = index.buckets[node.key & 0xFFFF];
  if (node.prev >= 0) {
    index.nodes[node.prev].next = node.next;
  } else {
    bucket.first = node.next;
    if (node.next >= 0) bucket.first_key = index.nodes[node.next].key;
  }
  --bucket.count;
  if (node.next >= 0) index.nodes[node.next].prev = node.prev;
  node.next = node.prev = -1;
}

#endif  // QUARN_EMPLOYEE_CSLOTHASHPOOL_H_
