// Time text, time-of-day and date segments, and a millisecond tick.
//
// Times in records are signed 32-bit seconds since 1970-01-01 UTC and are
// shown in local time (the TZ of the process).

#ifndef QUARN_BASE_ORVATIME_H_
#define QUARN_BASE_ORVATIME_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>

namespace Orva {

// Text formats of FormatTime() and StrToTime().
enum {
  // "YYYY-MM-DD HH:MM:SS", e.g. "2024-03-05 08:07:09".
  kTimeFormatDateTime = 6,
};

// Flags of FormatTime() and StrToTime().
enum {
  kTimeLocal = 0,  // the text is local time
  kTimeUtc = 1,    // the text is UTC
};

// `time` in `format`. Returns the empty text for an unknown format or a
// time that cannot be broken down.
QUARN_EXPORT std::string FormatTime(int format, int32_t time,
                                    int flags = kTimeLocal);

// Parses `text` in `format` into `*time`. Surrounding white space is
// allowed, and fields may have fewer digits ("2024-3-5 8:07:09"); "/" may
// stand for "-" and "T" for the blank between date and time. The seconds,
// or the whole time part, may be left out (they count as 0). Returns 1 on
// success; 0 on anything else, including impossible dates and instants
// outside the signed 32-bit range, with `*time` left untouched.
QUARN_EXPORT int StrToTime(int format, const char* text, int32_t* time,
                           int flags = kTimeLocal);

// A monotonic millisecond tick; wraps around every 49.7 days, so compare
// ticks by unsigned difference only.
QUARN_EXPORT uint32_t GetTickCount();

}  // namespace Orva

// The tick under its customary name.
inline uint32_t GetTickCount() { return Orva::GetTickCount(); }

// A time-of-day segment [begin, end): the begin minute is inside, the end
// minute is not, so 08:00-18:00 holds 08:00 to 17:59 and adjacent segments
// never overlap. An end of 24:00 reaches midnight. A segment whose end
// comes before its begin wraps over midnight (22:00-06:00 holds 23:30 and
// 05:59). A segment whose begin equals its end is empty; the default
// segment 00:00-00:00 therefore holds nothing.
struct QUARN_EXPORT Orva_Time_Seg {
  int32_t begin_hour;
  int32_t begin_minute;
  int32_t end_hour;
  int32_t end_minute;

  Orva_Time_Seg()
      : begin_hour(0), begin_minute(0), end_hour(0), end_minute(0) {}
  Orva_Time_Seg(int32_t bh, int32_t bm, int32_t eh, int32_t em)
      : begin_hour(bh), begin_minute(bm), end_hour(eh), end_minute(em) {}

  // 0 when hour:minute lies in the segment; otherwise -1 when it lies
  // before the begin, 1 when at or after the end (for a wrapping segment
  // the time outside is between end and begin: 1).
  int cmp(int hour, int minute) const;

  bool operator==(const Orva_Time_Seg& other) const;
  bool operator!=(const Orva_Time_Seg& other) const {
    return !(*this == other);
  }
};

// A date segment over the days of a year, both ends included. Stored months
// count from 1 (1 = January) and days from 1, as written in configuration
// files. cmp() takes the month counted from 0, as struct tm gives it. A
// segment whose end comes before its begin wraps over the year end
// (12-30 to 01-02 holds 12-31 and 01-01). The default segment (all zero)
// holds no date.
struct QUARN_EXPORT Orva_Date_Seg {
  int32_t begin_month;
  int32_t begin_day;
  int32_t end_month;
  int32_t end_day;

  Orva_Date_Seg() : begin_month(0), begin_day(0), end_month(0), end_day(0) {}
  Orva_Date_Seg(int32_t bm, int32_t bd, int32_t em, int32_t ed)
      : begin_month(bm), begin_day(bd), end_month(em), end_day(ed) {}

  // 0 when the date (`month` counted from 0, `day` from 1) lies in the
  // segment; otherwise -1 before the begin, 1 after the end (1 also for the
  // gap of a wrapping segment, and for every date when the segment is
  // invalid).
  int cmp(int month, int day) const;

  bool operator==(const Orva_Date_Seg& other) const;
  bool operator!=(const Orva_Date_Seg& other) const {
    return !(*this == other);
  }
};

#endif  // QUARN_BASE_ORVATIME_H_
