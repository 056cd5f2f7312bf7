#!/bin/sh
# Packets per second of the whole `quarn classify` on a capture (read,
# flows, names, classifier, policy and JSON written to a file) beside
# ndpiReader (Debian package libndpi-bin), in one run, on the same files,
# each pinned to one core, each file in the page cache first:
#   - a synthetic capture of at least 1,000,000 packets written by
#     capture_bench;
#   - the largest capture in ../shared/captures/ (when that folder exists),
#     repeated into one file of at least 1,000,000 packets.
# quarn's rate is its run's wall clock (the summary's own rate is shown
# too); ndpiReader's is its whole run, output to /dev/null.
#
#   bench/peers/capture_classify.sh BUILD_DIR [CORE]
#
# BUILD_DIR is a build with the quarn and capture_bench targets built.
set -eu

build=${1:?usage: capture_classify.sh BUILD_DIR [CORE]}
core=${2:-1}
quarn=$build/tools/quarn
bench=$build/tests/capture/capture_bench
here=$(cd "$(dirname "$0")" && pwd)
. "$here/capture_inputs.sh"
captures=$here/../../../shared/captures
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QUARN_MODULE_DIR=${QUARN_MODULE_DIR:-$here/../../examples}

for exe in "$quarn" "$bench"; do
  if [ ! -x "$exe" ]; then
    echo "no $exe: build the quarn and capture_bench targets first" >&2
    exit 1
  fi
done
require_ndpi

prepare_capture_inputs "$bench" "$work" "$captures"

now() { date +%s.%N; }
for file in $files; do
  cat "$file" >/dev/null
  echo "== $(basename "$file")"
  start=$(now)
  taskset -c "$core" "$quarn" classify "$file" >"$work/out.json" \
    2>"$work/quarn.err" || true
  end=$(now)
  summary=$(tail -1 "$work/quarn.err")
  packets=$(echo "$summary" | sed -n 's/.* from \([0-9]*\) packets.*/\1/p')
  flows=$(echo "$summary" | sed -n 's/quarn: \([0-9]*\) flows.*/\1/p')
  ours=$(echo "$summary" | sed -n 's/.*(\([0-9]*\) packets\/s).*/\1/p')
  nstart=$(now)
  taskset -c "$core" ndpiReader -i "$file" -v 0 >/dev/null 2>&1 || true
  nend=$(now)
  awk -v n="$packets" -v f="$flows" -v s="$start" -v e="$end" \
      -v ns="$nstart" -v ne="$nend" -v own="$ours" 'BEGIN {
    q = n / (e - s); p = n / (ne - ns);
    printf "quarn:      %d packets, %d flows: %.3f s: %.0f packets/s (own clock %d)\n", n, f, e - s, q, own;
    printf "ndpiReader: %d packets: %.3f s: %.0f packets/s\n", n, ne - ns, p;
    printf "ratio:      %.2fx\n", q / p }'
done
