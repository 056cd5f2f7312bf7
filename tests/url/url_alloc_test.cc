// A warm search allocates nothing.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <new>
#include <string>
#include <vector>

#include "support/AllocationCounter.h"
#include "url/CURL_Type_Finder.h"
#include "url/URLTypes.h"

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
  uint64_t before = quarn_test::AllocationCount();
  URL_GROUP_TYPE set;
  for (int round = 0; round < 100; ++round) {
    for (const std::string& url : urls) {
      finder.FindURL(url.data(), static_cast<int>(url.size()), set);
    }
  }
  EXPECT_EQ(before, quarn_test::AllocationCount());
  EXPECT_EQ(warm, set);
  EXPECT_TRUE(set.IsNotZero());
}

}  // namespace
