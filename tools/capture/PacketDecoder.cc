#include <pcap/dlt.h>

#include "tools/capture/PacketDecoder_internal.h"

namespace quarn_tool {

namespace {

constexpr uint16_t kEtherIpv4 = 0x0800;
constexpr uint16_t kEtherArp = 0x0806;
constexpr uint16_t kEtherRarp = 0x8035;
constexpr uint16_t kEtherIpv6 = 0x86DD;
constexpr uint16_t kEtherVlan = 0x8100;
constexpr uint16_t kEtherQinQ = 0x88A8;
constexpr uint16_t kEtherQinQOld = 0x9100;
constexpr int kMaxTags = 8;
constexpr uint16_t kArphrdEther = 1;

constexpr uint8_t kProtoIcmp = 1;
constexpr uint8_t kProtoTcp = 6;
constexpr uint8_t kProtoUdp = 17;

inline uint16_t Be16(const uint8_t* p) {
  return static_cast<uint16_t>((p[0] << 8) | p[1]);
}
inline uint32_t Be32(const uint8_t* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) |
         (uint32_t{p[2]} << 8) | p[3];
}

// The bytes of a frame from one header on: what was captured and what
// was on the wire.
struct Span {
  const uint8_t* data;
  uint32_t caplen;
  uint32_t wirelen;
};

inline Span Skip(const Span& s, uint32_t n) {
  return Span{s.data + n, s.caplen - n, s.wirelen - n};
}

// A header of `need` bytes that is not all there: truncated when the snap
// length cut it, a bad header when the frame itself is that short.
inline PacketKind Short(const Span& s, uint32_t need, const char* what,
                        DecodedPacket* out) {
  out->problem = what;
  return s.wirelen >= need ? kPacketTruncated : kPacketBadHeader;
}

PacketKind DecodeTcp(const uint8_t* l4, uint32_t avail, uint32_t length,
                     bool cut, DecodedPacket* out) {
  if (length < 20) {
    out->problem = "TCP header longer than the IPv4 payload";
    return kPacketBadHeader;
  }
  if (avail < 20) {
    out->problem = "TCP header cut by the snap length";
    return kPacketTruncated;
  }
  const uint32_t offset = (l4[12] >> 4) * 4u;
  if (offset < 20 || offset > length) {
    out->problem = "bad TCP header length";
    return kPacketBadHeader;
  }
  if (offset > avail) {
    out->problem = "TCP options cut by the snap length";
    return kPacketTruncated;
  }
  out->src_port = Be16(l4);
  out->dst_port = Be16(l4 + 2);
  out->seq = Be32(l4 + 4);
  out->ack = Be32(l4 + 8);
  out->tcp_flags = l4[13];
  out->protocol = kProtoTcp;
  out->payload = l4 + offset;
  out->payload_len = avail - offset;
  out->payload_cut = cut;
  return kPacketTcp;
}

PacketKind DecodeUdp(const uint8_t* l4, uint32_t avail, uint32_t length,
                     bool cut, DecodedPacket* out) {
  if (length < 8) {
    out->problem = "UDP header longer than the IPv4 payload";
    return kPacketBadHeader;
  }
  if (avail < 8) {
    out->problem = "UDP header cut by the snap length";
    return kPacketTruncated;
  }
  const uint32_t udp_len = Be16(l4 + 4);
  if (udp_len < 8 || udp_len > length) {
    out->problem = "bad UDP length";
    return kPacketBadHeader;
  }
  out->src_port = Be16(l4);
  out->dst_port = Be16(l4 + 2);
  out->protocol = kProtoUdp;
  out->payload = l4 + 8;
  out->payload_len = (udp_len < avail ? udp_len : avail) - 8;
  out->payload_cut = cut && udp_len > avail;
  return kPacketUdp;
}

PacketKind DecodeIpv4(const Span& s, DecodedPacket* out) {
  if (s.caplen < 20) return Short(s, 20, "IPv4 header cut short", out);
  const uint8_t* ip = s.data;
  if ((ip[0] >> 4) != 4) {
    out->problem = "IPv4 version is not 4";
    return kPacketBadHeader;
  }
  const uint32_t ihl = (ip[0] & 0x0F) * 4u;
  const uint32_t total = Be16(ip + 2);
  if (ihl < 20 || total < ihl || total > s.wirelen) {
    out->problem = "bad IPv4 header or total length";
    return kPacketBadHeader;
  }
  if (s.caplen < ihl) return Short(s, ihl, "IPv4 options cut short", out);
  // Ethernet pads short frames: the IPv4 total length says where the
  // packet ends.
  const uint32_t avail = total < s.caplen ? total : s.caplen;
  const bool cut = total > s.caplen;
  if ((Be16(ip + 6) & 0x3FFF) != 0) return kPacketFragment;
  out->src_ip = Be32(ip + 12);
  out->dst_ip = Be32(ip + 16);
  const uint8_t proto = ip[9];
  if (proto == kProtoTcp) {
    return DecodeTcp(ip + ihl, avail - ihl, total - ihl, cut, out);
  }
  if (proto == kProtoUdp) {
    return DecodeUdp(ip + ihl, avail - ihl, total - ihl, cut, out);
  }
  return proto == kProtoIcmp ? kPacketIcmp : kPacketOtherIpv4;
}

// Everything after an EtherType; VLAN tags are skipped first.
PacketKind DecodeEtherType(uint16_t type, const Span& start,
                           DecodedPacket* out) {
  Span s = start;
  for (int tags = 0;
       type == kEtherVlan || type == kEtherQinQ || type == kEtherQinQOld;
       ++tags) {
    if (tags == kMaxTags) {
      out->problem = "too many VLAN tags";
      return kPacketBadHeader;
    }
    if (s.caplen < 4) return Short(s, 4, "VLAN tag cut short", out);
    type = Be16(s.data + 2);
    s = Skip(s, 4);
  }
  switch (type) {
    case kEtherIpv4:
      return DecodeIpv4(s, out);
    case kEtherIpv6:
      return kPacketIpv6;
    case kEtherArp:
    case kEtherRarp:
      return kPacketArp;
    default:
      return kPacketOtherLink;
  }
}

PacketKind DecodeEthernet(const Span& s, DecodedPacket* out) {
  if (s.caplen < 14) return Short(s, 14, "Ethernet header cut short", out);
  out->dst_mac = s.data;
  out->src_mac = s.data + 6;
  return DecodeEtherType(Be16(s.data + 12), Skip(s, 14), out);
}

// Cooked captures carry the sender's link address only.
void CookedMac(uint16_t hatype, uint32_t addr_len, const uint8_t* addr,
               DecodedPacket* out) {
  if (hatype == kArphrdEther && addr_len == 6) out->src_mac = addr;
}

PacketKind DecodeCookedV1(const Span& s, DecodedPacket* out) {
  if (s.caplen < 16) return Short(s, 16, "cooked header cut short", out);
  CookedMac(Be16(s.data + 2), Be16(s.data + 4), s.data + 6, out);
  return DecodeEtherType(Be16(s.data + 14), Skip(s, 16), out);
}

PacketKind DecodeCookedV2(const Span& s, DecodedPacket* out) {
  if (s.caplen < 20) return Short(s, 20, "cooked v2 header cut short", out);
  CookedMac(Be16(s.data + 8), s.data[11], s.data + 12, out);
  return DecodeEtherType(Be16(s.data), Skip(s, 20), out);
}

PacketKind DecodeRaw(const Span& s, bool v4_only, DecodedPacket* out) {
  if (s.caplen < 1) return Short(s, 1, "empty packet", out);
  const int version = s.data[0] >> 4;
  if (version == 6 && !v4_only) return kPacketIpv6;
  return DecodeIpv4(s, out);
}

}  // namespace

CaptureLink LinkFromDlt(int dlt) {
  switch (dlt) {
    case DLT_EN10MB:
      return kLinkEthernet;
    case DLT_LINUX_SLL:
      return kLinkCookedV1;
    case DLT_LINUX_SLL2:
      return kLinkCookedV2;
    case DLT_RAW:
      return kLinkRawIp;
    case DLT_IPV4:
      return kLinkRawIpv4;
    default:
      return kLinkUnsupported;
  }
}

PacketKind DecodePacket(CaptureLink link, const uint8_t* frame, uint32_t caplen,
                        uint32_t wirelen, DecodedPacket* out) {
  // libpcap never hands out more than the frame; a record that claims so
  // is read as if it were the frame.
  const Span s{frame, caplen, wirelen < caplen ? caplen : wirelen};
  switch (link) {
    case kLinkEthernet:
      return DecodeEthernet(s, out);
    case kLinkCookedV1:
      return DecodeCookedV1(s, out);
    case kLinkCookedV2:
      return DecodeCookedV2(s, out);
    case kLinkRawIp:
      return DecodeRaw(s, false, out);
    case kLinkRawIpv4:
      return DecodeRaw(s, true, out);
    default:
      return kPacketOtherLink;
  }
}

}  // namespace quarn_tool
