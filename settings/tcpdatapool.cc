#include "settings/tcpdatapool.h"

#include <string.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "base/COctets.h"
#include "base/OrvaMem.h"

namespace {

typedef tcpdatapool::MEMPOOL MEMPOOL;

// Arguments of the segment list: no initial room, grow by 260 entries.
const int kListInitialSize = 0;
const int kListGrowBy = 260;

// The merge falls back to every segment when fewer than this share of them
// joined the stream.
const float kFallbackRatio = 0.8f;

static_assert(offsetof(MEMPOOL, len) == 0, "record layout");
static_assert(offsetof(MEMPOOL, seq_len) == 4, "record layout");
static_assert(offsetof(MEMPOOL, seq) == 8, "record layout");
static_assert(offsetof(MEMPOOL, data) == 16, "record layout");
// The block is header, payload and a zero byte: len + 21 bytes.
static_assert(sizeof(MEMPOOL) + 1 == 21, "record layout");

MEMPOOL* At(const CDataArray& list, int index) {
  return reinterpret_cast<MEMPOOL*>(static_cast<uintptr_t>(list.GetAt(index)));
}

void Append(CDataArray& list, const MEMPOOL* record) {
  list.Add(static_cast<uint64_t>(reinterpret_cast<uintptr_t>(record)));
}

MEMPOOL* NewRecord(uint32_t len) {
  return static_cast<MEMPOOL*>(
      Orva::MyMemAlloc(sizeof(MEMPOOL) + len + 1, "tcpdatapool", 45));
}

// Signed distance from `b` to `a` in sequence space.
int32_t SeqDiff(uint32_t a, uint32_t b) { return static_cast<int32_t>(a - b); }

}  // namespace

tcpdatapool::tcpdatapool()
    : total_len_(0), segments_(kListInitialSize, kListGrowBy) {}

tcpdatapool::~tcpdatapool() { Close(); }

tcpdatapool::tcpdatapool(const tcpdatapool& other)
    : total_len_(0), segments_(kListInitialSize, kListGrowBy) {
  *this = other;
}

tcpdatapool& tcpdatapool::operator=(const tcpdatapool& other) {
  if (this == &other) return *this;
  Close();
  total_len_ = other.total_len_;
  for (int i = 0; i < other.GetSize(); ++i) {
    const MEMPOOL* source = other.GetAt(i);
    MEMPOOL* copy = NewRecord(source->len);
    if (copy == nullptr) {
      total_len_ -= std::min<uint64_t>(total_len_, source->len);
      continue;
    }
    memcpy(copy, source, sizeof(MEMPOOL) + source->len + 1);
    Append(segments_, copy);
  }
  return *this;
}

tcpdatapool::tcpdatapool(tcpdatapool&& other) noexcept
    : total_len_(0), segments_(kListInitialSize, kListGrowBy) {
  TakeFrom(other);
}

tcpdatapool& tcpdatapool::operator=(tcpdatapool&& other) noexcept {
  if (this != &other) {
    Close();
    TakeFrom(other);
  }
  return *this;
}

void tcpdatapool::TakeFrom(tcpdatapool& other) {
  std::swap(segments_, other.segments_);
  total_len_ = other.total_len_;
  other.total_len_ = 0;
}

void tcpdatapool::Add(const void* data, uint64_t len, uint64_t seq_len,
                      uint32_t seq) {
  if (len == 0 || data == nullptr) return;
  // The record keeps the length in 32 bits, header and terminator included.
  if (len > UINT32_MAX - sizeof(MEMPOOL) - 1) return;
  MEMPOOL* record = NewRecord(static_cast<uint32_t>(len));
  if (record == nullptr) return;
  record->len = static_cast<uint32_t>(len);
  record->seq_len = static_cast<uint32_t>(seq_len);
  record->seq = seq;
  record->reserved = 0;
  memcpy(record->payload(), data, record->len);
  record->payload()[record->len] = 0;
  Append(segments_, record);
  total_len_ += len;
}

int tcpdatapool::GetSize() const { return segments_.GetSize(); }

tcpdatapool::MEMPOOL* tcpdatapool::GetAt(int index) const {
  return At(segments_, index);
}

int tcpdatapool::Icmp(const MEMPOOL* const* a, const MEMPOOL* const* b) {
  if ((*a)->seq == (*b)->seq) return 0;
  return SeqDiff((*a)->seq, (*b)->seq) < 1 ? -1 : 1;
}

