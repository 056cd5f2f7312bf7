// Feeds arbitrary bytes to the bounded stream readers of the three employee
// records, as if they came from another process. A reader either refuses
// the bytes, leaving the read position and the record as they were, or
// reads a record that writes back to bytes it reads again unchanged. The
// input is copied to a buffer of exactly its size, so any read past the
// end is caught by the address sanitizer.

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <vector>

#include "employee/CEmployeeAuthAccountMgr.h"
#include "employee/CEmployeeInfoMgr.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"

namespace {

void Require(bool condition) {
  if (!condition) abort();
}

template <typename Record>
void Check(const uint8_t* data, size_t size) {
  std::vector<char> bytes(data, data + size);
  const char* start = bytes.data();
  const char* p = start;
  Record record;
  const Record fresh;
  const int read = record.GetStream(p, size);
  if (read < 0) {
    Require(p == start);
    Require(record == fresh);
    return;
  }
  Require(static_cast<size_t>(read) <= size && p == start + read);

  std::vector<char> written(record.get_stream_size());
  char* out = written.data();
  const int length = record.PutStream(out);
  Require(length >= 0 && static_cast<size_t>(length) <= written.size());
  const char* again = written.data();
  Record copy;
  Require(copy.GetStream(again, static_cast<size_t>(length)) == length);
  Require(copy == record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte picks the record, so each gets whole inputs to itself.
  switch (data[0] % 3) {
    case 0:
      Check<EMPLOYEE_INFO>(data + 1, size - 1);
      break;
    case 1:
      Check<EMPLOYEE_AUTH_ACCOUNT_INFO>(data + 1, size - 1);
      break;
    default:
      Check<EMPLOYEE_DYNAMIC_INFO>(data + 1, size - 1);
      break;
  }
  return 0;
}
