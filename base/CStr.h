// A small owned text with the trimming and formatting helpers the
// library's callers use. Bytes are kept as given (GBK inside the library);
// trimming treats only ASCII blanks (space, tab, CR, LF, VT, FF) as white
// space, so the bytes of double-byte characters are never cut.

#ifndef QUARN_BASE_CSTR_H_
#define QUARN_BASE_CSTR_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>

#include <string>

class QUARN_EXPORT CStr {
 public:
  CStr() {}
  CStr(const char* text) : text_(text != nullptr ? text : "") {}  // NOLINT
  CStr(const char* text, size_t length) : text_(text, length) {}
  CStr(const std::string& text) : text_(text) {}  // NOLINT

  // printf-style formatting, e.g. CStr::Format("%llu", id).
  static CStr Format(const char* format, ...)
      __attribute__((format(printf, 1, 2)));

  // Strip white space at both ends / the start / the end, in place.
  CStr& AllTrim();
  CStr& LeftTrim();
  CStr& RightTrim();

  const char* c_str() const { return text_.c_str(); }
  const char* data() const { return text_.data(); }
  size_t length() const { return text_.size(); }
  size_t size() const { return text_.size(); }
  bool empty() const { return text_.empty(); }
  const std::string& str() const { return text_; }
  // Valid while the CStr lives and is not changed.
  operator const char*() const { return text_.c_str(); }  // NOLINT

  CStr& operator+=(const CStr& other) {
    text_ += other.text_;
    return *this;
  }
  bool operator==(const CStr& other) const { return text_ == other.text_; }
  bool operator!=(const CStr& other) const { return text_ != other.text_; }
  bool operator==(const char* other) const {
    return text_ == (other != nullptr ? other : "");
  }
  bool operator!=(const char* other) const { return !(*this == other); }

 private:
  std::string text_;
};

#endif  // QUARN_BASE_CSTR_H_
