// Packets per second of the capture reader alone (decoding, flows, names;
// flows handed to a sink that only counts them), beside libpcap reading
// the same file and doing nothing.
//
//   capture_bench [capture...]
//       Writes a synthetic capture of QUARN_BENCH_PACKETS packets (default
//       2,000,000: short TCP flows with HTTP requests and TLS ClientHellos,
//       DNS answers) to /tmp, measures it, then each capture named, read
//       as many times as makes at least 1,000,000 packets.
//   capture_bench --synthetic OUT PACKETS
//       Only writes the synthetic capture.
//   capture_bench --repeat IN TIMES OUT [--same-hosts]
//       Writes IN TIMES times over into OUT, each copy later than the one
//       before by more than its length and the idle timeout. Each copy
//       after the first also moves the private IPv4 addresses to hosts of
//       their own (the IPv4 header checksum follows): a busy network where
//       many hosts do what the capture's host did. Without that, a reader
//       that keeps a flow across idle gaps (ndpiReader does) would see the
//       capture's hundred flows again and again and inspect none of them
//       after the first copy. --same-hosts keeps the addresses as they are.
//   capture_bench --measure capture...
//       Measures the captures named, each read once.
//   capture_bench --flows capture
//       Prints every flow of the capture, one a line, and the counts.

#include <pcap/pcap.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <string>
#include <vector>

#include "capture/capture_builder.h"
#include "tools/capture/CaptureReader.h"

namespace {

using quarn_test::Ethernet;
using quarn_test::Frame;
using quarn_test::Ip;
using quarn_test::TcpPacket;
using quarn_test::UdpPacket;

double Now() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

// Writes the synthetic capture in pieces, so memory stays small.
bool WriteSynthetic(const std::string& path, uint64_t packets) {
  pcap_t* dead = pcap_open_dead(DLT_EN10MB, 65535);
  pcap_dumper_t* dumper = pcap_dump_open(dead, path.c_str());
  if (dumper == nullptr) return false;
  const std::string hello = quarn_test::ClientHello("bench.example.org", 200);
  const std::string request =
      "GET /bench/path HTTP/1.1\r\nHost: www.bench.example\r\n\r\n";
  uint64_t written = 0;
  auto dump = [&](const std::string& bytes, uint64_t n) {
    pcap_pkthdr h;
    h.ts.tv_sec = 1700000000 + static_cast<time_t>(n / 100000);
    h.ts.tv_usec = static_cast<suseconds_t>(n % 100000) * 10;
    h.caplen = h.len = static_cast<bpf_u_int32>(bytes.size());
    pcap_dump(reinterpret_cast<u_char*>(dumper), &h,
              reinterpret_cast<const u_char*>(bytes.data()));
    ++written;
  };
  // `dump` counts the packets written.
  for (uint64_t flow = 0;; ++flow) {
    if (written >= packets) break;
    const uint32_t client = Ip("10.0.0.0") + (flow % 50000);
    const uint32_t server = Ip("172.16.0.0") + (flow % 4093);
    const uint16_t port = static_cast<uint16_t>(1024 + flow % 60000);
    if (flow % 16 == 0) {
      dump(Ethernet(UdpPacket(Ip("8.8.8.8"), 53, client, port,
                              quarn_test::DnsResponse("d.example", {server}))),
           written);
      continue;
    }
    const bool tls = flow % 2 == 0;
    const uint16_t dport = tls ? 443 : 80;
    const std::string& data = tls ? hello : request;
    dump(Ethernet(TcpPacket(client, port, server, dport, 1, 0, 2)), written);
    dump(Ethernet(TcpPacket(server, dport, client, port, 9, 2, 18)), written);
    dump(Ethernet(TcpPacket(client, port, server, dport, 2, 10, 24, data)),
         written);
    for (int i = 0; i < 6; ++i) {
      dump(Ethernet(TcpPacket(server, dport, client, port, 10 + i * 1000,
                              2 + data.size(), 16, std::string(1000, 'x'))),
           written);
    }
    dump(Ethernet(
             TcpPacket(client, port, server, dport, 2 + data.size(), 6010, 17)),
         written);
    dump(Ethernet(
             TcpPacket(server, dport, client, port, 6010, 3 + data.size(), 17)),
         written);
  }
  pcap_dump_close(dumper);
  pcap_close(dead);
  return true;
}

// Reads `path` `rounds` times; prints and returns packets per second.
double Measure(const std::string& path, int rounds) {
  quarn_tool::CaptureReader reader(quarn_tool::CaptureOptions{});
  uint64_t flows = 0;
  const quarn_tool::CaptureReader::FlowSink sink =
      [&](const quarn_tool::CaptureFlow&) { ++flows; };
  std::string error;
  const double start = Now();
  for (int i = 0; i < rounds; ++i) {
    if (!reader.ReadFile(path, sink, nullptr, &error)) {
      fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
      return 0;
    }
  }
  const double seconds = Now() - start;
  const quarn_tool::CaptureCounts& c = reader.counts();
  const double pps = c.packets / seconds;
  printf(
      "%s x%d: %llu packets, %llu flows, %llu named (http %llu, sni %llu,"
      " dns %llu) in %.3f s: %.0f packets/s\n",
      path.c_str(), rounds, static_cast<unsigned long long>(c.packets),
      static_cast<unsigned long long>(flows),
      static_cast<unsigned long long>(c.names_http + c.names_sni + c.names_dns),
      static_cast<unsigned long long>(c.names_http),
      static_cast<unsigned long long>(c.names_sni),
      static_cast<unsigned long long>(c.names_dns), seconds, pps);
  return pps;
}

// libpcap alone: every record read and nothing done with it, the floor
// under the reader's figure.
void MeasureLibpcap(const std::string& path) {
  char errbuf[PCAP_ERRBUF_SIZE];
  pcap_t* p = pcap_open_offline(path.c_str(), errbuf);
  if (p == nullptr) return;
  pcap_pkthdr* h;
  const u_char* data;
  uint64_t n = 0, bytes = 0;
  const double start = Now();
  while (pcap_next_ex(p, &h, &data) == 1) {
    ++n;
    bytes += data[h->caplen / 2];
  }
  const double seconds = Now() - start;
  pcap_close(p);
  printf("%s: libpcap alone: %llu packets in %.3f s: %.0f packets/s (%llu)\n",
         path.c_str(), static_cast<unsigned long long>(n), seconds, n / seconds,
         static_cast<unsigned long long>(bytes & 1));
}

uint64_t CountPackets(const std::string& path) {
  quarn_tool::CaptureReader reader(quarn_tool::CaptureOptions{});
  std::string error;
  if (!reader.ReadFile(path, nullptr, nullptr, &error)) return 0;
  return reader.counts().packets;
}

}  // namespace

