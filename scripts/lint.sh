#!/usr/bin/env bash
# Runs clang-tidy over the C++ files that differ from a git revision, or over all.
#
#   ./scripts/lint.sh [--all | --since REVISION] [-p BUILD_DIR] [FILE…]
#
# Needs a configured build folder with generated headers in it, by default build/release or build/dev.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

die() {
  echo "lint.sh: $*" >&2
  exit 2
}

changed_files() { # revision
  { git diff --name-only --diff-filter=d "$1"; git ls-files --others --exclude-standard; } | sort -u
}

all=false
since=HEAD
build_dir=
files=()
while [ $# -gt 0 ]; do
  case "$1" in
    -h | --help) sed -n '2,/^set/{s/^# \{0,1\}//p}' "$0"; exit 0 ;;
    --all) all=true ;;
    --since) since=${2:?--since needs a revision}; shift ;;
    -p) build_dir=${2:?-p needs a folder}; shift ;;
    -*) die "unknown option $1" ;;
    *) files+=("$1") ;;
  esac
  shift
done

if [ -z "$build_dir" ]; then
  for candidate in build/release build/dev; do
    [ ! -f $candidate/compile_commands.json ] || { build_dir=$candidate; break; }
  done
fi
[ -f "$build_dir/compile_commands.json" ] || die "no build folder; run cmake --preset release, or name one with -p"

scripts/setup.sh lint
if [ ${#files[@]} -eq 0 ]; then
  if $all; then mapfile -t files < <(source_files); else mapfile -t files < <(changed_files "$since"); fi
fi

# Headers are checked through the files that include them.
compiled=()
for file in "${files[@]}"; do
  if [[ $file == *.cpp ]] && grep -qF "/$file\"" "$build_dir/compile_commands.json"; then compiled+=("$file"); fi
done
if [ ${#compiled[@]} -eq 0 ]; then
  echo "Nothing to check."
  exit 0
fi
echo "Checking ${#compiled[@]} files with $build_dir"
printf '%s\0' "${compiled[@]}" | xargs -0 -P "$(default_jobs)" -n 1 clang-tidy --quiet -p "$build_dir"
