#include "tools/capture/CaptureReader.h"

#include <errno.h>
#include <pcap/pcap.h>
#include <string.h>

#include <string>

#include "tools/capture/FlowTracker_internal.h"
#include "tools/capture/PacketDecoder_internal.h"

namespace quarn_tool {

namespace {

// Kinds of warnings, each limited on its own.
enum WarningKind {
  kWarnTruncated = 0,
  kWarnBadHeader,
  kWarnPayloadCut,
  kWarnRead,
  kWarnLink,
  kWarnKinds,
};

// Passes warnings on, at most `max` of each kind (0: no limit).
class Warner {
 public:
  Warner(const CaptureReader::WarningSink& sink, uint32_t max)
      : sink_(sink), max_(max) {}

  void Warn(WarningKind kind, uint64_t packet, const std::string& text) {
    const uint32_t n = ++given_[kind];
    if (!sink_ || (max_ != 0 && n > max_)) return;
    std::string line = "packet " + std::to_string(packet) + ": " + text;
    if (max_ != 0 && n == max_) {
      line += " (further warnings of this kind are not shown)";
    }
    sink_(line);
  }

 private:
  const CaptureReader::WarningSink& sink_;
  uint32_t max_;
  uint32_t given_[kWarnKinds] = {0};
};

}  // namespace

const char* CaptureNameSourceName(CaptureNameSource source) {
  switch (source) {
    case kNameHttp:
      return "http";
    case kNameSni:
      return "sni";
    case kNameDns:
      return "dns";
    default:
      return "none";
  }
}

const char* CaptureFlowEndName(CaptureFlowEnd end) {
  switch (end) {
    case kEndClosed:
      return "closed";
    case kEndIdle:
      return "idle";
    case kEndEvicted:
      return "evicted";
    default:
      return "capture end";
  }
}

struct CaptureReader::Source {
  pcap_t* pcap;
};

CaptureReader::CaptureReader(const CaptureOptions& options)
    : tracker_(std::make_unique<FlowTracker>(options)),
      max_warnings_per_kind_(options.max_warnings_per_kind),
      stop_requested_(options.stop_requested) {}

CaptureReader::~CaptureReader() = default;

const CaptureCounts& CaptureReader::counts() const {
  return tracker_->counts();
}

bool CaptureReader::ReadFile(const std::string& path, const FlowSink& flows,
                             const WarningSink& warnings, std::string* error) {
  FILE* file = path == "-" ? stdin : fopen(path.c_str(), "rb");
  if (file == nullptr) {
    *error = path + ": " + strerror(errno);
    return false;
  }
  // libpcap reads each record with two small freads: a large buffer saves
  // most of the system calls.
  // Standard input keeps its own buffer: it outlives the reader.
  if (file != stdin) {
    if (buffer_.empty()) buffer_.resize(kReadBuffer);
    setvbuf(file, buffer_.data(), _IOFBF, buffer_.size());
  }
  if (ReadStream(file, flows, warnings, error)) return true;
  if (file != stdin) fclose(file);
  *error = path + ": " + *error;
  return false;
}

bool CaptureReader::ReadStream(FILE* stream, const FlowSink& flows,
                               const WarningSink& warnings,
                               std::string* error) {
  char errbuf[PCAP_ERRBUF_SIZE] = "";
  Source source{pcap_fopen_offline(stream, errbuf)};
  if (source.pcap == nullptr) {
    *error = errbuf;
    return false;
  }
  return ReadOpened(&source, flows, warnings);
}

bool CaptureReader::ReadOpened(Source* source, const FlowSink& flows,
                               const WarningSink& warnings) {
  Warner warner(warnings, max_warnings_per_kind_);
  CaptureCounts& counts = tracker_->counts();
  const int dlt = pcap_datalink(source->pcap);
  const CaptureLink link = LinkFromDlt(dlt);
  if (link == kLinkUnsupported) {
    const char* name = pcap_datalink_val_to_name(dlt);
    warner.Warn(kWarnLink, 1,
                std::string("link type ") +
                    (name ? name : std::to_string(dlt)) +
                    " is not read: every packet counts as another link");
  }
  tracker_->set_sink(&flows);
  struct pcap_pkthdr* header = nullptr;
  const u_char* data = nullptr;
  uint64_t number = 0;
  int rc;
  while ((rc = pcap_next_ex(source->pcap, &header, &data)) == 1) {
    ++number;
    ++counts.packets;
    DecodedPacket packet;
    const PacketKind kind =
        DecodePacket(link, data, header->caplen, header->len, &packet);
    switch (kind) {
      case kPacketTcp:
      case kPacketUdp: {
        ++(kind == kPacketTcp ? counts.ipv4_tcp : counts.ipv4_udp);
        const CaptureTime when{header->ts.tv_sec,
                               static_cast<uint32_t>(header->ts.tv_usec)};
        tracker_->Packet(packet, when, header->len);
        if (packet.payload_cut) {
          warner.Warn(kWarnPayloadCut, number,
                      "payload cut by the snap length (" +
                          std::to_string(header->caplen) + " of " +
                          std::to_string(header->len) + " bytes captured)");
        }
        break;
      }
      case kPacketIpv6:
        ++counts.ipv6;
        break;
      case kPacketArp:
        ++counts.arp;
        break;
      case kPacketIcmp:
        ++counts.icmp;
        break;
      case kPacketOtherIpv4:
        ++counts.other_ipv4;
        break;
      case kPacketFragment:
        ++counts.fragments;
        break;
      case kPacketOtherLink:
        ++counts.other_link;
        break;
      case kPacketTruncated:
        ++counts.truncated;
        warner.Warn(kWarnTruncated, number,
                    std::string("truncated: ") + packet.problem);
        break;
      case kPacketBadHeader:
        ++counts.bad_header;
        warner.Warn(kWarnBadHeader, number,
                    std::string("bad header: ") + packet.problem);
        break;
    }
    if (stop_requested_ != nullptr && stop_requested_()) break;
  }
  const bool stopped = stop_requested_ != nullptr && stop_requested_();
  if (rc == PCAP_ERROR && !stopped) {
    ++counts.read_errors;
    warner.Warn(
        kWarnRead, number + 1,
        std::string("cannot read further: ") + pcap_geterr(source->pcap));
  }
  tracker_->Finish();
  tracker_->set_sink(nullptr);
  pcap_close(source->pcap);
  return true;
}

}  // namespace quarn_tool
