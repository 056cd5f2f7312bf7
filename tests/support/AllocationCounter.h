// Counts heap allocations made through operator new in a test binary, to
// show that a warm search or evaluation allocates nothing. A binary that
// includes this header also compiles tests/support/AllocationCounter.cc,
// which replaces every plain, array and nothrow form of operator new and
// delete for the whole binary.

#ifndef QUARN_TESTS_SUPPORT_ALLOCATIONCOUNTER_H_
#define QUARN_TESTS_SUPPORT_ALLOCATIONCOUNTER_H_

#include <stdint.h>

namespace quarn_test {

// Allocations made so far by this process through operator new.
uint64_t AllocationCount();

}  // namespace quarn_test

#endif  // QUARN_TESTS_SUPPORT_ALLOCATIONCOUNTER_H_
