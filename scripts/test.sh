#!/usr/bin/env bash
# Everything a change has to pass, from an empty folder: packages, format, build with -Werror, the installed package as an
# outside project sees it, and all tests.
#
#   ./scripts/test.sh [--preset release|asan|tsan|dev] [--jobs N]
#
# The sanitizer presets build and run the tests only. Full logs are kept in build/logs.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

preset=release
jobs=$(default_jobs)
while [ $# -gt 0 ]; do
  case "$1" in
    -h | --help) sed -n '2,/^set/{s/^# \{0,1\}//p}' "$0"; exit 0 ;;
    --preset) preset=${2:?--preset needs a name}; shift ;;
    --jobs | -j) jobs=${2:?--jobs needs a number}; shift ;;
    *) echo "test.sh: unknown option $1 (see --help)" >&2; exit 2 ;;
  esac
  shift
done

readonly build_dir=build/$preset log_dir=build/logs/$preset
readonly stage_dir=$PWD/build/stage/$preset
mkdir -p "$log_dir"

# ---- Phases: each is timed, has a log of its own, and a line in the summary ----

summary=()
failures=0

# phase NAME COMMAND...   the command's output goes to the log only, its end to the screen when it fails
phase() {
  local name=$1 log=$log_dir/$1.log start=$SECONDS
  shift
  echo "==> $name"
  "$@" >"$log" 2>&1
  finish_phase "$name" $? $((SECONDS - start)) "$log"
}

# live_phase NAME FILTER COMMAND...   as phase, but the output is also shown, through the filter
live_phase() {
  local name=$1 log=$log_dir/$1.log filter=$2 start=$SECONDS
  shift 2
  echo "==> $name"
  "$@" 2>&1 | tee "$log" | $filter
  finish_phase "$name" "${PIPESTATUS[0]}" $((SECONDS - start)) "$log" "$filter"
}

finish_phase() { # name code seconds log [filter]
  local outcome=passed
  if [ "$2" -ne 0 ]; then
    outcome=FAILED
    failures=$((failures + 1))
    [ "${5:-}" = cat ] || show_errors "$4"
  fi
  summary+=("$(printf '%-10s %-7s %5d s   %s' "$1" "$outcome" "$3" "$4")")
  return "$2"
}

show_errors() { # log
  echo "--- errors in $1"
  grep -E '(: error|: fatal|FAILED:|undefined reference|CMake Error|^E: |Error )' "$1" | head -20
  echo "--- its last lines"
  tail -15 "$1"
  echo "---"
}

finish() {
  echo
  echo "Summary ($preset, $((SECONDS / 60)) min $((SECONDS % 60)) s):"
  printf '  %s\n' "${summary[@]}"
  if [ "$failures" -eq 0 ]; then
    echo "All phases passed."
    exit 0
  fi
  echo "$failures of ${#summary[@]} phases failed."
  exit 1
}

# ---- What the phases run ----

install_stage() {
  rm -rf "$stage_dir"
  cmake --install "$build_dir" --prefix "$stage_dir"
}

# The examples as their reader would build them: a project of its own, which knows the installed package only.
run_examples() {
  rm -rf build/examples
  cmake -S examples -B build/examples -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$stage_dir" &&
    cmake --build build/examples -j"$jobs" &&
    PATH="$stage_dir/bin:$PATH" OVIMUX_LOCALHOST_ONLY=1 NORVIK_SDK_SKIP_VERSION_CHECK=1 \
      ctest --test-dir build/examples -j2 --output-on-failure --timeout 120
}

# The thread sanitizer of GCC 12 does not start on kernels that randomise addresses as widely as today's do.
without_address_randomisation() {
  if [ "$preset" = tsan ] && setarch "$(uname -m)" -R true 2>/dev/null; then
    setarch "$(uname -m)" -R "$@"
  else
    "$@"
  fi
}

run_tests() {
  # Fast DDS deletes some of its own objects through a base of another size; nothing else deletes like that.
  export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_stack_use_after_return=1:strict_string_checks=1:new_delete_type_mismatch=0}
  export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
  scripts/clean_shared_memory.sh
  without_address_randomisation \
    ctest --test-dir "$build_dir" -j2 --output-on-failure --no-tests=error --timeout 300
  local outcome=$?
  scripts/clean_shared_memory.sh >/dev/null  # The tests kill processes on purpose.
  return $outcome
}

# ---- The run ----

live_phase setup cat scripts/setup.sh build product simulator tests format || finish
phase format scripts/format.sh --check
phase configure configure_preset "$preset" || finish
live_phase build show_progress cmake --build "$build_dir" -j"$jobs" || finish
if [ "$preset" != asan ] && [ "$preset" != tsan ]; then
  phase install install_stage &&
    phase headers tests/headers/run.sh "$stage_dir" build/headers "$jobs" &&
    phase package tests/package/run.sh "$stage_dir" build/package &&
    phase examples run_examples
fi
live_phase tests cat run_tests
finish
