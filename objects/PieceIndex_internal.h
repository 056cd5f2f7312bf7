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
//
// Layout: one-byte pieces hang off a 256-entry table, the trie nodes at
// depth two are found through a 65536-entry table indexed by the first two
// bytes, and deeper edges live in one open-addressing hash table keyed by
// (parent node, byte). Below a node where a single piece remains, the walk
// compares the rest of that piece at once. Most text positions start no piece;
// four small bit sets (one-byte pieces, two-byte pieces, a hash of three-byte
// pieces, a hash of the first four bytes of longer pieces) reject them before
// the walk touches the trie.
//
// Adding a piece may allocate; a search allocates nothing. Not thread-safe:
// a search uses scratch space kept in the index.

#ifndef QUARN_OBJECTS_PIECEINDEX_INTERNAL_H_
#define QUARN_OBJECTS_PIECEINDEX_INTERNAL_H_

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <memory>
#include <vector>

namespace quarn_match {

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
  ~PieceIndex();
  PieceIndex(const PieceIndex&) = delete;
  PieceIndex& operator=(const PieceIndex&) = delete;

  // Makes room for `pieces` more pieces of `bytes` bytes in all, so that
  // the Add() calls for them cannot fail. False when memory runs out; the
  // index is unchanged then.
  bool Reserve(uint64_t pieces, uint64_t bytes);
  // Stores `length` (at least 1) bytes under `ref`, which must exceed
  // every ref stored before. REQUIRES: a successful Reserve() covers it.
  void Add(const uint8_t* bytes, uint32_t length, uint32_t ref);
  // Forgets every piece and releases the memory.
  void Clear();

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
  template <typename Fn>
  void Scan(const uint8_t* data, uint64_t length, uint64_t positions, Fn&& fn);

  // The runs at the start of the `length` bytes at `data`: every piece of
  // at most `length` bytes that the data starts with, or only the piece
  // equal to the whole data (`exact`). Calls fn(runs, count) when there is
  // one.
  template <typename Fn>
  void Lookup(const uint8_t* data, uint64_t length, bool exact, Fn&& fn);

