#!/usr/bin/env bash
# run_with_simulator.sh [OPTION...] PROGRAM [ARGUMENT...]
#
# Runs PROGRAM against a simulated robot, and ends with its status.
#   --model NAME     the robot's model, k2 (default) or r5
#   --hand NAME      the hands of the robot, as norvik_simulator has them
#   --control JSON   a command that the simulator is to carry out first; may be repeated
set -uo pipefail

options=() commands=()
export NORVIK_MODEL=k2  # The examples read it.
while [[ ${1:-} == --* ]]; do
  case $1 in
    --model) NORVIK_MODEL=${2:?--model needs a name} ;;
    --hand) options+=(--hand "${2:?--hand needs a name}") ;;
    --control) commands+=("${2:?--control needs a command}") ;;
    *) echo "run_with_simulator.sh: unknown option $1" >&2; exit 2 ;;
  esac
  shift 2
done

ready=$(mktemp)
norvik_simulator --model "$NORVIK_MODEL" "${options[@]}" >"$ready" &
simulator=$!
trap 'kill "$simulator" 2>/dev/null; wait "$simulator" 2>/dev/null; rm -f "$ready"' EXIT

for _ in $(seq 200); do
  grep -q '^norvik_simulator ready' "$ready" && break
  kill -0 "$simulator" 2>/dev/null || { echo "the simulator ended early" >&2; exit 1; }
  sleep 0.05
done
for command in "${commands[@]}"; do
  norvik_simulator --control "$command" || exit 1
done
"$@"
