// A byte trie over the pieces of keywords, shared by the keyword match
// table (CKeyTypeTable) and the fuzzy multi-string search (blurstrfind).
// Not for hosts.
//
// Every stored piece carries a caller's reference number ("ref"); pieces
// with the same bytes share one trie node and keep their refs in a list,
// newest first. A search walks the trie from each text position and hands
// the caller, per position, the runs of refs of every piece the text
// starts with there, shortest piece first. Callers that need one order
// across runs merge them with ForEachRef(), which yields refs newest first.
// Each ref may also carry a 64-bit tag and a mark, summed up per list
// (SummaryOf()), so that a caller whose refs at a position are plain can
// act on the summary alone instead of going through the refs.
//
// Layout: one-byte pieces hang off a 256-entry table, the trie nodes at
// depth two are found through a 65536-entry table indexed by the first two
// bytes, and deeper edges live in one open-addressing hash table keyed by
// (parent node, byte); each edge also holds what a search reads of its
// child, so a step down costs one load. Below a node where a single piece
// remains, the walk compares the rest of that piece at once, from a record
// that keeps the piece's refs, length and bytes together (a rest of up to
// eight bytes in one masked compare). The large tables ask for huge pages:
// a walk reads them at random.
//
// Most text positions start no piece. A search takes the text 64
// positions at a time through PieceFilter (a SIMD fingerprint of the first
// four bytes of every piece). Each remaining position must then pass four
// bit sets (one-byte pieces, two-byte pieces, a hash of three-byte pieces,
// a hash of the first four bytes of longer pieces), and a bit set of the
// first two bytes of longer pieces, before the walk touches the trie. Where
// most positions of a block pass the fingerprint (text made of keywords,
// or of the same letters) those sets are tested for the whole block at
// once with SIMD gathers, and the fingerprint is left out for a while;
// elsewhere they are tested position by position, without a branch per
// position. While one walk runs, the first loads of the next are started.
// A caller that only ORs tags may also name the tags it has found so far,
// and positions whose first byte can add no other tag are left out.
// Positions are still visited in order, so results and their order do not
// depend on the filters.
//
// Adding a piece may allocate; a search allocates nothing. Not thread-safe:
// a search uses scratch space kept in the index.

#ifndef QUARN_OBJECTS_INTERNAL_PIECEINDEX_H_
#define QUARN_OBJECTS_INTERNAL_PIECEINDEX_H_

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <memory>
#include <new>
#include <vector>

#include "objects/internal/PieceFilter.h"

namespace quarn_match {

// Memory for the large tables of an index: blocks of 2 MiB or more are
// aligned to 2 MiB and offered to the kernel for huge pages, since a walk
// reads them at random and would otherwise miss the TLB on most steps.
// Returns null when memory runs out.
void* AllocateTable(size_t bytes);
void FreeTable(void* p, size_t bytes);

// std::allocator for the large tables, through AllocateTable().
template <typename T>
struct TableAllocator {
  using value_type = T;
  TableAllocator() = default;
  template <typename U>
  TableAllocator(const TableAllocator<U>&) {}  // NOLINT: as std::allocator
  T* allocate(size_t n) {
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    void* p = AllocateTable(n * sizeof(T));
    if (p == nullptr) throw std::bad_alloc();
    return static_cast<T*>(p);
  }
  void deallocate(T* p, size_t n) { FreeTable(p, n * sizeof(T)); }
  template <typename U>
  bool operator==(const TableAllocator<U>&) const {
    return true;
  }
  template <typename U>
  bool operator!=(const TableAllocator<U>&) const {
    return false;
  }
};

class PieceIndex {
 public:
  static constexpr uint32_t kNil = 0xFFFFFFFF;

  // The refs stored for one piece text (a list, newest first) and the
  // length of that text.
  struct Run {
    uint32_t head;
    uint32_t length;
  };

  PieceIndex();
  // An index whose searches use the `isa` variant of the filters, kPortable
  // for none (tests compare the variants). REQUIRES:
  // PieceFilter::Supported(isa).
  explicit PieceIndex(PieceFilter::Isa isa);
  ~PieceIndex();
  PieceIndex(const PieceIndex&) = delete;
  PieceIndex& operator=(const PieceIndex&) = delete;

