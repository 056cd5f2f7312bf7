#!/bin/sh
# Agreement of `quarn classify` on packet captures with ndpiReader (Debian
# package libndpi-bin): on each capture in ../shared/captures/ (skipped when
# that folder is absent), the IPv4 TCP and UDP flows each finds (by
# transport and the two ends, in either order) and the host names they give
# them: HTTP Host and TLS server name for TCP, the query name for DNS.
#
#   bench/peers/capture_agreement.sh BUILD_DIR [CAPTURE...]
#
# BUILD_DIR is a build with the quarn tool built. Per file, one line:
# flows found by both, by quarn only, by ndpiReader only; of the flows both
# found with a name from either, names equal, different, quarn only,
# ndpiReader only. With AGREEMENT_DETAILS=1 every difference is listed.
set -eu

build=${1:?usage: capture_agreement.sh BUILD_DIR [CAPTURE...]}
shift
quarn=$build/tools/quarn
here=$(cd "$(dirname "$0")" && pwd)
. "$here/capture_inputs.sh"
captures=$here/../../../shared/captures
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [ ! -x "$quarn" ]; then
  echo "no $quarn: build the quarn target first" >&2
  exit 1
fi
require_ndpi
if [ $# -eq 0 ]; then
  if [ ! -d "$captures" ]; then
    echo "no $captures: nothing to compare"
    exit 0
  fi
  set -- $(ls "$captures"/*.pcap "$captures"/*.pcapng 2>/dev/null)
fi

export QUARN_MODULE_DIR=${QUARN_MODULE_DIR:-$here/../../examples}
printf '%-38s %6s %6s %6s | %6s %6s %6s %6s\n' file both quarn ndpi \
  same differ quarn ndpi
for file in "$@"; do
  "$quarn" classify "$file" >"$work/quarn.json" 2>"$work/quarn.err" || true
  ndpiReader -i "$file" -v 2 >"$work/ndpi.txt" 2>&1 || true
  python3 - "$file" "$work/quarn.json" "$work/ndpi.txt" <<'PY'
import collections, json, os, re, sys

name, ours_path, theirs_path = sys.argv[1:4]
details = os.environ.get("AGREEMENT_DETAILS") == "1"

def key(proto, a, b):
    return (proto,) + tuple(sorted([a, b]))

ours = collections.defaultdict(list)
for line in open(ours_path, encoding="utf-8"):
    o = json.loads(line)
    proto = o["transport"].upper()
    f = o["flow"]
    host = f["host"] if f["name_source"] in ("http", "sni") else None
    a, b = o["first"], o["second"]
    if f["name_source"] == "dns" and (a.endswith(":53") or b.endswith(":53")):
        host = f["host"]
    ours[key(proto, a, b)].append(host)

theirs = collections.defaultdict(list)
flow = re.compile(r"^\s+\d+\s+(TCP|UDP) ([0-9.]+:\d+) <?-> ([0-9.]+:\d+) (.*)$")
for line in open(theirs_path, encoding="utf-8", errors="replace"):
    m = flow.match(line)
    if not m:
        continue
    h = re.search(r"\[Hostname/SNI: ([^\]]*)\]", m.group(4))
    host = h.group(1) if h and h.group(1) else None
    theirs[key(m.group(1), m.group(2), m.group(3))].append(host)

both = only_ours = only_theirs = 0
same = differ = name_ours = name_theirs = 0
for k in sorted(set(ours) | set(theirs)):
    a, b = ours.get(k, []), theirs.get(k, [])
    n = min(len(a), len(b))
    both += n
    only_ours += len(a) - n
    only_theirs += len(b) - n
    if len(a) != len(b) and details:
        print("  flows %s: quarn %d, ndpiReader %d" % (k, len(a), len(b)))
    for x, y in zip(a, b):
        x = x.lower() if x else None
        y = y.lower() if y else None
        if x is None and y is None:
            continue
        if x == y:
            same += 1
            continue
        if x is None:
            name_theirs += 1
        elif y is None:
            name_ours += 1
        else:
            differ += 1
        if details:
            print("  name %s: quarn %s, ndpiReader %s" % (k, x, y))
print("%-38s %6d %6d %6d | %6d %6d %6d %6d" % (
    os.path.basename(name)[:38], both, only_ours, only_theirs,
    same, differ, name_ours, name_theirs))
PY
done
