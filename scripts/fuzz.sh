#!/usr/bin/env bash
# Builds the fuzzers (preset fuzz; needs clang and its runtime, Debian packages clang and libclang-rt-14-dev) and runs
# each of them for SECONDS (default 60). Fails when one of them finds something; what it found is kept in build/fuzz.
#
#   ./scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

seconds=${1:-60}
fuzzers=(fuzz_envelope fuzz_bulk fuzz_log_line fuzz_battery fuzz_volume fuzz_images fuzz_ultrasonic
  fuzz_camera_parameters fuzz_sensor_messages fuzz_planner_replies fuzz_navigation_replies fuzz_detection_result)
configure_preset fuzz >/dev/null
cmake --build build/fuzz -j"$(default_jobs)" --target "${fuzzers[@]}" >/dev/null

failures=0
for fuzzer in "${fuzzers[@]}"; do
  echo "==> $fuzzer, $seconds s"
  mkdir -p "build/fuzz/corpus/$fuzzer"
  "build/fuzz/bin/$fuzzer" -max_total_time="$seconds" -timeout=10 -artifact_prefix="build/fuzz/$fuzzer-" \
    "build/fuzz/corpus/$fuzzer" 2>&1 | grep -E '^(Done|==|SUMMARY|.*ERROR)' || true
  [ "${PIPESTATUS[0]}" -eq 0 ] || failures=$((failures + 1))
done
exit "$failures"
