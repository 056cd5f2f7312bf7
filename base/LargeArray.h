// Memory for the large, long-lived arrays of the lookup tables.
//
// A table of a few megabytes looked up at random misses the TLB on almost
// every access when it sits in 4 KiB pages. Arrays of kLargeArrayBytes or
// more are therefore placed in their own mapping, aligned to and rounded up
// to 2 MiB, which the kernel is asked to back with huge pages (it does when
// transparent huge pages are "always" or "madvise"; otherwise the advice is
// ignored and the array is ordinary memory). Smaller arrays come from the
// heap. The price is up to 2 MiB of address space per large array.

#ifndef QUARN_BASE_LARGEARRAY_H_
#define QUARN_BASE_LARGEARRAY_H_

#include <stddef.h>

#include <new>

namespace Orva {

const size_t kLargeArrayBytes = size_t{1} << 20;

// Returns `bytes` of memory aligned to at least 16 bytes, or null when
// memory runs out. Release it with FreeLargeArray and the same `bytes`.
void* AllocateLargeArray(size_t bytes);
void FreeLargeArray(void* block, size_t bytes);

// A standard allocator over AllocateLargeArray, for std::vector.
template <typename T>
struct LargeArrayAllocator {
  typedef T value_type;
  static_assert(alignof(T) <= 16, "arrays are aligned to 16 bytes");

  LargeArrayAllocator() = default;
  template <typename U>
  LargeArrayAllocator(const LargeArrayAllocator<U>&) {}

  T* allocate(size_t n) {
    if (n > static_cast<size_t>(-1) / sizeof(T)) throw std::bad_alloc();
    void* block = AllocateLargeArray(n * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, size_t n) { FreeLargeArray(block, n * sizeof(T)); }
};

template <typename T, typename U>
bool operator==(const LargeArrayAllocator<T>&, const LargeArrayAllocator<U>&) {
  return true;
}
template <typename T, typename U>
bool operator!=(const LargeArrayAllocator<T>&, const LargeArrayAllocator<U>&) {
  return false;
}

}  // namespace Orva

#endif  // QUARN_BASE_LARGEARRAY_H_
