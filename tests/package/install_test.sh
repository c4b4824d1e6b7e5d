#!/usr/bin/env bash
# install_test.sh SOURCE-FOLDER BUILD-FOLDER: installs into an empty folder, builds the example against what is there,
# through CMake and through pkg-config, and asks the sample database a question with both.
set -euo pipefail
source_folder=$1 build_folder=$2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
prefix=$folder/prefix

cmake --install "$build_folder" --prefix "$prefix" >/dev/null
started=$(sed -n 's/^ExecStart=//p' "$prefix/lib/systemd/system/zrpolicyd.service")
[ -x "$started" ] || { echo "the unit starts what is not there: $started"; exit 1; }

cmake -S "$source_folder/examples" -B "$folder/by-cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$folder/by-cmake" >/dev/null

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zrpolicy.pc)")
export PKG_CONFIG_PATH
mkdir "$folder/by-pkg-config"
read -ra flags <<<"$(pkg-config --cflags --libs zrpolicy)"
g++ -std=c++17 "$source_folder/examples/ask_one_question.cpp" -o "$folder/by-pkg-config/ask_one_question" "${flags[@]}" \
  -Wl,-rpath,"$(pkg-config --variable=libdir zrpolicy)"
read -ra flags <<<"$(pkg-config --cflags --libs zrlive)"
g++ -std=c++17 "$source_folder/examples/ask_live.cpp" -o "$folder/by-pkg-config/ask_live" "${flags[@]}" \
  -Wl,-rpath,"$(pkg-config --variable=libdir zrlive)"

"$prefix/bin/zrpolicy" init --sample --database "$folder/sample.db"
printf '[sample]\nDriver=SQLite3\nDatabase=%s\n' "$folder/sample.db" >"$folder/odbc.ini"
for way in by-cmake by-pkg-config; do
  answer=$(ODBCINI=$folder/odbc.ini "$folder/$way/ask_one_question" sample john@example.org)
  echo "$answer"
  first=$("$prefix/bin/zrpolicy" lookup --database "$folder/sample.db" --user john@example.org --top --json |
    sed -E 's/.*"policy_name": ?"([^"]*)".*/\1/')
  live=$("$folder/$way/ask_live" "$folder/sample.db" john@example.org)
  for given in "$answer" "$live"; do
    [ "$(head -n 1 <<<"$given" | cut -f2)" = "$first" ] ||
      { echo "the host's first answer and the command's differ: $first"; exit 1; }
  done
done
