#!/usr/bin/env bash
# Writes the policy object examples into examples/gateway/ as GBK, from the
# UTF-8 sources beside this script (kept UTF-8 so they can be edited).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out="$here/../../gateway"
mkdir -p "$out"
for f in ip_obj_mgr.xml time_obj_mgr.xml keytype_obj_mgr.xml \
         zone_obj_mgr.xml keywords.xml keywords.txt; do
  iconv -f UTF-8 -t GBK "$here/$f" > "$out/$f"
done
