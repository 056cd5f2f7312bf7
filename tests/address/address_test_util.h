// Small helpers shared by the address tests.

#ifndef QUARN_TESTS_ADDRESS_ADDRESS_TEST_UTIL_H_
#define QUARN_TESTS_ADDRESS_ADDRESS_TEST_UTIL_H_

#include <stdint.h>
#include <sys/stat.h>

#include <string>

#include "base/OrvaAddr.h"

namespace address_test {

// A scratch file path below the test binary's scratch directory.
inline std::string TmpPath(const std::string& name) {
  mkdir(QUARN_TEST_TMP_DIR, 0755);
  return std::string(QUARN_TEST_TMP_DIR) + "/" + name;
}

// Host-order address from dotted text; aborts the test on a typo.
inline uint32_t Ip(const char* text) {
  uint32_t ip = 0xDEADBEEF;
  Orva::string_to_hip(text, &ip);
  return ip;
}

}  // namespace address_test

#endif  // QUARN_TESTS_ADDRESS_ADDRESS_TEST_UTIL_H_
