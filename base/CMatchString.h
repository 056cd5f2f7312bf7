// A multi-pattern of file-name wildcards, e.g. "*.exe;*.zip|report??.doc".
//
// Patterns are separated by ";" or "|"; blanks around a pattern are
// dropped, and so are empty patterns. In a pattern "*" stands for any run
// of characters (also none) and "?" for exactly one character. A name
// matches when it matches any pattern, as a whole. ASCII letters compare
// without regard to case; a GBK double-byte character (lead byte 0x81 to
// 0xFE and the byte after it) is one character and compares byte for byte,
// so a trail byte that happens to be an ASCII letter is never case-folded.

#ifndef QUARN_BASE_CMATCHSTRING_H_
#define QUARN_BASE_CMATCHSTRING_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>

#include <string>
#include <vector>

class QUARN_EXPORT CMatchString {
 public:
  CMatchString() {}

  // Replaces the patterns by those of `text`; null or empty leaves none.
  void set_multi_match_string(const char* text);

  // True when `name` matches one of the patterns; false when there are
  // none or `name` is null.
  bool match(const char* name) const;
  bool match(const char* name, size_t length) const;

  bool empty() const { return patterns_.empty(); }
  // The patterns with ASCII letters in lower case, in their given order.
  const std::vector<std::string>& patterns() const { return patterns_; }

  // Equal when both hold the same patterns in the same order, ASCII letter
  // case aside: they then match exactly the same names.
  bool operator==(const CMatchString& other) const {
    return patterns_ == other.patterns_;
  }
  bool operator!=(const CMatchString& other) const { return !(*this == other); }

 private:
  std::vector<std::string> patterns_;  // ASCII letters folded to lower case
};

#endif  // QUARN_BASE_CMATCHSTRING_H_
