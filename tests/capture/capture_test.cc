// The capture reader end to end: captures written here, read back into
// flows, counts and warnings.

#include <gtest/gtest.h>
#include <pcap/pcap.h>

#include <string>
#include <vector>

#include "address/CMiniDnsTable.h"
#include "capture/capture_builder.h"
#include "support/AllocationCounter.h"
#include "support/TempDir.h"
#include "tools/capture/CaptureReader.h"
#include "tools/capture/FlowTracker_internal.h"
#include "tools/capture/PacketDecoder_internal.h"

namespace quarn_tool {
namespace {

using quarn_test::ClientHello;
using quarn_test::DnsResponse;
using quarn_test::Ethernet;
using quarn_test::Frame;
using quarn_test::Ip;
using quarn_test::Mac;
using quarn_test::TcpPacket;
using quarn_test::UdpPacket;

constexpr uint8_t kSyn = 2, kAck = 16, kFin = 1, kPsh = 8;

struct Result {
  bool opened = false;
  std::string error;
  std::vector<CaptureFlow> flows;
  std::vector<std::string> warnings;
  CaptureCounts counts;
};

Result Read(const std::string& path, CaptureOptions options = {}) {
  Result r;
  CaptureReader reader(options);
  r.opened = reader.ReadFile(
      path, [&](const CaptureFlow& f) { r.flows.push_back(f); },
      [&](const std::string& w) { r.warnings.push_back(w); }, &r.error);
  r.counts = reader.counts();
  return r;
}

std::string MacOf(const CaptureFlow& f, int end) {
  return std::string(reinterpret_cast<const char*>(f.mac[end]), 6);
}

const CaptureFlow* FlowTo(const Result& r, uint32_t ip, uint16_t port) {
  for (const CaptureFlow& f : r.flows) {
    if (f.ip[1] == ip && f.port[1] == port) return &f;
  }
  return nullptr;
}

Frame At(const std::string& bytes, int64_t sec) {
  Frame f;
  f.bytes = bytes;
  f.sec = sec;
  return f;
}

class CaptureTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) { return dir_ + "/" + name; }
  std::string dir_ = quarn_test::MakeTempDir("capture");
};

const uint32_t kClient = Ip("10.0.0.5");
const uint32_t kServer = Ip("93.184.216.34");
const uint32_t kResolver = Ip("8.8.8.8");

// A TCP handshake from kClient:port to kServer:dport, at `sec`.
void Handshake(std::vector<Frame>* frames, uint16_t port, uint16_t dport,
               uint32_t isn, int64_t sec) {
  frames->push_back(
      At(Ethernet(TcpPacket(kClient, port, kServer, dport, isn, 0, kSyn), 5, 9),
         sec));
  frames->push_back(At(Ethernet(TcpPacket(kServer, dport, kClient, port, 7000,
                                          isn + 1, kSyn | kAck),
                                9, 5),
                       sec));
}

