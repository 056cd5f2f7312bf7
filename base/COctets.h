// A byte buffer that either owns its storage or writes into storage lent
// by the caller (Attach). The bytes are always followed by a zero byte
// that is not counted in the length, so text appended to it can be read
// as a C string.
//
// When an append does not fit, the buffer moves to storage of its own
// twice the needed size (copying what it holds); lent storage is then left
// alone and no longer used.

#ifndef QUARN_BASE_COCTETS_H_
#define QUARN_BASE_COCTETS_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>

class QUARN_EXPORT COctets {
 public:
  COctets();
  ~COctets();
  // Copies own their storage.
  COctets(const COctets& other);
  COctets& operator=(const COctets& other);

  // Writes into the caller's `buffer` of `capacity` bytes from now on; the
  // buffer must outlive this use. One byte goes to the terminating zero, so
  // it holds up to `capacity` - 1 bytes. The length becomes 0; owned
  // storage is released.
  void Attach(char* buffer, size_t capacity);

  // Length 0 and no storage: owned storage is released, lent storage
  // forgotten.
  void Empty();
  // Length 0; the storage is kept.
  void Clear();

  // Makes room for `length` bytes (plus the terminating zero). False when
  // memory runs out; the content is then unchanged.
  bool Reserve(size_t length);
  // Appends `length` bytes. False when memory runs out (nothing appended).
  bool Append(const void* data, size_t length);
  // Sets the length, keeping the first bytes; new bytes are zero.
  bool SetLength(size_t length);

  // The bytes, followed by a zero byte; "" (never null) while empty.
  // Valid until the next change.
  const char* GetData() const { return data_ != nullptr ? data_ : ""; }
  char* GetBuffer() { return data_; }
  size_t GetLength() const { return length_; }
  // Bytes that fit without growing (not counting the terminating zero).
  size_t GetCapacity() const { return capacity_ > 0 ? capacity_ - 1 : 0; }
  bool IsOwner() const { return owned_; }

 private:
  // Moves to owned storage of `capacity` bytes.
  QUARN_HIDDEN bool Reallocate(size_t capacity);

  char* data_;       // null when there is no storage
  size_t length_;    // bytes held
  size_t capacity_;  // bytes of storage, the terminating zero included
  bool owned_;       // whether data_ is ours to free
};

#endif  // QUARN_BASE_COCTETS_H_
