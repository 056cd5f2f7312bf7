#include "filter/blurstrfind.h"

#include <stdint.h>
#include <string.h>

#include <new>

#include "filter/internal/blurstrfind.h"

namespace quarn_blur {

uint64_t KeyLookup::Hash(const char* key, int length) {
  // FNV-1a over the bytes strncmp would compare, then the length.
  uint64_t hash = 14695981039346656037ull;
  for (int i = 0; i < length && key[i] != '\0'; ++i) {
    hash = (hash ^ static_cast<unsigned char>(key[i])) * 1099511628211ull;
  }
  hash ^= static_cast<uint32_t>(length);
  return hash * 0x9E3779B97F4A7C15ull;
}

BLURSTRNODE* KeyLookup::Find(const char* key, int length) const {
  if (slots_.empty()) return nullptr;
  const uint64_t hash = Hash(key, length);
  const size_t mask = slots_.size() - 1;
  for (size_t at = hash >> 32 & mask;; at = (at + 1) & mask) {
    const Slot& slot = slots_[at];
    if (slot.node == nullptr) return nullptr;
    if (slot.hash == hash && slot.node->length == length &&
        strncmp(slot.node->text, key, length) == 0) {
      return slot.node;
    }
  }
}

bool KeyLookup::Reserve() {
  if (2 * (used_ + 1) <= slots_.size()) return true;
  std::vector<Slot> old;
  try {
    old.assign(slots_.empty() ? 256 : 2 * slots_.size(), Slot{0, nullptr});
  } catch (const std::bad_alloc&) {
    return false;
  }
  old.swap(slots_);
  used_ = 0;
  for (const Slot& slot : old) {
    if (slot.node != nullptr) Place(slot);
  }
  return true;
}

void KeyLookup::Place(const Slot& slot) {
  const size_t mask = slots_.size() - 1;
  size_t at = slot.hash >> 32 & mask;
  while (slots_[at].node != nullptr) at = (at + 1) & mask;
  slots_[at] = slot;
  ++used_;
}

void KeyLookup::Insert(BLURSTRNODE* node) {
  Place(Slot{Hash(node->text, node->length), node});
}

void KeyLookup::Clear() {
  std::vector<Slot>().swap(slots_);
  used_ = 0;
}

}  // namespace quarn_blur