TEST_F(CaptureTest, DnsAnswerNamesLaterFlowsAndFeedsTheLibraryTable) {
  std::vector<Frame> frames;
  // A query teaches nothing; the answer does; an answer from port 5353 is
  // refused by the library's table and teaches nothing either.
  frames.push_back(
      At(Ethernet(UdpPacket(kClient, 40000, kResolver, 53, "query")), 1));
  frames.push_back(
      At(Ethernet(UdpPacket(kResolver, 53, kClient, 40000,
                            DnsResponse("www.example.com", {kServer}))),
         1));
  frames.push_back(
      At(Ethernet(UdpPacket(kResolver, 5353, kClient, 40001,
                            DnsResponse("other.example", {Ip("1.2.3.4")}))),
         1));
  Handshake(&frames, 50000, 443, 100, 2);
  frames.push_back(At(
      Ethernet(TcpPacket(kClient, 50001, Ip("1.2.3.4"), 443, 1, 0, kSyn)), 2));
  const std::string path = Path("dns.pcap");
  ASSERT_TRUE(quarn_test::WritePcap(path, DLT_EN10MB, frames));

  CMiniDnsTable table;
  table.Create();
  void* watch = table.AddItem({"example.com"}, 42);
  CaptureOptions options;
  options.dns_table = &table;
  Result r = Read(path, options);
  ASSERT_TRUE(r.opened) << r.error;

  const CaptureFlow* dns = FlowTo(r, kResolver, 53);
  ASSERT_NE(dns, nullptr);
  EXPECT_EQ(dns->host, "www.example.com");
  EXPECT_EQ(dns->name_source, kNameDns);
  const CaptureFlow* web = FlowTo(r, kServer, 443);
  ASSERT_NE(web, nullptr);
  EXPECT_EQ(web->host, "www.example.com");
  EXPECT_EQ(web->name_source, kNameDns);
  EXPECT_TRUE(web->url.empty());
  const CaptureFlow* unnamed = FlowTo(r, Ip("1.2.3.4"), 443);
  ASSERT_NE(unnamed, nullptr);
  EXPECT_EQ(unnamed->name_source, kNameNone);
  EXPECT_EQ(r.counts.dns_answers, 1u);
  int64_t value = 0;
  EXPECT_EQ(table.QueryItem(watch, kServer, value), 1);
  EXPECT_EQ(value, 42);
}

TEST_F(CaptureTest, HttpRequestInThreeSegmentsOutOfOrder) {
  const std::string request =
      "GET /a/b?c=1 HTTP/1.1\r\nUser-Agent: t\r\nHost: shop.example:8080\r\n"
      "Accept: */*\r\n\r\n";
  const std::string parts[3] = {request.substr(0, 10), request.substr(10, 30),
                                request.substr(40)};
  const uint32_t isn = 0xFFFFFFF0;  // the stream crosses the wrap
  std::vector<Frame> frames;
  Handshake(&frames, 50000, 8080, isn, 1);
  const uint32_t offsets[3] = {0, 10, 40};
  for (int i : {2, 0, 1}) {
    frames.push_back(At(
        Ethernet(TcpPacket(kClient, 50000, kServer, 8080, isn + 1 + offsets[i],
                           7001, kAck | kPsh, parts[i]),
                 5, 9),
        1));
  }
  // pcapng this time, read through an open stream.
  const std::string path = Path("http.pcapng");
  ASSERT_TRUE(quarn_test::WritePcapng(path, DLT_EN10MB, frames));
  Result r;
  CaptureReader reader(CaptureOptions{});
  FILE* file = fopen(path.c_str(), "rb");
  ASSERT_NE(file, nullptr);
  ASSERT_TRUE(reader.ReadStream(
      file, [&](const CaptureFlow& f) { r.flows.push_back(f); }, nullptr,
      &r.error))
      << r.error;
  ASSERT_EQ(r.flows.size(), 1u);
  const CaptureFlow& f = r.flows[0];
  EXPECT_EQ(f.host, "shop.example");
  EXPECT_EQ(f.url, "shop.example:8080/a/b?c=1");
  EXPECT_EQ(f.name_source, kNameHttp);
  EXPECT_EQ(f.ip[0], kClient);
  EXPECT_EQ(f.packets[0], 4u);
  EXPECT_EQ(f.packets[1], 1u);
  EXPECT_EQ(MacOf(f, 0), Mac(5));
  EXPECT_EQ(MacOf(f, 1), Mac(9));
}

