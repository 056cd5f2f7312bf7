#include "base/OrvaMem.h"

#include <stdlib.h>

namespace Orva {

// The source and line tags are kept in the signature so call sites stay
// self-describing; a leak tracker can be added here without touching them.
void* MyMemAlloc(size_t size, const char* /*source*/, int /*line*/) {
  return malloc(size == 0 ? 1 : size);
}

void MyMemFree(void* block) { free(block); }

}  // namespace Orva
