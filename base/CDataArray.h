// A growable array of unsigned 64-bit values (numbers, or pointers held as
// numbers), in the order they were added.
//
// Storage grows by a fixed step chosen at construction, so a caller that
// knows its usual size avoids repeated reallocation; RemoveAll() empties
// the array but keeps its storage for the next round. Pointers into the
// array (GetData, operator[]) stay valid until the array grows or is freed.

#ifndef QUARN_BASE_CDATAARRAY_H_
#define QUARN_BASE_CDATAARRAY_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <vector>

class QUARN_EXPORT CDataArray {
 public:
  // Reserves room for `initial_capacity` values; the array grows by
  // `grow_by` values at a time (by doubling when `grow_by` is 0 or less).
  // CDataArray(0, 260) starts empty and grows 260 values at a time.
  explicit CDataArray(int initial_capacity = 0, int grow_by = 0);

  // Appends `value`; returns its index, or -1 when memory runs out.
  int Add(uint64_t value);

  int GetSize() const { return static_cast<int>(values_.size()); }
  bool IsEmpty() const { return values_.empty(); }
  int GetCapacity() const { return static_cast<int>(values_.capacity()); }

  // REQUIRES: 0 <= index < GetSize().
  uint64_t GetAt(int index) const { return values_[index]; }
  void SetAt(int index, uint64_t value) { values_[index] = value; }
  uint64_t& operator[](int index) { return values_[index]; }
  uint64_t operator[](int index) const { return values_[index]; }
  // The values in order; null when the array is empty.
  uint64_t* GetData() { return values_.empty() ? nullptr : values_.data(); }
  const uint64_t* GetData() const {
    return values_.empty() ? nullptr : values_.data();
  }

  // Sets the number of values; new ones are 0. False when memory runs out.
  bool SetSize(int size);
  // Empties the array and keeps its storage.
  void RemoveAll() { values_.clear(); }
  // Empties the array and releases its storage.
  void Free();

  // Sorts the values with a qsort-style `compare`, which receives pointers
  // to two elements (each a uint64_t, or a pointer stored in one).
  void Sort(int (*compare)(const void*, const void*));

 private:
  // Makes room for one more value by the growth rule.
  QUARN_HIDDEN bool Grow();

  std::vector<uint64_t> values_;
  int grow_by_;
};

#endif  // QUARN_BASE_CDATAARRAY_H_
