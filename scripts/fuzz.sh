#!/usr/bin/env bash
# Builds and runs the fuzzer: scripts/fuzz.sh [SECONDS]. It goes on from the inputs in build/corpus,
# and leaves an input that it stumbled over in build/.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh --checks
echo "Building ..."
scripts/build.sh fuzz
mkdir -p build/corpus
build/fuzz/bin/calls_fuzzer -max_total_time="${1:-60}" -max_len=4096 -timeout=10 \
  -rss_limit_mb=0 -artifact_prefix=build/ build/corpus