TEST_F(CaptureTest, SniSplitOverTwoSegmentsOverridesTheDnsName) {
  const std::string hello = ClientHello("secure.example.org", 600);
  std::vector<Frame> frames;
  frames.push_back(
      At(Ethernet(UdpPacket(kResolver, 53, kClient, 40000,
                            DnsResponse("cdn.example.net", {kServer}))),
         1));
  Handshake(&frames, 50000, 443, 1000, 2);
  frames.push_back(At(Ethernet(TcpPacket(kClient, 50000, kServer, 443, 1001,
                                         7001, kAck, hello.substr(0, 300))),
                      2));
  frames.push_back(At(Ethernet(TcpPacket(kClient, 50000, kServer, 443, 1301,
                                         7001, kAck, hello.substr(300))),
                      2));
  // The same hello in one segment, on a flow that began mid-stream.
  frames.push_back(At(
      Ethernet(TcpPacket(kClient, 50001, kServer, 443, 5, 7001, kAck, hello)),
      3));
  const std::string path = Path("sni.pcap");
  ASSERT_TRUE(quarn_test::WritePcap(path, DLT_EN10MB, frames));
  Result r = Read(path);
  ASSERT_EQ(r.flows.size(), 3u);
  for (int i : {1, 2}) {
    EXPECT_EQ(r.flows[i].host, "secure.example.org");
    EXPECT_EQ(r.flows[i].name_source, kNameSni);
    EXPECT_TRUE(r.flows[i].url.empty());
  }
  EXPECT_EQ(r.counts.names_sni, 2u);
}

