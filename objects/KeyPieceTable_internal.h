// The piece store of CKeyTypeTable: a fixed-capacity pool of piece nodes
// chained into buckets. Not for hosts.
//
// A piece's bucket is its first byte (one-byte table) or its first two
// bytes read as a little-endian word (multi-byte table), AND (bucket count
// - 1). New nodes go to the head of their chain.
//
// Most text positions start no stored piece, and with thousands of
// keywords a two-byte bucket holds many pieces that share their first two
// bytes, so pieces of four bytes or more are also chained by a hash of
// their first four bytes, in a second bucket array sized by the capacity,
// behind a two-probe bit set over the first four bytes. A lookup walks the
// two-byte chain only for the pieces shorter than four bytes (when the
// bucket has any), and finds the longer ones through the four-byte chain,
// where each node keeps its first eight bytes for a quick comparison.

#ifndef QUARN_OBJECTS_KEYPIECETABLE_INTERNAL_H_
#define QUARN_OBJECTS_KEYPIECETABLE_INTERNAL_H_

#include <stdint.h>
#include <string.h>

#include <memory>
#include <vector>

namespace quarn_keytable {

class PieceTable {
 public:
  static constexpr uint32_t kNil = 0xFFFFFFFF;

  // A table for at most `capacity` pieces in `buckets` buckets, keyed by
  // the first two bytes (`two_byte_key`) or the first byte; null when
  // `capacity` or `buckets` is 0 or too large, or memory runs out.
  static std::unique_ptr<PieceTable> Create(uint64_t capacity, uint64_t buckets,
                                            bool two_byte_key);

  uint64_t capacity() const { return capacity_; }
  uint64_t size() const { return used_; }
  uint64_t free_nodes() const { return capacity_ - used_; }

  // Stores piece `piece` of keyword `keyword`. False when the pool is full,
  // or the piece is shorter than the table's key (two bytes or one).
  bool Insert(const uint8_t* bytes, uint32_t length, uint32_t keyword,
              uint8_t piece);

  // Calls fn(keyword, piece) for every stored piece that the `remaining`
  // bytes at `data` start with (prefix mode) or equal (exact mode).
  // `remaining` is at least 1.
  template <typename Fn>
  void ForEachHit(const uint8_t* data, uint64_t remaining, bool exact,
                  Fn&& fn) const;

  // Calls fn(keyword, piece, position) for every stored piece that occurs
  // in the `length` bytes at `data`, in increasing position, taking only
  // positions with at least `min_remaining` bytes left (at least 1).
  template <typename Fn>
  void Scan(const uint8_t* data, uint64_t length, uint64_t min_remaining,
            Fn&& fn) const;

 private:
  struct Node {
    uint32_t next;     // next node of the two-byte chain, kNil at the end
    uint32_t next4;    // next node of the four-byte chain
    uint64_t head8;    // first eight bytes, for pieces of eight or more
    uint32_t head4;    // first four bytes, for pieces of four or more
    uint32_t keyword;  // index of the keyword record
    uint32_t offset;   // start of the piece's bytes in bytes_
    uint32_t length;
    uint8_t piece;  // the piece's position in its keyword
  };

  static constexpr int kFilterBits = 18;

  PieceTable() = default;

  // REQUIRES: at least two bytes at `data` when the key is two bytes.
  uint32_t Bucket(const uint8_t* data) const {
    uint32_t word = data[0];
    if (two_byte_key_) word |= static_cast<uint32_t>(data[1]) << 8;
    return word & bucket_mask_;
  }
  static uint32_t Load4(const uint8_t* data) {
    uint32_t word;
    memcpy(&word, data, sizeof(word));
    return word;
  }
  static uint64_t Load8(const uint8_t* data) {
    uint64_t word;
    memcpy(&word, data, sizeof(word));
    return word;
  }
  static uint32_t Hash4(uint32_t word) {
    return (word * 0x9E3779B1u) >> (32 - kFilterBits);
  }
  static uint32_t Hash4b(uint32_t word) {
    return (word * 0x85EBCA6Bu) >> (32 - kFilterBits);
  }
  bool FilterBit(uint32_t h) const { return (filter_[h >> 6] >> (h & 63)) & 1; }
  bool FilterHas(uint32_t word) const {
    return FilterBit(Hash4(word)) && FilterBit(Hash4b(word));
  }

