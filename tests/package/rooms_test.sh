#!/usr/bin/env bash
# usage: rooms_test.sh SOURCE_FOLDER: an include that goes up, round, into the insides of another room, or from a new
# room that nobody placed is refused, with the file that has it.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

while read -r file include; do
  mkdir -p "$folder/$(dirname "$file")"
  echo "#include $include" >"$folder/$file"
  if output=$("$1/scripts/check-rooms" "$folder") || [[ $output != "$file: "* ]]; then
    echo "the include of $include in $file went through: $output" >&2
    exit 1
  fi
  rm "$folder/$file"
done <<'CASES'
host/ask/Planted.h "host/format/AnswerTable.h"
policy/Planted.cpp "host/base/HostError.h"
host/base/Planted.h "cli/exit_status.h"
host/load/Planted.cpp "host/database/PolicyDatabase.h"
cli/Planted.cpp "host/database/session_internal.h"
host/nowhere/Planted.h "host/base/HostError.h"
host/load/Planted.cpp <host/ask/Question.h>
host/load/Planted.cpp "policy/accessors_internal.h"
CASES
