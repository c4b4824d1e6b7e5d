#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST: the library exports the names of LIST (demangled, sorted) and no others.
set -euo pipefail

nm --dynamic --defined-only --demangle "$1" | cut -d' ' -f3- | sort -u | LC_ALL=C sort |
  diff -u --label "the list" --label "the library" "$2" -

# Beyond one page a thread's first thrown text costs more than it says (support/thrown_text_internal.h).
block=$(readelf --program-headers --wide "$1" | awk '$1 == "TLS" { print $6 }')
[ $((block)) -le 4096 ] || { echo "the block of thread-local storage takes $((block)) bytes"; exit 1; }