  // Makes room for `pieces` more pieces of `bytes` bytes in all, so that
  // the Add() calls for them cannot fail. False when memory runs out; the
  // index is unchanged then.
  bool Reserve(uint64_t pieces, uint64_t bytes);
  // Stores `length` (at least 1) bytes under `ref`, which must exceed
  // every ref stored before. `tag` and `marked` are the caller's summary
  // of the ref (see Summary). REQUIRES: a successful Reserve() covers it.
  void Add(const uint8_t* bytes, uint32_t length, uint32_t ref,
           uint64_t tag = 0, bool marked = true);
  // Forgets every piece and releases the memory.
  void Clear();

  // What a caller may need of the refs of a run, read at once instead
  // of going through them.
  struct Summary {
    uint64_t tags;    // the OR of their tags
    uint32_t newest;  // the newest (highest) ref
    uint16_t refs;    // how many there are, at most 0xFFFF
    uint16_t marked;  // 1 when any of them was added marked
  };
  // The summary of the refs of `run`. REQUIRES: `run` came from a search
  // and was not consumed.
  const Summary& SummaryOf(const Run& run) const {
    return summaries_[run.head];
  }

  // Number of pieces stored.
  uint64_t size() const { return entries_.size(); }

  // Calls fn(ref) for the refs of runs[0..count) together, newest (highest)
  // first, until fn returns false. Returns false when fn stopped it. The
  // runs are used as cursors and consumed.
  template <typename Fn>
  bool ForEachRef(Run* runs, size_t count, Fn&& fn) const;

  // For every start position pos below `positions` (at most `length`)
  // where some stored piece of at most length - pos bytes occurs, calls
  // fn(pos, runs, count) with the runs of those pieces, shortest first.
  // Stops when fn returns false.
  //
  // With `found`, a caller that only ORs the tags of unmarked refs lets
  // the scan leave out positions whose first byte starts no marked piece
  // and no tag outside *found (which fn may grow as it goes).
  template <typename Fn>
  void Scan(const uint8_t* data, uint64_t length, uint64_t positions, Fn&& fn,
            const uint64_t* found = nullptr);

  // The runs at the start of the `length` bytes at `data`: every piece of
  // at most `length` bytes that the data starts with, or only the piece
  // equal to the whole data (`exact`). Calls fn(runs, count) when there is
  // one.
  template <typename Fn>
  void Lookup(const uint8_t* data, uint64_t length, bool exact, Fn&& fn);

 private:
  struct Node {
    uint32_t out;         // first entry of the refs ending here, or kNil
    uint32_t ends_below;  // nodes below this one where pieces end
    uint32_t tail;        // when ends_below is 1: that node's record
    uint32_t offset;      // where a piece ends here: its record in bytes_
  };
  struct Entry {
    uint32_t ref;
    uint32_t next;  // older entry of the same node, or kNil
  };
  // An edge below depth two: child node `child` of `parent` by `byte`.
  // child 0 marks a free slot (node 0 is never a child). The slot keeps a
  // copy of what a search reads of the child (its `out` and its Below()),
  // so that a search step costs one load.
  struct Slot {
    uint32_t parent;
    uint32_t child;
    uint32_t byte;
    uint32_t out;
    uint32_t below;
  };
  // Below() of a node with more than one end below it.
  static constexpr uint32_t kMany = 0xFFFFFFFE;
  // kNil when no piece ends below `node`, the record of the only one that
  // does, or kMany.
  static uint32_t Below(const Node& node) {
    return node.ends_below == 0   ? kNil
           : node.ends_below == 1 ? node.tail
                                  : kMany;
  }

