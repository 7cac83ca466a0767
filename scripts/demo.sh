#!/usr/bin/env bash
# Sets up, builds and lists the adapters of the simulated host.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh
echo "Building ..."
scripts/build.sh release -DBUILD_TESTING=OFF
build/release/bin/ovkctl list
