#include "support/AllocationCounter.h"

#include <stdlib.h>

#include <atomic>
#include <new>

#include <gtest/gtest.h>

namespace {

std::atomic<uint64_t> g_allocations{0};

// Kept out of line so the compiler does not pair a free() with the
// operator new it can see and warn about a mismatch that is intended.
__attribute__((noinline)) void Release(void* block) { free(block); }

}  // namespace

namespace quarn_test {

uint64_t AllocationCount() { return g_allocations.load(); }

}  // namespace quarn_test

void* operator new(size_t size) {
  ++g_allocations;
  void* block = malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  ++g_allocations;
  return malloc(size == 0 ? 1 : size);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  Release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  Release(block);
}
void operator delete(void* block) noexcept { Release(block); }
void operator delete(void* block, size_t) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete[](void* block, size_t) noexcept { Release(block); }

// Every binary that counts allocations first checks that the count moves,
// so a test of "no allocation" cannot pass because nothing is counted.
TEST(AllocationCounterTest, CountsEveryFormOfNew) {
  const uint64_t before = quarn_test::AllocationCount();
  // Volatile pointers keep the compiler from eliding the pairs.
  int* volatile one = new int(1);
  delete one;
  char* volatile eight = new char[8];
  delete[] eight;
  long* volatile two = new (std::nothrow) long(2);
  delete two;
  EXPECT_EQ(before + 3, quarn_test::AllocationCount());
}