  static uint32_t Load4(const uint8_t* p) {
    uint32_t word;
    memcpy(&word, p, sizeof(word));
    return word;
  }
  static uint64_t Load8(const uint8_t* p) {
    uint64_t word;
    memcpy(&word, p, sizeof(word));
    return word;
  }
  // memcmp(a, b, n) == 0 for the short tails of pieces.
  static bool SameBytes(const uint8_t* a, const uint8_t* b, uint64_t n) {
    for (; n >= 8; n -= 8, a += 8, b += 8) {
      if (Load8(a) != Load8(b)) return false;
    }
    for (; n > 0; --n, ++a, ++b) {
      if (*a != *b) return false;
    }
    return true;
  }
  // SameBytes(text, piece, n) for the rest of a piece, n >= 1 bytes, with
  // `room` >= n bytes readable at `text`. A record is followed by at least
  // kPad readable bytes, so a short rest takes one masked compare.
  static bool SameTail(const uint8_t* text, uint64_t room, const uint8_t* piece,
                       uint64_t n) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    if (n <= 8 && room >= 8) {
      const uint64_t diff = Load8(text) ^ Load8(piece);
      return (diff << (64 - 8 * n)) == 0;
    }
#endif
    (void)room;
    return SameBytes(text, piece, n);
  }
  static uint32_t PairOf(const uint8_t* p) {
    return p[0] | static_cast<uint32_t>(p[1]) << 8;
  }
  static uint32_t TripleHash(uint32_t word3) {
    return (word3 * PieceFilter::kHashFactor) >> (32 - kTripleBits);
  }
  uint32_t QuadHash(uint32_t word) const {
    return (word * PieceFilter::kHashFactor) >> quad_shift_;
  }
  // Set bits of `x` (without needing a popcount instruction).
  static int BitCount(uint64_t x) {
    x -= (x >> 1) & 0x5555555555555555ull;
    x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
    x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return static_cast<int>((x * 0x0101010101010101ull) >> 56);
  }
  static bool TestBit(const uint64_t* bits, uint32_t i) {
    return (bits[i >> 6] >> (i & 63)) & 1;
  }
  static void SetBit(uint64_t* bits, uint32_t i) {
    bits[i >> 6] |= uint64_t{1} << (i & 63);
  }
  uint32_t SlotHash(uint32_t parent, uint32_t byte) const {
    uint64_t key = static_cast<uint64_t>(parent) << 8 | byte;
    return static_cast<uint32_t>((key * 0x9E3779B97F4A7C15ull) >> slot_shift_);
  }
  // The edge from `node` by `byte`, null when there is none.
  const Slot* Edge(uint32_t node, uint32_t byte) const {
    for (uint32_t at = SlotHash(node, byte);; at = (at + 1) & slot_mask_) {
      const Slot& slot = slots_[at];
      if (slot.child == 0) return nullptr;
      if (slot.parent == node && slot.byte == byte) return &slot;
    }
  }
  Slot* Edge(uint32_t node, uint32_t byte) {
    return const_cast<Slot*>(
        static_cast<const PieceIndex*>(this)->Edge(node, byte));
  }

  // The piece at `p` may start a stored piece of two bytes or more, or a
  // one-byte piece; false positives are possible, misses are not.
  // REQUIRES: four bytes at `p`.
  template <bool kOne, bool kTwo, bool kThree>
  bool MayStart(const uint8_t* p) const {
    const uint32_t word = Load4(p);
    bool hit = TestBit(quad_bits_.data(), QuadHash(word));
    if (kOne) hit |= TestBit(one_bits_, p[0]);
    if (kTwo) hit |= TestBit(pair_bits_.get(), word & 0xFFFF);
    if (kThree) hit |= TestBit(triple_bits_.get(), TripleHash(word & 0xFFFFFF));
    return hit;
  }
  // Whether the scan may leave out a walk from `p` (see Scan()).
  bool Settled(const uint8_t* p) const {
    return (first_tags_[p[0]] & ~*found_) == 0 && !TestBit(first_marked_, p[0]);
  }
  // Starts loading what a walk from `p` reads first. REQUIRES: three
  // bytes at `p`.
  void Prefetch(const uint8_t* p) const {
    if (!any_long_) return;
    const uint32_t node = pair_[PairOf(p)];
    __builtin_prefetch(&nodes_[node]);
    __builtin_prefetch(&slots_[SlotHash(node, p[2])]);
  }
  // Gathers into runs_ the runs of the pieces at `p`; returns their count.
  size_t Walk(const uint8_t* p, uint64_t remaining) const;
  template <bool kOne, bool kTwo, bool kThree, typename Fn>
  void ScanWith(const uint8_t* data, uint64_t length, uint64_t positions,
                Fn& fn);
  // Scans the positions of the block at `pos` that are in `candidates`
  // (bit i for pos + i); `narrowed` when MayStart() has passed them all
  // already. False when fn stopped the scan.
  template <bool kOne, bool kTwo, bool kThree, typename Fn>
  bool ScanCandidates(const uint8_t* data, uint64_t length, uint64_t pos,
                      uint64_t candidates, bool narrowed, Fn& fn);

