#!/usr/bin/env bash
# Sets up, builds and runs every test: scripts/test.sh [PRESET]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=${1:-debug}

scripts/setup.sh
echo "Building the $preset preset ..."
scripts/build.sh "$preset" -DOVK_WERROR=ON -DBUILD_TESTING=ON
ctest --preset "$preset" --parallel "$(nproc)"
