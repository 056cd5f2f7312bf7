// Packets and capture files made by hand, for the capture reader's tests
// and benchmark: IPv4 TCP and UDP packets in Ethernet (with VLAN tags),
// Linux cooked (v1, v2) or raw framing, DNS responses and TLS
// ClientHellos, written as pcap (through libpcap) or pcapng (blocks
// written here).

#ifndef QUARN_TESTS_CAPTURE_CAPTURE_BUILDER_H_
#define QUARN_TESTS_CAPTURE_CAPTURE_BUILDER_H_

#include <stdint.h>

#include <string>
#include <vector>

namespace quarn_test {

// A dotted IPv4 address in host order.
uint32_t Ip(const char* dotted);

// An IPv4 packet carrying TCP with `flags` (FIN 1, SYN 2, RST 4, PSH 8,
// ACK 16) or UDP.
std::string TcpPacket(uint32_t src, uint16_t sport, uint32_t dst,
                      uint16_t dport, uint32_t seq, uint32_t ack, uint8_t flags,
                      const std::string& payload = "");
std::string UdpPacket(uint32_t src, uint16_t sport, uint32_t dst,
                      uint16_t dport, const std::string& payload);

// Link framing of an IPv4 packet (EtherType 0x0800 unless told).
std::string Ethernet(const std::string& packet, uint8_t src_last = 1,
                     uint8_t dst_last = 2,
                     const std::vector<uint16_t>& tpids = {},
                     uint16_t ethertype = 0x0800);
std::string CookedV1(const std::string& packet, uint8_t src_last = 1,
                     uint16_t protocol = 0x0800);
std::string CookedV2(const std::string& packet, uint8_t src_last = 1,
                     uint16_t protocol = 0x0800);
// The MAC address the framing above gives: 02:00:00:00:00:<last>.
std::string Mac(uint8_t last);

// A DNS response to a question for `name`, answering with the A records
// `ips` (all owned by `name`).
std::string DnsResponse(const std::string& name,
                        const std::vector<uint32_t>& ips);
// A TLS record holding a ClientHello whose server name is `sni`, padded by
// an extension of `padding` bytes before the server name.
std::string ClientHello(const std::string& sni, size_t padding = 0);

struct Frame {
  std::string bytes;
  int64_t sec = 0;
  uint32_t usec = 0;
  uint32_t caplen = 0;  // bytes captured; 0 for all of them
};

// Writes `frames` with link type `dlt` and snap length `snaplen`: pcap
// through libpcap, or pcapng as blocks. False when the file cannot be
// written.
bool WritePcap(const std::string& path, int dlt,
               const std::vector<Frame>& frames, int snaplen = 65535);
bool WritePcapng(const std::string& path, int dlt,
                 const std::vector<Frame>& frames);

}  // namespace quarn_test

#endif  // QUARN_TESTS_CAPTURE_CAPTURE_BUILDER_H_
