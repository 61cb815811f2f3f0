#!/usr/bin/env bash
# Shows that check_rooms.sh finds each fault it is there for, in a small tree of its own.
set -euo pipefail
check=$(dirname "$(realpath "$0")")/check_rooms.sh
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree"/{schema,low,high/src}
echo 'message A {}' >"$tree/schema/a.proto"
echo '#include "schema/a.pb.h"' >"$tree/low/low.hpp"
printf '#include <vector>\n#include "low/low.hpp"\n#include "local.hpp"\n' >"$tree/high/src/high.cpp"
touch "$tree/high/src/local.hpp"
printf 'schema schemas :\nlow low : schemas\nhigh high : low\n' >"$tree/rooms.txt"

# expect WHAT TEXT: the tree as it stands now draws exactly one complaint, with TEXT in it; none where TEXT is empty.
failed=0
expect() {
  local status=0 output
  output=$("$check" "$tree" "$tree/rooms.txt") || status=$?
  if [[ $output != *"$2"* ]] || [ "$(grep -c . <<<"$output")" -ne "$status" ]; then
    echo "$1: expected '$2', status $status, got: $output"
    failed=1
  fi
}

expect 'a good tree' ''
echo '#include "high/src/local.hpp"' >>"$tree/low/low.hpp"
expect 'an arrow back' 'low/low.hpp:2: low must not include high (high/src/local.hpp)'
sed -i 2d "$tree/low/low.hpp"
echo '#include "a.pb.h"' >>"$tree/high/src/high.cpp"
expect 'an arrow that is not in the table' 'high/src/high.cpp:4: high must not include schemas (a.pb.h)'
sed -i 4d "$tree/high/src/high.cpp"
sed -i 's/^low low .*/low low : schemas high/' "$tree/rooms.txt"
expect 'a circle' 'low names high, which no row above it has'
sed -i 's/^low low .*/low low : */' "$tree/rooms.txt"
expect 'all rooms above' ''
echo 'gone gone :' >>"$tree/rooms.txt"
expect 'a row without a folder' 'no folder gone'
sed -i '$d' "$tree/rooms.txt"
mkdir "$tree/stray" && touch "$tree/stray/stray.hpp"
expect 'a file in no room' 'stray/stray.hpp: stands in no room'
rm -r "$tree/stray"
touch "$tree"/low/{1..25}.hpp
expect 'a corridor' 'low: more than 25 files'
exit "$failed"
