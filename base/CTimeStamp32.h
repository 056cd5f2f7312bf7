// A wall-clock instant in two 32-bit words: seconds since 1970 (UTC, modulo
// 2^32) and the microseconds within that second.

#ifndef QUARN_BASE_CTIMESTAMP32_H_
#define QUARN_BASE_CTIMESTAMP32_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>
#include <sys/time.h>

struct QUARN_EXPORT CTimeStamp32 {
  uint32_t sec = 0;
  uint32_t usec = 0;

  CTimeStamp32() = default;
  CTimeStamp32(uint32_t seconds, uint32_t micros)
      : sec(seconds), usec(micros) {}

  // The current time.
  static CTimeStamp32 Now() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return CTimeStamp32(static_cast<uint32_t>(tv.tv_sec),
                        static_cast<uint32_t>(tv.tv_usec));
  }

  // Whole seconds from `earlier` to this instant; negative when `earlier`
  // is later. Correct across the wrap of the seconds word as long as the
  // two instants are less than 68 years apart.
  int32_t SecondsSince(const CTimeStamp32& earlier) const {
    return static_cast<int32_t>(sec - earlier.sec);
  }
};

#endif  // QUARN_BASE_CTIMESTAMP32_H_
