#!/usr/bin/env bash
# Configures and builds one preset: scripts/build.sh PRESET [CMAKE-ARGUMENT...]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=${1:?which preset: debug, release, asan, clang, bench or fuzz}
shift

log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset"; } >"$log" 2>&1; then
  cat "$log"
  exit 1
fi
