#include "settings/tcpdatapool.h"

#include <string.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/COctets.h"

namespace {

// A segment of `len` copies of `fill`, spanning `len` sequence numbers.
void AddFilled(tcpdatapool& pool, uint32_t seq, size_t len, char fill) {
  std::string payload(len, fill);
  pool.Add(payload.data(), len, len, seq);
}

std::string MergeToString(tcpdatapool& pool, int threshold) {
  std::vector<char> buffer(pool.GetDataLen() + 16);
  int n = pool.Merge(buffer.data(), static_cast<int>(buffer.size()), threshold);
  return n <= 0 ? std::string() : std::string(buffer.data(), n);
}

std::string Bytes(char fill, size_t len) { return std::string(len, fill); }

TEST(TcpDataPoolTest, RecordsTotalsAndOrder) {
  tcpdatapool pool;
  pool.Add("abc", 3, 4, 1000);
  pool.Add("ignored", 0, 0, 2000);  // empty payloads are not kept
  EXPECT_EQ(1, pool.GetSize());
  const tcpdatapool::MEMPOOL* record = pool.GetAt(0);
  EXPECT_EQ(4u, record->seq_len);
  EXPECT_EQ(0, memcmp(record->payload(), "abc", 4));  // zero byte included
  pool.Close();
  EXPECT_EQ(1, pool.IsEmpty());
  EXPECT_EQ(0, pool.GetSize());

  AddFilled(pool, 300, 100, 'c');
  AddFilled(pool, 100, 100, 'a');
  AddFilled(pool, 200, 100, 'b');
  CDataArray out(0, 260);
  out.Add(42);  // replaced, not appended to
  pool.Handle(out, 0);
  ASSERT_EQ(3, out.GetSize());  // highest sequence first
  EXPECT_EQ(pool.GetAt(2), reinterpret_cast<tcpdatapool::MEMPOOL*>(
                               static_cast<uintptr_t>(out.GetAt(0))));
  EXPECT_EQ(300u, pool.GetAt(2)->seq);
  EXPECT_EQ(Bytes('a', 100) + Bytes('b', 100) + Bytes('c', 100),
            MergeToString(pool, 0));

  tcpdatapool::MEMPOOL a = {}, b = {};
  a.seq = 0xFFFFFFF0u;  // just before the wrap
  b.seq = 0x10;
  const tcpdatapool::MEMPOOL *pa = &a, *pb = &b;
  EXPECT_EQ(-1, tcpdatapool::Icmp(&pa, &pb));
  EXPECT_EQ(1, tcpdatapool::Icmp(&pb, &pa));
  EXPECT_EQ(0, tcpdatapool::Icmp(&pa, &pa));
}

TEST(TcpDataPoolTest, DuplicatesOverlapsAndGaps) {
  tcpdatapool dup;
  AddFilled(dup, 100, 100, 'a');
  AddFilled(dup, 100, 100, 'a');
  EXPECT_EQ(Bytes('a', 100), MergeToString(dup, 0));

  // The first segment runs 50 bytes into the second: its first 100 bytes
  // stay. Only the kept length is lowered; the segment still spans 150
  // sequence numbers, so every later merge cuts it by 50 again until
  // nothing of it is left.
  tcpdatapool overlap;
  AddFilled(overlap, 100, 150, 'a');
  AddFilled(overlap, 200, 100, 'b');
  EXPECT_EQ(Bytes('a', 100) + Bytes('b', 100), MergeToString(overlap, 0));
  const tcpdatapool::MEMPOOL* first = overlap.GetAt(0);
  EXPECT_EQ(100u, first->seq);
  EXPECT_EQ(100u, first->len);
  EXPECT_EQ(150u, first->seq_len);
  COctets octets;
  EXPECT_EQ(150, overlap.Merge(octets, 0));
  EXPECT_EQ(Bytes('a', 50) + Bytes('b', 100),
            std::string(octets.GetData(), octets.GetLength()));
  EXPECT_EQ(Bytes('b', 100), MergeToString(overlap, 0));
  EXPECT_EQ(Bytes('b', 100), MergeToString(overlap, 0));
  EXPECT_EQ(0u, first->len);
  EXPECT_EQ(150u, first->seq_len);
  EXPECT_EQ(250u, overlap.GetDataLen());  // speaks of what was added

  // The span, not the kept length, decides the overlap: a segment of 100
  // bytes spanning 101 sequence numbers loses one byte to the next.
  tcpdatapool flagged;
  flagged.Add(Bytes('a', 100).data(), 100, 101, 0);
  AddFilled(flagged, 100, 10, 'b');
  EXPECT_EQ(Bytes('a', 99) + Bytes('b', 10), MergeToString(flagged, 0));

  tcpdatapool gap;
  AddFilled(gap, 100, 50, 'a');
  AddFilled(gap, 200, 100, 'b');
  EXPECT_EQ(Bytes('b', 100), MergeToString(gap, 0));
}

TEST(TcpDataPoolTest, FallsBackToEverySegmentBelowEightyPercent) {
  // Ten segments with a gap between the sixth and the seventh: only the
  // four above it join the stream.
  std::string all, upper;
  for (int i = 0; i < 10; ++i) all += Bytes('0' + i, 100);
  for (int i = 6; i < 10; ++i) upper += Bytes('0' + i, 100);
  for (int threshold : {0, 5, 10}) {
    tcpdatapool pool;
    for (int i = 9; i >= 0; --i) {
      AddFilled(pool, 1000 + 100 * i + (i >= 6 ? 50 : 0), 100, '0' + i);
    }
    EXPECT_EQ(threshold == 5 ? all : upper, MergeToString(pool, threshold))
        << threshold;
  }

  // Four of five chosen is exactly 80 %: no fallback.
  tcpdatapool edge;
  AddFilled(edge, 0, 10, 'a');
  for (uint32_t i = 0; i < 4; ++i) AddFilled(edge, 100 + 10 * i, 10, 'b');
  EXPECT_EQ(Bytes('b', 40), MergeToString(edge, 1));
}

TEST(TcpDataPoolTest, MergeKeepsBufferBoundsAndTerminates) {
  tcpdatapool pool;
  AddFilled(pool, 4, 4, 'b');
  AddFilled(pool, 0, 4, 'a');
  char buffer[16];
  EXPECT_EQ(-1, pool.Merge(nullptr, 8, 0));
  EXPECT_EQ(-1, pool.Merge(buffer, 0, 0));
  struct Case {
    int size, result;
    const char* expected;  // the buffer's first size + 1 bytes
  } cases[] = {
      {8, 8, "aaaabbb\0#"},   // filled exactly: the zero replaces a byte
      {9, 8, "aaaabbbb\0#"},  // room for the zero
      {7, 4, "aaaa\0###"},    // no part of the second segment
      {3, 0, "\0###"},        // not even the first
  };
  for (const Case& c : cases) {
    memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(c.result, pool.Merge(buffer, c.size, 0)) << c.size;
    EXPECT_EQ(0, memcmp(buffer, c.expected, c.size + 1)) << c.size;
  }
  tcpdatapool empty;
  memset(buffer, '#', sizeof(buffer));
  EXPECT_EQ(0, empty.Merge(buffer, 8, 0));
  EXPECT_EQ('#', buffer[0]);

  COctets owned;
  owned.Append("old content", 11);
  EXPECT_EQ(8, pool.Merge(owned, 0));
  EXPECT_EQ("aaaabbbb", std::string(owned.GetData(), owned.GetLength()));
  // Emptied first, then grown to twice what the first segment needed (4
  // bytes and the zero), where the second segment still fits.
  EXPECT_EQ(9u, owned.GetCapacity());
  char storage[32];
  COctets lent;  // lent storage that holds the stream is written into
  lent.Attach(storage, sizeof(storage));
  EXPECT_EQ(8, pool.Merge(lent, 0));
  EXPECT_FALSE(lent.IsOwner());
  EXPECT_EQ(0, memcmp(storage, "aaaabbbb", 9));
  EXPECT_EQ(0, empty.Merge(owned, 0));
  EXPECT_EQ(0u, owned.GetLength());
}

TEST(TcpDataPoolTest, CopiesOwnTheirRecords) {
  tcpdatapool pool;
  AddFilled(pool, 100, 150, 'a');
  AddFilled(pool, 200, 100, 'b');
  tcpdatapool copy(pool);
  tcpdatapool assigned;
  AddFilled(assigned, 7, 7, 'z');
  assigned = pool;
  assigned = *&assigned;
  EXPECT_NE(pool.GetAt(0), copy.GetAt(0));
  pool.Close();

  const std::string expected = Bytes('a', 100) + Bytes('b', 100);
  EXPECT_EQ(expected, MergeToString(copy, 0));
  EXPECT_EQ(expected, MergeToString(assigned, 0));
  EXPECT_EQ(250u, assigned.GetDataLen());
  // The records move as they are, trimmed once already.
  tcpdatapool moved(std::move(copy));
  EXPECT_EQ(1, copy.IsEmpty());
  EXPECT_EQ(0, copy.GetSize());
  EXPECT_EQ(Bytes('a', 50) + Bytes('b', 100), MergeToString(moved, 0));
}

// A stream cut into overlapping segments that together cover it, some of
// them sent twice, added in random order and starting just below the wrap,
// merges back into the stream. Each segment starts and ends after the one
// before it, as a sender's segments do.
TEST(TcpDataPoolTest, ShuffledRetransmittedStreamMergesBack) {
  std::mt19937 rng(12345);
  for (int round = 0; round < 50; ++round) {
    const uint32_t base = 0xFFFFFFFFu - (rng() % 3000);
    std::string stream(4000 + rng() % 4000, '\0');
    for (char& c : stream) c = static_cast<char>('A' + rng() % 26);

    std::vector<std::pair<size_t, size_t>> pieces;  // offset, length
    size_t covered = 0;
    while (covered < stream.size()) {
      size_t start = covered - std::min<size_t>(covered, rng() % 200);
      if (!pieces.empty()) start = std::max(start, pieces.back().first + 1);
      size_t len = std::min<size_t>(covered - start + 1 + rng() % 600,
                                    stream.size() - start);
      pieces.emplace_back(start, len);
      covered = start + len;
      if (rng() % 4 == 0) pieces.emplace_back(start, len);  // sent twice
    }
    std::shuffle(pieces.begin(), pieces.end(), rng);

    tcpdatapool pool;
    for (const auto& piece : pieces) {
      pool.Add(stream.data() + piece.first, piece.second, piece.second,
               base + static_cast<uint32_t>(piece.first));
    }
    ASSERT_EQ(stream, MergeToString(pool, 0)) << "round " << round;
  }
}

}  // namespace
