// A fixed-capacity record array with hash indexes over its slots.
//
// An implementation detail, not for hosts. It is installed only because
// the employee stores hold a pool by value, so their public headers need
// its layout.
//
// The three employee stores keep their records here. Create() allocates
// `capacity` records once; nothing is allocated afterwards. A record lives
// in one slot, and every index of the pool holds a node for that slot, so
// a record has the same slot number in all indexes: slots are taken and
// freed by all indexes together.
//
// Each index has 65536 buckets chosen by key AND 0xFFFF; a bucket holds a
// chain of slots, newest first. Keys are 64 bits wide, so a MAC (48 bits)
// or a 64-bit id is its own key and a key match is a match; each node
// keeps its key. A bucket also keeps its first two slots with bits 16 to
// 47 of their keys, so a key among the first two of its chain is found by
// reading the bucket alone, with no branch on which of the two it is; with
// 65536 buckets that is almost every key of a store of a few hundred
// thousand. Whether a chain holds more than two slots is a bit in a
// bitmap of its own (8 KiB), read only when the bucket cannot answer or to
// tell that a key is unique. An index that has held a key of more than 48
// bits compares keys in the nodes instead. A walk (FindKey / NextKey)
// skips the other keys of the bucket without touching their records; a
// store whose keys are not unique to a record (a hash of a name) compares
// in the record.
//
// Slots in use are also linked in insertion order (Head / NextInOrder),
// which every walk over all records follows, oldest first. Free slots form
// a list; the slot freed last is taken first.
//
// Not thread-safe: the stores guard their pools with their own mutexes.

#ifndef QUARN_EMPLOYEE_INTERNAL_CSLOTHASHPOOL_H_
#define QUARN_EMPLOYEE_INTERNAL_CSLOTHASHPOOL_H_

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <vector>

namespace quarn_slot_hash {

// Of a bucket's first two slots, the one whose key copy is `high` (the
// first when both are), or -1. Which one it is, is a coin toss a branch
// would often mispredict, and the choice lies on the path from the bucket
// to the record, so it is made without branches: with masks anywhere, with
// two conditional moves (a shorter path) on x86-64. Both give one answer.
inline int SelectByMasks(int32_t first, int32_t second, uint32_t first_high,
                         uint32_t second_high, uint32_t high) {
  const int32_t second_or_none =
      second | -static_cast<int32_t>(second_high != high);
  const int32_t is_first = -static_cast<int32_t>(first_high == high);
  return (first & is_first) | (second_or_none & ~is_first);
}

#if defined(__x86_64__)
inline int SelectByMoves(int32_t first, int32_t second, uint32_t first_high,
                         uint32_t second_high, uint32_t high) {
  // Compilers make branches of every plain form of this choice.
  int slot = -1;
  __asm__(
      "cmpl %[second_high], %[high]\n\t"
      "cmove %[second], %[slot]\n\t"
      "cmpl %[first_high], %[high]\n\t"
      "cmove %[first], %[slot]"
      : [slot] "+&r"(slot)
      : [high] "r"(high), [second_high] "rm"(second_high),
        [first_high] "rm"(first_high), [second] "r"(second), [first] "r"(first)
      : "cc");
  return slot;
}
#endif

inline int SelectSlot(int32_t first, int32_t second, uint32_t first_high,
                      uint32_t second_high, uint32_t high) {
#if defined(__x86_64__)
  return SelectByMoves(first, second, first_high, second_high, high);
#else
  return SelectByMasks(first, second, first_high, second_high, high);
#endif
}

}  // namespace quarn_slot_hash

template <typename Record>
class CSlotHashPool {
 public:
  static const uint32_t kBucketCount = 65536;
  static const int kMaxIndexes = 4;

  CSlotHashPool() : capacity_(0), free_count_(0), index_count_(0) { Reset(); }

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
  int index_count() const { return index_count_; }
  bool created() const { return capacity_ != 0; }