  // Storage growth; false when memory runs out.
  bool GrowSlots(uint64_t edges);
  bool GrowQuadBits(uint64_t words);
  // Stores `slot` in a free place of slots_ and returns where.
  Slot* InsertSlot(const Slot& slot);
  uint32_t NewNode();
  // Counts the new end of the piece `bytes`, whose record is at `end` in
  // bytes_, in every node above it.
  void MarkEndAbove(const uint8_t* bytes, uint32_t length, uint32_t end);
  void AddRef(uint32_t* head, uint32_t ref, uint64_t tag, bool marked);

  static constexpr int kTripleBits = PieceFilter::kTripleBits;
  // Candidates in a block above which MayStart() is taken for the whole
  // block at once, when it tests only the four-byte hash.
  static constexpr int kDenseBlock = 12;
  // Blocks that skip the fingerprint after a dense one.
  static constexpr int kSkipBlocks = 15;

  std::unique_ptr<uint32_t[]> pair_;  // depth-two node by first two bytes
  uint32_t one_heads_[256];           // refs of one-byte pieces
  std::vector<Node, TableAllocator<Node>> nodes_;  // [0] unused
  std::vector<Entry> entries_;
  std::vector<Summary> summaries_;  // per entry: it and the older ones
  // One record per node where pieces end: the node's `out` and the piece's
  // length (kRecordHead bytes), then the piece's bytes, so that comparing
  // the rest of a piece reads one place; kPad bytes end the vector.
  std::vector<uint8_t> bytes_;
  static constexpr uint32_t kRecordHead = 8;
  // Zero bytes kept after the last record (see SameTail()).
  static constexpr uint32_t kPad = 8;
  std::vector<Slot, TableAllocator<Slot>> slots_;
  uint32_t slot_mask_ = 0;
  int slot_shift_ = 64;
  uint64_t edges_ = 0;  // slots in use

  // By first byte: the OR of the tags of the pieces starting with it, and
  // whether any of them is marked.
  uint64_t first_tags_[256];
  uint64_t first_marked_[4];
  const uint64_t* found_ = nullptr;        // a running Scan()'s `found`
  uint64_t one_bits_[4];                   // one-byte pieces
  std::unique_ptr<uint64_t[]> pair_bits_;  // two-byte pieces
  std::unique_ptr<uint64_t[]> lead_bits_;  // first two bytes, pieces of 2+
  std::unique_ptr<uint64_t[]> triple_bits_;
  std::vector<uint64_t> quad_bits_;   // first four bytes of longer pieces
  std::vector<uint32_t> quad_words_;  // what quad_bits_ was built from
  int quad_shift_ = 32;
  bool any_one_ = false;
  bool any_two_ = false;
  bool any_three_ = false;
  bool any_long_ = false;  // pieces of two bytes or more
  PieceFilter filter_;     // first four bytes of every piece
  bool use_filter_;        // whether filter_ runs faster than MayStart alone
  bool start_blocks_;      // whether StartBlock() runs faster than MayStart

  uint32_t longest_ = 0;
  std::vector<Run> runs_;  // scratch of a search: longest_ + 1 runs
};

