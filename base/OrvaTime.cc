#include "base/OrvaTime.h"

#include <ctype.h>
#include <stdio.h>
#include <time.h>

namespace Orva {
namespace {

bool BreakDown(int32_t time, int flags, struct tm* parts) {
  time_t t = static_cast<time_t>(time);
  if (flags & kTimeUtc) return gmtime_r(&t, parts) != nullptr;
  return localtime_r(&t, parts) != nullptr;
}

bool IsLeapYear(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
  static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month == 2 && IsLeapYear(year)) return 29;
  return kDays[month - 1];
}

// Reads 1 to `max_digits` decimal digits at *p.
bool ReadNumber(const char** p, int max_digits, int* value) {
  const char* s = *p;
  int result = 0;
  int digits = 0;
  while (isdigit(static_cast<unsigned char>(*s))) {
    if (++digits > max_digits) return false;
    result = result * 10 + (*s - '0');
    ++s;
  }
  if (digits == 0) return false;
  *p = s;
  *value = result;
  return true;
}

const char* SkipSpace(const char* p) {
  while (isspace(static_cast<unsigned char>(*p))) ++p;
  return p;
}

// Parses "Y-M-D[( |T)h:m[:s]]" into calendar fields.
bool ParseDateTime(const char* text, struct tm* parts) {
  const char* p = SkipSpace(text);
  int year, month, day, hour = 0, minute = 0, second = 0;
  if (!ReadNumber(&p, 4, &year)) return false;
  char separator = *p;
  if (separator != '-' && separator != '/') return false;
  ++p;
  if (!ReadNumber(&p, 2, &month) || *p != separator) return false;
  ++p;
  if (!ReadNumber(&p, 2, &day)) return false;
  if (*p == 'T' || *p == ' ') {
    const char* q = SkipSpace(p + (*p == 'T' ? 1 : 0));
    if (*q != '\0') {
      p = q;
      if (!ReadNumber(&p, 2, &hour) || *p != ':') return false;
      ++p;
      if (!ReadNumber(&p, 2, &minute)) return false;
      if (*p == ':') {
        ++p;
        if (!ReadNumber(&p, 2, &second)) return false;
      }
    }
  }
  if (*SkipSpace(p) != '\0') return false;
  if (year < 1900 || month < 1 || month > 12 || day < 1 ||
      day > DaysInMonth(year, month) || hour > 23 || minute > 59 ||
      second > 59) {
    return false;
  }
  *parts = tm();
  parts->tm_year = year - 1900;
  parts->tm_mon = month - 1;
  parts->tm_mday = day;
  parts->tm_hour = hour;
  parts->tm_min = minute;
  parts->tm_sec = second;
  parts->tm_isdst = -1;
  return true;
}

}  // namespace

std::string FormatTime(int format, int32_t time, int flags) {
  if (format != kTimeFormatDateTime) return std::string();
  struct tm parts;
  if (!BreakDown(time, flags, &parts)) return std::string();
  char text[64];
  snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d",
           parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
           parts.tm_min, parts.tm_sec);
  return text;
}

int StrToTime(int format, const char* text, int32_t* time, int flags) {
  if (format != kTimeFormatDateTime || text == nullptr || time == nullptr) {
    return 0;
  }
  struct tm parts;
  if (!ParseDateTime(text, &parts)) return 0;
  time_t t = (flags & kTimeUtc) ? timegm(&parts) : mktime(&parts);
  if (t == static_cast<time_t>(-1)) {
    // -1 is also a real instant (one second before 1970 UTC); tell the two
    // apart by breaking it down again.
    struct tm check;
    if (!BreakDown(-1, flags, &check) || check.tm_year != parts.tm_year ||
        check.tm_mon != parts.tm_mon || check.tm_mday != parts.tm_mday) {
      return 0;
    }
  }
  if (t < INT32_MIN || t > INT32_MAX) return 0;
  *time = static_cast<int32_t>(t);
  return 1;
}

uint32_t GetTickCount() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  uint64_t ms = static_cast<uint64_t>(now.tv_sec) * 1000u +
                static_cast<uint64_t>(now.tv_nsec) / 1000000u;
  return static_cast<uint32_t>(ms);
}

}  // namespace Orva

int Orva_Time_Seg::cmp(int hour, int minute) const {
  int now = hour * 60 + minute;
  int begin = begin_hour * 60 + begin_minute;
  int end = end_hour * 60 + end_minute;
  if (begin < end) {
    if (now < begin) return -1;
    return now < end ? 0 : 1;
  }
  if (begin > end) return (now >= begin || now < end) ? 0 : 1;
  return now < begin ? -1 : 1;  // empty segment
}

bool Orva_Time_Seg::operator==(const Orva_Time_Seg& other) const {
  return begin_hour == other.begin_hour && begin_minute == other.begin_minute &&
         end_hour == other.end_hour && end_minute == other.end_minute;
}

namespace {

bool ValidMonthDay(int month, int day) {
  return month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

}  // namespace

int Orva_Date_Seg::cmp(int month, int day) const {
  if (!ValidMonthDay(begin_month, begin_day) ||
      !ValidMonthDay(end_month, end_day)) {
    return 1;
  }
  // Month and day in one ordered number: (month counted from 1) * 100 + day.
  int date = (month + 1) * 100 + day;
  int begin = begin_month * 100 + begin_day;
  int end = end_month * 100 + end_day;
  if (begin <= end) {
    if (date < begin) return -1;
    return date <= end ? 0 : 1;
  }
  return (date >= begin || date <= end) ? 0 : 1;
}

bool Orva_Date_Seg::operator==(const Orva_Date_Seg& other) const {
  return begin_month == other.begin_month && begin_day == other.begin_day &&
         end_month == other.end_month && end_day == other.end_day;
}
