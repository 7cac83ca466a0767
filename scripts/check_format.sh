#!/usr/bin/env bash
# Fails when a source file is not formatted as .clang-format says; --fix formats them.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

mode=(--dry-run --Werror)
if [[ ${1:-} == --fix ]]; then
  mode=(-i)
fi
git ls-files -z --cached --others --exclude-standard '*.c' '*.h' '*.cpp' |
  xargs -0 --no-run-if-empty clang-format "${mode[@]}"
