// Fuzzy multi-string search: one pass over a byte text finds every
// registered key that the text satisfies.
//
// A key is a plain string or up to eleven pieces joined by one kind of
// separator: "," (all pieces, in any order), "*" (all pieces, in order) or
// "|" (any one piece). Each key carries an integer value given when it was
// added; a search appends the value of every satisfied key to a CDataArray,
// once per satisfaction, and returns how many values it appended.
//
// Pieces live in one byte trie, so a search walks the text once whatever
// the number of keys, and adding a key costs time in its length only
// (duplicates are found by hash). Progress of
// compound keys is kept as one bit per piece in a 32-bit word per key and
// never survives a search. A search allocates nothing beyond what `out`
// needs to grow.
//
// Comparisons are byte-exact and case-sensitive; keys and texts are raw
// bytes in any encoding. Not thread-safe: one thread searches at a time,
// and keys are not added while a search runs. Copying is not allowed.

#ifndef QUARN_FILTER_BLURSTRFIND_H_
#define QUARN_FILTER_BLURSTRFIND_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include "quarn_common/base/CDataArray.h"

namespace quarn_blur {
struct Tables;
}  // namespace quarn_blur

// One key.
struct BLURSTRNODE {
  enum { MAX_PIECES = 11 };
  enum {
    TYPE_ALL = 1,      // every piece, in any order (",")
    TYPE_ORDERED = 2,  // every piece, each after the one before ("*")
    TYPE_ANY = 3,      // any one piece ("|"); also a key with no separator
  };

  char* text;    // the key as given, zero-terminated
  char* buffer;  // copy of the key with every separator turned into 0
  int32_t length;
  int32_t piece_count;  // 0 to 11; a key with no piece never matches
  int32_t piece_offsets[MAX_PIECES];  // into `buffer`
  int32_t piece_lengths[MAX_PIECES];
  int32_t value;  // reported on a match
  int32_t index;  // the key's entry in the search state array
  int32_t type;   // TYPE_ALL, TYPE_ORDERED or TYPE_ANY
  BLURSTRNODE* next;
};

// One piece of a key. Kept for hosts that name the type; the object now
// indexes pieces in a trie and makes no such nodes.
struct HASHBLURSTRNODE {
  char* text;  // zero-terminated copy of the piece
  uint32_t length;
  uint32_t value;  // the key's value
  uint32_t piece;  // position of the piece in its key, 0 to 10
  HASHBLURSTRNODE* next;
  BLURSTRNODE* key;
};

class QUARN_EXPORT blurstrfind {
 public:
  enum { BUCKET_COUNT = 65536 };
  // The state array grows by this many keys at a time.
  enum { STATE_GROWTH = 100 };

  blurstrfind();
  ~blurstrfind();
  blurstrfind(const blurstrfind&) = delete;
  blurstrfind& operator=(const blurstrfind&) = delete;

  // Adds `length` bytes at `key` with `value`. Returns 0, or -1 when the
  // same key is already there, when the key mixes separator kinds, or when
  // memory runs out. Growing the state array discards nothing that matters,
  // since no progress outlives a search.
  int AddKey(const char* key, int length, int value);

  // The newest key whose length is `length` and whose text agrees with
  // `key` in its first `length` bytes (compared as by strncmp), or null.
  // The pointer stays valid until Close() or destruction.
  BLURSTRNODE* FindKey(const char* key, int length) const;

  // Finds every key satisfied by pieces occurring anywhere in the first
  // `length` bytes of `text`; a match may start at any byte but the last.
  // Appends each satisfied key's value (sign-extended) to `out`; returns the
  // number appended.
  int FindAllEx(const char* text, int length, CDataArray& out);

  // Like FindAllEx, but a piece counts only when it is the whole text.
  int FindNumEx(const char* text, int length, CDataArray& out);

  int GetSize() const { return key_count; }
  // The newest key; the others follow through `next`. Null when empty.
  BLURSTRNODE* GetHead() const { return keys; }
  // Entries allocated for search state (a multiple of STATE_GROWTH).
  int GetStateCapacity() const { return state_capacity; }

  // Removes every key and frees the state; the object can be filled again.
  void Close();

 private:
  // Records one occurrence of piece `piece` of the key whose progress is
  // `states[state]`. Returns 1 when the key is satisfied by it, 0
  // otherwise.
  QUARN_HIDDEN int FitClue(int32_t type, int32_t piece_count, int32_t state,
                           uint32_t piece);
  // Offers one piece occurrence (by its number in the index) to its key;
  // appends the key's value to `out` when satisfied.
  QUARN_HIDDEN int Offer(uint32_t ref, CDataArray& out, bool* progressed);
  // Forgets the progress of every key.
  QUARN_HIDDEN void ClearProgress();

  quarn_blur::Tables* tables;  // piece index and key lookup; null when
                               // construction ran out of memory
  BLURSTRNODE* keys;           // newest first
  int32_t key_count;
  uint32_t* states;  // per key: bit i set once piece i was seen
  int32_t state_capacity;
  // Entries actually allocated in `states`: grows geometrically while
  // state_capacity grows by STATE_GROWTH, so adding keys stays linear.
  int32_t state_room;
  int32_t next_index;
  int32_t has_single_byte;
};

#endif  // QUARN_FILTER_BLURSTRFIND_H_
