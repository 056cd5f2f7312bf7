// Flows from packet captures: a pcap or pcapng file (told apart by its
// magic, read through libpcap) is decoded packet by packet, IPv4 TCP and
// UDP packets are gathered into bidirectional flows, and each flow is
// handed to the caller when it ends, in the order flows end.
//
// Names: DNS answers seen on UDP port 53 teach a bounded address-to-name
// table (through the library's DNS decoder, also fed to a CMiniDnsTable),
// so a later flow to an answered address carries that name; the first
// HTTP request of a TCP stream (any port; reassembled in a library
// tcpdatapool up to 8 KiB) gives Host and path; a TLS ClientHello
// (reassembled up to 16 KiB) gives the SNI.
//
// Memory is bounded by the options, not by the size of the capture. A
// reader serves one thread; it takes no locks.

#ifndef QUARN_TOOLS_CAPTURE_CAPTUREREADER_H_
#define QUARN_TOOLS_CAPTURE_CAPTUREREADER_H_

#include <stdint.h>
#include <stdio.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class CMiniDnsTable;

namespace quarn_tool {

struct CaptureOptions {
  // A flow with no packet for this long ends (timed out). Seconds of
  // capture time, not of wall-clock time.
  uint32_t idle_timeout_seconds = 300;
  // Most flows held at once; when a new flow finds the table full, the
  // flow idle the longest ends (evicted). At least 1.
  uint32_t max_flows = 65536;
  // Most addresses whose DNS name is remembered; the oldest answer is
  // forgotten first. At least 1.
  uint32_t max_dns_names = 16384;
  // Most TCP streams whose first request is being reassembled at once;
  // a stream that finds none free gets no HTTP or SNI name.
  uint32_t max_reassembly = 1024;
  // At most this many warnings of each kind are reported; the counts go
  // on. 0 reports every one.
  uint32_t max_warnings_per_kind = 20;
  // The DNS table that DNS answers are also fed to (a gateway process
  // passes its process-wide one, with its watch items). Not owned; it must
  // have been Create()d. Null: the reader keeps a table of its own.
  CMiniDnsTable* dns_table = nullptr;
  // Asked after every packet (when set): true stops the reading there, as
  // if the capture ended, so the flows in hand still end and are handed
  // out. A read that a signal interrupts is then no read error.
  bool (*stop_requested)() = nullptr;
};

// Where a flow's host name came from.
enum CaptureNameSource {
  kNameNone = 0,
  kNameHttp,  // the Host header of the first HTTP request
  kNameSni,   // the server name of a TLS ClientHello
  kNameDns,   // an earlier DNS answer for the responder's (or the
              // initiator's) address, or for a DNS flow the name its
              // answer resolves
};
// "none", "http", "sni", "dns".
const char* CaptureNameSourceName(CaptureNameSource source);

// Why a flow ended.
enum CaptureFlowEnd {
  kEndClosed = 0,  // TCP: RST, or FIN from both ends
  kEndIdle,        // idle for idle_timeout_seconds
  kEndEvicted,     // the table was full and the flow was idle longest
  kEndCaptureEnd,  // still open when the capture ended
};
// "closed", "idle", "evicted", "capture end".
const char* CaptureFlowEndName(CaptureFlowEnd end);

// An instant of capture time.
struct CaptureTime {
  int64_t sec = 0;
  uint32_t usec = 0;
};

// One flow. Index 0 is the initiator (for TCP the sender of the SYN when
// one was seen, else the sender of the first packet), index 1 the
// responder. Addresses and ports are in host order.
struct CaptureFlow {
  uint64_t number = 0;   // 1 for the first flow of the capture, and so on
  uint8_t protocol = 0;  // 6 TCP, 17 UDP
  uint32_t ip[2] = {0, 0};
  uint16_t port[2] = {0, 0};
  // The MAC address of each end from the Ethernet (or cooked capture)
  // header: the source address of frames that end sent, else the
  // destination address of frames sent to it. has_mac is false when no
  // frame carried one (raw IP captures). Which end is inside the company
  // is the caller's decision.
  uint8_t mac[2][6] = {{0}, {0}};
  bool has_mac[2] = {false, false};
  uint64_t packets[2] = {0, 0};  // sent by each end
  uint64_t bytes[2] = {0, 0};    // frame lengths on the wire
  CaptureTime first;
  CaptureTime last;
  uint8_t tcp_flags = 0;  // every TCP flag seen in either direction (OR)
  bool syn_seen = false;
  CaptureNameSource name_source = kNameNone;
  std::string host;  // empty when no name was found
  std::string url;   // HTTP only: the Host header and the request target
  CaptureFlowEnd end = kEndCaptureEnd;
};

// What a capture held, by kind. Every packet read lands in exactly one of
// the first group; the others count events.
struct CaptureCounts {
  uint64_t packets = 0;     // records read from the file
  uint64_t ipv4_tcp = 0;    // passed on to a flow
  uint64_t ipv4_udp = 0;    // passed on to a flow
  uint64_t ipv6 = 0;        // IPv6 (not classified)
  uint64_t arp = 0;         // ARP and RARP
  uint64_t icmp = 0;        // IPv4 ICMP
  uint64_t other_ipv4 = 0;  // IPv4 with another transport (IGMP, GRE...)
  uint64_t fragments = 0;   // IPv4 fragments: never reassembled
  uint64_t other_link = 0;  // other EtherTypes, or an unsupported link
  uint64_t truncated = 0;   // cut by the snap length before the headers
                            // needed ended
  uint64_t bad_header = 0;  // a header whose lengths cannot be right
  // Events.
  uint64_t payload_cut = 0;   // passed on, but the snap length cut payload
  uint64_t late_packets = 0;  // TCP packets after their flow closed
  uint64_t read_errors = 0;   // the file could not be read further
  uint64_t flows = 0;         // flows handed out
  uint64_t names_http = 0;    // flows named by each source
  uint64_t names_sni = 0;
  uint64_t names_dns = 0;
  uint64_t dns_answers = 0;      // addresses learnt from DNS answers
  uint64_t reassembly_full = 0;  // streams that found no reassembly room
};

class FlowTracker;

class CaptureReader {
 public:
  // Called for every flow as it ends; the record is valid only during the
  // call.
  using FlowSink = std::function<void(const CaptureFlow&)>;
  // Called for every warning, e.g. "packet 12: truncated ...".
  using WarningSink = std::function<void(const std::string&)>;

