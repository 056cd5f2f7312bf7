// Feeds arbitrary bytes to the binary range file reader. Beyond not
// crashing or reading outside the input, the loaded table must be sorted
// and disjoint and every lookup must agree with the range it reports.

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include "address/CInternetIPRangeTable.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CInternetIPRangeTable table;
  if (!table.Load_dat_buffer(data, size, 1, nullptr)) return 0;
  const std::vector<INTERNET_IP_RANGE>& ranges = table.ranges();
  for (size_t i = 0; i < ranges.size(); ++i) {
    const INTERNET_IP_RANGE& r = ranges[i];
    if (r.end < r.begin) abort();
    if (i > 0 && ranges[i - 1].end >= r.begin) abort();
    if (table.Find(r.begin) != &r.desc || table.Find(r.end) != &r.desc) abort();
    if (r.begin > 0 && table.Find(r.begin - 1) != nullptr &&
        (i == 0 || table.Find(r.begin - 1) != &ranges[i - 1].desc)) {
      abort();
    }
    if (table.FindByAreaId(r.desc.area_id) == nullptr) abort();
  }
  for (int pos = table.GetArea_First(); pos != -1;) {
    if (table.GetArea_Next(pos) == nullptr) abort();
  }
  return 0;
}
