// Searches must not allocate.

#include <stdlib.h>

#include <atomic>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "filter/blurstrfind.h"
#include "support/AllocationCounter.h"

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
  long before = quarn_test::AllocationCount();
  int all = finder.FindAllEx(text.data(), static_cast<int>(text.size()), out);
  int num = finder.FindNumEx("x", 1, out);
  EXPECT_EQ(before, quarn_test::AllocationCount());
  EXPECT_GT(all, 2000);
  EXPECT_EQ(1, num);
}

}  // namespace
