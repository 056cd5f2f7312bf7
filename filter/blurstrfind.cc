#include "filter/blurstrfind.h"

#include <string.h>

#include <new>

namespace {

// The bucket of a piece or of the text at a position: the first two bytes
// as a little-endian number, or the single byte of a one-byte piece.
inline uint32_t TwoByteBucket(const char* p) {
  return static_cast<unsigned char>(p[0]) |
         (static_cast<uint32_t>(static_cast<unsigned char>(p[1])) << 8);
}

inline uint32_t OneByteBucket(const char* p) {
  return static_cast<unsigned char>(p[0]);
}

const size_t kPairWords = blurstrfind::BUCKET_COUNT / 64;
const int kTripleLog2 = 16;
const int kPrefixLog2 = 20;
const size_t kTripleWords = (size_t(1) << kTripleLog2) / 64;
const size_t kPrefixWords = (size_t(1) << kPrefixLog2) / 64;

inline uint32_t Byte(const char* p, int i) {
  return static_cast<unsigned char>(p[i]);
}

// Bitmap slots of the first three and the first four bytes at `p`
// (multiplicative hashing: the high bits of the product).
inline uint32_t TripleHash(const char* p) {
  uint32_t key = Byte(p, 0) | (Byte(p, 1) << 8) | (Byte(p, 2) << 16);
  return (key * 2654435761u) >> (32 - kTripleLog2);
}

inline uint32_t PrefixHash(const char* p) {
  uint32_t key =
      Byte(p, 0) | (Byte(p, 1) << 8) | (Byte(p, 2) << 16) | (Byte(p, 3) << 24);
  return (key * 2654435761u) >> (32 - kPrefixLog2);
}

// 1 when bit `i` is set, else 0.
inline uint64_t TestBit(const uint64_t* bits, uint32_t i) {
  return (bits[i >> 6] >> (i & 63)) & 1;
}

inline void SetBit(uint64_t* bits, uint32_t i) {
  bits[i >> 6] |= uint64_t(1) << (i & 63);
}

char* CopyBytes(const char* bytes, int length) {
  char* copy = new (std::nothrow) char[length + 1];
  if (copy == nullptr) return nullptr;
  if (length > 0) memcpy(copy, bytes, length);
  copy[length] = '\0';
  return copy;
}

void FreeKey(BLURSTRNODE* key) {
  delete[] key->text;
  delete[] key->buffer;
  delete key;
}

// Turns every separator of key->buffer into a zero byte and records the
// pieces between them. Up to ten pieces end at a separator; whatever
// follows the tenth, separators included (now zero bytes), is the last.
void SplitPieces(BLURSTRNODE* key) {
  const int kSeparatedPieces = BLURSTRNODE::MAX_PIECES - 1;
  char* buffer = key->buffer;
  int start = 0;
  key->piece_count = 0;
  for (int i = 0; i < key->length; ++i) {
    char c = buffer[i];
    if (c != '*' && c != ',' && c != '|') continue;
    buffer[i] = '\0';
    if (key->piece_count >= kSeparatedPieces) continue;
    if (i > start) {
      key->piece_offsets[key->piece_count] = start;
      key->piece_lengths[key->piece_count] = i - start;
      ++key->piece_count;
    }
    start = i + 1;
  }
  if (key->length > start) {
    key->piece_offsets[key->piece_count] = start;
    key->piece_lengths[key->piece_count] = key->length - start;
    ++key->piece_count;
  }
}

}  // namespace

blurstrfind::blurstrfind()
    : buckets(new (std::nothrow) HASHBLURSTRNODE*[BUCKET_COUNT]()),
      keys(nullptr),
      key_count(0),
      states(nullptr),
      state_capacity(0),
      next_index(0),
      has_single_byte(0),
      single_bits(),
      pair_bits(new (std::nothrow) uint64_t[kPairWords]()),
      triple_bits(new (std::nothrow) uint64_t[kTripleWords]()),
      prefix_bits(new (std::nothrow) uint64_t[kPrefixWords]()) {
  if (pair_bits == nullptr || triple_bits == nullptr ||
      prefix_bits == nullptr) {
    // Without its bitmaps the object refuses every key.
    delete[] buckets;
    buckets = nullptr;
  }
}

blurstrfind::~blurstrfind() {
  Close();
  delete[] buckets;
  delete[] pair_bits;
  delete[] triple_bits;
  delete[] prefix_bits;
}

