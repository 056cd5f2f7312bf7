#!/usr/bin/env bash
# Builds the fuzz targets (fuzz/*_fuzz.cc) with clang, the address and
# undefined-behaviour sanitizers and libFuzzer in build-fuzz/, and runs
# each for SECONDS seconds (default 15), one after the other, on one core.
# Prints one line per target with its executions and coverage; exits
# non-zero when any target finds something (crash, sanitizer report, leak,
# timeout, out of memory).
#   scripts/fuzz.sh            15 s per target, as CI runs it
#   scripts/fuzz.sh 60         longer, by hand
#   scripts/fuzz.sh 60 dns_fuzz config_fuzz    only the targets named
#
# Each target starts from the seeds fuzz/make_corpus.sh builds from
# examples/, the seeds kept in fuzz/corpus/<target>/, the reproducers kept
# in fuzz/regressions/<target>/ and the inputs that earlier runs found
# (build-fuzz/fuzz-corpus/<target>/, where new ones go). Findings go to
# build-fuzz/fuzz-artifacts/<target>/, full logs to build-fuzz/fuzz-logs/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-15}
shift || true
build="$root/build-fuzz"

"$root/scripts/setup.sh" "$build" -DQUARN_BUILD_FUZZ=ON \
  -DCMAKE_CXX_COMPILER=clang++-14 -DQUARN_BUILD_TESTS=OFF \
  -DQUARN_BUILD_TOOLS=OFF

"$root/fuzz/make_corpus.sh" "$build/fuzz-seeds"

# The loaders write and sync scratch files on every input; on a RAM file
# system that costs next to nothing.
scratch_base=/tmp
if [ -d /dev/shm ] && [ -w /dev/shm ]; then scratch_base=/dev/shm; fi
scratch=$(mktemp -d "$scratch_base/quarn_fuzz.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

# Largest input per target: room for its seeds, small enough to stay fast.
max_len_of() {
  case $1 in
    config_fuzz | proto_tree_fuzz) echo 8192 ;;
    filter_result_fuzz) echo 1024 ;;
    dynamic_info_fuzz) echo 2048 ;;
    *) echo 4096 ;;
  esac
}

if [ $# -gt 0 ]; then
  targets=("$@")
else
  targets=()
  for src in "$root"/fuzz/*_fuzz.cc; do
    targets+=("$(basename "$src" .cc)")
  done
fi

mkdir -p "$build/fuzz-logs"
failed=()
printf '%-22s %12s %9s %7s %7s  %s\n' target executions exec/s cov ft result
for t in "${targets[@]}"; do
  corpus="$build/fuzz-corpus/$t"
  artifacts="$build/fuzz-artifacts/$t"
  log="$build/fuzz-logs/$t.log"
  mkdir -p "$corpus" "$artifacts" "$build/fuzz-seeds/$t"
  dirs=("$corpus" "$build/fuzz-seeds/$t")
  for kept in "$root/fuzz/corpus/$t" "$root/fuzz/regressions/$t"; do
    if [ -d "$kept" ]; then dirs+=("$kept"); fi
  done
  status=0
  TMPDIR="$scratch" "$build/fuzz/$t" -max_total_time="$seconds" \
    -max_len="$(max_len_of "$t")" -rss_limit_mb=2048 -timeout=10 \
    -print_final_stats=1 -artifact_prefix="$artifacts/" "${dirs[@]}" \
    >"$log" 2>&1 || status=$?
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
  cov=$(grep -ao ' cov: [0-9]*' "$log" | tail -n 1 | tr -dc '0-9')
  ft=$(grep -ao ' ft: [0-9]*' "$log" | tail -n 1 | tr -dc '0-9')
  result=ok
  if [ "$status" -ne 0 ]; then
    result="FAILED (exit $status, see $log)"
    failed+=("$t")
  fi
  printf '%-22s %12s %9s %7s %7s  %s\n' "$t" "${execs:--}" "${speed:--}" \
    "${cov:--}" "${ft:--}" "$result"
  if [ "$status" -ne 0 ]; then
    grep -aE '^(SUMMARY|==[0-9]+==ERROR|fuzz check failed)|Test unit written' \
      "$log" | sed 's/^/    /' || true
  fi
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzzing found problems in: ${failed[*]}" >&2
  exit 1
fi