TEST_F(CaptureTest, EveryLinkTypeGivesTheSameFlow) {
  const std::string packet = UdpPacket(kClient, 1234, kServer, 9999, "payload");
  struct Case {
    const char* name;
    int dlt;
    std::string frame;
    bool mac;  // the framing carries the sender's MAC
  };
  const Case cases[] = {
      {"vlan", DLT_EN10MB, Ethernet(packet, 5, 9, {0x8100}), true},
      {"qinq", DLT_EN10MB, Ethernet(packet, 5, 9, {0x88A8, 0x8100}), true},
      {"cooked", DLT_LINUX_SLL, quarn_test::CookedV1(packet, 5), true},
      {"cooked2", DLT_LINUX_SLL2, quarn_test::CookedV2(packet, 5), true},
      {"raw", DLT_RAW, packet, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = Path(std::string(c.name) + ".pcap");
    ASSERT_TRUE(quarn_test::WritePcap(path, c.dlt, {At(c.frame, 1)}));
    Result r = Read(path);
    ASSERT_TRUE(r.opened) << r.error;
    ASSERT_EQ(r.flows.size(), 1u);
    const CaptureFlow& f = r.flows[0];
    EXPECT_EQ(f.protocol, 17);
    EXPECT_EQ(f.ip[0], kClient);
    EXPECT_EQ(f.port[0], 1234);
    EXPECT_EQ(f.ip[1], kServer);
    EXPECT_EQ(f.port[1], 9999);
    EXPECT_EQ(f.bytes[0], c.frame.size());
    EXPECT_EQ(f.has_mac[0], c.mac);
    if (c.mac) {
      EXPECT_EQ(MacOf(f, 0), Mac(5));
    }
    EXPECT_TRUE(r.warnings.empty());
  }
}

TEST_F(CaptureTest, EveryPacketIsCountedByKindWithWarningsForFaults) {
  const std::string tcp = TcpPacket(kClient, 1, kServer, 2, 1, 0, kSyn);
  std::string bad_ihl = tcp;
  bad_ihl[0] = 0x43;
  std::string fragment = tcp;
  fragment[6] = 0x20;  // more fragments
  std::string icmp = tcp;
  icmp[9] = 1;
  std::string gre = tcp;
  gre[9] = 47;
  std::vector<Frame> frames = {
      At(Ethernet(std::string(40, '\x60'), 1, 2, {}, 0x86DD), 1),  // IPv6
      At(Ethernet(std::string(28, '\0'), 1, 2, {}, 0x0806), 1),    // ARP
      At(Ethernet(icmp), 1),
      At(Ethernet(gre), 1),
      At(Ethernet(fragment), 1),
      At(Ethernet(std::string(46, '\0'), 1, 2, {}, 0x88CC), 1),  // LLDP
      At(Ethernet(bad_ihl), 1),
      At(Ethernet(tcp), 1),
      At(Ethernet(TcpPacket(kClient, 1, kServer, 2, 1, 0, kAck, "more")), 1),
  };
  frames[7].caplen = 14 + 20 + 10;  // cut inside the TCP header
  frames[8].caplen = 14 + 40 + 2;   // cut inside the payload
  const std::string path = Path("kinds.pcap");
  ASSERT_TRUE(quarn_test::WritePcap(path, DLT_EN10MB, frames));
  Result r = Read(path);
  const CaptureCounts& c = r.counts;
  EXPECT_EQ(c.packets, 9u);
  EXPECT_EQ(c.ipv6, 1u);
  EXPECT_EQ(c.arp, 1u);
  EXPECT_EQ(c.icmp, 1u);
  EXPECT_EQ(c.other_ipv4, 1u);
  EXPECT_EQ(c.fragments, 1u);
  EXPECT_EQ(c.other_link, 1u);
  EXPECT_EQ(c.bad_header, 1u);
  EXPECT_EQ(c.truncated, 1u);
  EXPECT_EQ(c.ipv4_tcp, 1u);  // the packet whose payload was cut
  EXPECT_EQ(c.payload_cut, 1u);
  EXPECT_EQ(c.ipv4_tcp + c.ipv4_udp + c.ipv6 + c.arp + c.icmp + c.other_ipv4 +
                c.fragments + c.other_link + c.truncated + c.bad_header,
            c.packets);
  ASSERT_EQ(r.warnings.size(), 3u);
  EXPECT_EQ(r.warnings[0].rfind("packet 7: bad header", 0), 0u)
      << r.warnings[0];
  EXPECT_EQ(r.warnings[1].rfind("packet 8: truncated", 0), 0u) << r.warnings[1];
  EXPECT_EQ(r.warnings[2].rfind("packet 9: payload cut", 0), 0u)
      << r.warnings[2];
}

TEST_F(CaptureTest, FileCutMidRecordKeepsWhatCameBefore) {
  std::vector<Frame> frames;
  for (uint16_t port = 1; port <= 3; ++port) {
    frames.push_back(
        At(Ethernet(UdpPacket(kClient, port, kServer, 53, "x")), port));
  }
  const std::string path = Path("cut.pcap");
  ASSERT_TRUE(quarn_test::WritePcap(path, DLT_EN10MB, frames));
  std::string bytes = quarn_test::ReadFile(path);
  quarn_test::WriteFile(path, bytes.substr(0, bytes.size() - 20));
  Result r = Read(path);
  ASSERT_TRUE(r.opened);
  EXPECT_EQ(r.flows.size(), 2u);
  EXPECT_EQ(r.counts.read_errors, 1u);
  ASSERT_EQ(r.warnings.size(), 1u);
  EXPECT_EQ(r.warnings[0].rfind("packet 3: cannot read further", 0), 0u)
      << r.warnings[0];

  // Not a capture at all, and no file.
  quarn_test::WriteFile(path, "time,src,dst\n");
  EXPECT_FALSE(Read(path).opened);
  Result missing = Read(Path("none.pcap"));
  EXPECT_FALSE(missing.opened);
  EXPECT_FALSE(missing.error.empty());
}

TEST_F(CaptureTest, FlowsEndInOrderByCloseIdleEvictionAndCaptureEnd) {
  auto udp = [](uint16_t port, int64_t sec) {
    return At(Ethernet(UdpPacket(kClient, port, kServer, 7, "u")), sec);
  };
  std::vector<Frame> frames = {
      udp(1, 0),  // A
      udp(2, 1),  // B
      udp(1, 2),  // A again: now B is the idlest
      udp(3, 3),  // C: the table holds 2, so B is evicted
  };
  // D, which evicts A: a TCP flow whose first packet is the server's
  // SYN-ACK, closed by FIN both ways; its last ACK opens nothing.
  frames.push_back(At(
      Ethernet(TcpPacket(kServer, 80, kClient, 9, 500, 101, kSyn | kAck)), 4));
  frames.push_back(At(
      Ethernet(TcpPacket(kClient, 9, kServer, 80, 101, 501, kAck | kFin)), 4));
  frames.push_back(At(
      Ethernet(TcpPacket(kServer, 80, kClient, 9, 501, 102, kAck | kFin)), 4));
  frames.push_back(
      At(Ethernet(TcpPacket(kClient, 9, kServer, 80, 102, 502, kAck)), 4));
  frames.push_back(udp(4, 20));  // C is idle for over 10 s
  const std::string path = Path("order.pcap");
  ASSERT_TRUE(quarn_test::WritePcap(path, DLT_EN10MB, frames));
  CaptureOptions options;
  options.idle_timeout_seconds = 10;
  options.max_flows = 2;
  Result r = Read(path, options);
  ASSERT_EQ(r.flows.size(), 5u);
  const struct {
    uint16_t port;
    CaptureFlowEnd end;
    uint64_t number;  // in the order flows began
  } expected[] = {{2, kEndEvicted, 2},
                  {1, kEndEvicted, 1},
                  {9, kEndClosed, 4},
                  {3, kEndIdle, 3},
                  {4, kEndCaptureEnd, 5}};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(r.flows[i].port[0], expected[i].port);
    EXPECT_EQ(r.flows[i].end, expected[i].end);
    EXPECT_EQ(r.flows[i].number, expected[i].number);
  }
  const CaptureFlow& a = r.flows[1];
  EXPECT_EQ(a.packets[0], 2u);
  EXPECT_EQ(a.first.sec, 0);
  EXPECT_EQ(a.last.sec, 2);
  const CaptureFlow& d = r.flows[2];
  EXPECT_EQ(d.ip[0], kClient);  // the SYN-ACK's receiver initiated it
  EXPECT_TRUE(d.syn_seen);
  EXPECT_EQ(d.packets[0], 1u);
  EXPECT_EQ(d.packets[1], 2u);
  EXPECT_EQ(d.tcp_flags, kSyn | kAck | kFin);
  EXPECT_EQ(r.counts.late_packets, 1u);
  EXPECT_EQ(r.counts.flows, 5u);
}

