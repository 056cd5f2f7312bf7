#include <stdlib.h>

#include <new>
#include <stdexcept>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "objects/internal/PieceIndex.h"

namespace quarn_match {

namespace {

const size_t kPairCount = 65536;
const int kMinQuadLog2 = 15;
const int kMaxQuadLog2 = 19;
// Bits of the four-byte filter per piece: about one false pass in 64
// positions while the filter is not full.
const uint64_t kQuadBitsPerPiece = 256;
// Node ids and entry indexes are 32-bit, with kNil kept for "none".
const uint64_t kMaxItems = 0xFFFFFFF0u;

// Makes room for `extra` more elements, growing at least geometrically so
// that adding one piece at a time stays linear. False when memory runs out.
template <typename Vector>
bool ReserveMore(Vector* v, uint64_t extra) {
  if (v->capacity() - v->size() >= extra) return true;
  uint64_t want = v->size() + extra;
  if (want < 2 * v->capacity()) want = 2 * v->capacity();
  try {
    v->reserve(static_cast<size_t>(want));
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
  return true;
}

const size_t kHugePage = size_t{1} << 21;

}  // namespace

void* AllocateTable(size_t bytes) {
  if (bytes < kHugePage) return malloc(bytes == 0 ? 1 : bytes);
  if (bytes > SIZE_MAX - kHugePage) return nullptr;
  const size_t rounded = (bytes + kHugePage - 1) & ~(kHugePage - 1);
  void* p = aligned_alloc(kHugePage, rounded);
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  // Only advice: without huge pages the table works the same.
  if (p != nullptr) madvise(p, rounded, MADV_HUGEPAGE);
#endif
  return p;
}

void FreeTable(void* p, size_t) { free(p); }

PieceIndex::PieceIndex() : PieceIndex(PieceFilter::Best()) {}

PieceIndex::PieceIndex(PieceFilter::Isa isa)
    : use_filter_(isa != PieceFilter::kPortable),
      start_blocks_(isa == PieceFilter::kAvx2) {
  filter_.UseIsa(isa);
  for (uint32_t& head : one_heads_) head = kNil;
  memset(one_bits_, 0, sizeof(one_bits_));
  memset(first_tags_, 0, sizeof(first_tags_));
  memset(first_marked_, 0, sizeof(first_marked_));
}

PieceIndex::~PieceIndex() {}

void PieceIndex::Clear() {
  pair_.reset();
  pair_bits_.reset();
  lead_bits_.reset();
  triple_bits_.reset();
  for (uint32_t& head : one_heads_) head = kNil;
  memset(one_bits_, 0, sizeof(one_bits_));
  memset(first_tags_, 0, sizeof(first_tags_));
  memset(first_marked_, 0, sizeof(first_marked_));
  filter_.Clear();
  std::vector<Node, TableAllocator<Node>>().swap(nodes_);
  std::vector<Entry>().swap(entries_);
  std::vector<Summary>().swap(summaries_);
  std::vector<uint8_t>().swap(bytes_);
  std::vector<Slot, TableAllocator<Slot>>().swap(slots_);
  std::vector<uint64_t>().swap(quad_bits_);
  std::vector<uint32_t>().swap(quad_words_);
  std::vector<Run>().swap(runs_);
  slot_mask_ = 0;
  slot_shift_ = 64;
  edges_ = 0;
  quad_shift_ = 32;
  any_one_ = any_two_ = any_three_ = any_long_ = false;
  longest_ = 0;
}

bool PieceIndex::GrowSlots(uint64_t edges) {
  // Keep the table at most half full.
  uint64_t count = slots_.empty() ? 1024 : slots_.size();
  while (count < 2 * edges) count *= 2;
  if (count == slots_.size()) return true;
  if (count > (uint64_t{1} << 33)) return false;
  std::vector<Slot, TableAllocator<Slot>> old;
  try {
    old.assign(static_cast<size_t>(count), Slot{0, 0, 0, kNil, kNil});
  } catch (const std::bad_alloc&) {
    return false;
  }
  old.swap(slots_);
  slot_mask_ = static_cast<uint32_t>(count - 1);
  int log2 = 0;
  while ((uint64_t{1} << log2) < count) ++log2;
  slot_shift_ = 64 - log2;
  for (const Slot& slot : old) {
    if (slot.child != 0) InsertSlot(slot);
  }
  return true;
}

PieceIndex::Slot* PieceIndex::InsertSlot(const Slot& slot) {
  uint32_t at = SlotHash(slot.parent, slot.byte);
  while (slots_[at].child != 0) at = (at + 1) & slot_mask_;
  slots_[at] = slot;
  return &slots_[at];
}

bool PieceIndex::GrowQuadBits(uint64_t words) {
  int log2 = kMinQuadLog2;
  while (log2 < kMaxQuadLog2 &&
         (uint64_t{1} << log2) < kQuadBitsPerPiece * words) {
    ++log2;
  }
  if (!quad_bits_.empty() && 32 - quad_shift_ >= log2) return true;
  std::vector<uint64_t> bits;
  try {
    bits.assign((size_t{1} << log2) / 64, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  quad_bits_.swap(bits);
  quad_shift_ = 32 - log2;
  for (uint32_t word : quad_words_) SetBit(quad_bits_.data(), QuadHash(word));
  return true;
}

bool PieceIndex::Reserve(uint64_t pieces, uint64_t bytes) {
  if (nodes_.size() + bytes >= kMaxItems ||
      entries_.size() + pieces >= kMaxItems) {
    return false;
  }
  if (!pair_) {
    pair_.reset(new (std::nothrow) uint32_t[kPairCount]());
    pair_bits_.reset(new (std::nothrow) uint64_t[kPairCount / 64]());
    lead_bits_.reset(new (std::nothrow) uint64_t[kPairCount / 64]());
    triple_bits_.reset(new (std::nothrow) uint64_t[(1u << kTripleBits) / 64]());
    if (!pair_ || !pair_bits_ || !lead_bits_ || !triple_bits_) {
      Clear();
      return false;
    }
  }
  if (nodes_.empty()) {
    if (!ReserveMore(&nodes_, 1)) return false;
    nodes_.push_back(Node{kNil, 0, 0, 0});  // node 0 stands for "none"
  }
  const uint64_t record_bytes = bytes + pieces * kRecordHead + kPad;
  if (bytes_.size() + record_bytes >= kMaxItems) return false;
  if (!ReserveMore(&nodes_, bytes) || !ReserveMore(&entries_, pieces) ||
      !ReserveMore(&summaries_, pieces) ||
      !ReserveMore(&bytes_, record_bytes) ||
      !ReserveMore(&quad_words_, pieces) || !GrowSlots(edges_ + bytes) ||
      !GrowQuadBits(quad_words_.size() + pieces)) {
    return false;
  }
  if (runs_.size() < bytes + 1) {
    try {
      runs_.resize(static_cast<size_t>(bytes + 1));
    } catch (const std::bad_alloc&) {
      return false;
    }
  }
  return true;
}

void PieceIndex::MarkEndAbove(const uint8_t* bytes, uint32_t length,
                              uint32_t end) {
  uint32_t node = pair_[PairOf(bytes)];
  Slot* into = nullptr;  // the edge into `node`; none at depth two
  for (uint32_t depth = 2; depth < length; ++depth) {
    Node& above = nodes_[node];
    if (++above.ends_below == 1) above.tail = end;
    if (into != nullptr) into->below = Below(above);
    into = Edge(node, bytes[depth]);
    node = into->child;
  }
}

uint32_t PieceIndex::NewNode() {
  nodes_.push_back(Node{kNil, 0, 0, 0});
  return static_cast<uint32_t>(nodes_.size() - 1);
}

void PieceIndex::AddRef(uint32_t* head, uint32_t ref, uint64_t tag,
                        bool marked) {
  Summary summary{tag, ref, 1, static_cast<uint16_t>(marked ? 1 : 0)};
  if (*head != kNil) {
    const Summary& older = summaries_[*head];
    summary.tags |= older.tags;
    summary.marked |= older.marked;
    if (older.refs < 0xFFFF) summary.refs = older.refs + 1;
  }
  entries_.push_back(Entry{ref, *head});
  summaries_.push_back(summary);
  *head = static_cast<uint32_t>(entries_.size() - 1);
}

void PieceIndex::Add(const uint8_t* bytes, uint32_t length, uint32_t ref,
                     uint64_t tag, bool marked) {
  if (length > longest_) longest_ = length;
  filter_.Add(bytes, length);
  first_tags_[bytes[0]] |= tag;
  if (marked) SetBit(first_marked_, bytes[0]);
  if (length == 1) {
    AddRef(&one_heads_[bytes[0]], ref, tag, marked);
    SetBit(one_bits_, bytes[0]);
    any_one_ = true;
    return;
  }
  any_long_ = true;
  uint32_t node = pair_[PairOf(bytes)];
  if (node == 0) {
    node = NewNode();
    pair_[PairOf(bytes)] = node;
    SetBit(lead_bits_.get(), PairOf(bytes));
  }
  Slot* into = nullptr;  // the edge into `node`; none at depth two
  for (uint32_t depth = 2; depth < length; ++depth) {
    into = Edge(node, bytes[depth]);
    if (into == nullptr) {
      const uint32_t child = NewNode();
      into = InsertSlot(Slot{node, child, bytes[depth], kNil, kNil});
      ++edges_;
    }
    node = into->child;
  }
  if (nodes_[node].out == kNil) {
    // A new end: every node above it gains one end below.
    // The record takes the place of the padding, which then follows it.
    if (!bytes_.empty()) bytes_.resize(bytes_.size() - kPad);
    const uint32_t offset = static_cast<uint32_t>(bytes_.size());
    nodes_[node].offset = offset;
    bytes_.resize(bytes_.size() + kRecordHead);
    memcpy(bytes_.data() + offset + 4, &length, 4);
    bytes_.insert(bytes_.end(), bytes, bytes + length);
    bytes_.resize(bytes_.size() + kPad);
    MarkEndAbove(bytes, length, offset);
  }
  AddRef(&nodes_[node].out, ref, tag, marked);
  memcpy(bytes_.data() + nodes_[node].offset, &nodes_[node].out, 4);
  if (into != nullptr) into->out = nodes_[node].out;
  if (length == 2) {
    SetBit(pair_bits_.get(), PairOf(bytes));
    any_two_ = true;
  } else if (length == 3) {
    SetBit(triple_bits_.get(),
           TripleHash(PairOf(bytes) | static_cast<uint32_t>(bytes[2]) << 16));
    any_three_ = true;
  } else {
    quad_words_.push_back(Load4(bytes));
    SetBit(quad_bits_.data(), QuadHash(quad_words_.back()));
  }
}

}  // namespace quarn_match
