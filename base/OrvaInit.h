// Start and stop of the base layer. Counted: only the first init and the
// last fini do work. Call from one thread.

#ifndef QUARN_BASE_ORVAINIT_H_
#define QUARN_BASE_ORVAINIT_H_

#include "quarn_common/base/Export.h"

namespace Orva {

// Starts the base layer: makes sure ACE's object manager is up, so that
// process-wide instances are registered for release at process exit.
// `flags` is reserved and must be 0. Returns 0.
QUARN_EXPORT int init(int flags);
// Stops the base layer. Process-wide instances are not released: they live
// until process exit or their own close(). Returns 0.
QUARN_EXPORT int fini(int flags);
// Whether the base layer is started.
QUARN_EXPORT bool is_started();

}  // namespace Orva

#endif  // QUARN_BASE_ORVAINIT_H_
