#!/usr/bin/env bash
# check_exports.sh LIBRARY EXPECTED: compares the symbol families LIBRARY
# exports with the list in EXPECTED, checks that the C-linkage entry points
# are exported undecorated, and prints the number of exported symbols.
set -euo pipefail
lib=$1 expected=$2
here=$(cd "$(dirname "$0")" && pwd)
actual=$("$here/export_families.sh" "$lib" | awk '{ print $1 }')
listed=$(grep -v '^#' "$expected" | sed 's/^?//' | sort)
required=$(grep -v '^[#?]' "$expected" | sort)
unexpected=$(comm -23 <(echo "$actual") <(echo "$listed"))
missing=$(comm -13 <(echo "$actual") <(echo "$required"))
status=0
if [ -n "$unexpected" ]; then
  echo "exported but not listed in $expected:" >&2
  echo "$unexpected" | sed 's/^/  /' >&2
  status=1
fi
if [ -n "$missing" ]; then
  echo "listed in $expected but not exported:" >&2
  echo "$missing" | sed 's/^/  /' >&2
  status=1
fi
names=$(nm -D --defined-only "$lib" | awk '{ print $3 }')
for name in IntExpressToCondition SizeExpressToCondition \
            TimeExpressToCondition FileNameExpressToCondition \
            g_nAuditSavelevel g_pACE_Memmap_Log_Msg; do
  if ! grep -qx "$name" <<<"$names"; then
    echo "$name is not exported under its C name" >&2
    status=1
  fi
done
count=$(wc -l <<<"$names")
echo "exported symbols: $count in $(echo "$actual" | wc -l) families"
exit $status
