#include "base/COctets.h"

#include <string.h>

#include <new>

COctets::COctets() : data_(nullptr), length_(0), capacity_(0), owned_(false) {}

COctets::~COctets() { Empty(); }

COctets::COctets(const COctets& other) : COctets() { *this = other; }

COctets& COctets::operator=(const COctets& other) {
  if (this != &other) {
    Clear();
    Append(other.GetData(), other.length_);
  }
  return *this;
}

void COctets::Attach(char* buffer, size_t capacity) {
  Empty();
  if (buffer == nullptr || capacity == 0) return;
  data_ = buffer;
  capacity_ = capacity;
  data_[0] = '\0';
}

void COctets::Empty() {
  if (owned_) delete[] data_;
  data_ = nullptr;
  length_ = 0;
  capacity_ = 0;
  owned_ = false;
}

void COctets::Clear() {
  length_ = 0;
  if (data_ != nullptr) data_[0] = '\0';
}

bool COctets::Reallocate(size_t capacity) {
  char* fresh = new (std::nothrow) char[capacity];
  if (fresh == nullptr) return false;
  if (length_ > 0) memcpy(fresh, data_, length_);
  fresh[length_] = '\0';
  if (owned_) delete[] data_;
  data_ = fresh;
  capacity_ = capacity;
  owned_ = true;
  return true;
}

bool COctets::Reserve(size_t length) {
  if (length + 1 <= capacity_) return true;
  if (length + 1 == 0) return false;  // overflow
  return Reallocate(length + 1);
}

bool COctets::Append(const void* data, size_t length) {
  if (length == 0) return true;
  if (data == nullptr) return false;
  size_t needed = length_ + length + 1;
  if (needed < length_) return false;  // overflow
  const char* source = static_cast<const char*>(data);
  if (needed > capacity_) {
    // The source may lie in our own storage, which moving frees.
    bool inside =
        data_ != nullptr && source >= data_ && source < data_ + capacity_;
    size_t offset = inside ? static_cast<size_t>(source - data_) : 0;
    if (!Reallocate(needed * 2)) return false;
    if (inside) source = data_ + offset;
  }
  memmove(data_ + length_, source, length);
  length_ += length;
  data_[length_] = '\0';
  return true;
}

bool COctets::SetLength(size_t length) {
  if (length > length_) {
    if (!Reserve(length)) return false;
    memset(data_ + length_, 0, length - length_);
  }
  length_ = length;
  if (data_ != nullptr) data_[length_] = '\0';
  return true;
}
