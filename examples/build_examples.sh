#!/usr/bin/env bash
# Rebuilds the GBK example files from their UTF-8 sources in examples/src:
# src/proto_tree.xml goes to pat/, every XML or text file in a folder of
# src/ goes to gateway/. The library reads GBK; the sources stay UTF-8 so
# they can be edited.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
iconv -f UTF-8 -t GBK "$here/src/proto_tree.xml" > "$here/pat/proto_tree.xml"
mkdir -p "$here/gateway"
for f in "$here"/src/*/*.xml "$here"/src/*/*.txt; do
  [ -e "$f" ] || continue
  iconv -f UTF-8 -t GBK "$f" > "$here/gateway/$(basename "$f")"
done
