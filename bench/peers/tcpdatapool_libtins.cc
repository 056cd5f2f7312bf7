// TCP reassembly beside libtins' TCPIP::DataTracker.
//
// One stream of 1 MiB of random bytes, starting at sequence number
// 0xFFF00000 so that it crosses the 32-bit wrap, is cut into segments and
// fed to both sides segment by segment; each then hands back the stream:
//
//   - ours: tcpdatapool::Add for every segment, then Merge into one buffer
//     and Close;
//   - the peer: a DataTracker started at the first sequence number,
//     process_payload for every segment (each payload copied into the
//     std::vector the call takes, as a host holding packet bytes does),
//     then its payload().
//
// Three segment sequences: 1,460-byte segments in order; the same shuffled;
// and overlapping retransmissions (1,460-byte segments starting every
// 1,000 bytes, every tenth sent twice) shuffled. Every sequence covers the
// whole stream and each segment ends no earlier than the ones that start
// before it, so both sides must give back exactly the original bytes; the
// program checks that before timing. A timed operation is one whole
// stream, setup and teardown of the pool or tracker included.

#include <string.h>
#include <tins/tcp_ip/data_tracker.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "bench/peers/peer_common.h"
#include "settings/tcpdatapool.h"

namespace {

using peer_bench::Fail;

#ifndef QUARN_TINS_VERSION
#define QUARN_TINS_VERSION "(version unknown)"
#endif

constexpr size_t kStreamBytes = 1 << 20;
constexpr size_t kSegmentBytes = 1460;
constexpr uint32_t kFirstSeq = 0xFFF00000u;

struct Segment {
  size_t offset;
  size_t length;
};

std::vector<unsigned char> MakeStream() {
  std::vector<unsigned char> stream(kStreamBytes);
  std::mt19937 rng(7);
  for (unsigned char& c : stream) c = static_cast<unsigned char>(rng());
  return stream;
}

// Segments of `length` bytes starting every `stride` bytes; every
// `twice`-th is sent a second time (0: none).
std::vector<Segment> Cut(size_t stride, size_t length, size_t twice,
                         bool shuffled) {
  std::vector<Segment> segments;
  for (size_t at = 0, n = 0; at < kStreamBytes; at += stride, ++n) {
    const Segment s{at, std::min(length, kStreamBytes - at)};
    segments.push_back(s);
    if (twice != 0 && n % twice == 0) segments.push_back(s);
  }
  if (shuffled) {
    std::shuffle(segments.begin(), segments.end(), std::mt19937(9));
  }
  return segments;
}

// Our side: the merged stream's length; the bytes in `out`.
size_t Ours(const std::vector<unsigned char>& stream,
            const std::vector<Segment>& segments, std::vector<char>* out) {
  tcpdatapool pool;
  for (const Segment& s : segments) {
    pool.Add(stream.data() + s.offset, s.length, s.length,
             kFirstSeq + static_cast<uint32_t>(s.offset));
  }
  const int n = pool.Merge(out->data(), static_cast<int>(out->size()), 0);
  pool.Close();
  return n < 0 ? 0 : static_cast<size_t>(n);
}

// The peer: the reassembled payload.
Tins::TCPIP::DataTracker::payload_type Peer(
    const std::vector<unsigned char>& stream,
    const std::vector<Segment>& segments) {
  Tins::TCPIP::DataTracker tracker(kFirstSeq);
  for (const Segment& s : segments) {
    const unsigned char* p = stream.data() + s.offset;
    tracker.process_payload(kFirstSeq + static_cast<uint32_t>(s.offset),
                            std::vector<uint8_t>(p, p + s.length));
  }
  return std::move(tracker.payload());
}

void Run(const std::string& hot_path, const std::string& data,
         const std::vector<unsigned char>& stream,
         const std::vector<Segment>& segments) {
  std::vector<char> buffer(kStreamBytes + 1);
  const size_t n = Ours(stream, segments, &buffer);
  if (n != kStreamBytes || memcmp(buffer.data(), stream.data(), n) != 0) {
    Fail("%s: the pool gave %zu bytes, not the stream", hot_path.c_str(), n);
  }
  const auto theirs = Peer(stream, segments);
  if (theirs.size() != kStreamBytes ||
      memcmp(theirs.data(), stream.data(), kStreamBytes) != 0) {
    Fail("%s: the tracker gave %zu bytes, not the stream", hot_path.c_str(),
         theirs.size());
  }

  // One operation is one whole stream.
  auto ours = [&](size_t, size_t) { return Ours(stream, segments, &buffer); };
  auto peer = [&](size_t, size_t) { return Peer(stream, segments).size(); };
  const peer_bench::Timing t = peer_bench::Compare(ours, peer, 1);
  peer_bench::PrintRow(
      hot_path, data, t.ours_ns,
      std::string("libtins ") + QUARN_TINS_VERSION + " DataTracker", t.peer_ns);
}

}  // namespace

int main() {
  const std::vector<unsigned char> stream = MakeStream();
  const std::string mib =
      "1 MiB, " + peer_bench::Thousands(kSegmentBytes) + "-byte segments";
  Run("TCP reassembly: in order", mib, stream,
      Cut(kSegmentBytes, kSegmentBytes, 0, false));
  Run("TCP reassembly: out of order", mib + ", shuffled", stream,
      Cut(kSegmentBytes, kSegmentBytes, 0, true));
  Run("TCP reassembly: overlapping",
      mib + " every 1,000 bytes, 10% twice, " + "shuffled", stream,
      Cut(1000, kSegmentBytes, 10, true));
  return 0;
}
