// URL categories as bit masks.
//
// A category is one bit of a 128-bit mask held as two 64-bit words:
// `hitype` carries the categories of the system's URL database, `lotype`
// those of the administrator and the special lists (the excepted URLs in
// bit 0, the simplified configuration's URLs in bit 63). `URL_TYPE` names
// one category, `URL_GROUP_TYPE` the set of categories a URL falls into;
// both have the same layout. Plain values, freely copied.

#ifndef QUARN_URL_URLTYPES_H_
#define QUARN_URL_URLTYPES_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

struct QUARN_EXPORT URL_TYPE {
  uint64_t hitype;
  uint64_t lotype;

  URL_TYPE() : hitype(0), lotype(0) {}
  URL_TYPE(uint64_t hi, uint64_t lo) : hitype(hi), lotype(lo) {}

  void Clear() { hitype = lotype = 0; }
  bool operator==(const URL_TYPE& other) const {
    return hitype == other.hitype && lotype == other.lotype;
  }
  bool operator!=(const URL_TYPE& other) const { return !(*this == other); }
  // 1 when both words are 0.
  int IsZero() const { return (hitype | lotype) == 0 ? 1 : 0; }
  // Word-wise AND of this and `other`.
  URL_TYPE And(const URL_TYPE& other) const {
    return URL_TYPE(hitype & other.hitype, lotype & other.lotype);
  }
};

struct QUARN_EXPORT URL_GROUP_TYPE {
  uint64_t hitype;
  uint64_t lotype;

  URL_GROUP_TYPE() : hitype(0), lotype(0) {}
  URL_GROUP_TYPE(uint64_t hi, uint64_t lo) : hitype(hi), lotype(lo) {}

  void Clear() { hitype = lotype = 0; }
  bool operator==(const URL_GROUP_TYPE& other) const {
    return hitype == other.hitype && lotype == other.lotype;
  }
  bool operator!=(const URL_GROUP_TYPE& other) const {
    return !(*this == other);
  }
  int IsZero() const { return (hitype | lotype) == 0 ? 1 : 0; }
  int IsNotZero() const { return (hitype | lotype) != 0 ? 1 : 0; }
  URL_GROUP_TYPE And(const URL_GROUP_TYPE& other) const {
    return URL_GROUP_TYPE(hitype & other.hitype, lotype & other.lotype);
  }
  URL_GROUP_TYPE And(const URL_TYPE& other) const {
    return URL_GROUP_TYPE(hitype & other.hitype, lotype & other.lotype);
  }
  // ORs `other` into this set, word by word. Returns 1.
  int Union(const URL_GROUP_TYPE& other) {
    hitype |= other.hitype;
    lotype |= other.lotype;
    return 1;
  }
  int Union(const URL_TYPE& other) {
    hitype |= other.hitype;
    lotype |= other.lotype;
    return 1;
  }

  // The database number of a system category: 1 + the position of the
  // lowest set bit of `hitype` (1 to 64); 0 when `hitype` is 0. `lotype` is
  // not looked at.
  static int TransToDBId(const URL_TYPE& category);
  // The inverse of TransToDBId: 0 gives the zero category; otherwise the
  // system category of bit (number - 1) mod 64.
  static URL_TYPE TransFromDBId(int number);
  // The application id that stands for some system categories (web video,
  // games, web mail, stocks), by the first of those whose bit `hitype`
  // shares; 0 when none does.
  static uint32_t TransToAppId(const URL_TYPE& category);
};

#endif  // QUARN_URL_URLTYPES_H_
