#!/usr/bin/env bash
# headers_test.sh SOURCE-FOLDER: each public header compiles alone, as C++17 and as C++20, with g++ and with clang++.
set -euo pipefail
cd "$1"

failed=0
for header in {vexa,support,policy,db,config,live}/*.h; do
  case $header in *_internal.h) continue ;; esac
  if grep -qE '^#include ".*_internal\.h"' "$header"; then
    echo "$header includes a header that is not installed"
    failed=1
  fi
  if [[ $header == live/* ]] && g++ -std=c++17 -M -I. "$header" | grep -qE '/(sql|sqltypes|odbcinst)\.h|nlohmann|CLI/| host/'; then
    echo "$header shows what is behind it: ODBC, JSON, options or the rooms of host"
    failed=1
  fi
  for compiler in g++ clang++; do
    for standard in c++17 c++20; do
      echo "#include \"$header\"" | "$compiler" -std=$standard -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I. -x c++ - ||
        { echo "$header does not compile alone: $compiler -std=$standard"; failed=1; }
    done
  done
done
exit $failed
