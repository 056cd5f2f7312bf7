#!/usr/bin/env bash
# Builds the seed corpus of the fuzz targets from the example data, into
# OUT/<target>/ (default: build-fuzz/fuzz-seeds). Seeds stay small: whole
# example documents of a few kilobytes, excerpts of the large ones, and
# binary inputs assembled from example values in each target's input
# layout (described at the top of its source).
#   fuzz/make_corpus.sh [OUT]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-"$root/build-fuzz/fuzz-seeds"}
ex="$root/examples"
gw="$ex/gateway"

rm -rf "$out"
# seed TARGET NAME: stores standard input as OUT/TARGET/NAME.
seed() {
  mkdir -p "$out/$1"
  cat >"$out/$1/$2"
}
# byte N...: the bytes of the given values.
byte() {
  local n
  for n in "$@"; do printf "\\x$(printf '%02x' "$n")"; done
}
# le16 N: N as two bytes, little-endian.
le16() { byte $(($1 & 255)) $((($1 >> 8) & 255)); }
# element NAME FILE: the first element NAME of FILE, with what it holds.
element() { sed -n "/<$1[ >]/,/<\/$1>/p" "$2"; }
# url_excerpt: the first categories of the system URL database, closed.
url_excerpt() {
  head -n 30 "$ex/url/sys_url.xml"
  printf '    </url_type>\n  </url_db>\n</sys_url>\n'
}

# config_fuzz: the class index byte, then the class's document.
i=0
for doc in arp_protect ctrl_status tb_employee_auth_account \
           fetch_ipmac_inl3switch fetch_macport_inswitch ip_obj_mgr \
           keytype_obj_mgr user_url user_url time_obj_mgr white_url \
           zone_obj_mgr audit_filter_policy organization user_def_app \
           user_def_app; do
  if [ "$doc" = fetch_ipmac_inl3switch ]; then
    { byte $i; element fetch_ipmac_inl3switch "$gw/organization.xml"; } |
      seed config_fuzz "$i-$doc"
  else
    { byte $i; cat "$gw/$doc.xml"; } | seed config_fuzz "$i-$doc"
  fi
  i=$((i + 1))
done
{ byte 8; url_excerpt; } | seed config_fuzz 8-sys_url

# employee_info_fuzz: the table; one byte longer turns the MAC index on.
seed employee_info_fuzz tb_employee <"$gw/tb_employee.xml"
{ cat "$gw/tb_employee.xml"; echo; } | seed employee_info_fuzz tb_employee_mac

# keytype_table_fuzz: even first byte for XML, odd for the text form.
{ byte 0; cat "$gw/keywords.xml"; } | seed keytype_table_fuzz keywords_xml
{ byte 1; cat "$gw/keywords.txt"; } | seed keytype_table_fuzz keywords_txt

# proto_tree_fuzz: the example tree.
seed proto_tree_fuzz proto_tree <"$ex/pat/proto_tree.xml"

# url_finder_fuzz: mode byte (+8 keeps pattern texts, +4 loads the
# administrator's patterns), then the database.
{ byte 8; url_excerpt; } | seed url_finder_fuzz sys_xml
{ byte 10; url_excerpt; } | seed url_finder_fuzz sys_enciphered
{ byte 15; cat "$gw/user_url.xml"; } | seed url_finder_fuzz user_xml

# dynamic_info_fuzz: flags (1 main file, 2 new file, 4 MAC index), the
# main file's length, the main file, the new file.
state="$gw/auth_center.dat"
size=$(wc -c <"$state")
{ byte 1; le16 "$size"; cat "$state"; } | seed dynamic_info_fuzz main
{ byte 5; le16 "$size"; cat "$state"; } | seed dynamic_info_fuzz main_mac
{ byte 2; le16 0; cat "$state"; } | seed dynamic_info_fuzz new_only
# A main file cut inside its second entry, and a whole new file.
{ byte 3; le16 50; head -c 50 "$state"; cat "$state"; } |
  seed dynamic_info_fuzz cut_main

# tcpdatapool_fuzz: threshold, first sequence number (4 bytes), then per
# segment its length, the step from the previous sequence number (16 bits,
# little-endian), the span's difference from the length, the payload. The
# payloads are lines of the example connections.
segments() {
  local order=$1 line n=0
  sed -n '2,7p' "$ex/connections.csv" | cut -c1-60 |
    if [ "$order" = reverse ]; then tac; else cat; fi |
    while IFS= read -r line; do
      if [ "$order" = reverse ]; then
        le16_step=$((65536 - 70))
      else
        le16_step=$((n == 0 ? 0 : 60))
      fi
      byte ${#line}
      le16 $le16_step
      byte 0
      printf '%s' "$line"
      n=$((n + 1))
    done
}
{ byte 0 0 0 0 100; segments forward; } | seed tcpdatapool_fuzz in_order
{ byte 5 255 255 255 200; segments reverse; } | seed tcpdatapool_fuzz reverse

# filter_result_fuzz: filter count, switches, ten bytes per filter (flags,
# source range and except range, destination range and except range,
# time, port, payload, two action bytes), then operations: 0-2 one kind
# (kind, five traffic bytes), 3 complete a kind, 4 clear, 5 every kind
# (five traffic bytes), 6 copy, 7 bind again.
{
  byte 3 0
  byte 1 48 129 0 0 0 0 0 8 5        # source 10.0.0.0-3 but not .1, stop
  byte 36 0 0 18 0 0 3 131 129 11    # destination and port, group 1
  byte 0 0 0 0 0 0 0 0 16 1          # unconditional, continue
  byte 0 0 2 2 1 3 3 1 1 0 2 3 3 3   # kinds 0, 1 and 3
  byte 5 1 3 2 3 3 4 6 5 2 2 0 0 0 7
} | seed filter_result_fuzz address_policy
{
  byte 2 1
  byte 16 0 0 0 0 1 0 128 2 2        # time 1 and payload 0, group 2
  byte 0 0 0 0 0 2 0 194 130 7       # time 2, no payload 2, event
  byte 0 2 0 0 1 0 0 1 4 0 0 0 1 1   # time, payload piece
  byte 1 4 0 0 0 0 0 131 4 6 4 5 0 0 2 1 0
} | seed filter_result_fuzz column_kind

# Targets older than this corpus: keys and text for the fuzzy search, and
# example lines for the base parsers.
{ tr -d ',01' <"$gw/keywords.txt"; printf '=\n'; head -c 600 "$ex/connections.csv"; } |
  seed blurstrfind_fuzz keywords
head -c 600 "$ex/connections.csv" | seed base_parsers_fuzz connections
