// The library's heap allocator for blocks that cross component boundaries
// (a block from MyMemAlloc must be released with MyMemFree, never free()).

#ifndef QUARN_BASE_ORVAMEM_H_
#define QUARN_BASE_ORVAMEM_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>

namespace Orva {

// Allocates `size` bytes; `source` and `line` name the caller for
// diagnostics. Returns null when memory runs out.
QUARN_EXPORT void* MyMemAlloc(size_t size, const char* source, int line);
// Releases a block from MyMemAlloc; null is allowed.
QUARN_EXPORT void MyMemFree(void* block);

}  // namespace Orva

#endif  // QUARN_BASE_ORVAMEM_H_