inline size_t PieceIndex::Walk(const uint8_t* p, uint64_t remaining) const {
  Run* runs = const_cast<Run*>(runs_.data());
  size_t count = 0;
  if (any_one_) {
    // Written either way, kept when it holds refs: cheaper than a branch
    // that text decides. runs_ has room for one run past the last.
    const uint32_t head = one_heads_[p[0]];
    runs[count] = {head, 1};
    count += head != kNil;
  }
  if (remaining < 2 || !any_long_ || !TestBit(lead_bits_.get(), PairOf(p))) {
    return count;
  }
  uint32_t node = pair_[PairOf(p)];
  const Node& top = nodes_[node];
  uint32_t out = top.out;
  uint32_t below = Below(top);
  for (uint64_t depth = 2;;) {
    runs[count] = {out, static_cast<uint32_t>(depth)};
    count += out != kNil;
    if (below == kNil) break;
    if (below != kMany) {
      // One piece left below: compare the rest of it directly.
      const uint8_t* record = bytes_.data() + below;
      const uint32_t end_length = Load4(record + 4);
      if (end_length <= remaining &&
          SameTail(p + depth, remaining - depth, record + kRecordHead + depth,
                   end_length - depth)) {
        runs[count++] = {Load4(record), end_length};
      }
      break;
    }
    if (depth >= remaining) break;
    const Slot* edge = Edge(node, p[depth]);
    if (edge == nullptr) break;
    node = edge->child;
    out = edge->out;
    below = edge->below;
    ++depth;
  }
  return count;
}

template <typename Fn>
bool PieceIndex::ForEachRef(Run* runs, size_t count, Fn&& fn) const {
  if (count == 1) {
    for (uint32_t at = runs[0].head; at != kNil; at = entries_[at].next) {
      if (!fn(entries_[at].ref)) return false;
    }
    return true;
  }
  for (;;) {
    size_t best = count;
    uint32_t best_ref = 0;
    for (size_t i = 0; i < count; ++i) {
      if (runs[i].head == kNil) continue;
      uint32_t ref = entries_[runs[i].head].ref;
      if (best == count || ref > best_ref) {
        best = i;
        best_ref = ref;
      }
    }
    if (best == count) return true;
    runs[best].head = entries_[runs[best].head].next;
    if (!fn(best_ref)) return false;
  }
}

template <bool kOne, bool kTwo, bool kThree, typename Fn>
bool PieceIndex::ScanCandidates(const uint8_t* data, uint64_t length,
                                uint64_t pos, uint64_t candidates,
                                bool narrowed, Fn& fn) {
  // Narrow the candidates without a branch per position: whether a
  // position passes is as good as random in text made of keywords.
  uint64_t starts = narrowed ? candidates : 0;
  for (candidates = narrowed ? 0 : candidates; candidates != 0;
       candidates &= candidates - 1) {
    const int i = __builtin_ctzll(candidates);
    starts |=
        static_cast<uint64_t>(MayStart<kOne, kTwo, kThree>(data + pos + i))
        << i;
  }
  if (found_ != nullptr) {
    uint64_t open = 0;
    for (uint64_t left = starts; left != 0; left &= left - 1) {
      const int i = __builtin_ctzll(left);
      open |= static_cast<uint64_t>(!Settled(data + pos + i)) << i;
    }
    starts &= open;
  }
  while (starts != 0) {
    const uint64_t at = pos + static_cast<uint64_t>(__builtin_ctzll(starts));
    starts &= starts - 1;
    if (starts != 0) {
      // The next walk's first loads overlap this one.
      Prefetch(data + pos + static_cast<uint64_t>(__builtin_ctzll(starts)));
    }
    size_t count = Walk(data + at, length - at);
    if (count != 0 && !fn(at, runs_.data(), count)) return false;
  }
  return true;
}

