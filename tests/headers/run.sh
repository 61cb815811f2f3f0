#!/usr/bin/env bash
# Compiles each installed public header alone: run.sh PREFIX BUILD_DIR JOBS
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
prefix=$1 build_dir=$2 jobs=$3

rm -rf "$build_dir"
cmake -S "$here" -B "$build_dir" -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$build_dir" -j"$jobs"

# Third-party types in a public header would tie every application to our versions of those libraries.
if grep -rnE '#include *[<"](fastdds|fastrtps|fastcdr|google/protobuf|spdlog|fmt|boost|nlohmann|curl|norvik|ovimux)/' \
  "$prefix/include/norvik_sdk"; then
  echo "error: a public header includes a private dependency" >&2
  exit 1
fi
