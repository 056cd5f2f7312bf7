#include "base/CDataArray.h"

#include <stdlib.h>

#include <new>

CDataArray::CDataArray(int initial_capacity, int grow_by) : grow_by_(grow_by) {
  if (initial_capacity > 0) {
    try {
      values_.reserve(static_cast<size_t>(initial_capacity));
    } catch (const std::bad_alloc&) {
      // Start without storage; Add() tries again.
    }
  }
}

bool CDataArray::Grow() {
  size_t capacity = values_.capacity();
  size_t step = grow_by_ > 0 ? static_cast<size_t>(grow_by_)
                             : (capacity > 0 ? capacity : 4);
  try {
    values_.reserve(capacity + step);
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

int CDataArray::Add(uint64_t value) {
  if (values_.size() == values_.capacity() && !Grow()) return -1;
  values_.push_back(value);
  return static_cast<int>(values_.size() - 1);
}

bool CDataArray::SetSize(int size) {
  if (size < 0) size = 0;
  try {
    values_.resize(static_cast<size_t>(size), 0);
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

void CDataArray::Free() { std::vector<uint64_t>().swap(values_); }

void CDataArray::Sort(int (*compare)(const void*, const void*)) {
  if (values_.size() > 1 && compare != nullptr) {
    qsort(values_.data(), values_.size(), sizeof(uint64_t), compare);
  }
}
