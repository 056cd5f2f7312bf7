#!/usr/bin/env bash
# export_families.sh LIBRARY: the family of each symbol the shared library
# exports, one per line with its count: the class, namespace or function a
# symbol belongs to ("CIPObjMgr" for its members, typeinfo and vtable,
# "ACE_Singleton<CIPObjMgr>" for that instantiation's members, the name
# itself for a free function or variable). Read off the mangled names, so
# that a template function's return type never passes for its family.
set -euo pipefail
nm -D --defined-only "$1" | awk '{ print $3 }' | perl -ne '
  chomp; my $s = $_;
  if ($s !~ s/^_Z//) { print "$s\n"; next }   # a C name
  $s =~ s/^(TV|TI|TS|TT|GV|GR|TH|TW)//;       # vtable, typeinfo, guards
  $s =~ s/^Z//;                               # a local static: its function
  $s =~ s/^N[rVKO]*//;                        # a nested name, qualifiers
  if ($s =~ /^St/ || $s =~ /^S[a-z]/) { print "std\n"; next }
  if ($s !~ /^(\d+)/) { print "?$_\n"; next }
  my $name = substr($s, length($1), $1);
  my $rest = substr($s, length($1) + $1);
  if ($name eq "ACE_Singleton" && $rest =~ /^I(\d+)/) {
    $name .= "<" . substr($rest, 1 + length($1), $1) . ">";
  }
  print "$name\n";' | sort | uniq -c | awk '{ print $2, $1 }'