  explicit CaptureReader(const CaptureOptions& options);
  ~CaptureReader();
  CaptureReader(const CaptureReader&) = delete;
  CaptureReader& operator=(const CaptureReader&) = delete;

  // Reads the capture at `path` ("-" for standard input) to its end and
  // then ends every flow still open. Returns false, with the reason in
  // *error, when the file cannot be opened as a capture; a file that
  // breaks off later gives a warning and counts a read error, and what
  // came before it stays read. Counts and learnt DNS names carry over
  // from one call to the next.
  bool ReadFile(const std::string& path, const FlowSink& flows,
                const WarningSink& warnings, std::string* error);
  // The same over an open stream. When it opens as a capture the reader
  // takes it over: it is read to its end and closed. When it does not
  // (false), it stays the caller's.
  bool ReadStream(FILE* stream, const FlowSink& flows,
                  const WarningSink& warnings, std::string* error);

  // What the captures read so far held.
  const CaptureCounts& counts() const;

 private:
  struct Source;
  bool ReadOpened(Source* source, const FlowSink& flows,
                  const WarningSink& warnings);

  static constexpr size_t kReadBuffer = size_t{1} << 20;

  std::unique_ptr<FlowTracker> tracker_;
  uint32_t max_warnings_per_kind_;
  bool (*stop_requested_)();
  std::vector<char> buffer_;  // stdio buffer of the file being read
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_CAPTURE_CAPTUREREADER_H_