  // Takes a free slot, enters it in index i under keys[i] for every index,
  // and appends it to the insertion order. The record is not reset. -1
  // when the pool is full.
  int Take(const uint64_t* keys);
  // Removes the slot from every index and the insertion order and frees
  // it. Ignores slots not in use.
  void Free(int slot);
  // Moves a slot in use to the chain of `key` in index `index` (first in
  // its new chain).
  void Rekey(int index, int slot, uint64_t key);

  // The newest slot in the chain of `key`'s bucket in `index`, or -1.
  int First(int index, uint64_t key) const {
    return indexes_[index].buckets[key & 0xFFFF].first;
  }
  // The slot after `slot` in its chain, or -1.
  int NextInChain(int index, int slot) const {
    return indexes_[index].nodes[slot].next;
  }
  // The key `slot` is entered under in `index`.
  uint64_t KeyOf(int index, int slot) const {
    return indexes_[index].nodes[slot].key;
  }
  // True when `key` may be entered more than once in `index`: false means
  // FindKey's slot is the only one.
  bool MayRepeatKey(int index, uint64_t key) const {
    const Index& in = indexes_[index];
    const uint32_t b = key & 0xFFFF;
    const Bucket& bucket = in.buckets[b];
    return LongChain(in, b) |
           ((bucket.second >= 0) & (bucket.first_high == bucket.second_high));
  }
  // The newest slot entered under exactly `key` in `index`, or -1; then
  // the next older one after `slot`.
  int FindKey(int index, uint64_t key) const {
    const Index& in = indexes_[index];
    const Bucket& bucket = in.buckets[key & 0xFFFF];
    if (__builtin_expect(in.wide, 0)) return SkipTo(in, bucket.first, key);
    if ((key >> kExactKeyBits) != 0) return -1;
    // A stale copy beside an empty place selects -1, which is right: the
    // chain then has no further slots.
    const int slot = SelectSlot(bucket, static_cast<uint32_t>(key >> 16));
    if (slot >= 0 || !LongChain(in, key & 0xFFFF)) return slot;
    return SkipTo(in, in.nodes[bucket.second].next, key);
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
    uint64_t key;
  };
  // Keys below 1 << kExactKeyBits are told apart by a bucket's copies.
  static const int kExactKeyBits = 48;
  struct Bucket {
    int32_t first;         // newest slot of the chain, -1 when empty
    int32_t second;        // the slot after it, -1 when none
    uint32_t first_high;   // bits 16 to 47 of `first`'s key
    uint32_t second_high;  // bits 16 to 47 of `second`'s key
  };
  // Four buckets to a cache line, none across two.
  static_assert(sizeof(Bucket) == 16, "a bucket is 16 bytes");
  struct Index {
    std::vector<Bucket> buckets;
    // Bit b: the chain of bucket b holds more than two slots.
    std::vector<uint64_t> long_chains;
    std::vector<Node> nodes;
    // Set once a key of more than kExactKeyBits bits is entered: the
    // buckets' copies then no longer tell keys apart. Cleared by Clear().
    bool wide = false;
  };

  static constexpr Bucket kEmptyBucket = {-1, -1, 0, 0};

  static int SkipTo(const Index& index, int slot, uint64_t key) {
    while (slot >= 0 && index.nodes[slot].key != key) {
      slot = index.nodes[slot].next;
    }
    return slot;
  }

  static int SelectSlot(const Bucket& bucket, uint32_t high) {
    return quarn_slot_hash::SelectSlot(bucket.first, bucket.second,
                                       bucket.first_high, bucket.second_high,
                                       high);
  }
  static bool LongChain(const Index& index, uint32_t b) {
    return (index.long_chains[b >> 6] >> (b & 63)) & 1;
  }
  static void SetLongChain(Index& index, uint32_t b, bool on) {
    const uint64_t bit = uint64_t{1} << (b & 63);
    index.long_chains[b >> 6] =
        on ? index.long_chains[b >> 6] | bit : index.long_chains[b >> 6] & ~bit;
  }
  static void CacheFirstTwo(Index& index, uint32_t b);
  void Reset();
  void LinkIn(Index& index, int slot, uint64_t key);
  void Unlink(Index& index, int slot);

