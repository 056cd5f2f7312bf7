#include "base/OrvaAddr.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include "base/internal/TextNumber.h"

namespace Orva {
namespace {

const char* SkipSpace(const char* p) {
  while (isspace(static_cast<unsigned char>(*p))) ++p;
  return p;
}

// Reads "a.b.c.d" at *p, advancing past it. Each part is 1 to 3 digits
// with a value up to 255.
bool ReadDotted(const char** p, uint32_t* ip) {
  const char* s = *p;
  uint32_t result = 0;
  for (int part = 0; part < 4; ++part) {
    if (part > 0) {
      if (*s != '.') return false;
      ++s;
    }
    int digits = 0;
    uint32_t octet = 0;
    while (isdigit(static_cast<unsigned char>(*s)) && digits < 4) {
      octet = octet * 10 + static_cast<uint32_t>(*s - '0');
      ++s;
      ++digits;
    }
    if (digits == 0 || digits > 3 || octet > 255) return false;
    result = (result << 8) | octet;
  }
  *p = s;
  *ip = result;
  return true;
}

bool ReadUint16(const char** p, uint16_t* value) {
  const char* s = *p;
  uint32_t result = 0;
  int digits = 0;
  while (isdigit(static_cast<unsigned char>(*s))) {
    result = result * 10 + static_cast<uint32_t>(*s - '0');
    if (result > 65535) return false;
    ++s;
    ++digits;
  }
  if (digits == 0) return false;
  *p = s;
  *value = static_cast<uint16_t>(result);
  return true;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string hip_to_string(uint32_t ip) {
  char text[16];
  snprintf(text, sizeof(text), "%u.%u.%u.%u", ip >> 24, (ip >> 16) & 0xFF,
           (ip >> 8) & 0xFF, ip & 0xFF);
  return text;
}

bool string_to_hip(const char* text, uint32_t* ip) {
  if (text == nullptr || ip == nullptr) return false;
  const char* p = SkipSpace(text);
  uint32_t parsed;
  if (!ReadDotted(&p, &parsed) || *SkipSpace(p) != '\0') return false;
  *ip = parsed;
  return true;
}

std::string hip_range_to_string(const IP_RANGE_PAIR& range) {
  if (range.first == range.second) return hip_to_string(range.first);
  return hip_to_string(range.first) + "-" + hip_to_string(range.second);
}

bool string_to_hip_range(const char* text, IP_RANGE_PAIR* range) {
  if (text == nullptr || range == nullptr) return false;
  const char* p = SkipSpace(text);
  uint32_t low, high;
  if (!ReadDotted(&p, &low)) return false;
  p = SkipSpace(p);
  high = low;
  if (*p == '-') {
    p = SkipSpace(p + 1);
    if (!ReadDotted(&p, &high)) return false;
    p = SkipSpace(p);
  }
  if (*p != '\0') return false;
  if (low > high) std::swap(low, high);
  *range = IP_RANGE_PAIR(low, high);
  return true;
}

std::string uint16_range_to_string(const UINT16_RANGE_PAIR& range) {
  if (range.first == range.second) return std::to_string(range.first);
  return std::to_string(range.first) + "-" + std::to_string(range.second);
}

bool string_to_uint16_range(const char* text, UINT16_RANGE_PAIR* range) {
  if (text == nullptr || range == nullptr) return false;
  const char* p = SkipSpace(text);
  uint16_t low, high;
  if (!ReadUint16(&p, &low)) return false;
  p = SkipSpace(p);
  high = low;
  if (*p == '-') {
    p = SkipSpace(p + 1);
    if (!ReadUint16(&p, &high)) return false;
    p = SkipSpace(p);
  }
  if (*p != '\0') return false;
  if (low > high) std::swap(low, high);
  *range = UINT16_RANGE_PAIR(low, high);
  return true;
}

std::string mac_addr_to_a(const unsigned char* mac, char separator) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string text;
  for (int i = 0; i < 6; ++i) {
    if (i > 0 && separator != '\0') text += separator;
    text += kHex[mac[i] >> 4];
    text += kHex[mac[i] & 0x0F];
  }
  return text;
}

bool a_to_mac_addr(const char* text, unsigned char* mac) {
  if (text == nullptr || mac == nullptr) return false;
  const char* p = SkipSpace(text);
  unsigned char parsed[6];
  char separator = '\0';
  for (int i = 0; i < 6; ++i) {
    if (i == 1 && (*p == '-' || *p == ':')) separator = *p;
    if (i > 0 && separator != '\0') {
      if (*p != separator) return false;
      ++p;
    }
    int high = HexValue(p[0]);
    int low = high < 0 ? -1 : HexValue(p[1]);
    if (low < 0) return false;
    parsed[i] = static_cast<unsigned char>(high * 16 + low);
    p += 2;
  }
  if (*SkipSpace(p) != '\0') return false;
  memcpy(mac, parsed, 6);
  return true;
}

uint64_t mac_to_uint64(const unsigned char* mac) {
  uint64_t value = 0;
  for (int i = 0; i < 6; ++i) value = (value << 8) | mac[i];
  return value;
}

void uint64_to_mac(uint64_t value, unsigned char* mac) {
  for (int i = 5; i >= 0; --i) {
    mac[i] = static_cast<unsigned char>(value & 0xFF);
    value >>= 8;
  }
}

}  // namespace Orva
