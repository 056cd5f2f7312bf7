#include "base/CStr.h"

#include <stdarg.h>
#include <stdio.h>

namespace {

const char kBlanks[] = " \t\r\n\v\f";

}  // namespace

CStr CStr::Format(const char* format, ...) {
  CStr result;
  if (format == nullptr) return result;
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  char small[256];
  int needed = vsnprintf(small, sizeof(small), format, args);
  va_end(args);
  if (needed < 0) {
    va_end(again);
    return result;
  }
  if (static_cast<size_t>(needed) < sizeof(small)) {
    result.text_.assign(small, static_cast<size_t>(needed));
  } else {
    result.text_.resize(static_cast<size_t>(needed) + 1);
    vsnprintf(&result.text_[0], result.text_.size(), format, again);
    result.text_.resize(static_cast<size_t>(needed));
  }
  va_end(again);
  return result;
}

CStr& CStr::AllTrim() { return RightTrim().LeftTrim(); }

CStr& CStr::LeftTrim() {
  size_t begin = text_.find_first_not_of(kBlanks);
  text_.erase(0, begin == std::string::npos ? text_.size() : begin);
  return *this;
}

CStr& CStr::RightTrim() {
  size_t end = text_.find_last_not_of(kBlanks);
  text_.resize(end == std::string::npos ? 0 : end + 1);
  return *this;
}
