#include <arpa/inet.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "address/CMiniDnsTable.h"
#include "base/CDataArray.h"
#include "settings/tcpdatapool.h"
#include "tools/capture/FlowTracker_internal.h"
#include "tools/capture/NameExtract_internal.h"

namespace quarn_tool {

namespace {

constexpr uint16_t kDnsPort = 53;
// A stream start spread over more segments than this is given up.
constexpr int kMaxSegments = 64;

inline int64_t Micros(const CaptureTime& t) { return t.sec * 1000000 + t.usec; }

inline uint64_t Mix(uint64_t x) {
  x ^= x >> 33;
  x *= 0xff51afd7ed558ccdULL;
  x ^= x >> 33;
  x *= 0xc4ceb9fe1a85ec53ULL;
  return x ^ (x >> 33);
}

// The same for both directions of a flow.
inline uint32_t FlowHash(const DecodedPacket& p) {
  const uint64_t a = (uint64_t{p.src_ip} << 16) | p.src_port;
  const uint64_t b = (uint64_t{p.dst_ip} << 16) | p.dst_port;
  const uint64_t lo = a < b ? a : b;
  const uint64_t hi = a < b ? b : a;
  return static_cast<uint32_t>(
      Mix(lo * 0x9E3779B97F4A7C15ULL ^ hi ^ (uint64_t{p.protocol} << 56)));
}

uint32_t PowerOfTwoAtLeast(uint64_t n) {
  uint64_t p = 16;
  while (p < n) p <<= 1;
  return static_cast<uint32_t>(p);
}

inline bool PureSyn(uint8_t flags) {
  return (flags & (kTcpSyn | kTcpAck)) == kTcpSyn;
}
inline bool SynAck(uint8_t flags) {
  return (flags & (kTcpSyn | kTcpAck)) == (kTcpSyn | kTcpAck);
}

// The most stream bytes worth gathering for a stream that starts with
// `first`.
size_t StreamLimit(uint8_t first) {
  return first == 0x16 ? kMaxClientHello : kMaxHttpHeader;
}

}  // namespace

FlowTracker::FlowTracker(const CaptureOptions& options)
    : max_flows_(std::max<uint32_t>(options.max_flows, 1)),
      idle_us_(int64_t{options.idle_timeout_seconds} * 1000000),
      slots_(),
      index_(PowerOfTwoAtLeast(uint64_t{max_flows_} * 2), IndexEntry{0, -1}),
      index_mask_(static_cast<uint32_t>(index_.size() - 1)),
      names_(std::max<uint32_t>(options.max_dns_names, 1)),
      dns_table_(options.dns_table),
      pools_(options.max_reassembly) {
  // Slots are made as flows need them, in room reserved now: the table
  // never moves (references to a slot stay valid), and a short capture
  // does not pay for a full one.
  slots_.reserve(max_flows_);
  free_slots_.reserve(max_flows_);
  for (uint32_t i = options.max_reassembly; i > 0; --i) {
    free_pools_.push_back(static_cast<int32_t>(i - 1));
  }
  if (dns_table_ == nullptr) {
    own_dns_table_ = std::make_unique<CMiniDnsTable>();
    own_dns_table_->Create();
    dns_table_ = own_dns_table_.get();
  }
  stream_.reserve(kMaxClientHello);
  scratch_.reserve(kMaxClientHello);
}

FlowTracker::~FlowTracker() = default;

// ---- The table ----

int32_t FlowTracker::Lookup(const DecodedPacket& p, uint32_t hash,
                            int* dir) const {
  for (uint32_t i = hash & index_mask_;; i = (i + 1) & index_mask_) {
    const IndexEntry& e = index_[i];
    if (e.slot < 0) return -1;
    if (e.hash != hash) continue;
    const CaptureFlow& f = slots_[e.slot].flow;
    if (f.protocol != p.protocol) continue;
    if (f.ip[0] == p.src_ip && f.port[0] == p.src_port && f.ip[1] == p.dst_ip &&
        f.port[1] == p.dst_port) {
      *dir = 0;
      return e.slot;
    }
    if (f.ip[1] == p.src_ip && f.port[1] == p.src_port && f.ip[0] == p.dst_ip &&
        f.port[0] == p.dst_port) {
      *dir = 1;
      return e.slot;
    }
  }
}

void FlowTracker::IndexInsert(uint32_t hash, int32_t slot) {
  uint32_t i = hash & index_mask_;
  while (index_[i].slot >= 0) i = (i + 1) & index_mask_;
  index_[i] = IndexEntry{hash, slot};
}

// Linear probing without tombstones: the entries after the hole that
// probed past it move back into it.
void FlowTracker::IndexErase(int32_t slot) {
  uint32_t i = slots_[slot].hash & index_mask_;
  while (index_[i].slot != slot) i = (i + 1) & index_mask_;
  for (uint32_t j = (i + 1) & index_mask_;; j = (j + 1) & index_mask_) {
    if (index_[j].slot < 0) break;
    const uint32_t home = index_[j].hash & index_mask_;
    // Entry j may fill hole i when its home is not in (i, j].
    const bool stays =
        i <= j ? (i < home && home <= j) : (i < home || home <= j);
    if (stays) continue;
    index_[i] = index_[j];
    i = j;
  }
  index_[i].slot = -1;
}

void FlowTracker::Unlist(int32_t slot) {
  Slot& s = slots_[slot];
  if (s.older >= 0) slots_[s.older].newer = s.newer;
  if (s.newer >= 0) slots_[s.newer].older = s.older;
  if (oldest_ == slot) oldest_ = s.newer;
  if (newest_ == slot) newest_ = s.older;
  s.older = s.newer = -1;
}

void FlowTracker::Touch(int32_t slot) {
  if (newest_ == slot) return;
  Unlist(slot);
  Slot& s = slots_[slot];
  s.older = newest_;
  if (newest_ >= 0) slots_[newest_].newer = slot;
  newest_ = slot;
  if (oldest_ < 0) oldest_ = slot;
}

void FlowTracker::Remove(int32_t slot) {
  IndexErase(slot);
  Unlist(slot);
  ReleasePool(slots_[slot]);
  free_slots_.push_back(slot);
  --used_;
}

int32_t FlowTracker::Create(const DecodedPacket& p, uint32_t hash,
                            const CaptureTime& when) {
  if (free_slots_.empty() && slots_.size() < max_flows_) {
    slots_.emplace_back();
    free_slots_.push_back(static_cast<int32_t>(slots_.size() - 1));
  }
  if (free_slots_.empty()) {
    Slot& victim = slots_[oldest_];
    if (victim.closed) {
      Remove(oldest_);
    } else {
      End(oldest_, kEndEvicted);
    }
  }
  const int32_t slot = free_slots_.back();
  free_slots_.pop_back();
  ++used_;
  Slot& s = slots_[slot];
  CaptureFlow& f = s.flow;
  // The strings keep their storage from the slot's earlier flows.
  std::string host = std::move(f.host);
  std::string url = std::move(f.url);
  host.clear();
  url.clear();
  f = CaptureFlow();
  f.host = std::move(host);
  f.url = std::move(url);
  f.number = next_number_++;
  f.protocol = p.protocol;
  f.ip[0] = p.src_ip;
  f.port[0] = p.src_port;
  f.ip[1] = p.dst_ip;
  f.port[1] = p.dst_port;
  f.first = when;
  s.hash = hash;
  s.pool = -1;
  s.base_known = false;
  s.closed = false;
  s.fins = 0;
  s.name_dir = 0;
  s.name_state = kNamePending;
  IndexInsert(hash, slot);
  std::string_view name = names_.Get(p.dst_ip);
  if (name.empty()) name = names_.Get(p.src_ip);
  if (!name.empty()) {
    f.host.assign(name.data(), name.size());
    f.name_source = kNameDns;
  }
  return slot;
}

void FlowTracker::End(int32_t slot, CaptureFlowEnd end) {
  Slot& s = slots_[slot];
  s.flow.end = end;
  ++counts_.flows;
  if (s.flow.name_source == kNameHttp) ++counts_.names_http;
  if (s.flow.name_source == kNameSni) ++counts_.names_sni;
  if (s.flow.name_source == kNameDns) ++counts_.names_dns;
  if (sink_ != nullptr && *sink_) (*sink_)(s.flow);
  if (end == kEndClosed) {
    s.closed = true;
    ReleasePool(s);
  } else {
    Remove(slot);
  }
}

void FlowTracker::ExpireIdle(int64_t now_us) {
  while (oldest_ >= 0 && now_us - slots_[oldest_].last_us > idle_us_) {
    if (slots_[oldest_].closed) {
      Remove(oldest_);
    } else {
      End(oldest_, kEndIdle);
    }
  }
}

void FlowTracker::Finish() {
  while (oldest_ >= 0) {
    if (slots_[oldest_].closed) {
      Remove(oldest_);
    } else {
      End(oldest_, kEndCaptureEnd);
    }
  }
}

// ---- Per packet ----

void FlowTracker::Packet(const DecodedPacket& p, const CaptureTime& when,
                         uint32_t wirelen) {
  const int64_t now_us = Micros(when);
  ExpireIdle(now_us);
  const uint32_t hash = FlowHash(p);
  int dir = 0;
  int32_t slot = Lookup(p, hash, &dir);
  if (slot >= 0 && slots_[slot].closed) {
    if (p.protocol == 6 && !PureSyn(p.tcp_flags)) {
      ++counts_.late_packets;
      slots_[slot].last_us = now_us;
      Touch(slot);
      return;
    }
    Remove(slot);
    slot = -1;
  }
  if (slot < 0) {
    slot = Create(p, hash, when);
    dir = 0;
  }
  Slot& s = slots_[slot];
  s.last_us = now_us;
  Touch(slot);
  if (p.protocol == 6) dir = Handshake(s, dir, p);
  Account(s, dir, p, when, wirelen);
  if (p.protocol == 17) {
    if (p.src_port == kDnsPort || p.dst_port == kDnsPort) Dns(s, p, when);
    return;
  }
  if (p.payload_len > 0) TcpName(s, dir, p);
  if ((p.tcp_flags & kTcpRst) != 0) {
    End(slot, kEndClosed);
  } else if ((p.tcp_flags & kTcpFin) != 0) {
    s.fins |= static_cast<uint8_t>(1 << dir);
    if (s.fins == 3) End(slot, kEndClosed);
  }
}

void FlowTracker::Account(Slot& s, int dir, const DecodedPacket& p,
                          const CaptureTime& when, uint32_t wirelen) {
  CaptureFlow& f = s.flow;
  ++f.packets[dir];
  f.bytes[dir] += wirelen;
  f.last = when;
  f.tcp_flags |= p.tcp_flags;
  if (p.payload_cut) ++counts_.payload_cut;
  if (p.src_mac != nullptr && !f.has_mac[dir]) {
    memcpy(f.mac[dir], p.src_mac, 6);
    f.has_mac[dir] = true;
  }
  if (p.dst_mac != nullptr && !f.has_mac[1 - dir]) {
    memcpy(f.mac[1 - dir], p.dst_mac, 6);
    f.has_mac[1 - dir] = true;
  }
}

// Settles the initiator from the SYN exchange and returns the packet's
// direction afterwards.
int FlowTracker::Handshake(Slot& s, int dir, const DecodedPacket& p) {
  const bool syn = PureSyn(p.tcp_flags);
  const bool syn_ack = SynAck(p.tcp_flags);
  if (!syn && !syn_ack) return dir;
  if (!s.flow.syn_seen) {
    // The SYN's sender, or the SYN-ACK's receiver, is the initiator.
    if ((syn && dir == 1) || (syn_ack && dir == 0)) {
      SwapEnds(s);
      dir = 1 - dir;
    }
    s.flow.syn_seen = true;
  }
  if (!s.base_known && dir == (syn ? 0 : 1)) {
    s.base = syn ? p.seq + 1 : p.ack;
    s.base_known = true;
  }
  return dir;
}

void FlowTracker::SwapEnds(Slot& s) {
  CaptureFlow& f = s.flow;
  std::swap(f.ip[0], f.ip[1]);
  std::swap(f.port[0], f.port[1]);
  std::swap(f.mac[0], f.mac[1]);
  std::swap(f.has_mac[0], f.has_mac[1]);
  std::swap(f.packets[0], f.packets[1]);
  std::swap(f.bytes[0], f.bytes[1]);
  s.fins = static_cast<uint8_t>(((s.fins & 1) << 1) | ((s.fins >> 1) & 1));
  s.name_dir = static_cast<uint8_t>(1 - s.name_dir);
}

// A DNS message: the library's table judges it and learns from it; the
// addresses it answers are remembered with their names.
void FlowTracker::Dns(Slot& s, const DecodedPacket& p,
                      const CaptureTime& when) {
  const char* payload = reinterpret_cast<const char*>(p.payload);
  const int len = static_cast<int>(p.payload_len);
  const CTimeStamp32 now(static_cast<uint32_t>(when.sec), when.usec);
  if (dns_table_->DecodeDnsData(payload, len, p.src_port, p.dst_port, now) !=
      0) {
    return;
  }
  if (CCommonDNSDecode::DSNDecode_Rsp(payload, len, answers_) == 0 ||
      answers_.empty()) {
    return;
  }
  for (const CCommonDNSDecode::DNS_RSP_ADDR& a : answers_) {
    names_.Put(ntohl(a.ip), a.name);
    ++counts_.dns_answers;
  }
  // An address answered once more under the first question's name keeps
  // that name: the one the client asked for.
  if (s.flow.name_source == kNameNone) {
    const std::string_view name = names_.Get(ntohl(answers_.front().ip));
    s.flow.host.assign(name.data(), name.size());
    s.flow.name_source = name.empty() ? kNameNone : kNameDns;
  }
}

// ---- Names from the first bytes of a TCP stream ----

void FlowTracker::TcpName(Slot& s, int dir, const DecodedPacket& p) {
  if (s.name_state == kNameDone) return;
  if (s.pool >= 0) {
    if (dir != s.name_dir) return;
    AddSegment(s, p);
    TryPool(s);
    return;
  }
  // With the handshake seen, only the initiator's stream is read; without
  // it the capture began mid-stream, and either end may be the client.
  if (s.flow.syn_seen && dir != 0) return;
  FirstSegment(s, dir, p);
}

void FlowTracker::FirstSegment(Slot& s, int dir, const DecodedPacket& p) {
  if (s.base_known && p.seq != s.base) {
    // Not the first byte: an out-of-order segment when it lies within
    // reach of the start, else the start was missed.
    const uint32_t offset = p.seq - s.base;
    if (offset >= 0x80000000u) return;  // before the start: a retransmission
    if (offset >= kMaxClientHello || !StartPool(s, dir, s.base)) {
      s.name_state = kNameDone;
      return;
    }
    AddSegment(s, p);
    return;
  }
  const uint8_t* data = p.payload;
  const size_t len = p.payload_len;
  const bool http = LooksLikeHttpRequest(data, len);
  if (!http && !LooksLikeTlsHandshake(data, len)) {
    if (s.flow.syn_seen || dir == 0) s.name_state = kNameDone;
    return;
  }
  if (Extract(s, data, len, false)) return;
  if (p.payload_cut || !StartPool(s, dir, p.seq)) {
    s.name_state = kNameDone;
    return;
  }
  AddSegment(s, p);
}

bool FlowTracker::StartPool(Slot& s, int dir, uint32_t base) {
  if (free_pools_.empty()) {
    ++counts_.reassembly_full;
    return false;
  }
  s.pool = free_pools_.back();
  free_pools_.pop_back();
  if (!pools_[s.pool]) pools_[s.pool] = std::make_unique<tcpdatapool>();
  s.base = base;
  s.base_known = true;
  s.name_dir = static_cast<uint8_t>(dir);
  return true;
}

void FlowTracker::AddSegment(Slot& s, const DecodedPacket& p) {
  const uint32_t offset = p.seq - s.base;
  if (offset >= kMaxClientHello) return;
  const uint32_t room = static_cast<uint32_t>(kMaxClientHello) - offset;
  const uint32_t len = p.payload_len < room ? p.payload_len : room;
  pools_[s.pool]->Add(p.payload, len, len, p.seq);
}

// Gathers what the pool holds from the stream's first byte on, without a
// gap, and reads it.
void FlowTracker::TryPool(Slot& s) {
  tcpdatapool& pool = *pools_[s.pool];
  if (pool.GetSize() > kMaxSegments) {
    s.name_state = kNameDone;
    ReleasePool(s);
    return;
  }
  CDataArray chosen;
  pool.Handle(chosen, 0);
  const int n = chosen.GetSize();
  if (n == 0) return;
  const auto* lowest =
      reinterpret_cast<const tcpdatapool::MEMPOOL*>(chosen.GetAt(n - 1));
  if (lowest->seq != s.base) return;  // the start is still missing
  stream_.clear();
  for (int i = n - 1; i >= 0 && stream_.size() < kMaxClientHello; --i) {
    const auto* m =
        reinterpret_cast<const tcpdatapool::MEMPOOL*>(chosen.GetAt(i));
    const size_t take =
        std::min<size_t>(m->len, kMaxClientHello - stream_.size());
    stream_.insert(stream_.end(), m->payload(), m->payload() + take);
  }
  const bool final = stream_.size() >= StreamLimit(stream_[0]);
  if (Extract(s, stream_.data(), stream_.size(), final) || final) {
    s.name_state = kNameDone;
    ReleasePool(s);
  }
}

bool FlowTracker::Extract(Slot& s, const uint8_t* data, size_t len,
                          bool final) {
  CaptureFlow& f = s.flow;
  ExtractResult result = kExtractNo;
  if (len > 0 && data[0] == 0x16) {
    std::string_view sni;
    result = ParseClientHello(data, len, &scratch_, &sni);
    if (result == kExtractFound && !sni.empty()) {
      f.host.assign(sni.data(), sni.size());
      f.url.clear();
      f.name_source = kNameSni;
    }
  } else {
    HttpRequestName http;
    const size_t cut = std::min(len, kMaxHttpHeader);
    result = ParseHttpRequest(data, cut, final || cut < len, &http);
    if (result == kExtractFound && !http.host.empty()) {
      f.host.assign(http.host.data(), http.host.size());
      f.url.assign(http.host_port.data(), http.host_port.size());
      f.url.append(http.path.data(), http.path.size());
      f.name_source = kNameHttp;
    }
  }
  if (result == kExtractMore) return false;
  s.name_state = kNameDone;
  return true;
}

void FlowTracker::ReleasePool(Slot& s) {
  if (s.pool < 0) return;
  pools_[s.pool]->Close();
  free_pools_.push_back(s.pool);
  s.pool = -1;
}

}  // namespace quarn_tool
