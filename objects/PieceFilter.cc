#include "objects/internal/PieceFilter.h"

#include <string.h>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define QUARN_PIECEFILTER_X86 1
#endif

namespace quarn_match {

PieceFilter::PieceFilter() {
  Clear();
  block_ = FunctionOf(Best());
}

void PieceFilter::Clear() {
  memset(lo_, 0, sizeof(lo_));
  memset(hi_, 0, sizeof(hi_));
}

int PieceFilter::BucketOf(const uint8_t* bytes, uint64_t length) {
  if (length <= 2) return static_cast<int>(length) - 1;
  // Longer pieces go by the low half of their first byte, in six runs of
  // neighbouring values, so that a bucket's first-byte set stays narrow.
  return 2 + (bytes[0] & 15) * 6 / 16;
}

void PieceFilter::Add(const uint8_t* bytes, uint64_t length) {
  const uint8_t bit = static_cast<uint8_t>(1u << BucketOf(bytes, length));
  for (int j = 0; j < kWindow; ++j) {
    if (static_cast<uint64_t>(j) < length) {
      lo_[j][bytes[j] & 15] |= bit;
      hi_[j][bytes[j] >> 4] |= bit;
    } else {
      for (int n = 0; n < 16; ++n) {
        lo_[j][n] |= bit;
        hi_[j][n] |= bit;
      }
    }
  }
}

uint64_t PieceFilter::BlockPortable(const PieceFilter& f, const uint8_t* p) {
  uint64_t mask = 0;
  for (int i = 0; i < kBlock; ++i) {
    uint8_t buckets = 0xFF;
    for (int j = 0; j < kWindow; ++j) {
      const uint8_t byte = p[i + j];
      buckets &= f.lo_[j][byte & 15] & f.hi_[j][byte >> 4];
    }
    if (buckets != 0) mask |= uint64_t{1} << i;
  }
  return mask;
}

uint64_t PieceFilter::StartBlockPortable(const uint8_t* p,
                                         const StartSets& sets) {
  uint64_t mask = 0;
  for (int i = 0; i < kBlock; ++i) {
    uint32_t word;
    memcpy(&word, p + i, sizeof(word));
    const uint32_t quad = (word * kHashFactor) >> sets.quad_shift;
    uint64_t hit = sets.quad[quad >> 6] >> (quad & 63);
    if (sets.one != nullptr) hit |= sets.one[p[i] >> 6] >> (p[i] & 63);
    if (sets.pair != nullptr) {
      const uint32_t pair = word & 0xFFFF;
      hit |= sets.pair[pair >> 6] >> (pair & 63);
    }
    if (sets.triple != nullptr) {
      const uint32_t triple =
          ((word & 0xFFFFFF) * kHashFactor) >> (32 - kTripleBits);
      hit |= sets.triple[triple >> 6] >> (triple & 63);
    }
    mask |= (hit & 1) << i;
  }
  return mask;
}

#if defined(QUARN_PIECEFILTER_X86)

__attribute__((target("ssse3"))) uint64_t PieceFilter::BlockSsse3(
    const PieceFilter& f, const uint8_t* p) {
  const __m128i low = _mm_set1_epi8(0x0F);
  const __m128i zero = _mm_setzero_si128();
  __m128i lo[kWindow], hi[kWindow];
  for (int j = 0; j < kWindow; ++j) {
    lo[j] = _mm_load_si128(reinterpret_cast<const __m128i*>(f.lo_[j]));
    hi[j] = _mm_load_si128(reinterpret_cast<const __m128i*>(f.hi_[j]));
  }
  uint64_t mask = 0;
  for (int i = 0; i < kBlock; i += 16) {
    __m128i buckets = _mm_set1_epi8(-1);
    for (int j = 0; j < kWindow; ++j) {
      const __m128i text =
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i + j));
      const __m128i low_half = _mm_and_si128(text, low);
      const __m128i high_half = _mm_and_si128(_mm_srli_epi16(text, 4), low);
      buckets = _mm_and_si128(
          buckets, _mm_and_si128(_mm_shuffle_epi8(lo[j], low_half),
                                 _mm_shuffle_epi8(hi[j], high_half)));
    }
    const uint32_t rejected =
        static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(buckets, zero)));
    mask |= static_cast<uint64_t>(~rejected & 0xFFFFu) << i;
  }
  return mask;
}

