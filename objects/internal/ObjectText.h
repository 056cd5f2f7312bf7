// Small text helpers shared by the object managers. Not for hosts.

#ifndef QUARN_OBJECTS_INTERNAL_OBJECTTEXT_H_
#define QUARN_OBJECTS_INTERNAL_OBJECTTEXT_H_

#include <string.h>

#include <string>

namespace quarn_objects {

// Byte-wise equality that folds ASCII letters only: GBK bytes of 0x80 and
// above compare as they are, whatever the process locale. A null `b`
// equals nothing.
inline bool EqualsAsciiNoCase(const std::string& a, const char* b) {
  if (b == nullptr) return false;
  size_t n = strlen(b);
  if (a.size() != n) return false;
  for (size_t i = 0; i < n; ++i) {
    unsigned char x = static_cast<unsigned char>(a[i]);
    unsigned char y = static_cast<unsigned char>(b[i]);
    if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x - 'A' + 'a');
    if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y - 'A' + 'a');
    if (x != y) return false;
  }
  return true;
}

}  // namespace quarn_objects

#endif  // QUARN_OBJECTS_INTERNAL_OBJECTTEXT_H_