TEST(FlowTrackerTest, WarmTableAllocatesNothingPerPacket) {
  // 3000 flows through a table of 1000: every packet past the first
  // thousand evicts a flow, and each carries an HTTP request.
  std::vector<std::string> frames;
  for (uint16_t port = 1; port <= 3000; ++port) {
    frames.push_back(Ethernet(TcpPacket(
        kClient, port, kServer, 80, 1, 0, kAck,
        "GET /index.html HTTP/1.1\r\nHost: www.example.com\r\n\r\n")));
  }
  CaptureOptions options;
  options.max_flows = 1000;
  FlowTracker tracker(options);
  uint64_t named = 0;
  CaptureReader::FlowSink sink = [&](const CaptureFlow& f) {
    named += f.name_source == kNameHttp;
  };
  tracker.set_sink(&sink);
  auto run = [&](int64_t sec) {
    for (const std::string& bytes : frames) {
      DecodedPacket p;
      const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
      ASSERT_EQ(
          DecodePacket(kLinkEthernet, data, bytes.size(), bytes.size(), &p),
          kPacketTcp);
      tracker.Packet(p, CaptureTime{sec, 0}, bytes.size());
    }
  };
  run(1);
  const uint64_t before = quarn_test::AllocationCount();
  run(2);
  EXPECT_EQ(quarn_test::AllocationCount(), before);
  EXPECT_EQ(tracker.size(), 1000u);
  EXPECT_EQ(named, 5000u);
}

}  // namespace
}  // namespace quarn_tool