// Sorts the list into Icmp order. Icmp is a true order only over a span of
// less than 2^31 sequence numbers, and a sort handed an inconsistent order
// may misbehave, so each segment is keyed by its signed distance from the
// first one: within such a span the two orders agree, and outside it the
// result is still a valid permutation. Ties keep their adding order. Only
// pointers move.
void tcpdatapool::SortBySequence() {
  const int count = GetSize();
  if (count < 2) return;
  bool sorted = true;
  for (int i = 1; i < count && sorted; ++i) {
    const MEMPOOL* prev = At(segments_, i - 1);
    const MEMPOOL* next = At(segments_, i);
    sorted = Icmp(&prev, &next) <= 0;
  }
  if (sorted) return;

  const uint32_t origin = At(segments_, 0)->seq;
  std::vector<uint64_t> keys(count);
  std::vector<MEMPOOL*> records(count);
  for (int i = 0; i < count; ++i) {
    records[i] = At(segments_, i);
    // Bias the signed distance so unsigned order matches signed order.
    uint32_t distance = static_cast<uint32_t>(records[i]->seq - origin);
    uint64_t biased = static_cast<uint64_t>(distance ^ 0x80000000u);
    keys[i] = (biased << 32) | static_cast<uint32_t>(i);
  }
  std::sort(keys.begin(), keys.end());
  for (int i = 0; i < count; ++i) {
    segments_.SetAt(i, static_cast<uint64_t>(reinterpret_cast<uintptr_t>(
                           records[static_cast<uint32_t>(keys[i])])));
  }
}

void tcpdatapool::Handle(CDataArray& out, int threshold) {
  out.RemoveAll();
  const int count = GetSize();
  if (count == 0) return;
  SortBySequence();

  MEMPOOL* top = At(segments_, count - 1);
  Append(out, top);
  uint32_t cur = top->seq;
  for (int i = count - 2; i >= 0; --i) {
    MEMPOOL* s = At(segments_, i);
    if (s->seq == cur) continue;  // a repeated start
    int32_t d = SeqDiff(s->seq + s->seq_len, cur);
    if (d < 0) continue;  // a gap after s: it cannot join
    if (d > 0) {
      // s runs into the segment after it: keep its first bytes. Only the
      // kept length is lowered; the span stays, so a later merge finds the
      // same overlap and cuts the kept bytes again.
      uint32_t cut = static_cast<uint32_t>(d);
      s->len -= std::min(cut, s->len);
    }
    Append(out, s);
    cur = s->seq;
  }

  if (threshold != 0 && count > threshold &&
      static_cast<float>(out.GetSize()) / static_cast<float>(count) <
          kFallbackRatio) {
    out.RemoveAll();
    for (int i = count - 1; i >= 0; --i) Append(out, At(segments_, i));
  }
}

int tcpdatapool::Merge(char* buffer, int size, int threshold) {
  if (buffer == nullptr || size < 1) return -1;
  if (total_len_ == 0) return 0;
  CDataArray chosen(kListInitialSize, kListGrowBy);
  Handle(chosen, threshold);

  const size_t room = static_cast<size_t>(size);
  size_t used = 0;
  for (int i = chosen.GetSize() - 1; i >= 0; --i) {
    const MEMPOOL* s = At(chosen, i);
    if (s->len > room - used) break;  // no partial segment
    memcpy(buffer + used, s->payload(), s->len);
    used += s->len;
  }
  if (used < room) {
    buffer[used] = '\0';
  } else {
    buffer[used - 1] = '\0';
  }
  return static_cast<int>(used);
}

int tcpdatapool::Merge(COctets& out, int threshold) {
  // Owned storage is released; storage lent by the caller is kept and used
  // for as long as the stream fits in it.
  if (out.IsOwner()) {
    out.Empty();
  } else {
    out.Clear();
  }
  if (total_len_ == 0) return 0;
  CDataArray chosen(kListInitialSize, kListGrowBy);
  Handle(chosen, threshold);

  // Each append that does not fit grows the buffer to twice the length it
  // needs, so a few appends settle the size.
  for (int i = chosen.GetSize() - 1; i >= 0; --i) {
    const MEMPOOL* s = At(chosen, i);
    if (!out.Append(s->payload(), s->len)) break;
  }
  return static_cast<int>(out.GetLength());
}

void tcpdatapool::Close() {
  for (int i = 0; i < GetSize(); ++i) Orva::MyMemFree(At(segments_, i));
  segments_.RemoveAll();
  total_len_ = 0;
}
