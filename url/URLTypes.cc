#include "url/URLTypes.h"

int URL_GROUP_TYPE::TransToDBId(const URL_TYPE& category) {
  if (category.hitype == 0) return 0;
  return __builtin_ctzll(category.hitype) + 1;
}

URL_TYPE URL_GROUP_TYPE::TransFromDBId(int number) {
  if (number == 0) return URL_TYPE();
  unsigned int bit = (static_cast<unsigned int>(number) - 1u) % 64u;
  return URL_TYPE(uint64_t{1} << bit, 0);
}

uint32_t URL_GROUP_TYPE::TransToAppId(const URL_TYPE& category) {
  // Checked in this order: a category in two rows takes the first.
  static const struct {
    uint64_t mask;
    uint32_t appid;
  } kRows[] = {
      {2, 10120019},       // web video
      {8, 10090060},       // a game of the games group
      {4, 10020007},       // web mail
      {131072, 10100013},  // a stock client of the stocks group
  };
  for (const auto& row : kRows) {
    if (category.hitype & row.mask) return row.appid;
  }
  return 0;
}