  uint32_t capacity_;
  uint32_t free_count_;
  std::vector<Record> records_;
  std::vector<uint8_t> in_use_;
  // In the pool itself rather than behind a vector: a lookup reaches its
  // buckets with one load fewer.
  Index indexes_[kMaxIndexes];
  int index_count_;
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
    index_count_ = index_count;
    for (int i = 0; i < index_count_; ++i) {
      Index& index = indexes_[i];
      index.buckets.assign(kBucketCount, kEmptyBucket);
      index.long_chains.assign(kBucketCount / 64, 0);
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
  for (Index& index : indexes_) {
    std::vector<Bucket>().swap(index.buckets);
    std::vector<uint64_t>().swap(index.long_chains);
    std::vector<Node>().swap(index.nodes);
  }
  index_count_ = 0;
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
  for (int i = 0; i < index_count_; ++i) {
    Index& index = indexes_[i];
    std::fill(index.buckets.begin(), index.buckets.end(), kEmptyBucket);
    std::fill(index.long_chains.begin(), index.long_chains.end(), 0);
    index.wide = false;
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
int CSlotHashPool<Record>::Take(const uint64_t* keys) {
  if (free_head_ < 0) return -1;
  int slot = free_head_;
  free_head_ = order_[slot].next;
  --free_count_;
  in_use_[slot] = 1;
  for (int i = 0; i < index_count_; ++i) {
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
  for (int i = 0; i < index_count_; ++i) Unlink(indexes_[i], slot);
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
void CSlotHashPool<Record>::Rekey(int index, int slot, uint64_t key) {
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
void CSlotHashPool<Record>::LinkIn(Index& index, int slot, uint64_t key) {
  const uint32_t b = static_cast<uint32_t>(key & 0xFFFF);
  Bucket& bucket = index.buckets[b];
  Node& node = index.nodes[slot];
  node.key = key;
  node.next = bucket.first;
  node.prev = -2 - static_cast<int32_t>(b);
  if (bucket.first >= 0) index.nodes[bucket.first].prev = slot;
  // Two slots before this one make three.
  if (bucket.second >= 0) SetLongChain(index, b, true);
  bucket.second = bucket.first;
  bucket.second_high = bucket.first_high;
  bucket.first = slot;
  bucket.first_high = static_cast<uint32_t>(key >> 16);
  index.wide |= (key >> kExactKeyBits) != 0;
}

template <typename Record>
void CSlotHashPool<Record>::Unlink(Index& index, int slot) {
  Node& node = index.nodes[slot];
  const uint32_t b = static_cast<uint32_t>(node.key & 0xFFFF);
  Bucket& bucket = index.buckets[b];
  if (node.prev >= 0) {
    index.nodes[node.prev].next = node.next;
  } else {
    bucket.first = node.next;
  }
  if (node.next >= 0) index.nodes[node.next].prev = node.prev;
  CacheFirstTwo(index, b);
  node.next = node.prev = -1;
}

// Sets bucket b's copies of its chain's second slot and of both keys, and
// its long-chain bit, from the chain, whose head `first` is current.
template <typename Record>
void CSlotHashPool<Record>::CacheFirstTwo(Index& index, uint32_t b) {
  Bucket& bucket = index.buckets[b];
  bucket.second = -1;
  bucket.first_high = bucket.second_high = 0;
  bool long_chain = false;
  if (bucket.first >= 0) {
    const Node& first = index.nodes[bucket.first];
    bucket.first_high = static_cast<uint32_t>(first.key >> 16);
    bucket.second = first.next;
    if (first.next >= 0) {
      const Node& second = index.nodes[first.next];
      bucket.second_high = static_cast<uint32_t>(second.key >> 16);
      long_chain = second.next >= 0;
    }
  }
  SetLongChain(index, b, long_chain);
}

#endif  // QUARN_EMPLOYEE_INTERNAL_CSLOTHASHPOOL_H_
