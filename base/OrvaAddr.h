// Text forms of IPv4 addresses, address ranges, port ranges and MAC
// addresses, shared by the XML wrapper and every component that prints or
// parses them. docs/FORMATS.md describes each form.

#ifndef QUARN_BASE_ORVAADDR_H_
#define QUARN_BASE_ORVAADDR_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>

#include "quarn_common/base/CTinyXmlEx.h"

namespace Orva {

// "192.168.1.10" for 0xC0A8010A (host order, most significant octet first).
QUARN_EXPORT std::string hip_to_string(uint32_t ip);
// Parses a dotted address with surrounding white space allowed. Returns
// false, leaving `*ip` untouched, on anything else.
QUARN_EXPORT bool string_to_hip(const char* text, uint32_t* ip);

// "a.b.c.d-e.f.g.h"; a range of one address prints as that address.
QUARN_EXPORT std::string hip_range_to_string(const IP_RANGE_PAIR& range);
// Accepts "a.b.c.d-e.f.g.h" or one address. A range written high to low is
// put in order. False on anything else.
QUARN_EXPORT bool string_to_hip_range(const char* text, IP_RANGE_PAIR* range);

// "80" or "8000-8080".
QUARN_EXPORT std::string uint16_range_to_string(const UINT16_RANGE_PAIR& range);
QUARN_EXPORT bool string_to_uint16_range(const char* text,
                                         UINT16_RANGE_PAIR* range);

// "00-1A-2B-3C-4D-5E": six bytes in upper-case hex joined by `separator`
// (none when it is 0).
QUARN_EXPORT std::string mac_addr_to_a(const unsigned char* mac,
                                       char separator = '-');
// Accepts six hex pairs joined by "-", ":" or nothing, in either case.
QUARN_EXPORT bool a_to_mac_addr(const char* text, unsigned char* mac);

// The six bytes of `mac` as the low 48 bits of an integer, first byte most
// significant, and back.
QUARN_EXPORT uint64_t mac_to_uint64(const unsigned char* mac);
QUARN_EXPORT void uint64_to_mac(uint64_t value, unsigned char* mac);

}  // namespace Orva

#endif  // QUARN_BASE_ORVAADDR_H_
