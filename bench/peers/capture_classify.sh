#!/bin/sh
# Packets per second of the whole `quarn classify` on a capture (read,
# flows, names, classifier, policy and JSON written to a file) beside
# ndpiReader (Debian package libndpi-bin), in one run, on the same files,
# each pinned to one core, each file in the page cache first:
#   - a synthetic capture of at least 1,000,000 packets written by
#     capture_bench;
#   - the largest capture in ../shared/captures/ (when that folder exists),
#     repeated into one file of at least 1,000,000 packets.
# quarn's rate is its run's wall clock (the summary's own rate, from the
# first packet read to the last flow written, is shown too); ndpiReader's
# is its whole run, output to /dev/null. Each side runs CAPTURE_ROUNDS
# times (default 3), in turns, and keeps its fastest run.
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
# Seconds of the faster of `rounds` runs of the command given, alternating
# with the other side's runs by the caller: single runs on these machines
# vary by half (the first run after the inputs are written most of all).
rounds=${CAPTURE_ROUNDS:-3}
for file in $files; do
  cat "$file" >/dev/null
  echo "== $(basename "$file")"
  best=""
  nbest=""
  i=0
  while [ "$i" -lt "$rounds" ]; do
    start=$(now)
    taskset -c "$core" "$quarn" classify "$file" >"$work/out.json" \
      2>"$work/quarn.err" || true
    end=$(now)
    t=$(echo "$end $start" | awk '{ printf "%.6f", $1 - $2 }')
    if [ -z "$best" ] || awk -v a="$t" -v b="$best" 'BEGIN { exit !(a < b) }'; then
      best=$t
      summary=$(tail -1 "$work/quarn.err")
    fi
    nstart=$(now)
    taskset -c "$core" ndpiReader -i "$file" -v 0 >/dev/null 2>&1 || true
    nend=$(now)
    t=$(echo "$nend $nstart" | awk '{ printf "%.6f", $1 - $2 }')
    if [ -z "$nbest" ] || awk -v a="$t" -v b="$nbest" 'BEGIN { exit !(a < b) }'; then
      nbest=$t
    fi
    i=$((i + 1))
  done
  packets=$(echo "$summary" | sed -n 's/.* from \([0-9]*\) packets.*/\1/p')
  flows=$(echo "$summary" | sed -n 's/quarn: \([0-9]*\) flows.*/\1/p')
  ours=$(echo "$summary" | sed -n 's/.*(\([0-9]*\) packets\/s).*/\1/p')
  awk -v n="$packets" -v f="$flows" -v q="$best" -v p="$nbest" \
      -v own="$ours" -v r="$rounds" 'BEGIN {
    printf "quarn:      %d packets, %d flows: %.3f s: %.0f packets/s (own clock %d), best of %d\n", n, f, q, n / q, own, r;
    printf "ndpiReader: %d packets: %.3f s: %.0f packets/s, best of %d\n", n, p, n / p, r;
    printf "ratio:      %.2fx\n", p / q }'
done
