#include <ctype.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include <string>

#include "base/internal/TextNumber.h"

namespace quarn_text {
namespace {

// The text without surrounding white space; empty when there is nothing.
std::string Trimmed(const char* text) {
  const char* begin = text;
  while (isspace(static_cast<unsigned char>(*begin))) ++begin;
  const char* end = begin + strlen(begin);
  while (end > begin && isspace(static_cast<unsigned char>(end[-1]))) --end;
  return std::string(begin, end - begin);
}

bool ParseUnsigned(const char* text, uint64_t max, uint64_t* value) {
  if (text == nullptr) return false;
  std::string digits = Trimmed(text);
  int base = 10;
  const char* start = digits.c_str();
  if (digits.size() > 2 && digits[0] == '0' &&
      (digits[1] == 'x' || digits[1] == 'X')) {
    base = 16;
    start += 2;
  }
  // strtoull would accept a sign or inner blanks; only digits may follow.
  if (!isxdigit(static_cast<unsigned char>(*start))) return false;
  errno = 0;
  char* end = nullptr;
  unsigned long long parsed = strtoull(start, &end, base);
  if (errno != 0 || *end != '\0' || parsed > max) return false;
  *value = parsed;
  return true;
}

}  // namespace

bool ParseInt32(const char* text, int32_t* value) {
  if (text == nullptr) return false;
  std::string digits = Trimmed(text);
  const char* start = digits.c_str();
  if (*start == '-' || *start == '+') ++start;
  if (!isdigit(static_cast<unsigned char>(*start))) return false;
  errno = 0;
  char* end = nullptr;
  long long parsed = strtoll(digits.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || parsed < INT32_MIN || parsed > INT32_MAX) {
    return false;
  }
  *value = static_cast<int32_t>(parsed);
  return true;
}

bool ParseUint32(const char* text, uint32_t* value) {
  uint64_t parsed;
  if (!ParseUnsigned(text, UINT32_MAX, &parsed)) return false;
  *value = static_cast<uint32_t>(parsed);
  return true;
}

bool ParseUint64(const char* text, uint64_t* value) {
  return ParseUnsigned(text, UINT64_MAX, value);
}

bool ParseBool(const char* text, bool* value) {
  if (text == nullptr) return false;
  std::string word = Trimmed(text);
  static const char* const kTrue[] = {"1", "true", "yes"};
  static const char* const kFalse[] = {"0", "false", "no"};
  for (const char* t : kTrue) {
    if (strcasecmp(word.c_str(), t) == 0) {
      *value = true;
      return true;
    }
  }
  for (const char* f : kFalse) {
    if (strcasecmp(word.c_str(), f) == 0) {
      *value = false;
      return true;
    }
  }
  return false;
}

}  // namespace quarn_text
