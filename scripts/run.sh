#!/usr/bin/env bash
# Sets everything up and runs the quarn tool: scripts/run.sh apps
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" "$root/build" >/dev/null
exec "$root/build/tools/quarn" "${@:-apps}"
