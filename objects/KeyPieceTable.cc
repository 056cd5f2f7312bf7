#include <new>

#include "objects/KeyPieceTable_internal.h"

namespace quarn_keytable {

namespace {

// Node indexes are 32-bit with one value kept for the end of a chain.
const uint64_t kMaxNodes = 0xFFFFFFFEu;
const uint64_t kMaxBuckets = uint64_t{1} << 24;

// Four-byte buckets: about two per node, a power of two from 1024 up to
// the filter's size.
uint64_t FourByteBuckets(uint64_t capacity, int filter_bits) {
  uint64_t buckets = 1024;
  while (buckets < 2 * capacity && buckets < (uint64_t{1} << filter_bits)) {
    buckets <<= 1;
  }
  return buckets;
}

}  // namespace

std::unique_ptr<PieceTable> PieceTable::Create(uint64_t capacity,
                                               uint64_t buckets,
                                               bool two_byte_key) {
  if (capacity == 0 || capacity > kMaxNodes || buckets == 0 ||
      buckets > kMaxBuckets) {
    return nullptr;
  }
  std::unique_ptr<PieceTable> table(new (std::nothrow) PieceTable);
  if (!table) return nullptr;
  const uint64_t buckets4 = FourByteBuckets(capacity, kFilterBits);
  table->nodes_.reset(new (std::nothrow) Node[capacity]);
  table->heads_.reset(new (std::nothrow) uint32_t[buckets]);
  table->heads4_.reset(new (std::nothrow) uint32_t[buckets4]);
  if (!table->nodes_ || !table->heads_ || !table->heads4_) return nullptr;
  for (uint64_t b = 0; b < buckets; ++b) table->heads_[b] = kNil;
  for (uint64_t b = 0; b < buckets4; ++b) table->heads4_[b] = kNil;
  try {
    table->has_short_.assign(buckets, 0);
    table->filter_.assign((size_t{1} << kFilterBits) / 64, 0);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  table->capacity_ = capacity;
  table->two_byte_key_ = two_byte_key;
  // AND with (count - 1) keeps every bucket index below the count, also
  // for counts that are not powers of two.
  table->bucket_mask_ = static_cast<uint32_t>(buckets - 1);
  table->bucket4_mask_ = static_cast<uint32_t>(buckets4 - 1);
  return table;
}

bool PieceTable::Insert(const uint8_t* bytes, uint32_t length, uint32_t keyword,
                        uint8_t piece) {
  if (used_ >= capacity_ || length < (two_byte_key_ ? 2u : 1u)) return false;
  if (bytes_.size() + length > 0xFFFFFFFFu) return false;
  size_t offset = bytes_.size();
  try {
    bytes_.insert(bytes_.end(), bytes, bytes + length);
  } catch (const std::bad_alloc&) {
    return false;
  }
  uint32_t at = static_cast<uint32_t>(used_++);
  uint32_t b = Bucket(bytes);
  Node& node = nodes_[at];
  node.next = heads_[b];
  node.next4 = kNil;
  node.head4 = 0;
  node.head8 = 0;
  node.keyword = keyword;
  node.offset = static_cast<uint32_t>(offset);
  node.length = length;
  node.piece = piece;
  heads_[b] = at;
  if (length < 4) {
    has_short_[b] = 1;
    any_short_ = true;
  } else {
    node.head4 = Load4(bytes);
    if (length >= 8) node.head8 = Load8(bytes);
    for (uint32_t h : {Hash4(node.head4), Hash4b(node.head4)}) {
      filter_[h >> 6] |= uint64_t{1} << (h & 63);
    }
    uint32_t h = Hash4(node.head4);
    node.next4 = heads4_[h & bucket4_mask_];
    heads4_[h & bucket4_mask_] = at;
    any_long_ = true;
  }
  if (length < shortest_) shortest_ = length;
  return true;
}

}  // namespace quarn_keytable
