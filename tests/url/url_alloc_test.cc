// Counts heap allocations made through operator new, to show that a warm
// search allocates nothing. The replacement covers the whole test binary,
// so every plain, array and nothrow form is replaced together.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <new>
#include <string>
#include <vector>

#include "url/CURL_Type_Finder.h"
#include "url/URLTypes.h"

namespace {
std::atomic<uint64_t> g_allocations{0};

// Kept out of line so the compiler does not pair a free() with the
// operator new it can see and warn about a mismatch that is intended.
__attribute__((noinline)) void Release(void* block) { free(block); }
}  // namespace

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

namespace {

typedef CURL_Type_Finder<URL_TYPE, URL_GROUP_TYPE> Finder;

TEST(URLFinderAllocationTest, WarmSearchesDoNotAllocate) {
  Finder finder;
  Finder::Sizes sizes;
  for (auto& slot : sizes.slot) slot = 10000;
  finder.Build(sizes);
  for (int i = 0; i < 500; ++i) {
    std::string n = std::to_string(i);
    URL_TYPE type(uint64_t{1} << (i % 64), 0);
    finder.AddURL("www.host" + n + ".example", type, 0);
    finder.AddURL("site" + n + ".example", type, 0);
    finder.AddURL("www.pre" + n + ".example/p", type, 1);
    finder.AddURL("pre" + n + ".example/q", type, 1);
    finder.AddURL(".zone" + n + ".example", type, 0);
    // Multi-fragment patterns exercise the touched list.
    finder.AddURL("part" + n + "*tail" + n, type, 0);
    finder.AddURL("any" + n + "|other" + n, type, 0);
  }
  std::vector<std::string> urls = {
      "www.host7.example/index.html",
      "a.b.zone12.example/some/path?q=1",
      "pre33.example/q/more/stuff",
      "www.pre44.example/p/x",
      "nothing.to.see.invalid/at/all/here/really/long/path/index.php",
      "x/part5/y/tail5/z/part6/zzz",
      "site3.example.part9",
  };
  URL_GROUP_TYPE warm;
  for (const std::string& url : urls) {
    finder.FindURL(url.data(), static_cast<int>(url.size()), warm);
  }
  uint64_t before = g_allocations.load();
  URL_GROUP_TYPE set;
  for (int round = 0; round < 100; ++round) {
    for (const std::string& url : urls) {
      finder.FindURL(url.data(), static_cast<int>(url.size()), set);
    }
  }
  EXPECT_EQ(before, g_allocations.load());
  EXPECT_EQ(warm, set);
  EXPECT_TRUE(set.IsNotZero());
}

}  // namespace