namespace {

using quarn_blur::PieceRef;
using quarn_match::PieceIndex;

// Runs at one position that AppendPlain() takes at most.
const size_t kPlainRuns = 16;

// When each of runs[0..count) holds one piece of a key that any occurrence
// satisfies, appends their values to `out` in the order FindAllEx offers
// them (the runs from `ones` on newest first, then the one-byte run) and
// returns true. Otherwise appends nothing and returns false.
bool AppendPlain(const PieceIndex& index, const PieceIndex::Run* runs,
                 size_t count, size_t ones, CDataArray& out) {
  if (count > kPlainRuns) return false;
  uint32_t refs[kPlainRuns];
  int32_t values[kPlainRuns];
  for (size_t i = 0; i < count; ++i) {
    const PieceIndex::Summary& summary = index.SummaryOf(runs[i]);
    if (summary.refs != 1 || summary.marked != 0) return false;
    // Newest first, by insertion among the longer runs.
    size_t at = i;
    if (i >= ones) {
      for (; at > ones && refs[at - 1] < summary.newest; --at) {
        refs[at] = refs[at - 1];
        values[at] = values[at - 1];
      }
    }
    refs[at] = summary.newest;
    values[at] = static_cast<int32_t>(static_cast<uint32_t>(summary.tags));
  }
  for (size_t i = ones; i < count; ++i) {
    out.Add(static_cast<uint64_t>(static_cast<int64_t>(values[i])));
  }
  if (ones != 0)
    out.Add(static_cast<uint64_t>(static_cast<int64_t>(values[0])));
  return true;
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
    : tables(new (std::nothrow) quarn_blur::Tables),
      keys(nullptr),
      key_count(0),
      states(nullptr),
      state_capacity(0),
      state_room(0),
      next_index(0),
      has_single_byte(0) {}

blurstrfind::~blurstrfind() {
  Close();
  delete tables;
}

void blurstrfind::Close() {
  if (tables != nullptr) {
    tables->index.Clear();
    std::vector<PieceRef>().swap(tables->refs);
    tables->keys.Clear();
  }
  while (keys != nullptr) {
    BLURSTRNODE* next = keys->next;
    FreeKey(keys);
    keys = next;
  }
  key_count = 0;
  delete[] states;
  states = nullptr;
  state_capacity = 0;
  state_room = 0;
  next_index = 0;
  has_single_byte = 0;
}

BLURSTRNODE* blurstrfind::FindKey(const char* key, int length) const {
  if (key == nullptr || length < 0 || tables == nullptr) return nullptr;
  return tables->keys.Find(key, length);
}

int blurstrfind::AddKey(const char* key, int length, int value) {
  if (tables == nullptr || length < 0 || (key == nullptr && length > 0)) {
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
    // No progress outlives a search, so every entry is zero here and the
    // grown array need not keep the old one's contents.
    if (state_capacity + STATE_GROWTH > state_room) {
      const int32_t room = state_room > (INT32_MAX - STATE_GROWTH) / 2
                               ? state_capacity + STATE_GROWTH
                               : 2 * state_room + STATE_GROWTH;
      uint32_t* grown = new (std::nothrow) uint32_t[room]();
      if (grown == nullptr) return -1;
      delete[] states;
      states = grown;
      state_room = room;
    }
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

  // Make room for everything before changing anything, so that running
  // out of memory leaves the object as it was.
  std::vector<PieceRef>& refs = tables->refs;
  try {
    if (refs.capacity() - refs.size() < BLURSTRNODE::MAX_PIECES) {
      refs.reserve(2 * refs.capacity() + BLURSTRNODE::MAX_PIECES);
    }
    if (!tables->index.Reserve(k->piece_count, k->length) ||
        !tables->keys.Reserve()) {
      FreeKey(k);
      return -1;
    }
  } catch (const std::bad_alloc&) {
    FreeKey(k);
    return -1;
  }

  tables->keys.Insert(k);
  k->index = next_index++;
  k->next = keys;
  keys = k;
  ++key_count;
  const bool always = k->type == BLURSTRNODE::TYPE_ANY || k->piece_count == 1;
  for (int i = 0; i < k->piece_count; ++i) {
    const uint32_t ref = static_cast<uint32_t>(refs.size());
    refs.push_back(PieceRef{
        value, k->index, static_cast<uint8_t>(i), static_cast<uint8_t>(k->type),
        static_cast<uint8_t>(k->piece_count), static_cast<uint8_t>(always)});
    // A search reads the value of a piece that always satisfies its key
    // from the index (see FindAllEx).
    tables->index.Add(
        reinterpret_cast<const uint8_t*>(k->buffer + k->piece_offsets[i]),
        static_cast<uint32_t>(k->piece_lengths[i]), ref,
        static_cast<uint32_t>(value), !always);
    if (k->piece_lengths[i] == 1) has_single_byte = 1;
  }
  return 0;
}

int blurstrfind::FitClue(int32_t type, int32_t piece_count, int32_t state,
                         uint32_t piece) {
  if (type == BLURSTRNODE::TYPE_ANY) return 1;
  uint32_t& s = states[state];
  if (type == BLURSTRNODE::TYPE_ORDERED && piece > 0 &&
      (s & (1u << (piece - 1))) == 0) {
    return 0;
  }
  s |= 1u << piece;
  if (s == (1u << piece_count) - 1) {
    s = 0;
    return 1;
  }
  return 0;
}

int blurstrfind::Offer(uint32_t ref, CDataArray& out, bool* progressed) {
  const PieceRef& r = tables->refs[ref];
  if (r.always || FitClue(r.type, r.piece_count, r.state, r.piece) == 1) {
    out.Add(static_cast<uint64_t>(static_cast<int64_t>(r.value)));
    return 1;
  }
  *progressed = true;
  return 0;
}

void blurstrfind::ClearProgress() {
  if (states != nullptr && next_index > 0) {
    memset(states, 0, sizeof(uint32_t) * next_index);
  }
}

int blurstrfind::FindAllEx(const char* text, int length, CDataArray& out) {
  if (text == nullptr || length < 2 || tables == nullptr) return 0;
  int found = 0;
  bool progressed = false;
  auto offer = [this, &out, &found, &progressed](uint32_t ref) {
    found += Offer(ref, out, &progressed);
    return true;
  };
  // At each position the pieces of two bytes or more come first, newest
  // first, then the one-byte pieces; the last byte starts no match.
  PieceIndex& index = tables->index;
  index.Scan(reinterpret_cast<const uint8_t*>(text),
             static_cast<uint64_t>(length), static_cast<uint64_t>(length - 1),
             [&index, &offer, &out, &found](uint64_t, PieceIndex::Run* runs,
                                            size_t count) {
               const size_t ones = runs[0].length == 1 ? 1 : 0;
               if (AppendPlain(index, runs, count, ones, out)) {
                 found += static_cast<int>(count);
                 return true;
               }
               if (count > ones)
                 index.ForEachRef(runs + ones, count - ones, offer);
               if (ones != 0) index.ForEachRef(runs, 1, offer);
               return true;
             });
  if (progressed) ClearProgress();
  return found;
}

int blurstrfind::FindNumEx(const char* text, int length, CDataArray& out) {
  if (text == nullptr || length < 1 || tables == nullptr) return 0;
  int found = 0;
  bool progressed = false;
  PieceIndex& index = tables->index;
  index.Lookup(reinterpret_cast<const uint8_t*>(text),
               static_cast<uint64_t>(length), true,
               [&](PieceIndex::Run* runs, size_t count) {
                 index.ForEachRef(runs, count, [&](uint32_t ref) {
                   found += Offer(ref, out, &progressed);
                   return true;
                 });
               });
  if (progressed) ClearProgress();
  return found;
}
