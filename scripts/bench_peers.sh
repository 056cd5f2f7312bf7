#!/usr/bin/env bash
# Runs the peer benchmarks and writes their table into bench/README.md.
#
#   scripts/bench_peers.sh
#
# Installs the peer libraries from Debian when missing (with apt-get, as
# root or through sudo), configures a Release build in build-bench/ with the
# benchmarks on and the tests off, builds every program of bench/peers whose
# peer was found, runs each pinned to one core, and writes bench/README.md
# with the rows they print. Touches neither build/ nor the tests.
#
# Environment: QUARN_BENCH_JOBS (build jobs, default 2), QUARN_BENCH_CPU
# (the core to pin to, default 1, or 0 on a one-core machine).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=scripts/install_packages.sh
. "$root/scripts/install_packages.sh"
build="$root/build-bench"
readme="$root/bench/README.md"
jobs=${QUARN_BENCH_JOBS:-2}
cpu=${QUARN_BENCH_CPU:-$([ "$(nproc)" -gt 1 ] && echo 1 || echo 0)}

# What building the library and its benchmarks needs, then the peers.
packages=(cmake ninja-build g++ pkg-config libace-dev libtinyxml-dev
          libbenchmark-dev
          libhyperscan-dev libmaxminddb-dev libmaxmind-db-writer-perl
          libabsl-dev libtins-dev wamerican)
install_packages "${packages[@]}"

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DQUARN_BUILD_BENCH=ON -DQUARN_BUILD_TESTS=OFF
mapfile -t programs < <(grep -v '^$' "$build/bench/peers/peer_programs.txt" || true)
if [ ${#programs[@]} -eq 0 ]; then
  echo "no peer benchmark could be built: no peer library found" >&2
  exit 1
fi
# The library first, so that a program that does not compile is left out
# alone.
cmake --build "$build" -j "$jobs" --target quarn_common quarn_reference_data
failed=()
declare -A unbuilt=()
for name in "${programs[@]}"; do
  if ! cmake --build "$build" -j "$jobs" --target "$name"; then
    failed+=("$name (build)")
    unbuilt[$name]=1
    echo "$name did not build" >&2
  fi
done

# Every program built from bench/peers/*.cc, in name order.
rows=$(mktemp)
log="$build/bench/peers/run.log"
trap 'rm -f "$rows"' EXIT
: > "$log"
ran=()
for src in "$root"/bench/peers/*.cc; do
  name=$(basename "$src" .cc)
  exe="$build/bench/peers/$name"
  [ -x "$exe" ] && [ -z "${unbuilt[$name]:-}" ] || continue
  echo "== $name (pinned to core $cpu)" | tee -a "$log" >&2
  if out=$(cd "$build/bench/peers" && taskset -c "$cpu" "$exe" 2>>"$log"); then
    ran+=("$name")
  else
    failed+=("$name")
    echo "$name failed; see $log" >&2
  fi
  printf '%s\n' "$out" | grep '^| ' | tee -a "$rows" >&2 || true
done

cxx=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")
cpu_model=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -1)
compiler=$("${cxx:-c++}" --version | head -1)

tmp="$readme.tmp"
{
  cat <<'INTRO'
# Benchmarks

Two kinds of programs live here. `*_bench.cc` are Google Benchmark
programs that time the library's hot paths on their own, built with
`-DQUARN_BUILD_BENCH=ON`. `peers/` holds one program per hot path that runs
the library beside a library a host might pick instead, on the same data:

| program | ours | peer |
|---|---|---|
| `address_maxminddb` | `GetIP_INTERNET_Range_Type_Level1` / `Level2` | libmaxminddb, on a .mmdb written from the same ranges by `peers/ranges_to_mmdb.pl` |
| `appid_abseil` | `CAppSubtypeReader::FindItemByAppid` | `absl::flat_hash_map` from id to item |
| `employee_abseil` | `CEmployeeInfoMgr::FindLastEmployeeByRunIP`, `FindByMAC` | `absl::flat_hash_map` from address to record |
| `keywords_hyperscan` | `CKeyTypeTable::TextMatch`, `blurstrfind::FindAllEx` | Hyperscan literal matching |
| `tcpdatapool_libtins` | `tcpdatapool` `Add` + `Merge` | libtins' `TCPIP::DataTracker` |
| `url_hyperscan` | `CURL_Type_Finder_Ex::find_url` | Hyperscan, with expressions that give the same categories |

Each program first checks that both sides give the same answers on every
input it times and stops if they do not; the comment at the top of each
program says what is compared and on which data. The URL rows compare
patterns of one piece (no `*`, `|` or `,` inside a pattern), for which
Hyperscan expressions can give exactly the finder's categories; both
example and synthetic patterns are all of that kind. The library never
depends on a peer: a program is built only when its peer is found.

`scripts/bench_peers.sh` installs the peers from Debian, builds in
`build-bench/`, runs every program pinned to one core and rewrites this
file. Each row gives the time per operation of both sides (the keyword
rows give throughput, and build times), measured in turns on the same
data, and the ratio peer time / our time: above 1, the library is faster.
The programs built on `peers/peer_common.h` time each side in samples of
about a millisecond and keep its fastest, the one least disturbed by other
work. All rows come from one run. Absolute times are noisy on these shared
virtual machines, memory-bound rows most; the ratios, measured side by
side, are what to compare.

INTRO
  echo "Machine: ${cpu_model:-unknown CPU}, $(nproc) cores, $compiler," \
       "$(date -u '+%Y-%m-%d %H:%M UTC'), pinned to core $cpu."
  echo
  echo "| hot path | data | ours | peer | peer's | ratio (peer time / ours) |"
  echo "|---|---|---|---|---|---|"
  cat "$rows"
  if [ ${#failed[@]} -gt 0 ]; then
    echo
    echo "Failed in this run (rows missing or incomplete): ${failed[*]}."
  fi
} > "$tmp"
mv "$tmp" "$readme"
echo "wrote $readme (${#ran[@]} programs)" >&2
[ ${#failed[@]} -eq 0 ]
