#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST: the library exports the names of LIST (demangled, sorted) and no others.
set -euo pipefail

nm --dynamic --defined-only --demangle "$1" | cut -d' ' -f3- | sort -u | LC_ALL=C sort |
  diff -u --label "the list" --label "the library" "$2" -