// Where the IPv4 header of a frame of link type `dlt` begins; -1 when the
// frame carries no IPv4 (or is too short to tell).
int Ipv4Offset(int dlt, const u_char* frame, uint32_t caplen) {
  auto type_at = [&](uint32_t at) {
    return at + 2 <= caplen ? frame[at] << 8 | frame[at + 1] : -1;
  };
  uint32_t offset = 0;
  int type = -1;
  switch (dlt) {
    case DLT_EN10MB:
      offset = 14;
      type = type_at(12);
      while (type == 0x8100 || type == 0x88A8) {
        type = type_at(offset + 2);
        offset += 4;
      }
      break;
    case DLT_LINUX_SLL:
      offset = 16;
      type = type_at(14);
      break;
    case DLT_LINUX_SLL2:
      offset = 20;
      type = type_at(0);
      break;
    case DLT_RAW:
    case DLT_IPV4:
      offset = 0;
      type = caplen > 0 && frame[0] >> 4 == 4 ? 0x0800 : -1;
      break;
    default:
      return -1;
  }
  if (type != 0x0800 || offset + 20 > caplen) return -1;
  return static_cast<int>(offset);
}

bool IsPrivate(const u_char* a) {
  return a[0] == 10 || (a[0] == 172 && (a[1] & 0xF0) == 16) ||
         (a[0] == 192 && a[1] == 168);
}

// Moves the private addresses of an IPv4 frame to the hosts of copy
// `copy` (the third and fourth bytes changed, so the address stays in its
// private range and each copy's hosts are distinct), and sets the header
// checksum again.
void Renumber(int dlt, u_char* frame, uint32_t caplen, int copy) {
  const int at = Ipv4Offset(dlt, frame, caplen);
  if (at < 0) return;
  u_char* ip = frame + at;
  const uint32_t header = (ip[0] & 0x0Fu) * 4;
  if (header < 20 || at + header > caplen) return;
  for (u_char* a : {ip + 12, ip + 16}) {
    if (!IsPrivate(a)) continue;
    a[2] ^= static_cast<u_char>(copy & 0xFF);
    a[3] ^= static_cast<u_char>((copy >> 8) << 4);
  }
  ip[10] = ip[11] = 0;
  uint32_t sum = 0;
  for (uint32_t i = 0; i < header; i += 2) sum += ip[i] << 8 | ip[i + 1];
  while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
  ip[10] = static_cast<u_char>(~sum >> 8);
  ip[11] = static_cast<u_char>(~sum);
}

