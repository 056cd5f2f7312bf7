#!/bin/sh
# Packets per second of the quarn capture reader beside ndpiReader (Debian
# package libndpi-bin), in one run, on the same files, each pinned to one
# core:
#   - a synthetic capture of at least 1,000,000 packets written by
#     capture_bench;
#   - the largest capture in ../shared/captures/ (when that folder exists),
#     repeated into one file of at least 1,000,000 packets.
# Ours is the reader alone (capture_bench --measure, its own clock, file in
# the page cache); ndpiReader's is its own "Packet Processing Time" and its
# whole run (wall clock), output to /dev/null.
#
#   bench/peers/capture_ndpi.sh BUILD_DIR [CORE]
#
# BUILD_DIR is a build with tests/capture (target capture_bench) built.
set -eu

build=${1:?usage: capture_ndpi.sh BUILD_DIR [CORE]}
core=${2:-1}
bench=$build/tests/capture/capture_bench
here=$(cd "$(dirname "$0")" && pwd)
. "$here/capture_inputs.sh"
captures=$here/../../../shared/captures
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [ ! -x "$bench" ]; then
  echo "no $bench: build the capture_bench target first" >&2
  exit 1
fi
require_ndpi

prepare_capture_inputs "$bench" "$work" "$captures"

for file in $files; do
  cat "$file" >/dev/null  # into the page cache
  echo "== $(basename "$file")"
  ours=$(taskset -c "$core" "$bench" --measure "$file" | tail -1)
  echo "quarn:      $ours"
  packets=$(echo "$ours" | sed -n 's/.* x1: \([0-9]*\) packets.*/\1/p')
  ours_pps=$(echo "$ours" | sed -n 's/.*: \([0-9]*\) packets\/s$/\1/p')
  start=$(date +%s.%N)
  taskset -c "$core" ndpiReader -i "$file" -v 0 >"$work/ndpi.txt" 2>&1
  end=$(date +%s.%N)
  ms=$(sed -n 's/.*Packet Processing Time: *\([0-9]*\) msec.*/\1/p' "$work/ndpi.txt")
  awk -v n="$packets" -v ms="$ms" -v s="$start" -v e="$end" -v ours="$ours_pps" 'BEGIN {
    pps = n / (ms / 1000); wall = n / (e - s);
    printf "ndpiReader: %d packets: processing %d ms: %.0f packets/s; whole run %.3f s: %.0f packets/s\n", n, ms, pps, e - s, wall;
    printf "ratio:      %.1fx its processing rate, %.1fx its whole run\n", ours / pps, ours / wall }'
done
