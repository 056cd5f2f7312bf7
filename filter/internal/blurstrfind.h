// The tables behind blurstrfind: the piece index and the key lookup that
// finds duplicates. Not for hosts.

#ifndef QUARN_FILTER_INTERNAL_BLURSTRFIND_H_
#define QUARN_FILTER_INTERNAL_BLURSTRFIND_H_

#include <stdint.h>

#include <vector>

#include "filter/blurstrfind.h"
#include "objects/internal/PieceIndex.h"

namespace quarn_blur {

// What a search needs of one piece, found by the piece's number in the
// index. Pieces are numbered in the order they were added, so the index's
// newest-first order is the order in which they are offered.
struct PieceRef {
  int32_t value;        // the key's value
  int32_t state;        // the key's entry in the state array
  uint8_t piece;        // position in the key
  uint8_t type;         // BLURSTRNODE::TYPE_*
  uint8_t piece_count;  // pieces of the key
  uint8_t always;       // every occurrence satisfies the key
};

// Keys by their text as FindKey compares them (length, and the bytes
// before the first zero byte, as strncmp does): open addressing, at most
// half full.
class KeyLookup {
 public:
  // The key equal to the `length` bytes at `key`, or null.
  BLURSTRNODE* Find(const char* key, int length) const;
  // Makes room for one more key; false when memory runs out.
  bool Reserve();
  // Adds `node`, which Find() does not know yet. REQUIRES: Reserve().
  void Insert(BLURSTRNODE* node);
  void Clear();

 private:
  struct Slot {
    uint64_t hash;
    BLURSTRNODE* node;  // null when free
  };
  static uint64_t Hash(const char* key, int length);
  void Place(const Slot& slot);

  std::vector<Slot> slots_;
  size_t used_ = 0;
};

struct Tables {
  quarn_match::PieceIndex index;
  std::vector<PieceRef> refs;
  KeyLookup keys;
};

}  // namespace quarn_blur

#endif  // QUARN_FILTER_INTERNAL_BLURSTRFIND_H_
