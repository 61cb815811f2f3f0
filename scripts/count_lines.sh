#!/usr/bin/env bash
# Counts the lines of code (C++, message schemas), without blank lines and comments, and the tests' share of them.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

is_test() { grep -E '(^tests/|/test/)'; }
is_simulator() { grep '^norvik_simulator/' | grep -v '/test/'; }
is_product() { grep -vE '(^(tests|examples|benchmarks|fuzz|norvik_simulator)/|/test/)'; }
is_other() { grep -E '^(examples|benchmarks|fuzz)/'; }

# Reads file names; prints how many files and how many lines of code they have.
count() {
  local files
  mapfile -t files
  [ ${#files[@]} -gt 0 ] || { echo 0 0; return; }
  cat "${files[@]}" | awk -v files=${#files[@]} '
    {
      line = $0
      if (in_comment) {
        if (!sub(/^.*\*\//, "", line)) next
        in_comment = 0
      }
      gsub(/\/\*([^*]|\*+[^*\/])*\*+\//, "", line)
      if (match(line, /^[^"]*\/\*/)) { sub(/\/\*.*$/, "", line); in_comment = 1 }
      sub(/^[ \t]*\/\/.*$/, "", line)
      if (line ~ /[^ \t]/) ++lines
    }
    END { print files, lines + 0 }'
}

row() { printf '%-24s %8s %10s\n' "$@"; }

read -r product_files product < <(source_files | is_product | count)
read -r simulator_files simulator < <(source_files | is_simulator | count)
read -r test_files tests < <(source_files | is_test | count)
read -r other_files other < <(source_files | is_other | count)

read -r schema_files schemas < <(find norvik ovimux/proto ovimux/idl -name '*.proto' -o -name '*.idl' | sort | count)

row "" files "code lines"
row product "$product_files" "$product"
row "message schemas" "$schema_files" "$schemas"
row simulator "$simulator_files" "$simulator"
row tests "$test_files" "$tests"
row "examples, benchmarks" "$other_files" "$other"
total=$((product + schemas + simulator + tests))
[ "$total" -gt 0 ] || exit 0
awk -v tests="$tests" -v total="$total" \
  'BEGIN { printf "\ntests are %.1f %% of product, simulator and tests (%d of %d lines)\n", 100 * tests / total, tests, total }'
