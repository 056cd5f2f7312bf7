#!/usr/bin/env bash
# export_families.sh LIBRARY: the family of each symbol the shared library
# exports, one per line with its count: the class, namespace or function a
# symbol belongs to ("CIPObjMgr" for its members, typeinfo and vtable,
# "ACE_Singleton<CIPObjMgr>" for that instantiation's members, the name
# itself for a free function or variable).
set -euo pipefail
nm -DC --defined-only "$1" | cut -d' ' -f3- |
  sed -E 's/^(typeinfo name for|typeinfo for|vtable for|VTT for|guard variable for) //' |
  sed -E 's/^ACE_Singleton<([A-Za-z0-9_]+), ACE_Null_Mutex>.*/ACE_Singleton<\1>/; t
          s/^([A-Za-z_][A-Za-z_0-9]*).*/\1/' |
  sort | uniq -c | awk '{ print $2, $1 }'
