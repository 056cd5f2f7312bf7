// The flow table behind CaptureReader: decoded packets in, ended flows
// out. Flows live in a fixed array (max_flows slots) indexed by an
// open-addressing hash of the 5-tuple that is the same for both
// directions, and on a list from the least to the most recently active,
// which gives both the idle timeout and the flow to evict. A flow closed
// by RST or FIN is handed out at once but stays in the table, marked
// closed, so that the last ACKs do not open a flow of their own; a new SYN
// on its 5-tuple replaces it.
//
// Names: see CaptureReader.h. The first request of a TCP stream is
// reassembled in one of a fixed number of library tcpdatapool objects.
//
// Nothing is allocated per packet once the table has warmed up.

#ifndef QUARN_TOOLS_CAPTURE_FLOWTRACKER_INTERNAL_H_
#define QUARN_TOOLS_CAPTURE_FLOWTRACKER_INTERNAL_H_

#include <stdint.h>

#include <memory>
#include <string_view>
#include <vector>

#include "base/CCommonDNSDecode.h"
#include "tools/capture/AddressNames_internal.h"
#include "tools/capture/CaptureReader.h"
#include "tools/capture/PacketDecoder_internal.h"

class CMiniDnsTable;
class tcpdatapool;

namespace quarn_tool {

class FlowTracker {
 public:
  explicit FlowTracker(const CaptureOptions& options);
  ~FlowTracker();
  FlowTracker(const FlowTracker&) = delete;
  FlowTracker& operator=(const FlowTracker&) = delete;

  // Where ended flows go; the sink must outlive the calls that follow.
  // Null drops them (they are still counted).
  void set_sink(const CaptureReader::FlowSink* sink) { sink_ = sink; }

  // Takes one IPv4 TCP or UDP packet seen at `when`, `wirelen` bytes on
  // the wire. Flows idle for longer than the timeout at `when` end first.
  void Packet(const DecodedPacket& packet, const CaptureTime& when,
              uint32_t wirelen);
  // Ends every open flow (capture end), least recently active first, and
  // empties the table. Learnt DNS names are kept.
  void Finish();

  CaptureCounts& counts() { return counts_; }
  // Flows in the table, closed ones included.
  uint32_t size() const { return used_; }

 private:
  enum NameState : uint8_t { kNamePending, kNameDone };

  struct Slot {
    CaptureFlow flow;
    int64_t last_us = 0;  // flow.last in microseconds
    uint32_t hash = 0;
    int32_t older = -1;  // activity list
    int32_t newer = -1;
    int32_t pool = -1;  // reassembly pool, -1 none
    uint32_t base = 0;  // sequence of the client's first data byte
    bool base_known = false;
    bool closed = false;
    uint8_t fins = 0;  // bit per end that sent a FIN
    uint8_t name_dir = 0;
    NameState name_state = kNamePending;
  };

  struct IndexEntry {
    uint32_t hash;
    int32_t slot;  // -1 empty
  };

  // Table.
  int32_t Lookup(const DecodedPacket& p, uint32_t hash, int* dir) const;
  int32_t Create(const DecodedPacket& p, uint32_t hash,
                 const CaptureTime& when);
  void Remove(int32_t slot);
  void IndexInsert(uint32_t hash, int32_t slot);
  void IndexErase(int32_t slot);
  void Touch(int32_t slot);
  void Unlist(int32_t slot);
  void ExpireIdle(int64_t now_us);
  void End(int32_t slot, CaptureFlowEnd end);

  // Per packet.
  void Account(Slot& s, int dir, const DecodedPacket& p,
               const CaptureTime& when, uint32_t wirelen);
  int Handshake(Slot& s, int dir, const DecodedPacket& p);
  void SwapEnds(Slot& s);
  void Dns(Slot& s, const DecodedPacket& p, const CaptureTime& when);
  void TcpName(Slot& s, int dir, const DecodedPacket& p);
  void FirstSegment(Slot& s, int dir, const DecodedPacket& p);
  bool StartPool(Slot& s, int dir, uint32_t base);
  void AddSegment(Slot& s, const DecodedPacket& p);
  void TryPool(Slot& s);
  // Reads a stream start; true when looking for a name is over.
  bool Extract(Slot& s, const uint8_t* data, size_t len, bool final);
  void ReleasePool(Slot& s);

  const CaptureReader::FlowSink* sink_ = nullptr;
  uint32_t max_flows_;
  int64_t idle_us_;
  CaptureCounts counts_;
  uint64_t next_number_ = 1;

  std::vector<Slot> slots_;
  std::vector<int32_t> free_slots_;
  std::vector<IndexEntry> index_;
  uint32_t index_mask_;
  uint32_t used_ = 0;
  int32_t oldest_ = -1;
  int32_t newest_ = -1;

  // Names.
  AddressNames names_;
  std::unique_ptr<CMiniDnsTable> own_dns_table_;
  CMiniDnsTable* dns_table_;
  std::vector<CCommonDNSDecode::DNS_RSP_ADDR> answers_;
  std::vector<std::unique_ptr<tcpdatapool>> pools_;
  std::vector<int32_t> free_pools_;
  std::vector<uint8_t> stream_;   // a reassembled stream start
  std::vector<uint8_t> scratch_;  // joined TLS handshake records
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_CAPTURE_FLOWTRACKER_INTERNAL_H_
