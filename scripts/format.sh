#!/usr/bin/env bash
# Formats every C++ file with clang-format. With --check it changes nothing and fails if a file is not formatted.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

case "${1:-}" in
  "") arguments=(-i) ;;
  --check) arguments=(--dry-run --Werror) ;;
  *) echo "usage: $0 [--check]" >&2; exit 2 ;;
esac
scripts/setup.sh format
source_files | xargs -r clang-format "${arguments[@]}"