template <bool kOne, bool kTwo, bool kThree, typename Fn>
void PieceIndex::ScanWith(const uint8_t* data, uint64_t length,
                          uint64_t positions, Fn& fn) {
  // Positions with four bytes left go through the filters first.
  const uint64_t filtered = length >= 4 ? length - 3 : 0;
  const uint64_t fast_end = positions < filtered ? positions : filtered;
  uint64_t pos = 0;
  if (use_filter_) {
    const int kBlock = PieceFilter::kBlock;
    // Where most positions of a block pass the fingerprint (text made of
    // the same bytes as the pieces), MayStart() is taken for the whole
    // block at once, and the fingerprint, which then hardly narrows
    // anything, is left out for the next kSkipBlocks blocks.
    // Each set beyond the four-byte hash makes the block's test dearer.
    const int dense = kDenseBlock + 6 * (kOne + kTwo + kThree);
    const PieceFilter::StartSets sets{
        kOne ? one_bits_ : nullptr, kTwo ? pair_bits_.get() : nullptr,
        kThree ? triple_bits_.get() : nullptr, quad_bits_.data(), quad_shift_};
    int skip = 0;  // blocks left that skip the fingerprint
    for (; pos + PieceFilter::kBlockBytes <= length && pos + kBlock <= fast_end;
         pos += kBlock) {
      const bool starts_fit =
          start_blocks_ && pos + PieceFilter::kHashBlockBytes <= length;
      uint64_t candidates;
      bool narrowed = false;
      if (skip > 0 && starts_fit) {
        --skip;
        candidates =
            PieceFilter::StartBlock(PieceFilter::kAvx2, data + pos, sets);
        narrowed = true;
      } else {
        candidates = filter_.Block(data + pos);
        if (starts_fit && BitCount(candidates) > dense) {
          candidates &=
              PieceFilter::StartBlock(PieceFilter::kAvx2, data + pos, sets);
          narrowed = true;
          skip = kSkipBlocks;
        }
      }
      if (!ScanCandidates<kOne, kTwo, kThree>(data, length, pos, candidates,
                                              narrowed, fn)) {
        return;
      }
    }
    if (pos < fast_end) {
      // The last block reads a padded copy of the text's end.
      uint8_t tail[PieceFilter::kBlockBytes] = {};
      const uint64_t rest = length - pos;
      memcpy(tail, data + pos, rest < sizeof(tail) ? rest : sizeof(tail));
      const uint64_t n = fast_end - pos;
      uint64_t candidates = filter_.Block(tail);
      if (n < static_cast<uint64_t>(kBlock)) {
        candidates &= (uint64_t{1} << n) - 1;
      }
      if (!ScanCandidates<kOne, kTwo, kThree>(data, length, pos, candidates,
                                              false, fn)) {
        return;
      }
      pos += n < static_cast<uint64_t>(kBlock) ? n : kBlock;
    }
  }
  for (; pos < fast_end; ++pos) {
    if (!MayStart<kOne, kTwo, kThree>(data + pos)) continue;
    if (found_ != nullptr && Settled(data + pos)) continue;
    size_t count = Walk(data + pos, length - pos);
    if (count != 0 && !fn(pos, runs_.data(), count)) return;
  }
  for (; pos < positions; ++pos) {
    if (found_ != nullptr && Settled(data + pos)) continue;
    size_t count = Walk(data + pos, length - pos);
    if (count != 0 && !fn(pos, runs_.data(), count)) return;
  }
}

template <typename Fn>
void PieceIndex::Scan(const uint8_t* data, uint64_t length, uint64_t positions,
                      Fn&& fn, const uint64_t* found) {
  if (entries_.empty()) return;
  if (positions > length) positions = length;
  found_ = found;
  struct Reset {
    const uint64_t** found;
    ~Reset() { *found = nullptr; }
  } reset{&found_};
  switch ((any_one_ ? 4 : 0) | (any_two_ ? 2 : 0) | (any_three_ ? 1 : 0)) {
    case 0:
      return ScanWith<false, false, false>(data, length, positions, fn);
    case 1:
      return ScanWith<false, false, true>(data, length, positions, fn);
    case 2:
      return ScanWith<false, true, false>(data, length, positions, fn);
    case 3:
      return ScanWith<false, true, true>(data, length, positions, fn);
    case 4:
      return ScanWith<true, false, false>(data, length, positions, fn);
    case 5:
      return ScanWith<true, false, true>(data, length, positions, fn);
    case 6:
      return ScanWith<true, true, false>(data, length, positions, fn);
    default:
      return ScanWith<true, true, true>(data, length, positions, fn);
  }
}

template <typename Fn>
void PieceIndex::Lookup(const uint8_t* data, uint64_t length, bool exact,
                        Fn&& fn) {
  if (entries_.empty() || length == 0) return;
  size_t count = Walk(data, length);
  if (count == 0) return;
  Run* runs = runs_.data();
  if (!exact) return fn(runs, count);
  if (runs[count - 1].length == length) fn(runs + count - 1, size_t{1});
}

}  // namespace quarn_match

#endif  // QUARN_OBJECTS_INTERNAL_PIECEINDEX_H_
