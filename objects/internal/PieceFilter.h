// A fingerprint filter over the first four bytes of stored pieces, used by
// PieceIndex to find, 64 text positions at a time, the few positions where
// a piece may start. Not for hosts.
//
// Pieces are sorted into eight buckets: one-byte pieces, two-byte pieces,
// and six buckets of longer pieces grouped by the low half of their first
// byte. For each of the four window positions j and each bucket, the filter
// keeps the set of low halves (nibbles) and the set of high halves seen at
// byte j of the bucket's pieces; a window position past a piece's end
// accepts any byte. A text position is a candidate when, for some bucket,
// each of its next four bytes has both halves in that bucket's sets. Every
// position where a stored piece starts is therefore a candidate; others may
// be too (the filter only narrows the search).
//
// Each set is a 16-entry table of bucket bits, so one byte shuffle
// (SSSE3 pshufb) looks up 16 or 32 text bytes at once. The variant is chosen
// once from what the CPU supports; a plain C++ variant gives the same
// answers everywhere and serves as the reference.
//
// StartBlock() is the sharper, dearer test PieceIndex takes where the
// fingerprint passes most positions: exact bit sets of the first one or
// two bytes and hashed bit sets of the first three or four, looked up for
// eight positions at once with AVX2 gathers.
//
// Not thread-safe for Add/Clear; Block() only reads the tables, and
// StartBlock() only the sets it is given.

#ifndef QUARN_OBJECTS_INTERNAL_PIECEFILTER_H_
#define QUARN_OBJECTS_INTERNAL_PIECEFILTER_H_

#include <stddef.h>
#include <stdint.h>

namespace quarn_match {

class PieceFilter {
 public:
  // Ways to compute a block, by the instructions they need.
  enum Isa { kPortable = 0, kSsse3 = 1, kAvx2 = 2 };
  // Text positions per block.
  static constexpr int kBlock = 64;
  // Bytes each position looks at.
  static constexpr int kWindow = 4;
  // Bytes a block reads from its first position on.
  static constexpr int kBlockBytes = kBlock + kWindow - 1;

  // An empty filter: no position is a candidate.
  PieceFilter();

  // Records a piece of `length` (at least 1) bytes.
  void Add(const uint8_t* bytes, uint64_t length);
  // Forgets every piece.
  void Clear();

  // Makes Block() use `isa` from now on (tests compare the variants).
  // REQUIRES: Supported(isa).
  void UseIsa(Isa isa) { block_ = FunctionOf(isa); }

  // Whether this CPU runs `isa`; kPortable always runs.
  static bool Supported(Isa isa);
  // The fastest variant this CPU runs.
  static Isa Best();

  // The candidates among the kBlock positions from `p` on: bit i for the
  // position p + i. REQUIRES: kBlockBytes readable bytes at `p`.
  uint64_t Block(const uint8_t* p) const { return block_(*this, p); }
  // The same with a chosen variant. REQUIRES: Supported(isa).
  uint64_t BlockWith(Isa isa, const uint8_t* p) const;

  // Multiplier of the hashes of three and four bytes that StartBlock()
  // uses.
  static constexpr uint32_t kHashFactor = 0x9E3779B1u;
  // The hash of three bytes keeps this many bits.
  static constexpr int kTripleBits = 16;
  // Bytes StartBlock() reads from its first position on.
  static constexpr int kHashBlockBytes = kBlock + 8;

  // Bit sets over the first bytes of pieces, one per piece length, that
  // PieceIndex tests before it walks from a position; null for a length
  // no piece has. Bit ((word * kHashFactor) >> s) stands for the word
  // made of the first bytes, read little-endian.
  struct StartSets {
    const uint64_t* one;     // 256 bits by the first byte
    const uint64_t* pair;    // 65536 bits by the first two bytes
    const uint64_t* triple;  // by the hash of three bytes, s = 32 - kTripleBits
    const uint64_t* quad;    // by the hash of four bytes, s = quad_shift
    int quad_shift;          // 1 to 31
  };
  // Bit i set when some set of `sets` holds the bytes from p + i on, for
  // the kBlock positions from `p` on. REQUIRES: kHashBlockBytes readable
  // bytes at `p`; `quad` not null.
  static uint64_t StartBlock(Isa isa, const uint8_t* p, const StartSets& sets);

  // Whether `byte` at window position `j` passes for some piece bucket
  // (one position alone; tests use it to check table contents).
  bool MayHold(int j, uint8_t byte) const {
    return (lo_[j][byte & 15] & hi_[j][byte >> 4]) != 0;
  }

 private:
  using BlockFn = uint64_t (*)(const PieceFilter&, const uint8_t*);

  static uint64_t BlockPortable(const PieceFilter& f, const uint8_t* p);
  static uint64_t BlockSsse3(const PieceFilter& f, const uint8_t* p);
  static uint64_t BlockAvx2(const PieceFilter& f, const uint8_t* p);
  static BlockFn FunctionOf(Isa isa);
  static uint64_t StartBlockPortable(const uint8_t* p, const StartSets& sets);
  static uint64_t StartBlockAvx2(const uint8_t* p, const StartSets& sets);
  static int BucketOf(const uint8_t* bytes, uint64_t length);

  // lo_[j][n]: buckets whose pieces may have low half n at byte j; hi_
  // the same for high halves.
  alignas(16) uint8_t lo_[kWindow][16];
  alignas(16) uint8_t hi_[kWindow][16];
  BlockFn block_;
};

}  // namespace quarn_match

#endif  // QUARN_OBJECTS_INTERNAL_PIECEFILTER_H_
