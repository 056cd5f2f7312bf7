// The shared slot-hash pool: slots taken and freed by all indexes at once,
// chains per bucket, insertion order, free-list reuse.

#include "employee/internal/CSlotHashPool.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace {

struct Item {
  uint64_t a = 0;
  uint64_t b = 0;
};

typedef CSlotHashPool<Item> Pool;

int TakeWith(Pool& pool, uint64_t a, uint64_t b) {
  uint64_t keys[2] = {a, b};
  int slot = pool.Take(keys);
  if (slot >= 0) {
    pool.at(slot).a = a;
    pool.at(slot).b = b;
  }
  return slot;
}

std::vector<int> Chain(const Pool& pool, int index, uint64_t key) {
  std::vector<int> slots;
  for (int s = pool.First(index, key); s >= 0; s = pool.NextInChain(index, s)) {
    slots.push_back(s);
  }
  return slots;
}

std::vector<int> Order(const Pool& pool) {
  std::vector<int> slots;
  for (int s = pool.Head(); s >= 0; s = pool.NextInOrder(s)) {
    slots.push_back(s);
  }
  return slots;
}

TEST(SlotHashPool, CreateRefusesBadArgumentsAndCounts) {
  Pool pool;
  EXPECT_FALSE(pool.Create(0, 1));
  EXPECT_FALSE(pool.Create(10, 0));
  EXPECT_FALSE(pool.Create(10, Pool::kMaxIndexes + 1));
  EXPECT_FALSE(pool.created());
  uint64_t keys[2] = {0, 0};
  EXPECT_EQ(-1, pool.Take(keys));  // no pool: nothing to take

  ASSERT_TRUE(pool.Create(3, 2));
  EXPECT_EQ(3u, pool.capacity());
  EXPECT_EQ(0u, pool.used_count());
  EXPECT_GE(TakeWith(pool, 1, 1), 0);
  EXPECT_GE(TakeWith(pool, 2, 2), 0);
  EXPECT_GE(TakeWith(pool, 3, 3), 0);
  EXPECT_EQ(3u, pool.used_count());
  EXPECT_EQ(-1, TakeWith(pool, 4, 4));  // full
  pool.Clear();
  EXPECT_EQ(0u, pool.used_count());
  EXPECT_EQ(-1, pool.Head());
  EXPECT_TRUE(Chain(pool, 0, 1).empty());
}

TEST(SlotHashPool, BucketsAreKeyLow16BitsNewestFirst) {
  Pool pool;
  ASSERT_TRUE(pool.Create(10, 2));
  int s1 = TakeWith(pool, 0x00010005, 7);
  int s2 = TakeWith(pool, 0x00020005, 7);  // same bucket 5 in index 0
  int s3 = TakeWith(pool, 0x00000006, 8);
  EXPECT_EQ((std::vector<int>{s2, s1}), Chain(pool, 0, 5));
  EXPECT_EQ((std::vector<int>{s2, s1}), Chain(pool, 0, 0xABCD0005));
  EXPECT_EQ((std::vector<int>{s3}), Chain(pool, 0, 6));
  // Key walks skip the other keys of a bucket.
  EXPECT_EQ(s1, pool.FindKey(0, 0x00010005));
  EXPECT_EQ(-1, pool.NextKey(0, s1));
  EXPECT_EQ(s2, pool.FindKey(0, 0x00020005));
  EXPECT_EQ(-1, pool.FindKey(0, 0x00030005));
  // The second index chains the same slots under its own keys.
  EXPECT_EQ((std::vector<int>{s2, s1}), Chain(pool, 1, 7));
  EXPECT_EQ((std::vector<int>{s3}), Chain(pool, 1, 8));
}

TEST(SlotHashPool, FreeUnlinksEverywhereAndReusesLastFreedSlot) {
  Pool pool;
  ASSERT_TRUE(pool.Create(5, 2));
  int s[5];
  for (int i = 0; i < 5; ++i) s[i] = TakeWith(pool, 100, 200 + i);
  // Free from the middle, the head and the tail of chain and order.
  pool.Free(s[2]);
  pool.Free(s[0]);
  pool.Free(s[4]);
  pool.Free(s[4]);  // twice: ignored
  EXPECT_EQ(2u, pool.used_count());
  EXPECT_EQ((std::vector<int>{s[3], s[1]}), Chain(pool, 0, 100));
  EXPECT_TRUE(Chain(pool, 1, 200).empty());
  EXPECT_EQ((std::vector<int>{s[3]}), Chain(pool, 1, 203));
  EXPECT_EQ((std::vector<int>{s[1], s[3]}), Order(pool));
  EXPECT_FALSE(pool.InUse(s[0]));

  // Reuse: last freed first; a reused slot joins the order at the tail.
  EXPECT_EQ(s[4], TakeWith(pool, 1, 1));
  EXPECT_EQ(s[0], TakeWith(pool, 2, 2));
  EXPECT_EQ(s[2], TakeWith(pool, 3, 3));
  EXPECT_EQ((std::vector<int>{s[1], s[3], s[4], s[0], s[2]}), Order(pool));
  EXPECT_EQ(-1, TakeWith(pool, 9, 9));
}

TEST(SlotHashPool, RekeyMovesOneIndexOnly) {
  Pool pool;
  ASSERT_TRUE(pool.Create(4, 2));
  int a = TakeWith(pool, 10, 50);
  int b = TakeWith(pool, 10, 51);
  pool.Rekey(0, a, 11);
  EXPECT_EQ((std::vector<int>{b}), Chain(pool, 0, 10));
  EXPECT_EQ((std::vector<int>{a}), Chain(pool, 0, 11));
  EXPECT_EQ((std::vector<int>{a}), Chain(pool, 1, 50));
  // Moving into an occupied bucket puts the slot first.
  pool.Rekey(0, a, 10);
  EXPECT_EQ((std::vector<int>{a, b}), Chain(pool, 0, 10));
  EXPECT_EQ((std::vector<int>{a, b}), Order(pool));  // order untouched
  pool.Free(b);
  EXPECT_EQ((std::vector<int>{a}), Chain(pool, 0, 10));
}

