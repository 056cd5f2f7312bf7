#include "capture/capture_builder.h"

#include <arpa/inet.h>
#include <pcap/pcap.h>
#include <stdio.h>

namespace quarn_test {

namespace {

void Put16(std::string* s, uint32_t v) {
  s->push_back(static_cast<char>(v >> 8));
  s->push_back(static_cast<char>(v));
}
void Put32(std::string* s, uint32_t v) {
  Put16(s, v >> 16);
  Put16(s, v & 0xFFFF);
}
// Little-endian, for pcapng blocks.
void Le16(std::string* s, uint32_t v) {
  s->push_back(static_cast<char>(v));
  s->push_back(static_cast<char>(v >> 8));
}
void Le32(std::string* s, uint32_t v) {
  Le16(s, v & 0xFFFF);
  Le16(s, v >> 16);
}

std::string Ipv4(uint32_t src, uint32_t dst, uint8_t proto,
                 const std::string& l4) {
  std::string ip;
  ip.push_back(0x45);
  ip.push_back(0);
  Put16(&ip, 20 + l4.size());
  Put16(&ip, 1);       // id
  Put16(&ip, 0x4000);  // don't fragment
  ip.push_back(64);
  ip.push_back(static_cast<char>(proto));
  Put16(&ip, 0);  // checksum: not checked by the reader
  Put32(&ip, src);
  Put32(&ip, dst);
  return ip + l4;
}

// A DNS name in labels.
std::string Labels(const std::string& name) {
  std::string out;
  size_t start = 0;
  while (start <= name.size()) {
    size_t dot = name.find('.', start);
    if (dot == std::string::npos) dot = name.size();
    out.push_back(static_cast<char>(dot - start));
    out += name.substr(start, dot - start);
    start = dot + 1;
  }
  out.push_back(0);
  return out;
}

}  // namespace

uint32_t Ip(const char* dotted) {
  in_addr a;
  inet_pton(AF_INET, dotted, &a);
  return ntohl(a.s_addr);
}

std::string Mac(uint8_t last) {
  return std::string("\x02\x00\x00\x00\x00", 5) +
         std::string(1, static_cast<char>(last));
}

std::string TcpPacket(uint32_t src, uint16_t sport, uint32_t dst,
                      uint16_t dport, uint32_t seq, uint32_t ack, uint8_t flags,
                      const std::string& payload) {
  std::string tcp;
  Put16(&tcp, sport);
  Put16(&tcp, dport);
  Put32(&tcp, seq);
  Put32(&tcp, ack);
  tcp.push_back(0x50);
  tcp.push_back(static_cast<char>(flags));
  Put16(&tcp, 65535);
  Put32(&tcp, 0);  // checksum, urgent pointer
  return Ipv4(src, dst, 6, tcp + payload);
}

std::string UdpPacket(uint32_t src, uint16_t sport, uint32_t dst,
                      uint16_t dport, const std::string& payload) {
  std::string udp;
  Put16(&udp, sport);
  Put16(&udp, dport);
  Put16(&udp, 8 + payload.size());
  Put16(&udp, 0);
  return Ipv4(src, dst, 17, udp + payload);
}

std::string Ethernet(const std::string& packet, uint8_t src_last,
                     uint8_t dst_last, const std::vector<uint16_t>& tpids,
                     uint16_t ethertype) {
  std::string frame = Mac(dst_last) + Mac(src_last);
  for (size_t i = 0; i < tpids.size(); ++i) {
    Put16(&frame, tpids[i]);
    Put16(&frame, 100 + i);  // the VLAN id
  }
  Put16(&frame, ethertype);
  return frame + packet;
}

std::string CookedV1(const std::string& packet, uint8_t src_last,
                     uint16_t protocol) {
  std::string h;
  Put16(&h, 0);  // sent to us
  Put16(&h, 1);  // ARPHRD_ETHER
  Put16(&h, 6);
  h += Mac(src_last) + std::string(2, '\0');
  Put16(&h, protocol);
  return h + packet;
}

std::string CookedV2(const std::string& packet, uint8_t src_last,
                     uint16_t protocol) {
  std::string h;
  Put16(&h, protocol);
  Put16(&h, 0);
  Put32(&h, 2);  // interface index
  Put16(&h, 1);  // ARPHRD_ETHER
  h.push_back(0);
  h.push_back(6);
  h += Mac(src_last) + std::string(2, '\0');
  return h + packet;
}

std::string DnsResponse(const std::string& name,
                        const std::vector<uint32_t>& ips) {
  std::string m;
  Put16(&m, 0x1234);
  Put16(&m, 0x8180);  // response, recursion
  Put16(&m, 1);
  Put16(&m, ips.size());
  Put32(&m, 0);
  m += Labels(name);
  Put16(&m, 1);  // A
  Put16(&m, 1);  // IN
  for (uint32_t ip : ips) {
    Put16(&m, 0xC00C);  // the question's name
    Put16(&m, 1);
    Put16(&m, 1);
    Put32(&m, 300);
    Put16(&m, 4);
    Put32(&m, ip);
  }
  return m;
}

std::string ClientHello(const std::string& sni, size_t padding) {
  std::string ext;
  if (padding > 0) {
    Put16(&ext, 21);  // padding extension
    Put16(&ext, padding);
    ext += std::string(padding, '\0');
  }
  Put16(&ext, 0);  // server name
  Put16(&ext, sni.size() + 5);
  Put16(&ext, sni.size() + 3);
  ext.push_back(0);
  Put16(&ext, sni.size());
  ext += sni;
  std::string body;
  Put16(&body, 0x0303);
  body += std::string(32, 'r');
  body.push_back(0);  // no session id
  Put16(&body, 2);
  Put16(&body, 0x1301);
  body.push_back(1);
  body.push_back(0);
  Put16(&body, ext.size());
  body += ext;
  std::string hs;
  hs.push_back(1);
  hs.push_back(static_cast<char>(body.size() >> 16));
  Put16(&hs, body.size() & 0xFFFF);
  hs += body;
  std::string record;
  record.push_back(0x16);
  Put16(&record, 0x0301);
  Put16(&record, hs.size());
  return record + hs;
}

bool WritePcap(const std::string& path, int dlt,
               const std::vector<Frame>& frames, int snaplen) {
  pcap_t* dead = pcap_open_dead(dlt, snaplen);
  if (dead == nullptr) return false;
  pcap_dumper_t* dumper = pcap_dump_open(dead, path.c_str());
  if (dumper == nullptr) {
    pcap_close(dead);
    return false;
  }
  for (const Frame& f : frames) {
    pcap_pkthdr h;
    h.ts.tv_sec = f.sec;
    h.ts.tv_usec = f.usec;
    h.len = static_cast<bpf_u_int32>(f.bytes.size());
    h.caplen = f.caplen != 0 ? f.caplen : h.len;
    pcap_dump(reinterpret_cast<u_char*>(dumper), &h,
              reinterpret_cast<const u_char*>(f.bytes.data()));
  }
  pcap_dump_close(dumper);
  pcap_close(dead);
  return true;
}

bool WritePcapng(const std::string& path, int dlt,
                 const std::vector<Frame>& frames) {
  std::string out;
  // Section header block.
  Le32(&out, 0x0A0D0D0A);
  Le32(&out, 28);
  Le32(&out, 0x1A2B3C4D);
  Le16(&out, 1);
  Le16(&out, 0);
  Le32(&out, 0xFFFFFFFF);  // section length unknown
  Le32(&out, 0xFFFFFFFF);
  Le32(&out, 28);
  // Interface description block: microsecond time stamps by default.
  Le32(&out, 1);
  Le32(&out, 20);
  Le16(&out, dlt);
  Le16(&out, 0);
  Le32(&out, 65535);
  Le32(&out, 20);
  for (const Frame& f : frames) {
    const uint32_t caplen =
        f.caplen != 0 ? f.caplen : static_cast<uint32_t>(f.bytes.size());
    const uint32_t padded = (caplen + 3) & ~3u;
    const uint32_t total = 32 + padded;
    const uint64_t ts = static_cast<uint64_t>(f.sec) * 1000000 + f.usec;
    Le32(&out, 6);  // enhanced packet block
    Le32(&out, total);
    Le32(&out, 0);  // interface 0
    Le32(&out, static_cast<uint32_t>(ts >> 32));
    Le32(&out, static_cast<uint32_t>(ts));
    Le32(&out, caplen);
    Le32(&out, static_cast<uint32_t>(f.bytes.size()));
    out += f.bytes.substr(0, caplen);
    out += std::string(padded - caplen, '\0');
    Le32(&out, total);
  }
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool ok = fwrite(out.data(), 1, out.size(), file) == out.size();
  return fclose(file) == 0 && ok;
}

}  // namespace quarn_test