__attribute__((target("avx2"))) uint64_t PieceFilter::BlockAvx2(
    const PieceFilter& f, const uint8_t* p) {
  const __m256i low = _mm256_set1_epi8(0x0F);
  const __m256i zero = _mm256_setzero_si256();
  __m256i lo[kWindow], hi[kWindow];
  for (int j = 0; j < kWindow; ++j) {
    lo[j] = _mm256_broadcastsi128_si256(
        _mm_load_si128(reinterpret_cast<const __m128i*>(f.lo_[j])));
    hi[j] = _mm256_broadcastsi128_si256(
        _mm_load_si128(reinterpret_cast<const __m128i*>(f.hi_[j])));
  }
  uint64_t mask = 0;
  for (int i = 0; i < kBlock; i += 32) {
    __m256i buckets = _mm256_set1_epi8(-1);
    for (int j = 0; j < kWindow; ++j) {
      const __m256i text =
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i + j));
      const __m256i low_half = _mm256_and_si256(text, low);
      const __m256i high_half =
          _mm256_and_si256(_mm256_srli_epi16(text, 4), low);
      buckets = _mm256_and_si256(
          buckets, _mm256_and_si256(_mm256_shuffle_epi8(lo[j], low_half),
                                    _mm256_shuffle_epi8(hi[j], high_half)));
    }
    const uint32_t rejected = static_cast<uint32_t>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(buckets, zero)));
    mask |= static_cast<uint64_t>(~rejected) << i;
  }
  return mask;
}

namespace {

// StartBlock() with AVX2 for the sets that are there (quad always is).
template <bool kOne, bool kTwo, bool kThree>
__attribute__((target("avx2"))) uint64_t StartBlockWith(
    const uint8_t* p, const PieceFilter::StartSets& sets) {
  const int kBlock = PieceFilter::kBlock;
  const int kTripleBits = PieceFilter::kTripleBits;
  const uint32_t kHashFactor = PieceFilter::kHashFactor;
  // Eight windows of four bytes from sixteen bytes: positions 0-3 in the
  // low lane, 4-7 in the high one.
  const __m256i windows =
      _mm256_setr_epi8(0, 1, 2, 3, 1, 2, 3, 4, 2, 3, 4, 5, 3, 4, 5, 6,  //
                       4, 5, 6, 7, 5, 6, 7, 8, 6, 7, 8, 9, 7, 8, 9, 10);
  const __m256i factor = _mm256_set1_epi32(static_cast<int>(kHashFactor));
  const __m128i quad_shift = _mm_cvtsi32_si128(sets.quad_shift);
  const __m256i low5 = _mm256_set1_epi32(31);
  const __m256i low8 = _mm256_set1_epi32(0xFF);
  const __m256i low16 = _mm256_set1_epi32(0xFFFF);
  const __m256i low24 = _mm256_set1_epi32(0xFFFFFF);
  // The 256 bits of one-byte pieces fit in a register.
  const __m256i ones =
      kOne ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sets.one))
           : _mm256_setzero_si256();
  const int* quad = reinterpret_cast<const int*>(sets.quad);
  const int* pair = reinterpret_cast<const int*>(sets.pair);
  const int* triple = reinterpret_cast<const int*>(sets.triple);
  uint64_t mask = 0;
  for (int i = 0; i < kBlock; i += 8) {
    const __m256i text = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i)));
    const __m256i words = _mm256_shuffle_epi8(text, windows);
    // Each test leaves its bit in bit 0 of each position's lane.
    const __m256i at =
        _mm256_srl_epi32(_mm256_mullo_epi32(words, factor), quad_shift);
    __m256i hit = _mm256_srlv_epi32(
        _mm256_i32gather_epi32(quad, _mm256_srli_epi32(at, 5), 4),
        _mm256_and_si256(at, low5));
    if (kOne) {
      const __m256i byte = _mm256_and_si256(words, low8);
      hit = _mm256_or_si256(
          hit, _mm256_srlv_epi32(_mm256_permutevar8x32_epi32(
                                     ones, _mm256_srli_epi32(byte, 5)),
                                 _mm256_and_si256(byte, low5)));
    }
    if (kTwo) {
      const __m256i two = _mm256_and_si256(words, low16);
      hit = _mm256_or_si256(
          hit, _mm256_srlv_epi32(
                   _mm256_i32gather_epi32(pair, _mm256_srli_epi32(two, 5), 4),
                   _mm256_and_si256(two, low5)));
    }
    if (kThree) {
      const __m256i three = _mm256_srli_epi32(
          _mm256_mullo_epi32(_mm256_and_si256(words, low24), factor),
          32 - kTripleBits);
      hit = _mm256_or_si256(
          hit, _mm256_srlv_epi32(_mm256_i32gather_epi32(
                                     triple, _mm256_srli_epi32(three, 5), 4),
                                 _mm256_and_si256(three, low5)));
    }
    const __m256i bit = _mm256_slli_epi32(hit, 31);
    mask |= static_cast<uint64_t>(static_cast<uint32_t>(
                _mm256_movemask_ps(_mm256_castsi256_ps(bit))))
            << i;
  }
  return mask;
}

}  // namespace

