#include "tools/CaptureRun.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "tools/common/ClassificationOutput.h"
#include "tools/common/StopSignals.h"

namespace quarn_tool {

namespace {

// The stream behind OpenPrefixedStream.
struct Prefixed {
  int fd;
  unsigned char prefix[kCaptureMagicBytes];
  size_t size;
  size_t given;
};

ssize_t PrefixedRead(void* cookie, char* buffer, size_t size) {
  Prefixed* p = static_cast<Prefixed*>(cookie);
  if (p->given < p->size) {
    const size_t n = std::min(size, p->size - p->given);
    memcpy(buffer, p->prefix + p->given, n);
    p->given += n;
    return static_cast<ssize_t>(n);
  }
  for (;;) {
    if (!StopSignals::WaitReadable(p->fd)) {
      errno = EINTR;
      return -1;
    }
    const ssize_t n = read(p->fd, buffer, size);
    if (n >= 0 || errno != EINTR || StopSignals::requested()) return n;
  }
}

int PrefixedClose(void* cookie) {
  Prefixed* p = static_cast<Prefixed*>(cookie);
  const int rc = p->fd != STDIN_FILENO ? close(p->fd) : 0;
  delete p;
  return rc;
}

uint32_t Magic(const unsigned char* b) {
  return uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 |
         b[3];
}

// "aa:bb:cc:dd:ee:ff" of `mac` into `out` (17 bytes, no terminator).
void MacText(const unsigned char* mac, char* out) {
  static const char kDigits[] = "0123456789abcdef";
  for (int i = 0; i < 6; ++i) {
    out[i * 3] = kDigits[mac[i] >> 4];
    out[i * 3 + 1] = kDigits[mac[i] & 0xF];
    if (i < 5) out[i * 3 + 2] = ':';
  }
}

}  // namespace

bool IsCaptureMagic(const unsigned char* bytes, size_t size) {
  if (size < kCaptureMagicBytes) return false;
  switch (Magic(bytes)) {
    case 0xA1B2C3D4:  // pcap, microseconds
    case 0xD4C3B2A1:
    case 0xA1B23C4D:  // pcap, nanoseconds
    case 0x4D3CB2A1:
    case 0x0A0D0D0A:  // pcapng section header block (same both ways)
      return true;
    default:
      return false;
  }
}

FILE* OpenPrefixedStream(int fd, const unsigned char* prefix, size_t size) {
  Prefixed* p = new Prefixed{fd, {0}, std::min(size, kCaptureMagicBytes), 0};
  memcpy(p->prefix, prefix, p->size);
  cookie_io_functions_t io = {PrefixedRead, nullptr, nullptr, PrefixedClose};
  FILE* stream = fopencookie(p, "r", io);
  if (stream == nullptr) delete p;
  return stream;
}

void FlowRecord(const CaptureFlow& flow, LocalClock* clock,
                ConnectionRecord* record) {
  record->line = static_cast<int64_t>(flow.number);
  record->time = clock->Fields(flow.first.sec);
  record->time_text = clock->Text(flow.first.sec, 0, false);
  record->addr.first_ip = flow.ip[0];
  record->addr.first_port = flow.port[0];
  record->addr.second_ip = flow.ip[1];
  record->addr.second_port = flow.port[1];
  record->transport =
      flow.protocol == 17 ? QUARN_TRANSPORT_UDP : QUARN_TRANSPORT_TCP;
  record->url.assign(flow.url.empty() ? flow.host : flow.url);
  record->has_mac = false;
  for (int end = 0; end < 2; ++end) {
    record->has_end_mac[end] = flow.has_mac[end];
    memcpy(record->end_mac[end], flow.mac[end], sizeof(record->end_mac[end]));
  }
}

std::string TcpFlagsText(uint8_t flags) {
  char text[8];
  return std::string(text, TcpFlagsLetters(flags, text));
}

size_t TcpFlagsLetters(uint8_t flags, char* out) {
  static const char kLetters[] = "FSRPAUEC";
  size_t n = 0;
  for (int bit = 0; bit < 8; ++bit) {
    if (flags & (1u << bit)) out[n++] = kLetters[bit];
  }
  return n;
}

std::string NameEvidence(const CaptureFlow& flow) {
  switch (flow.name_source) {
    case kNameHttp:
      return "the Host header of the flow's first HTTP request";
    case kNameSni:
      return "the server name of the flow's TLS ClientHello";
    case kNameDns:
      return flow.port[1] == 53 || flow.port[0] == 53
                 ? "the name this DNS exchange resolves"
                 : "an earlier DNS answer for one of the flow's addresses";
    default:
      return "no HTTP request, TLS ClientHello or DNS answer named the flow";
  }
}

void WriteFlowJson(const CaptureFlow& flow, const Classification& c,
                   bool explain, LocalClock* clock, JsonWriter* json) {
  json->Key("flow");
  json->BeginObject();
  json->Key("packets");
  json->BeginArray();
  json->Uint(flow.packets[0]);
  json->Uint(flow.packets[1]);
  json->EndArray();
  json->Key("bytes");
  json->BeginArray();
  json->Uint(flow.bytes[0]);
  json->Uint(flow.bytes[1]);
  json->EndArray();
  json->Key("first");
  json->Utf8(clock->Text(flow.first.sec, flow.first.usec, true));
  json->Key("last");
  json->Utf8(clock->Text(flow.last.sec, flow.last.usec, true));
  json->Key("tcp_flags");
  if (flow.protocol == 6) {
    char flags[8];
    json->Utf8(std::string_view(flags, TcpFlagsLetters(flow.tcp_flags, flags)));
  } else {
    json->Null();
  }
  json->Key("end");
  json->Utf8(CaptureFlowEndName(flow.end));
  json->Key("name_source");
  json->Utf8(CaptureNameSourceName(flow.name_source));
  json->Key("host");
  if (flow.host.empty()) {
    json->Null();
  } else {
    json->Gbk(flow.host);
  }
  json->Key("inside_mac");
  if (c.has_inside_mac) {
    char mac[17];
    MacText(c.inside_mac, mac);
    json->Utf8(std::string_view(mac, sizeof(mac)));
  } else {
    json->Null();
  }
  if (explain) {
    json->Key("name_evidence");
    json->Utf8(NameEvidence(flow));
  }
  json->EndObject();
}

std::vector<std::string> FlowTitles() {
  std::vector<std::string> titles = ClassificationTitles();
  titles.front() = "flow";
  titles.insert(titles.end() - 1, {"packets", "bytes", "end", "name"});
  return titles;
}

void AddFlowCells(const CaptureFlow& flow, Utf8Cache* cache,
                  std::vector<std::string>* cells) {
  std::string name = "-";
  if (flow.name_source != kNameNone) {
    name = std::string(CaptureNameSourceName(flow.name_source)) + " " +
           cache->Get(flow.host);
  }
  cells->insert(
      cells->end() - 1,
      {std::to_string(flow.packets[0]) + "/" + std::to_string(flow.packets[1]),
       std::to_string(flow.bytes[0]) + "/" + std::to_string(flow.bytes[1]),
       CaptureFlowEndName(flow.end), name});
}

CaptureRun::CaptureRun(ConnectionClassifier* classifier, PolicyStage* stage,
                       OutputSink* out, bool explain, bool table,
                       size_t table_batch_rows)
    : classifier_(classifier),
      stage_(stage),
      out_(out),
      explain_(explain),
      table_(table),
      json_(&cache_),
      rows_(out, FlowTitles(), table_batch_rows) {}

bool CaptureRun::Read(FILE* stream, const std::string& name,
                      const CaptureOptions& options, std::string* error) {
  CaptureReader reader(options);
  const CaptureReader::FlowSink flows = [this](const CaptureFlow& flow) {
    One(flow);
  };
  const CaptureReader::WarningSink warnings = [&name](const std::string& w) {
    fprintf(stderr, "quarn: %s: %s\n", name.c_str(), w.c_str());
  };
  const bool read = reader.ReadStream(stream, flows, warnings, error);
  counts_ = reader.counts();
  rows_.Flush();
  return read;
}

void CaptureRun::One(const CaptureFlow& flow) {
  // Once the output failed nothing more can be written: the flows still
  // end (the reader goes on), but are no longer classified.
  if (out_->failed()) return;
  FlowRecord(flow, &clock_, &record_);
  classifier_->Classify(record_, explain_, &result_);
  stage_->Decide(result_.facts, explain_, &verdict_);
  if (table_) {
    ClassificationCells(record_, result_, &verdict_, &cache_, &cells_);
    AddFlowCells(flow, &cache_, &cells_);
    notes_.clear();
    if (explain_) {
      ClassificationNotes(result_, &verdict_, &cache_, &notes_);
      notes_.insert(notes_.begin(), "name: " + NameEvidence(flow));
    }
    rows_.AddRow(cells_, notes_);
  } else {
    json_.Clear();
    json_.BeginObject();
    WriteClassificationMembers(record_, result_, &verdict_, &verdicts_,
                               explain_, &json_);
    WriteFlowJson(flow, result_, explain_, &clock_, &json_);
    json_.EndObject();
    out_->Append(json_.str());
    out_->Append('\n');
    out_->EndRecord();
  }
  ++classified_;
}

}  // namespace quarn_tool