void blurstrfind::MarkPiece(const HASHBLURSTRNODE* node) {
  if (node->length == 1) {
    SetBit(single_bits, OneByteBucket(node->text));
  } else if (node->length == 2) {
    SetBit(pair_bits, TwoByteBucket(node->text));
  } else if (node->length == 3) {
    SetBit(triple_bits, TripleHash(node->text));
  } else {
    SetBit(prefix_bits, PrefixHash(node->text));
  }
}

bool blurstrfind::MayStartPiece(const char* at, int remaining) const {
  if (remaining >= 4) {
    // Bitwise, not short-circuit: three cheap loads beat two branches.
    return (TestBit(pair_bits, TwoByteBucket(at)) |
            TestBit(triple_bits, TripleHash(at)) |
            TestBit(prefix_bits, PrefixHash(at))) != 0;
  }
  return TestBit(pair_bits, TwoByteBucket(at)) != 0 ||
         (remaining == 3 && TestBit(triple_bits, TripleHash(at)) != 0);
}

void blurstrfind::Close() {
  if (buckets != nullptr) {
    for (int b = 0; b < BUCKET_COUNT; ++b) {
      HASHBLURSTRNODE* node = buckets[b];
      while (node != nullptr) {
        HASHBLURSTRNODE* next = node->next;
        delete[] node->text;
        delete node;
        node = next;
      }
      buckets[b] = nullptr;
    }
  }
  while (keys != nullptr) {
    BLURSTRNODE* next = keys->next;
    FreeKey(keys);
    keys = next;
  }
  if (pair_bits != nullptr) memset(pair_bits, 0, kPairWords * 8);
  if (triple_bits != nullptr) memset(triple_bits, 0, kTripleWords * 8);
  if (prefix_bits != nullptr) memset(prefix_bits, 0, kPrefixWords * 8);
  memset(single_bits, 0, sizeof(single_bits));
  key_count = 0;
  delete[] states;
  states = nullptr;
  state_capacity = 0;
  next_index = 0;
  has_single_byte = 0;
}

BLURSTRNODE* blurstrfind::FindKey(const char* key, int length) const {
  if (key == nullptr) return nullptr;
  for (BLURSTRNODE* k = keys; k != nullptr; k = k->next) {
    if (k->length == length && strncmp(k->text, key, length) == 0) return k;
  }
  return nullptr;
}

int blurstrfind::AddKey(const char* key, int length, int value) {
  if (buckets == nullptr || length < 0 || (key == nullptr && length > 0)) {
    return -1;
  }
  if (key == nullptr) key = "";
  if (FindKey(key, length) != nullptr) return -1;

  bool has_star = memchr(key, '*', length) != nullptr;
  bool has_comma = memchr(key, ',', length) != nullptr;
  bool has_bar = memchr(key, '|', length) != nullptr;
  if (has_star + has_comma + has_bar > 1) return -1;
  if (next_index > state_capacity) return -1;

  if (next_index == state_capacity) {
    uint32_t* grown =
        new (std::nothrow) uint32_t[state_capacity + STATE_GROWTH]();
    if (grown == nullptr) return -1;
    delete[] states;
    states = grown;
    state_capacity += STATE_GROWTH;
  }

  BLURSTRNODE* k = new (std::nothrow) BLURSTRNODE();
  if (k == nullptr) return -1;
  k->text = CopyBytes(key, length);
  k->buffer = CopyBytes(key, length);
  if (k->text == nullptr || k->buffer == nullptr) {
    FreeKey(k);
    return -1;
  }
  k->length = length;
  k->value = value;
  k->type = has_star    ? BLURSTRNODE::TYPE_ORDERED
            : has_comma ? BLURSTRNODE::TYPE_ALL
                        : BLURSTRNODE::TYPE_ANY;
  SplitPieces(k);

  // Build every piece node before linking anything, so that running out of
  // memory leaves the object as it was.
  HASHBLURSTRNODE* pieces[BLURSTRNODE::MAX_PIECES] = {};
  for (int i = 0; i < k->piece_count; ++i) {
    HASHBLURSTRNODE* node = new (std::nothrow) HASHBLURSTRNODE();
    char* text = node == nullptr ? nullptr
                                 : CopyBytes(k->buffer + k->piece_offsets[i],
                                             k->piece_lengths[i]);
    if (text == nullptr) {
      delete node;
      for (int j = 0; j < i; ++j) {
        delete[] pieces[j]->text;
        delete pieces[j];
      }
      FreeKey(k);
      return -1;
    }
    node->text = text;
    node->length = static_cast<uint32_t>(k->piece_lengths[i]);
    node->value = static_cast<uint32_t>(value);
    node->piece = static_cast<uint32_t>(i);
    node->key = k;
    pieces[i] = node;
  }

  k->index = next_index++;
  k->next = keys;
  keys = k;
  ++key_count;
  for (int i = 0; i < k->piece_count; ++i) {
    HASHBLURSTRNODE* node = pieces[i];
    uint32_t bucket;
    if (node->length == 1) {
      bucket = OneByteBucket(node->text);
      has_single_byte = 1;
    } else {
      bucket = TwoByteBucket(node->text);
    }
    node->next = buckets[bucket];
    buckets[bucket] = node;
    MarkPiece(node);
  }
  return 0;
}