TEST(SlotHashPool, BothSelectionsOfABucketSlotAgree) {
  const int32_t slots[] = {-1, 0, 7, 0x7FFFFFFE};
  const uint32_t highs[] = {0, 1, 0x80000000u, 0xFFFFFFFFu};
  for (int32_t first : slots) {
    for (int32_t second : slots) {
      for (uint32_t first_high : highs) {
        for (uint32_t second_high : highs) {
          for (uint32_t high : highs) {
            const int expected = first_high == high    ? first
                                 : second_high == high ? second
                                                       : -1;
            ASSERT_EQ(expected,
                      quarn_slot_hash::SelectByMasks(first, second, first_high,
                                                     second_high, high));
#if defined(__x86_64__)
            ASSERT_EQ(expected,
                      quarn_slot_hash::SelectByMoves(first, second, first_high,
                                                     second_high, high));
#endif
          }
        }
      }
    }
  }
}

TEST(SlotHashPool, SlotOfAcceptsOnlyOwnRecords) {
  Pool pool;
  ASSERT_TRUE(pool.Create(4, 1));
  int slot = TakeWith(pool, 1, 0);
  EXPECT_EQ(slot, pool.SlotOf(&pool.at(slot)));
  Item outside;
  EXPECT_EQ(-1, pool.SlotOf(&outside));
  EXPECT_EQ(-1, pool.SlotOf(nullptr));
  // A copy has its own records.
  Pool copy = pool;
  EXPECT_EQ(-1, pool.SlotOf(&copy.at(slot)));
  EXPECT_EQ((std::vector<int>{slot}), Chain(copy, 0, 1));
}

// Keys that crowd a few buckets: several high parts over three low parts,
// some differing only above bit 31, and with `wide` some only above bit 47
// (the buckets' copies cannot tell those apart).
uint64_t CrowdedKey(uint32_t r, bool wide) {
  static const uint64_t kHigh[] = {0,
                                   0x10000,
                                   0xFFFF0000,
                                   uint64_t{1} << 32,
                                   (uint64_t{1} << 47) | 0x10000,
                                   uint64_t{1} << 48,
                                   (uint64_t{0xFFFF} << 48) | 0x10000};
  return kHigh[r % (wide ? 7 : 5)] | (r / 7 % 3);
}

// Every slot entered under exactly `key`, newest first, read from the
// chain node by node.
std::vector<int> SameKey(const Pool& pool, int index, uint64_t key) {
  std::vector<int> slots;
  for (int s : Chain(pool, index, key)) {
    if (pool.KeyOf(index, s) == key) slots.push_back(s);
  }
  return slots;
}

void RandomOperations(bool wide, uint32_t capacity) {
  Pool pool;
  ASSERT_TRUE(pool.Create(capacity, 2));
  std::vector<int> live;  // expected insertion order
  unsigned seed = 12345;
  auto next = [&seed]() { return seed = seed * 1103515245u + 12345u; };
  for (int step = 0; step < 20000; ++step) {
    uint32_t r = next();
    if (r % 3 != 0 || live.empty()) {
      int s = TakeWith(pool, CrowdedKey(next() >> 8, wide), next() % 5);
      if (s >= 0) live.push_back(s);
    } else if (r % 2 == 0) {
      size_t i = next() % live.size();
      pool.Free(live[i]);
      live.erase(live.begin() + static_cast<long>(i));
    } else {
      int s = live[next() % live.size()];
      pool.at(s).a = CrowdedKey(next() >> 8, wide);
      pool.Rekey(0, s, pool.at(s).a);
    }
    if (step % 7 != 0) continue;
    // The bucket's copies of its first two slots agree with the chain:
    // FindKey / NextKey give exactly the slots of each key, and a key
    // said not to repeat has at most one slot.
    for (uint32_t k = 0; k < 21; ++k) {
      const uint64_t key = CrowdedKey(k, wide);
      std::vector<int> expected = SameKey(pool, 0, key);
      std::vector<int> found;
      for (int s = pool.FindKey(0, key); s >= 0; s = pool.NextKey(0, s)) {
        found.push_back(s);
      }
      ASSERT_EQ(expected, found) << "step " << step << " key " << key;
      if (!pool.MayRepeatKey(0, key)) {
        ASSERT_LE(expected.size(), 1u);
      }
    }
  }
  ASSERT_EQ(live, Order(pool));
  ASSERT_EQ(live.size(), pool.used_count());
  for (int index = 0; index < 2; ++index) {
    std::set<int> seen;
    for (uint32_t low = 0; low < 5; ++low) {
      std::vector<int> chain = Chain(pool, index, low);
      for (int s : chain) {
        const uint64_t key = index == 0 ? pool.at(s).a : pool.at(s).b;
        EXPECT_EQ(key, pool.KeyOf(index, s));
        EXPECT_EQ(low, key & 0xFFFF);
        EXPECT_TRUE(seen.insert(s).second);
      }
    }
    EXPECT_EQ(live.size(), seen.size());
  }
}

TEST(SlotHashPool, RandomOperationsKeepChainsAndOrderConsistent) {
  // A small pool keeps chains short, where the bucket's copies matter.
  for (uint32_t capacity : {5u, 64u}) {
    RandomOperations(false, capacity);
    RandomOperations(true, capacity);
  }
}

}  // namespace
