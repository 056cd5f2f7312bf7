#include "base/LargeArray.h"

#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>

namespace Orva {

namespace {

const size_t kHugePage = size_t{2} << 20;

size_t RoundUp(size_t bytes) {
  return (bytes + kHugePage - 1) & ~(kHugePage - 1);
}

// Maps `length` bytes (a multiple of kHugePage) at an address aligned to
// kHugePage: maps one huge page more and unmaps the ends.
void* MapAligned(size_t length) {
  const size_t extra = length + kHugePage;
  void* raw = mmap(nullptr, extra, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  const uintptr_t start = reinterpret_cast<uintptr_t>(raw);
  const uintptr_t aligned = (start + kHugePage - 1) & ~(kHugePage - 1);
  if (aligned > start) munmap(raw, aligned - start);
  const uintptr_t end = aligned + length;
  const uintptr_t raw_end = start + extra;
  if (raw_end > end) munmap(reinterpret_cast<void*>(end), raw_end - end);
  return reinterpret_cast<void*>(aligned);
}

}  // namespace

void* AllocateLargeArray(size_t bytes) {
  if (bytes < kLargeArrayBytes) return malloc(bytes == 0 ? 1 : bytes);
  if (bytes > static_cast<size_t>(-1) - 2 * kHugePage) return nullptr;
  const size_t length = RoundUp(bytes);
  void* block = MapAligned(length);
  // Advice only: without transparent huge pages the mapping stays as it is.
  if (block != nullptr) madvise(block, length, MADV_HUGEPAGE);
  return block;
}

void FreeLargeArray(void* block, size_t bytes) {
  if (block == nullptr) return;
  if (bytes < kLargeArrayBytes) {
    free(block);
  } else {
    munmap(block, RoundUp(bytes));
  }
}

}  // namespace Orva
