// The library's exception boundary. Nothing the library calls may throw
// into a host: TinyXML and the standard containers report memory
// exhaustion with std::bad_alloc, so every entry point that loads, saves or
// builds runs its body through Guarded() and turns any exception into the
// entry point's own failure value.

#ifndef QUARN_BASE_INTERNAL_NOTHROW_H_
#define QUARN_BASE_INTERNAL_NOTHROW_H_

#include <utility>

namespace quarn_guard {

// Runs `body` and returns its result, or `on_failure` when it throws.
template <typename R, typename F>
R Guarded(R on_failure, F&& body) noexcept {
  try {
    return std::forward<F>(body)();
  } catch (...) {
    return on_failure;
  }
}

}  // namespace quarn_guard

#endif  // QUARN_BASE_INTERNAL_NOTHROW_H_
