// Feeds arbitrary bytes to the quarn tool's capture reader: as a whole
// capture file read through libpcap from memory (as given, or behind a
// pcap file header of each link type read, so that the records themselves
// are fuzzed), as one frame of each link type through the packet decoder
// and the flow table (with DNS, HTTP and TLS ports), and to the HTTP
// request and TLS ClientHello readers directly.

#include <pcap/pcap.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "tools/capture/CaptureReader.h"
#include "tools/capture/FlowTracker_internal.h"
#include "tools/capture/NameExtract_internal.h"
#include "tools/capture/PacketDecoder_internal.h"

namespace {

using quarn_tool::CaptureFlow;
using quarn_tool::CaptureOptions;
using quarn_tool::CaptureReader;

void ReadAsFile(const std::string& bytes) {
  FILE* file = fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "rb");
  if (file == nullptr) return;
  CaptureOptions options;
  options.max_flows = 8;
  options.max_dns_names = 8;
  options.max_reassembly = 2;
  options.idle_timeout_seconds = 5;
  CaptureReader reader(options);
  uint64_t packets = 0;
  CaptureReader::FlowSink flows = [&](const CaptureFlow& f) {
    packets += f.packets[0] + f.packets[1];
    if (f.host.size() > 16384 + 512 || f.url.size() > 2 * 8192)
      __builtin_trap();
  };
  std::string error;
  if (!reader.ReadStream(file, flows, nullptr, &error)) {
    fclose(file);
    return;
  }
  if (packets > reader.counts().ipv4_tcp + reader.counts().ipv4_udp) {
    __builtin_trap();
  }
}

// A little-endian pcap file header for link type `dlt`.
std::string PcapHeader(uint32_t dlt) {
  const uint32_t words[6] = {0xA1B2C3D4, 0x00040002, 0, 0, 65535, dlt};
  std::string h(24, '\0');
  memcpy(&h[0], words, 4);
  memcpy(&h[4], &words[1], 4);
  memcpy(&h[8], &words[2], 8);
  memcpy(&h[16], &words[4], 8);
  return h;
}

void DecodeFrames(const uint8_t* data, size_t size) {
  static quarn_tool::FlowTracker* tracker = [] {
    CaptureOptions options;
    options.max_flows = 16;
    options.max_dns_names = 16;
    options.max_reassembly = 4;
    return new quarn_tool::FlowTracker(options);
  }();
  static int64_t clock = 0;
  for (int link = quarn_tool::kLinkEthernet; link <= quarn_tool::kLinkRawIpv4;
       ++link) {
    quarn_tool::DecodedPacket p;
    const quarn_tool::PacketKind kind = quarn_tool::DecodePacket(
        static_cast<quarn_tool::CaptureLink>(link), data,
        static_cast<uint32_t>(size), static_cast<uint32_t>(size), &p);
    if (kind != quarn_tool::kPacketTcp && kind != quarn_tool::kPacketUdp) {
      continue;
    }
    if (p.payload + p.payload_len > data + size) __builtin_trap();
    tracker->Packet(p, quarn_tool::CaptureTime{++clock / 64, 0},
                    static_cast<uint32_t>(size));
  }
}

void Extract(const uint8_t* data, size_t size) {
  quarn_tool::HttpRequestName http;
  quarn_tool::ParseHttpRequest(data, size, false, &http);
  quarn_tool::ParseHttpRequest(data, size, true, &http);
  static std::vector<uint8_t> scratch;
  std::string_view sni;
  quarn_tool::ParseClientHello(data, size, &scratch, &sni);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  // The link types of the file header: Ethernet, Linux cooked v1 and v2,
  // raw IP, raw IPv4.
  static const uint32_t kDlts[] = {1, 113, 276, 101, 228};
  if (data[0] < 5) {
    ReadAsFile(PcapHeader(kDlts[data[0]]) + rest);
  } else {
    ReadAsFile(std::string(reinterpret_cast<const char*>(data), size));
  }
  DecodeFrames(data + 1, size - 1);
  Extract(data + 1, size - 1);
  return 0;
}
