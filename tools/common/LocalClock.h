// Local time of Unix seconds, as fields and as text, for the flows of a
// capture. Flows end roughly in time order, so most of their times fall in
// a second already converted: the last one is kept, and only a new second
// goes through localtime_r().

#ifndef QUARN_TOOLS_COMMON_LOCALCLOCK_H_
#define QUARN_TOOLS_COMMON_LOCALCLOCK_H_

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "tools/common/ConnectionRecord.h"

namespace quarn_tool {

// Not thread-safe: each thread keeps its own.
class LocalClock {
 public:
  LocalClock();

  // The fields of `sec` in local time; the epoch's fields when the C
  // library cannot convert it. The reference stays valid until the next
  // call.
  const LocalTime& Fields(int64_t sec);

  // "YYYY-MM-DD hh:mm:ss" of `sec` in local time, followed by ".uuuuuu"
  // (the microseconds `usec`, taken modulo one million) when `micro` is
  // true. The reference stays valid until the next call.
  const std::string& Text(int64_t sec, uint32_t usec, bool micro);

 private:
  void Convert(int64_t sec);

  int64_t sec_;
  LocalTime fields_;
  char text_[48];  // "YYYY-MM-DD hh:mm:ss" of sec_
  size_t text_size_;
  std::string out_;  // what Text() returned last
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_LOCALCLOCK_H_
