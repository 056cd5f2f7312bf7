// Decoding of one captured frame down to its IPv4 TCP or UDP payload.
// Stateless; no allocation.

#ifndef QUARN_TOOLS_CAPTURE_PACKETDECODER_INTERNAL_H_
#define QUARN_TOOLS_CAPTURE_PACKETDECODER_INTERNAL_H_

#include <stddef.h>
#include <stdint.h>

namespace quarn_tool {

// The link layers read (libpcap's DLT_ numbering is mapped onto these by
// LinkFromDlt).
enum CaptureLink {
  kLinkUnsupported = 0,
  kLinkEthernet,  // with any number (up to 8) of 802.1Q / 802.1ad tags
  kLinkCookedV1,  // Linux cooked capture, 16-byte header
  kLinkCookedV2,  // Linux cooked capture v2, 20-byte header
  kLinkRawIp,     // no link header: IPv4 or IPv6 by the version nibble
  kLinkRawIpv4,   // no link header: IPv4 only
};

// The link of libpcap's data link type `dlt`.
CaptureLink LinkFromDlt(int dlt);

// What a frame turned out to be.
enum PacketKind {
  kPacketTcp = 0,
  kPacketUdp,
  kPacketIpv6,
  kPacketArp,
  kPacketIcmp,
  kPacketOtherIpv4,
  kPacketFragment,
  kPacketOtherLink,
  kPacketTruncated,  // the capture ends before the headers needed
  kPacketBadHeader,  // a length field that cannot be right
};

// TCP flag bits as on the wire.
enum : uint8_t {
  kTcpFin = 0x01,
  kTcpSyn = 0x02,
  kTcpRst = 0x04,
  kTcpPsh = 0x08,
  kTcpAck = 0x10,
};

// One decoded IPv4 TCP or UDP packet. Pointers point into the frame.
struct DecodedPacket {
  uint32_t src_ip = 0;  // host order
  uint32_t dst_ip = 0;
  uint16_t src_port = 0;
  uint16_t dst_port = 0;
  uint8_t protocol = 0;  // 6 or 17
  uint8_t tcp_flags = 0;
  uint32_t seq = 0;  // TCP only
  uint32_t ack = 0;
  const uint8_t* src_mac = nullptr;  // null when the link has none
  const uint8_t* dst_mac = nullptr;
  const uint8_t* payload = nullptr;
  uint32_t payload_len = 0;       // as captured
  bool payload_cut = false;       // the snap length cut the payload short
  const char* problem = nullptr;  // for truncated and bad header: what
};

// Decodes `caplen` captured bytes of a frame `wirelen` bytes long. For
// kPacketTcp and kPacketUdp, *out describes the packet; for
// kPacketTruncated and kPacketBadHeader, out->problem names the fault.
PacketKind DecodePacket(CaptureLink link, const uint8_t* frame, uint32_t caplen,
                        uint32_t wirelen, DecodedPacket* out);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_CAPTURE_PACKETDECODER_INTERNAL_H_