 private:
  struct Node {
    uint32_t out;         // first entry of the refs ending here, or kNil
    uint32_t kids;        // number of children
    uint32_t ends_below;  // nodes below this one where pieces end
    uint32_t tail;        // when ends_below is 1: that node
    uint32_t offset;      // where a piece ends here: its bytes in bytes_
    uint32_t length;      // and its length
  };
  struct Entry {
    uint32_t ref;
    uint32_t next;  // older entry of the same node, or kNil
  };
  // An edge below depth two: child node `child` of `parent` by `byte`.
  // child 0 marks a free slot (node 0 is never a child).
  struct Slot {
    uint32_t parent;
    uint32_t child;
    uint32_t byte;
  };

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
  static uint32_t PairOf(const uint8_t* p) {
    return p[0] | static_cast<uint32_t>(p[1]) << 8;
  }
  static uint32_t TripleHash(uint32_t word3) {
    return (word3 * 0x9E3779B1u) >> (32 - kTripleBits);
  }
  uint32_t QuadHash(uint32_t word) const {
    return (word * 0x9E3779B1u) >> quad_shift_;
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
  // The child of `node` by `byte`, 0 when there is none.
  uint32_t Child(uint32_t node, uint32_t byte) const {
    for (uint32_t at = SlotHash(node, byte);; at = (at + 1) & slot_mask_) {
      const Slot& slot = slots_[at];
      if (slot.child == 0) return 0;
      if (slot.parent == node && slot.byte == byte) return slot.child;
    }
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
  // Gathers into runs_ the runs of the pieces at `p`; returns their count.
  size_t Walk(const uint8_t* p, uint64_t remaining) const;
  template <bool kOne, bool kTwo, bool kThree, typename Fn>
  void ScanWith(const uint8_t* data, uint64_t length, uint64_t positions,
                Fn& fn);

  // Storage growth; false when memory runs out.
  bool GrowSlots(uint64_t edges);
  bool GrowQuadBits(uint64_t words);
  void InsertSlot(uint32_t parent, uint32_t byte, uint32_t child);
  uint32_t NewNode();
  // Counts the new end node `end` of the piece `bytes` in every node
  // above it.
  void MarkEndAbove(const uint8_t* bytes, uint32_t length, uint32_t end);
  void AddRef(uint32_t* head, uint32_t ref);

  static constexpr int kTripleBits = 16;

  std::unique_ptr<uint32_t[]> pair_;  // depth-two node by first two bytes
  uint32_t one_heads_[256];           // refs of one-byte pieces
  std::vector<Node> nodes_;           // [0] unused
  std::vector<Entry> entries_;
  std::vector<uint8_t> bytes_;  // bytes of the pieces that end at nodes
  std::vector<Slot> slots_;
  uint32_t slot_mask_ = 0;
  int slot_shift_ = 64;
  uint64_t edges_ = 0;  // slots in use

  uint64_t one_bits_[4];                   // one-byte pieces
  std::unique_ptr<uint64_t[]> pair_bits_;  // two-byte pieces
  std::unique_ptr<uint64_t[]> triple_bits_;
  std::vector<uint64_t> quad_bits_;   // first four bytes of longer pieces
  std::vector<uint32_t> quad_words_;  // what quad_bits_ was built from
  int quad_shift_ = 32;
  bool any_one_ = false;
  bool any_two_ = false;
  bool any_three_ = false;
  bool any_long_ = false;  // pieces of two bytes or more

  uint32_t longest_ = 0;
  std::vector<Run> runs_;  // scratch of a search: longest_ + 1 runs
};

inline size_t PieceIndex::Walk(const uint8_t* p, uint64_t remaining) const {
  Run* runs = const_cast<Run*>(runs_.data());
  size_t count = 0;
  if (any_one_ && one_heads_[p[0]] != kNil) {
    runs[count++] = {one_heads_[p[0]], 1};
  }
  if (remaining < 2 || !any_long_) return count;
  uint32_t node = pair_[PairOf(p)];
  if (node == 0) return count;
  for (uint64_t depth = 2;;) {
    const Node& at = nodes_[node];
    if (at.out != kNil) runs[count++] = {at.out, static_cast<uint32_t>(depth)};
    if (at.ends_below == 0) break;
    if (at.ends_below == 1) {
      // One piece left below: compare the rest of it directly.
      const Node& end = nodes_[at.tail];
      if (end.length <= remaining &&
          SameBytes(p + depth, bytes_.data() + end.offset + depth,
                    end.length - depth)) {
        runs[count++] = {end.out, end.length};
      }
      break;
    }
    if (depth >= remaining) break;
    node = Child(node, p[depth]);
    if (node == 0) break;
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
void PieceIndex::ScanWith(const uint8_t* data, uint64_t length,
                          uint64_t positions, Fn& fn) {
  // Positions with four bytes left go through the filter first.
  const uint64_t filtered = length >= 4 ? length - 3 : 0;
  const uint64_t fast_end = positions < filtered ? positions : filtered;
  uint64_t pos = 0;
  for (; pos < fast_end; ++pos) {
    if (!MayStart<kOne, kTwo, kThree>(data + pos)) continue;
    size_t count = Walk(data + pos, length - pos);
    if (count != 0 && !fn(pos, runs_.data(), count)) return;
  }
  for (; pos < positions; ++pos) {
    size_t count = Walk(data + pos, length - pos);
    if (count != 0 && !fn(pos, runs_.data(), count)) return;
  }
}

template <typename Fn>
void PieceIndex::Scan(const uint8_t* data, uint64_t length, uint64_t positions,
                      Fn&& fn) {
  if (entries_.empty()) return;
  if (positions > length) positions = length;
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

#endif  // QUARN_OBJECTS_PIECEINDEX_INTERNAL_H_