  // The pieces of fewer than four bytes in the two-byte chain at `data`.
  template <typename Fn>
  void ShortHits(const uint8_t* data, uint64_t remaining, bool exact,
                 Fn&& fn) const;
  // The pieces of four bytes or more whose first four bytes are `word`.
  // REQUIRES: remaining >= 4.
  template <typename Fn>
  void LongHits(const uint8_t* data, uint64_t remaining, uint32_t word,
                bool exact, Fn&& fn) const;

  uint64_t capacity_ = 0;
  uint64_t used_ = 0;
  bool two_byte_key_ = false;
  uint32_t bucket_mask_ = 0;
  uint32_t bucket4_mask_ = 0;
  uint32_t shortest_ = 0xFFFFFFFF;  // shortest piece stored
  bool any_short_ = false;          // some piece has fewer than 4 bytes
  bool any_long_ = false;           // some piece has 4 bytes or more
  std::unique_ptr<Node[]> nodes_;
  std::unique_ptr<uint32_t[]> heads_;   // two-byte (or one-byte) chains
  std::unique_ptr<uint32_t[]> heads4_;  // four-byte chains
  std::vector<uint8_t> has_short_;      // per bucket: a piece of < 4 bytes
  std::vector<uint64_t> filter_;        // Hash4 of pieces of >= 4 bytes
  std::vector<uint8_t> bytes_;          // every piece's bytes, back to back
};

template <typename Fn>
void PieceTable::ShortHits(const uint8_t* data, uint64_t remaining, bool exact,
                           Fn&& fn) const {
  uint32_t b = Bucket(data);
  if (!has_short_[b]) return;
  for (uint32_t at = heads_[b]; at != kNil; at = nodes_[at].next) {
    const Node& node = nodes_[at];
    if (node.length >= 4) continue;
    if (exact ? node.length != remaining : node.length > remaining) continue;
    if (memcmp(&bytes_[node.offset], data, node.length) != 0) continue;
    fn(node.keyword, node.piece);
  }
}

template <typename Fn>
void PieceTable::LongHits(const uint8_t* data, uint64_t remaining,
                          uint32_t word, bool exact, Fn&& fn) const {
  if (!FilterHas(word)) return;
  for (uint32_t at = heads4_[Hash4(word) & bucket4_mask_]; at != kNil;
       at = nodes_[at].next4) {
    const Node& node = nodes_[at];
    if (node.head4 != word) continue;
    if (exact ? node.length != remaining : node.length > remaining) continue;
    uint32_t checked = 4;
    if (node.length >= 8) {
      if (node.head8 != Load8(data)) continue;
      checked = 8;
    }
    if (memcmp(&bytes_[node.offset + checked], data + checked,
               node.length - checked) != 0) {
      continue;
    }
    fn(node.keyword, node.piece);
  }
}

template <typename Fn>
void PieceTable::ForEachHit(const uint8_t* data, uint64_t remaining, bool exact,
                            Fn&& fn) const {
  if (remaining < shortest_) return;
  if (any_short_) ShortHits(data, remaining, exact, fn);
  if (any_long_ && remaining >= 4) {
    LongHits(data, remaining, Load4(data), exact, fn);
  }
}

template <typename Fn>
void PieceTable::Scan(const uint8_t* data, uint64_t length,
                      uint64_t min_remaining, Fn&& fn) const {
  if (min_remaining < shortest_) min_remaining = shortest_;
  if (length < min_remaining) return;
  const uint64_t end = length - min_remaining + 1;
  for (uint64_t pos = 0; pos < end; ++pos) {
    auto at_pos = [&fn, pos](uint32_t keyword, uint8_t piece) {
      fn(keyword, piece, pos);
    };
    const uint64_t remaining = length - pos;
    if (any_short_) ShortHits(data + pos, remaining, false, at_pos);
    if (any_long_ && remaining >= 4) {
      LongHits(data + pos, remaining, Load4(data + pos), false, at_pos);
    }
  }
}

}  // namespace quarn_keytable

#endif  // QUARN_OBJECTS_KEYPIECETABLE_INTERNAL_H_
