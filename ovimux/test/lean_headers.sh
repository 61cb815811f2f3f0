#!/usr/bin/env bash
# The headers that every user of an endpoint reads reach neither Fast DDS nor Boost nor Protocol Buffers, each of which
# costs its readers seconds. Prints what they reach of them and fails.
#
#   lean_headers.sh COMPILER INCLUDE_DIR
set -euo pipefail
compiler=$1 include_dir=$2
headers=(ovimux/node.hpp ovimux/ovimux.hpp ovimux/dds/service_server_base.hpp ovimux/core/shared_mutex.hpp)

reached=$(for header in "${headers[@]}"; do printf '#include "%s"\n' "$header"; done |
  "$compiler" -std=c++17 -M -I"$include_dir" -x c++ - | tr ' ' '\n')
grep -q 'ovimux/node\.hpp$' <<<"$reached" || { echo "the compiler listed no headers" >&2; exit 1; }
if grep -E '/(fastdds|fastrtps|fastcdr|boost|google/protobuf)/' <<<"$reached"; then
  echo "reached by ${headers[*]}" >&2
  exit 1
fi
