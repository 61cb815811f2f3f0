#!/usr/bin/env bash
# run_with_simulator.sh PROGRAM [ARGUMENT...]   runs PROGRAM against a simulated K2, and ends with its status
set -uo pipefail

ready=$(mktemp)
norvik_simulator --model k2 >"$ready" &
simulator=$!
trap 'kill "$simulator" 2>/dev/null; wait "$simulator" 2>/dev/null; rm -f "$ready"' EXIT

for _ in $(seq 200); do
  grep -q '^norvik_simulator ready' "$ready" && break
  kill -0 "$simulator" 2>/dev/null || { echo "the simulator ended early" >&2; exit 1; }
  sleep 0.05
done
"$@"
