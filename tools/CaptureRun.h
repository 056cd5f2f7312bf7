// `quarn classify` over a packet capture: each flow the capture reader
// hands out, as it ends, becomes one connection record (its ends, its first
// packet's time, its URL or host name, the MAC of each end) and goes
// through the same classifier and policy stage as a record of a CSV input.
// The output is the connection's JSON object (or table row) with a "flow"
// member: packets and bytes each way, first and last time, TCP flags, why
// the flow ended and where its name came from.

#ifndef QUARN_TOOLS_CAPTURERUN_H_
#define QUARN_TOOLS_CAPTURERUN_H_

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <string>
#include <vector>

#include "tools/capture/CaptureReader.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/ConnectionRecord.h"
#include "tools/common/LocalClock.h"
#include "tools/common/Output.h"
#include "tools/common/PolicyStage.h"
#include "tools/common/VerdictOutput.h"

namespace quarn_tool {

// Bytes that tell a capture from text: the first four of the input.
constexpr size_t kCaptureMagicBytes = 4;

// Whether `bytes` begin like a pcap file (either byte order, micro- or
// nanosecond stamps) or a pcapng file (its section header block).
bool IsCaptureMagic(const unsigned char* bytes, size_t size);

// A stdio stream that gives `prefix` (bytes already taken from `fd`, at
// most kCaptureMagicBytes) and then what `fd` holds. A wait for input
// gives way to a stop requested through StopSignals: the read then fails
// as interrupted. Closing the stream closes `fd` unless it is standard
// input. Null when the stream cannot be made (errno says why).
FILE* OpenPrefixedStream(int fd, const unsigned char* prefix, size_t size);

// The connection record of `flow`: the initiator as the first end, the
// responder as the second, the flow's number as the line, its first
// packet's time (in local time) as the connection time, the URL (else the
// host name) and the MAC address of each end. The time is converted through
// `clock`.
void FlowRecord(const CaptureFlow& flow, LocalClock* clock,
                ConnectionRecord* record);

// The TCP flags of a mask as letters, in the order F S R P A U E C ("SA"
// for SYN and ACK).
std::string TcpFlagsText(uint8_t flags);
// The same letters written at `out` (room for 8); returns how many.
size_t TcpFlagsLetters(uint8_t flags, char* out);

// Where a flow's name came from, in words (UTF-8), for --explain.
std::string NameEvidence(const CaptureFlow& flow);

// Writes "flow":{...} inside an object the caller opened: "packets" and
// "bytes" ([initiator, responder]), "first" and "last" (local time with
// microseconds), "tcp_flags" (null for UDP), "end", "name_source", "host"
// (null when none) and "inside_mac" (null when no frame showed it); with
// `explain`, "name_evidence". Times are converted through `clock`.
void WriteFlowJson(const CaptureFlow& flow, const Classification& c,
                   bool explain, LocalClock* clock, JsonWriter* json);

// The table of a capture: the classification's columns, the first one
// named "flow", with "packets", "bytes", "end" and "name" before the
// verdict.
std::vector<std::string> FlowTitles();
// Turns a classification row (from ClassificationCells) into a flow row;
// the host name (GBK) is converted through `cache`.
void AddFlowCells(const CaptureFlow& flow, Utf8Cache* cache,
                  std::vector<std::string>* cells);

// Classifies every flow of one capture into `out`. Not thread-safe.
class CaptureRun {
 public:
  // `classifier`, `stage` and `out` are not owned and must outlive this
  // object. `table_batch_rows`: rows of the table fitted at once.
  CaptureRun(ConnectionClassifier* classifier, PolicyStage* stage,
             OutputSink* out, bool explain, bool table,
             size_t table_batch_rows);

  // Reads the capture from `stream` (taken over, see
  // CaptureReader::ReadStream) with `options`, classifying each flow as it
  // ends; warnings are named on standard error as "quarn: NAME: packet N:
  // ...". False, with *error set, when the stream is no readable capture.
  bool Read(FILE* stream, const std::string& name,
            const CaptureOptions& options, std::string* error);

  // What the capture held.
  const CaptureCounts& counts() const { return counts_; }
  // Flows written out.
  uint64_t classified() const { return classified_; }

 private:
  void One(const CaptureFlow& flow);

  ConnectionClassifier* classifier_;
  PolicyStage* stage_;
  OutputSink* out_;
  bool explain_;
  bool table_;
  Utf8Cache cache_;
  JsonWriter json_;
  TableWriter rows_;
  LocalClock clock_;
  ConnectionRecord record_;
  Classification result_;
  ConnectionVerdict verdict_;
  VerdictJsonWriter verdicts_;
  std::vector<std::string> cells_;
  std::vector<std::string> notes_;
  CaptureCounts counts_;
  uint64_t classified_ = 0;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_CAPTURERUN_H_
