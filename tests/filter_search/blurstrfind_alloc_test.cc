// Searches must not allocate: this program's global allocation functions
// count their calls.

#include <stdlib.h>

#include <atomic>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "filter/blurstrfind.h"

namespace {
std::atomic<long> g_allocations{0};
}  // namespace

void* operator new(size_t size) {
  ++g_allocations;
  if (void* p = malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  ++g_allocations;
  return malloc(size == 0 ? 1 : size);
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t& t) noexcept {
  return operator new(size, t);
}
void operator delete(void* p) noexcept { free(p); }
void operator delete[](void* p) noexcept { free(p); }
void operator delete(void* p, size_t) noexcept { free(p); }
void operator delete[](void* p, size_t) noexcept { free(p); }

namespace {

TEST(BlurStrFindAllocation, SearchesAllocateNothing) {
  blurstrfind finder;
  std::string text;
  for (int i = 0; i < 2000; ++i) {
    std::string word = "w" + std::to_string(i * 7919 % 5003);
    ASSERT_EQ(0, finder.AddKey(word.data(), static_cast<int>(word.size()), i));
    text += word + " ";
  }
  ASSERT_EQ(0, finder.AddKey("w1,w2,w3", 8, -1));
  ASSERT_EQ(0, finder.AddKey("x|y", 3, -3));
  CDataArray out(1 << 16);
  long before = g_allocations.load();
  int all = finder.FindAllEx(text.data(), static_cast<int>(text.size()), out);
  int num = finder.FindNumEx("x", 1, out);
  EXPECT_EQ(before, g_allocations.load());
  EXPECT_GT(all, 2000);
  EXPECT_EQ(1, num);
}

}  // namespace
