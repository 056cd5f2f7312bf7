#!/usr/bin/env bash
# Rebuilds the GBK example files from their UTF-8 sources in examples/src.
# The library reads GBK; the sources stay UTF-8 so they can be edited.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
iconv -f UTF-8 -t GBK "$here/src/proto_tree.xml" > "$here/pat/proto_tree.xml"