uint64_t PieceFilter::StartBlockAvx2(const uint8_t* p, const StartSets& sets) {
  switch ((sets.one != nullptr ? 4 : 0) | (sets.pair != nullptr ? 2 : 0) |
          (sets.triple != nullptr ? 1 : 0)) {
    case 0:
      return StartBlockWith<false, false, false>(p, sets);
    case 1:
      return StartBlockWith<false, false, true>(p, sets);
    case 2:
      return StartBlockWith<false, true, false>(p, sets);
    case 3:
      return StartBlockWith<false, true, true>(p, sets);
    case 4:
      return StartBlockWith<true, false, false>(p, sets);
    case 5:
      return StartBlockWith<true, false, true>(p, sets);
    case 6:
      return StartBlockWith<true, true, false>(p, sets);
    default:
      return StartBlockWith<true, true, true>(p, sets);
  }
}

bool PieceFilter::Supported(Isa isa) {
  // Safe to repeat, and needed when this runs before the runtime's own
  // constructors (a static object's constructor).
  __builtin_cpu_init();
  switch (isa) {
    case kPortable:
      return true;
    case kSsse3:
      return __builtin_cpu_supports("ssse3");
    case kAvx2:
      return __builtin_cpu_supports("avx2");
  }
  return false;
}

#else  // not x86

uint64_t PieceFilter::BlockSsse3(const PieceFilter& f, const uint8_t* p) {
  return BlockPortable(f, p);
}

uint64_t PieceFilter::BlockAvx2(const PieceFilter& f, const uint8_t* p) {
  return BlockPortable(f, p);
}

uint64_t PieceFilter::StartBlockAvx2(const uint8_t* p, const StartSets& sets) {
  return StartBlockPortable(p, sets);
}

bool PieceFilter::Supported(Isa isa) { return isa == kPortable; }

#endif

PieceFilter::Isa PieceFilter::Best() {
  static const Isa best = Supported(kAvx2)    ? kAvx2
                          : Supported(kSsse3) ? kSsse3
                                              : kPortable;
  return best;
}

PieceFilter::BlockFn PieceFilter::FunctionOf(Isa isa) {
  switch (isa) {
    case kAvx2:
      return BlockAvx2;
    case kSsse3:
      return BlockSsse3;
    case kPortable:
      break;
  }
  return BlockPortable;
}

uint64_t PieceFilter::StartBlock(Isa isa, const uint8_t* p,
                                 const StartSets& sets) {
  return isa == kAvx2 ? StartBlockAvx2(p, sets) : StartBlockPortable(p, sets);
}

uint64_t PieceFilter::BlockWith(Isa isa, const uint8_t* p) const {
  return FunctionOf(isa)(*this, p);
}

}  // namespace quarn_match
