// Small helpers shared by the employee stores: index keys of MACs, MAC
// tests, the clock and the marks around byte-stream records.

#ifndef QUARN_EMPLOYEE_INTERNAL_EMPLOYEEKEYS_H_
#define QUARN_EMPLOYEE_INTERNAL_EMPLOYEEKEYS_H_

#include <stdint.h>
#include <string.h>

#include <ace/OS_NS_sys_time.h>
#include <ace/Time_Value.h>

#include "base/CData_Stream_LE.h"

namespace quarn_employee {

// True for a null or all-zero MAC: "no MAC known".
inline bool IsZeroMac(const void* mac) {
  static const unsigned char kZero[6] = {0, 0, 0, 0, 0, 0};
  return mac == nullptr || memcmp(mac, kZero, 6) == 0;
}

inline bool IsBroadcastMac(const void* mac) {
  static const unsigned char kAll[6] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  return mac != nullptr && memcmp(mac, kAll, 6) == 0;
}

// A MAC as its index key: the six bytes as one number, first byte most
// significant, so the index spreads hosts by the last two bytes (the
// key's low 16 bits), the ones that differ most between the network cards
// of one vendor.
inline uint64_t MacKey(const unsigned char* mac) {
  if (mac == nullptr) return 0;
  uint64_t key = 0;
  for (int i = 0; i < 6; ++i) key = (key << 8) | mac[i];
  return key;
}

inline bool SameMac(const unsigned char* a, const unsigned char* b) {
  return memcmp(a, b, 6) == 0;
}

// The system time in whole seconds.
inline int32_t NowSeconds() {
  return static_cast<int32_t>(ACE_OS::gettimeofday().sec());
}

// Byte-stream records begin with eight bytes kStreamStartMark and end with
// eight bytes kStreamEndMark.
const char kStreamStartMark = 0x41;
const char kStreamEndMark = 0x42;
const size_t kStreamMarkSize = 8;

inline void PutStreamMark(char*& p, char mark) {
  memset(p, mark, kStreamMarkSize);
  p += kStreamMarkSize;
}

// Reads eight bytes and tells whether all of them are `mark`.
inline bool GetStreamMark(CData_Stream_LE& in, char mark) {
  char bytes[kStreamMarkSize];
  if (!in.GetBytes(bytes, kStreamMarkSize)) return false;
  for (char b : bytes) {
    if (b != mark) return false;
  }
  return true;
}

}  // namespace quarn_employee

#endif  // QUARN_EMPLOYEE_INTERNAL_EMPLOYEEKEYS_H_