// Writes `in` `times` over into `out`; false on any failure.
bool Repeat(const std::string& in, int times, const std::string& out,
            bool same_hosts) {
  char errbuf[PCAP_ERRBUF_SIZE];
  pcap_t* first = pcap_open_offline(in.c_str(), errbuf);
  if (first == nullptr) return false;
  pcap_dumper_t* dumper = pcap_dump_open(first, out.c_str());
  if (dumper == nullptr) return false;
  pcap_pkthdr* h;
  const u_char* data;
  time_t begin = 0, end = 0;
  while (pcap_next_ex(first, &h, &data) == 1) {
    if (begin == 0) begin = h->ts.tv_sec;
    end = h->ts.tv_sec;
    pcap_dump(reinterpret_cast<u_char*>(dumper), h, data);
  }
  const time_t step = end - begin + 1000;
  for (int i = 1; i < times; ++i) {
    pcap_t* again = pcap_open_offline(in.c_str(), errbuf);
    if (again == nullptr) return false;
    const int dlt = pcap_datalink(again);
    std::vector<u_char> frame;
    while (pcap_next_ex(again, &h, &data) == 1) {
      pcap_pkthdr shifted = *h;
      shifted.ts.tv_sec += step * i;
      frame.assign(data, data + h->caplen);
      if (!same_hosts) Renumber(dlt, frame.data(), h->caplen, i);
      pcap_dump(reinterpret_cast<u_char*>(dumper), &shifted, frame.data());
    }
    pcap_close(again);
  }
  pcap_dump_close(dumper);
  pcap_close(first);
  return true;
}

int PrintFlows(const char* path) {
  quarn_tool::CaptureReader reader(quarn_tool::CaptureOptions{});
  std::string error;
  const bool ok = reader.ReadFile(
      path,
      [](const quarn_tool::CaptureFlow& f) {
        printf("%s %u.%u.%u.%u:%u %u.%u.%u.%u:%u %llu/%llu %s %s %s %s\n",
               f.protocol == 6 ? "TCP" : "UDP", f.ip[0] >> 24,
               f.ip[0] >> 16 & 255, f.ip[0] >> 8 & 255, f.ip[0] & 255,
               f.port[0], f.ip[1] >> 24, f.ip[1] >> 16 & 255,
               f.ip[1] >> 8 & 255, f.ip[1] & 255, f.port[1],
               static_cast<unsigned long long>(f.packets[0]),
               static_cast<unsigned long long>(f.packets[1]),
               quarn_tool::CaptureFlowEndName(f.end),
               quarn_tool::CaptureNameSourceName(f.name_source), f.host.c_str(),
               f.url.c_str());
      },
      [](const std::string& w) { printf("warning: %s\n", w.c_str()); }, &error);
  if (!ok) {
    fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  const quarn_tool::CaptureCounts& c = reader.counts();
  printf(
      "packets %llu tcp %llu udp %llu ipv6 %llu arp %llu icmp %llu "
      "other_ipv4 %llu fragments %llu other_link %llu truncated %llu "
      "bad_header %llu flows %llu\n",
      static_cast<unsigned long long>(c.packets),
      static_cast<unsigned long long>(c.ipv4_tcp),
      static_cast<unsigned long long>(c.ipv4_udp),
      static_cast<unsigned long long>(c.ipv6),
      static_cast<unsigned long long>(c.arp),
      static_cast<unsigned long long>(c.icmp),
      static_cast<unsigned long long>(c.other_ipv4),
      static_cast<unsigned long long>(c.fragments),
      static_cast<unsigned long long>(c.other_link),
      static_cast<unsigned long long>(c.truncated),
      static_cast<unsigned long long>(c.bad_header),
      static_cast<unsigned long long>(c.flows));
  return 0;
}

int main(int argc, char** argv) {
  if (argc == 3 && strcmp(argv[1], "--flows") == 0) return PrintFlows(argv[2]);
  if (argc == 4 && strcmp(argv[1], "--synthetic") == 0) {
    return WriteSynthetic(argv[2], strtoull(argv[3], nullptr, 10)) ? 0 : 1;
  }
  if ((argc == 5 || (argc == 6 && strcmp(argv[5], "--same-hosts") == 0)) &&
      strcmp(argv[1], "--repeat") == 0) {
    return Repeat(argv[2], atoi(argv[3]), argv[4], argc == 6) ? 0 : 1;
  }
  if (argc >= 2 && strcmp(argv[1], "--measure") == 0) {
    for (int i = 2; i < argc; ++i) {
      if (CountPackets(argv[i]) == 0) return 1;
      MeasureLibpcap(argv[i]);
      Measure(argv[i], 1);
    }
    return 0;
  }
  const char* env = getenv("QUARN_BENCH_PACKETS");
  const uint64_t packets =
      env != nullptr ? strtoull(env, nullptr, 10) : 2000000;
  const std::string synthetic = "/tmp/quarn_capture_bench.pcap";
  if (!WriteSynthetic(synthetic, packets)) {
    fprintf(stderr, "cannot write %s\n", synthetic.c_str());
    return 1;
  }
  CountPackets(synthetic);  // into the page cache
  MeasureLibpcap(synthetic);
  Measure(synthetic, 1);
  remove(synthetic.c_str());
  for (int i = 1; i < argc; ++i) {
    const uint64_t n = CountPackets(argv[i]);
    if (n == 0) continue;
    Measure(argv[i], static_cast<int>(1000000 / n + 1));
  }
  return 0;
}
