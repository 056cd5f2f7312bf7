#!/usr/bin/env bash
# Sets everything up and runs the quarn tool, by default on the example
# connections: scripts/run.sh classify examples/connections.csv
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" "$root/build" >/dev/null
if [ $# -eq 0 ]; then
  set -- classify "$root/examples/connections.csv"
fi
exec "$root/build/tools/quarn" "$@"