int blurstrfind::FitClue(HASHBLURSTRNODE* node) {
  BLURSTRNODE* k = node->key;
  if (k->type == BLURSTRNODE::TYPE_ANY) return 1;
  uint32_t& s = states[k->index];
  if (k->type == BLURSTRNODE::TYPE_ORDERED && node->piece > 0 &&
      (s & (1u << (node->piece - 1))) == 0) {
    return 0;
  }
  s |= 1u << node->piece;
  if (s == (1u << k->piece_count) - 1) {
    s = 0;
    return 1;
  }
  return 0;
}

template <typename LengthTest>
int blurstrfind::ScanBucket(uint32_t bucket, const char* at, int remaining,
                            LengthTest fits, CDataArray& out,
                            bool* progressed) {
  int found = 0;
  for (HASHBLURSTRNODE* node = buckets[bucket]; node != nullptr;
       node = node->next) {
    if (!fits(static_cast<int>(node->length), remaining)) continue;
    // The bucket already fixed the first two bytes (or the only one); most
    // candidates differ at the third, so test it before calling memcmp.
    if (node->length > 2 &&
        (node->text[2] != at[2] ||
         memcmp(node->text + 3, at + 3, node->length - 3) != 0)) {
      continue;
    }
    if (node->length <= 2 && memcmp(node->text, at, node->length) != 0) {
      continue;
    }
    if (FitClue(node) == 1) {
      out.Add(static_cast<uint64_t>(static_cast<int64_t>(node->key->value)));
      ++found;
    } else {
      *progressed = true;
    }
  }
  return found;
}

void blurstrfind::ClearProgress() {
  if (states != nullptr && next_index > 0) {
    memset(states, 0, sizeof(uint32_t) * next_index);
  }
}

int blurstrfind::FindAllEx(const char* text, int length, CDataArray& out) {
  if (text == nullptr || length < 2 || buckets == nullptr) return 0;
  // Each piece is tried only through its own bucket kind, so a one-byte
  // piece is never offered twice at one position (a zero second byte makes
  // the two look-ups meet in the same bucket).
  auto long_piece = [](int piece_length, int remaining) {
    return piece_length >= 2 && piece_length <= remaining;
  };
  auto one_byte = [](int piece_length, int) { return piece_length == 1; };
  int found = 0;
  bool progressed = false;
  for (int p = 0; p + 1 < length; ++p) {
    const char* at = text + p;
    const int remaining = length - p;
    if (MayStartPiece(at, remaining)) {
      found += ScanBucket(TwoByteBucket(at), at, remaining, long_piece, out,
                          &progressed);
    }
    if (has_single_byte && TestBit(single_bits, OneByteBucket(at)) != 0) {
      found += ScanBucket(OneByteBucket(at), at, remaining, one_byte, out,
                          &progressed);
    }
  }
  if (progressed) ClearProgress();
  return found;
}

int blurstrfind::FindNumEx(const char* text, int length, CDataArray& out) {
  if (text == nullptr || length < 1 || buckets == nullptr) return 0;
  auto whole = [](int piece_length, int remaining) {
    return piece_length == remaining;
  };
  int found = 0;
  bool progressed = false;
  if (length == 1) {
    if (has_single_byte) {
      found = ScanBucket(OneByteBucket(text), text, 1, whole, out, &progressed);
    }
  } else {
    found =
        ScanBucket(TwoByteBucket(text), text, length, whole, out, &progressed);
  }
  if (progressed) ClearProgress();
  return found;
}
