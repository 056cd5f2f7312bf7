#include "tools/common/LocalClock.h"

#include <stdio.h>
#include <string.h>
#include <time.h>

#include <limits>

namespace quarn_tool {

namespace {

// Writes `value` as `width` decimal digits (the low ones) at `out`.
void Digits(int value, int width, char* out) {
  unsigned v = value < 0 ? 0u : static_cast<unsigned>(value);
  for (int i = width - 1; i >= 0; --i) {
    out[i] = static_cast<char>('0' + v % 10);
    v /= 10;
  }
}

}  // namespace

LocalClock::LocalClock()
    : sec_(std::numeric_limits<int64_t>::min()), text_size_(0) {
  memset(text_, 0, sizeof(text_));
}

void LocalClock::Convert(int64_t sec) {
  if (sec == sec_) return;
  sec_ = sec;
  const time_t t = static_cast<time_t>(sec);
  struct tm tm;
  if (localtime_r(&t, &tm) == nullptr) {
    fields_ = LocalTime();
  } else {
    fields_.year = tm.tm_year + 1900;
    fields_.month = tm.tm_mon + 1;
    fields_.day = tm.tm_mday;
    fields_.hour = tm.tm_hour;
    fields_.minute = tm.tm_min;
    fields_.second = tm.tm_sec;
    fields_.weekday = tm.tm_wday;
  }
  if (fields_.year < 0 || fields_.year > 9999) {
    // Far from any real capture, but a pcapng stamp has 64 bits.
    text_size_ = static_cast<size_t>(
        snprintf(text_, sizeof(text_), "%d-%02d-%02d %02d:%02d:%02d",
                 fields_.year, fields_.month, fields_.day, fields_.hour,
                 fields_.minute, fields_.second));
    return;
  }
  text_size_ = 19;
  Digits(fields_.year, 4, text_);
  text_[4] = '-';
  Digits(fields_.month, 2, text_ + 5);
  text_[7] = '-';
  Digits(fields_.day, 2, text_ + 8);
  text_[10] = ' ';
  Digits(fields_.hour, 2, text_ + 11);
  text_[13] = ':';
  Digits(fields_.minute, 2, text_ + 14);
  text_[16] = ':';
  Digits(fields_.second, 2, text_ + 17);
}

const LocalTime& LocalClock::Fields(int64_t sec) {
  Convert(sec);
  return fields_;
}

const std::string& LocalClock::Text(int64_t sec, uint32_t usec, bool micro) {
  Convert(sec);
  out_.assign(text_, text_size_);
  if (micro) {
    char fraction[7] = {'.'};
    Digits(static_cast<int>(usec % 1000000), 6, fraction + 1);
    out_.append(fraction, sizeof(fraction));
  }
  return out_;
}

}  // namespace quarn_tool
