// The packet decoder's per-packet context record, as the gateway's capture
// processes fill it and hand it to the library.
//
// The library reads only the application id and the two endpoints; the
// rest of the record is the decoder's own state and is kept as opaque bytes
// so that the fields read here sit at the decoder's byte offsets: the
// application id at 12, the source address at 88, the source port at 92,
// the destination address at 96 and the destination port at 100. Addresses
// are host-order IPv4. The offsets are fixed by the decoder, so they are
// checked at compile time below.

#ifndef QUARN_BASE_CCOMMONMACTCPIPDECODE_H_
#define QUARN_BASE_CCOMMONMACTCPIPDECODE_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

class QUARN_EXPORT CCommonMacTCPIPDecode {
 public:
  struct TCPIP_DECODE_CONTEXT {
    unsigned char decoder_state0[12];  // frame and length: decoder's own
    uint32_t app_type;                 // application id of the connection
    unsigned char decoder_state1[72];  // headers and flags: decoder's own
    uint32_t src_ip;                   // host order
    uint16_t src_port;
    uint16_t reserved0;
    uint32_t dst_ip;  // host order
    uint16_t dst_port;
    uint16_t reserved1;
  };
};

static_assert(offsetof(CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT, app_type) ==
                  12,
              "decoder record layout");
static_assert(offsetof(CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT, src_ip) ==
                  88,
              "decoder record layout");
static_assert(offsetof(CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT, src_port) ==
                  92,
              "decoder record layout");
static_assert(offsetof(CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT, dst_ip) ==
                  96,
              "decoder record layout");
static_assert(offsetof(CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT, dst_port) ==
                  100,
              "decoder record layout");

#endif  // QUARN_BASE_CCOMMONMACTCPIPDECODE_H_
