#!/usr/bin/env bash
# Sets everything up and runs the whole test suite.
#   scripts/test.sh              g++ build in build/, warnings as errors
#   scripts/test.sh --sanitize   clang build with AddressSanitizer and
#                                UndefinedBehaviorSanitizer in build-asan/
#   scripts/test.sh --thread     clang build with ThreadSanitizer in
#                                build-tsan/, running the tests that share
#                                stores between threads
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ "${1:-}" = "--sanitize" ]; then
  build="$root/build-asan"
  "$root/scripts/setup.sh" "$build" -DQUARN_SANITIZE=ON \
    -DQUARN_WERROR=ON -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++-14
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
elif [ "${1:-}" = "--thread" ]; then
  build="$root/build-tsan"
  "$root/scripts/setup.sh" "$build" -DQUARN_TSAN=ON -DQUARN_WERROR=ON \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++-14 \
    -DQUARN_BUILD_TOOLS=OFF -DQUARN_ONLY_TESTS=employee
  export TSAN_OPTIONS=halt_on_error=1
  exec ctest --test-dir "$build" --output-on-failure -R Threads
else
  build="$root/build"
  "$root/scripts/setup.sh" "$build" -DQUARN_WERROR=ON
fi
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"
