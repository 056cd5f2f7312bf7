// Decoding of DNS messages as they come off the wire (UDP payloads, no
// length prefix). The decoder never reads outside the payload, whatever it
// holds: names that point past the end or into a loop, and counts larger
// than the message, make the message malformed.

#ifndef QUARN_BASE_CCOMMONDNSDECODE_H_
#define QUARN_BASE_CCOMMONDNSDECODE_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

class QUARN_EXPORT CCommonDNSDecode {
 public:
  // The fixed twelve-byte header, in host byte order.
  struct DNS_HEADER {
    uint16_t id = 0;
    uint16_t flags = 0;
    uint16_t qdcount = 0;  // questions
    uint16_t ancount = 0;  // answers
    uint16_t nscount = 0;  // authority records
    uint16_t arcount = 0;  // additional records
  };

  // One IPv4 address learnt from a response.
  struct DNS_RSP_ADDR {
    uint32_t ip = 0;   // network byte order, as on the wire
    std::string name;  // dotted, no trailing dot
  };

  // Reads the header of `payload`. Returns 1 for a response, 0 for a query
  // and -1 when the payload is too short to hold a header.
  static int DNSDecode_Header(const char* payload, int length,
                              DNS_HEADER& header);

  // Collects the IPv4 addresses (class IN, type A) of the answer section of
  // a response. Each address comes with the name that owns its record and,
  // when a chain of aliases led there from a different name, once more
  // with the first question's name, so the address can be tied back to the
  // name the client asked for. Returns 1, or 0 when the message is
  // malformed (then `answers` holds nothing).
  static int DSNDecode_Rsp(const char* payload, int length,
                           std::vector<DNS_RSP_ADDR>& answers);
};

#endif  // QUARN_BASE_CCOMMONDNSDECODE_H_
