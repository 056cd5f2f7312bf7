#!/bin/sh
# Sourced by the capture benchmark scripts.
#
# require_ndpi: stops the script when ndpiReader is not installed.
# prepare_capture_inputs BENCH WORK CAPTURES: writes the captures a
# benchmark runs on into WORK and sets $files to them: a synthetic capture
# of 1,000,000 packets written by capture_bench (BENCH), and the largest
# capture in CAPTURES (when that folder exists) repeated into one file of
# at least 1,000,000 packets twice: each copy with hosts of its own (many
# hosts doing what the capture's host did: every copy's flows are new), and
# with the same hosts in every copy (the capture's flows again and again,
# which a reader that keeps flows across idle gaps inspects only once).

require_ndpi() {
  if ! command -v ndpiReader >/dev/null 2>&1; then
    echo "ndpiReader not found: apt-get install libndpi-bin" >&2
    exit 1
  fi
}

prepare_capture_inputs() {
  "$1" --synthetic "$2/synthetic.pcap" 1000000
  files="$2/synthetic.pcap"
  if [ ! -d "$3" ]; then
    echo "no $3: the public captures are skipped"
    sync
    return 0
  fi
  largest=$(ls -S "$3"/*.pcap "$3"/*.pcapng 2>/dev/null | head -1)
  if [ -z "$largest" ]; then sync; return 0; fi
  packets=$("$1" --measure "$largest" |
    sed -n 's/.* x1: \([0-9]*\) packets.*/\1/p')
  times=$((1000000 / packets + 1))
  name=$(basename "$largest")
  "$1" --repeat "$largest" "$times" "$2/${name%.*}_x${times}_hosts.pcap"
  "$1" --repeat "$largest" "$times" "$2/${name%.*}_x${times}_same.pcap" \
    --same-hosts
  files="$files $2/${name%.*}_x${times}_hosts.pcap"
  files="$files $2/${name%.*}_x${times}_same.pcap"
  # The files just written are still being flushed to disk; timing while
  # the kernel writes a gigabyte back slows both sides.
  sync
}
