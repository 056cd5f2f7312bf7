// A reordering pool for the payload segments of one TCP stream.
//
// Segments arrive in capture order, each with its sequence number. The pool
// keeps one heap block per segment (header and payload together) and, when
// asked, puts them back into sequence order in one contiguous buffer:
// duplicate starts are dropped, overlaps are trimmed, and segments that end
// before a gap are left out. When too many segments are lost that way the
// merge falls back to every segment in sequence order.
//
// Sequence order follows the 32-bit wrap-around of TCP sequence numbers, so
// a stream that crosses 0xFFFFFFFF -> 0 still sorts as captured, as long as
// it spans less than 2^31 sequence numbers.
//
// One pool serves one stream in one thread; it takes no locks.

#ifndef QUARN_SETTINGS_TCPDATAPOOL_H_
#define QUARN_SETTINGS_TCPDATAPOOL_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include "quarn_common/base/CDataArray.h"

class COctets;

class QUARN_EXPORT tcpdatapool {
 public:
  // One stored segment: a single block of sizeof(MEMPOOL) + len + 1 bytes
  // from Orva::MyMemAlloc, the payload starting at `data` and followed by a
  // zero byte.
  struct MEMPOOL {
    uint32_t len;      // payload bytes kept; lowered when overlaps are trimmed
    uint32_t seq_len;  // span in sequence numbers, as added; never lowered
    uint32_t seq;      // sequence number of the first byte
    uint32_t reserved;
    unsigned char data[4];  // really `len` bytes and a zero byte

    // The payload, without the bounds of the declared array.
    unsigned char* payload() {
      return reinterpret_cast<unsigned char*>(this) + offsetof(MEMPOOL, data);
    }
    const unsigned char* payload() const {
      return reinterpret_cast<const unsigned char*>(this) +
             offsetof(MEMPOOL, data);
    }
  };

  tcpdatapool();
  virtual ~tcpdatapool();

  // Copies are deep: the copy owns records of its own with the same headers
  // and payloads, so no record ever has two owners. A record that cannot be
  // allocated is left out of the copy (and its length out of its total).
  tcpdatapool(const tcpdatapool& other);
  tcpdatapool& operator=(const tcpdatapool& other);
  // Moving hands the records over; `other` is left empty.
  tcpdatapool(tcpdatapool&& other) noexcept;
  tcpdatapool& operator=(tcpdatapool&& other) noexcept;

  // Stores a copy of `len` payload bytes that start at sequence number
  // `seq` and span `seq_len` sequence numbers (kept in 32 bits). A length
  // of 0, a length that does not fit in 32 bits, or an allocation failure
  // adds nothing.
  void Add(const void* data, uint64_t len, uint64_t seq_len, uint32_t seq);

  // Sorts the segments by sequence, trims overlaps in place and fills `out`
  // with the segments that make up the stream, highest sequence first (walk
  // it from its end for stream order). A segment whose span runs into the
  // next chosen one keeps only its first bytes: its `len` is lowered by the
  // overlap, its `seq_len` is not, so every later call trims it again. With
  // a non-zero `threshold`, when the pool holds more than `threshold`
  // segments and fewer than 80 % of them were chosen, `out` gets every
  // segment instead, with the lengths as trimmed. The pointers in `out`
  // belong to the pool and stay valid until Close().
  void Handle(CDataArray& out, int threshold);

  // Both merges run Handle(), so each merge sees the lengths the previous
  // one trimmed: merging twice can give a shorter stream.
  //
  // Writes the merged stream to `buffer` of `size` bytes: whole segments in
  // sequence order, stopping before the first that does not fit, then a
  // zero byte after the data, or over the last byte when the data fill the
  // buffer exactly. Returns the bytes written (the overwritten last byte
  // included), 0 for an empty pool (buffer untouched), -1 for a null buffer
  // or a size below 1.
  int Merge(char* buffer, int size, int threshold);
  // Replaces the content of `out` with the merged stream and returns its
  // length (0 for an empty pool). `out` is emptied first (its storage
  // released when it owns it); an append that does not fit grows it to
  // twice the length needed. No terminating zero is added.
  int Merge(COctets& out, int threshold);

  // Frees every segment; the pool is empty afterwards.
  void Close();

  // 1 when nothing has been added since the last Close(). Speaks of what was
  // added, not of what a merge would produce.
  int IsEmpty() const { return total_len_ == 0 ? 1 : 0; }
  // The sum of the payload lengths added since the last Close().
  uint64_t GetDataLen() const { return total_len_; }
  // The number of segments held.
  int GetSize() const;
  // The segment at `index` (below GetSize()), in adding order until a merge
  // sorts the list. Owned by the pool, valid until Close().
  MEMPOOL* GetAt(int index) const;

  // Sequence order of two segments: 0 when their starts are equal, else -1
  // when seq(*a) - seq(*b), as a signed 32-bit number, is below 1, else 1.
  static int Icmp(const MEMPOOL* const* a, const MEMPOOL* const* b);

 private:
  QUARN_HIDDEN void SortBySequence();
  QUARN_HIDDEN void TakeFrom(tcpdatapool& other);

  uint64_t total_len_;
  CDataArray segments_;  // MEMPOOL pointers, owned
};

#endif  // QUARN_SETTINGS_TCPDATAPOOL_H_
