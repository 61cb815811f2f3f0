#!/usr/bin/env bash
# Builds and runs the benchmarks and prints one table, each figure beside its baseline from the same run. The arguments
# go to the program: --quick for a tenth of the samples (--scale FACTOR for other shares), --only SUITE, --json FILE
# (default: build/benchmarks.json).
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh build product simulator tests
if command -v ninja >/dev/null; then export CMAKE_GENERATOR=Ninja; fi
cmake --preset dev >/dev/null
cmake --build build/dev --target norvik_benchmarks -j2 >/dev/null

export OVIMUX_DOMAIN_ID="${OVIMUX_DOMAIN_ID:-77}" OVIMUX_LOCALHOST_ONLY=1 SKIP_DEFAULT_XML_FILE=1
export NORVIK_SDK_SKIP_VERSION_CHECK=1 OVIMUX_LOG_LEVEL=5
HOME="$(mktemp -d)"
export HOME
trap 'rm -rf "$HOME"' EXIT
build/dev/bin/norvik_benchmarks --json build/benchmarks.json "$@"
