// Feeds sequences of TCP segments built from arbitrary bytes to the
// reordering pool and merges them into buffers of exactly the size given,
// so that a write (or, from a segment, a read) one byte past the end is
// caught by the address sanitizer.
//
// Input: a threshold byte, four bytes of the first sequence number, then
// per segment a length byte, a signed 16-bit step from the previous
// sequence number, a signed byte that the sequence span differs from the
// length by, and the payload (what is left when the input runs short).
//
// Every merge runs on a copy of the pool, since a merge trims segments in
// place; the copies must agree: the merge into an octet buffer gives the
// stream, and merges into buffers of the stream's length, one byte more,
// and about half of it give that stream, whole segments of it or its
// start, as the pool's contract says.

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "base/CDataArray.h"
#include "base/COctets.h"
#include "fuzz/FuzzFiles.h"
#include "settings/tcpdatapool.h"

namespace {

using quarn_fuzz::Require;

// A heap block of exactly `size` bytes, so the sanitizer guards both ends.
class ExactBuffer {
 public:
  explicit ExactBuffer(size_t size) : bytes_(new char[size > 0 ? size : 1]) {
    memset(bytes_.get(), 0x5A, size > 0 ? size : 1);
  }
  char* get() { return bytes_.get(); }

 private:
  std::unique_ptr<char[]> bytes_;
};

// Merges a copy of `pool` into a buffer of `size` bytes and checks the
// result against `stream`, the merge into an octet buffer.
void CheckBufferMerge(const tcpdatapool& pool, const std::string& stream,
                      int size, int threshold) {
  tcpdatapool copy(pool);
  ExactBuffer buffer(size);
  const int written = copy.Merge(buffer.get(), size, threshold);
  Require(written >= 0 && written <= size, "merge stays in the buffer");
  if (written == size) {
    // Filled exactly: the last byte gave way to the terminating zero.
    Require(buffer.get()[size - 1] == '\0', "zero over the last byte");
    Require(memcmp(buffer.get(), stream.data(), size - 1) == 0,
            "merged bytes are the stream's start");
  } else {
    Require(buffer.get()[written] == '\0', "zero after the data");
    Require(memcmp(buffer.get(), stream.data(), written) == 0,
            "merged bytes are the stream's start");
  }
  if (static_cast<size_t>(size) >= stream.size() + 1) {
    Require(static_cast<size_t>(written) == stream.size(),
            "a buffer with room takes the whole stream");
  } else if (static_cast<size_t>(size) == stream.size()) {
    Require(written == size, "a buffer of the stream's size is filled");
  }
}

void Run(const uint8_t* data, size_t size) {
  if (size < 5) return;
  const int threshold = data[0] % 16;
  uint32_t seq = static_cast<uint32_t>(data[1]) << 24 |
                 static_cast<uint32_t>(data[2]) << 16 |
                 static_cast<uint32_t>(data[3]) << 8 | data[4];
  size_t pos = 5;
  tcpdatapool pool;
  uint64_t added = 0;
  int segments = 0;
  while (pos + 4 <= size && segments < 256) {
    const size_t len = data[pos];
    const int16_t step =
        static_cast<int16_t>(data[pos + 1] | (data[pos + 2] << 8));
    const int8_t span_change = static_cast<int8_t>(data[pos + 3]);
    pos += 4;
    const size_t take = len < size - pos ? len : size - pos;
    seq += static_cast<uint32_t>(static_cast<int32_t>(step));
    const uint64_t span =
        static_cast<uint32_t>(static_cast<int64_t>(take) + span_change);
    // The payload in a block of its own exact size.
    std::vector<char> payload(data + pos, data + pos + take);
    pool.Add(payload.data(), take, span, seq);
    pos += take;
    if (take > 0) {
      added += take;
      ++segments;
    }
  }
  Require(pool.GetSize() == segments, "one record per non-empty segment");
  Require(pool.GetDataLen() == added, "the total counts every byte added");
  Require(pool.IsEmpty() == (added == 0 ? 1 : 0), "emptiness");

  // The chosen segments, highest sequence first; their lengths add up to
  // the stream.
  tcpdatapool handled(pool);
  CDataArray chosen;
  handled.Handle(chosen, threshold);
  uint64_t chosen_len = 0;
  for (int i = 0; i < chosen.GetSize(); ++i) {
    const tcpdatapool::MEMPOOL* m =
        reinterpret_cast<const tcpdatapool::MEMPOOL*>(chosen[i]);
    bool owned = false;
    for (int k = 0; k < handled.GetSize() && !owned; ++k) {
      owned = handled.GetAt(k) == m;
    }
    Require(owned, "a chosen segment belongs to the pool");
    chosen_len += m->len;
  }

  tcpdatapool octets_copy(pool);
  COctets octets;
  const int length = octets_copy.Merge(octets, threshold);
  Require(length >= 0 && static_cast<size_t>(length) == octets.GetLength(),
          "octet merge reports its length");
  Require(static_cast<uint64_t>(length) <= added, "no byte is invented");
  Require(static_cast<uint64_t>(length) == chosen_len,
          "the stream is the chosen segments");
  const std::string stream(octets.GetData(), octets.GetLength());

  if (added == 0) {
    ExactBuffer buffer(1);
    buffer.get()[0] = 'x';
    Require(
        pool.Merge(buffer.get(), 1, threshold) == 0 && buffer.get()[0] == 'x',
        "an empty pool leaves the buffer alone");
    return;
  }
  for (int target : {length + 1, length, length / 2 + 1, 1}) {
    if (target >= 1) CheckBufferMerge(pool, stream, target, threshold);
  }
  ExactBuffer one(1);
  Require(pool.Merge(nullptr, 16, threshold) == -1, "a null buffer");
  Require(pool.Merge(one.get(), 0, threshold) == -1, "a buffer of no bytes");

  // Storage lent to the octet buffer is written in place while the stream
  // fits, and left alone once it does not.
  const size_t lent = (size % 2 == 0 ? static_cast<size_t>(length) + 1
                                     : static_cast<size_t>(length) / 2 + 1);
  ExactBuffer storage(lent);
  COctets attached;
  attached.Attach(storage.get(), lent);
  tcpdatapool lent_copy(pool);
  Require(lent_copy.Merge(attached, threshold) == length,
          "merge into lent storage");
  Require(std::string(attached.GetData(), attached.GetLength()) == stream,
          "lent storage holds the stream");

  // Merging again sees the lengths the first merge trimmed; it must stay
  // in bounds whatever it keeps.
  ExactBuffer again(static_cast<size_t>(length) + 1);
  const int second = lent_copy.Merge(again.get(), length + 1, threshold);
  Require(second >= 0 && second <= length + 1, "second merge in bounds");
  lent_copy.Close();
  Require(lent_copy.GetSize() == 0 && lent_copy.IsEmpty() == 1,
          "close empties the pool");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Run(data, size);
  return 0;
}
