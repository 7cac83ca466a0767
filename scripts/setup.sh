#!/usr/bin/env bash
# Installs what building and testing need and this machine lacks. Says nothing when nothing is
# missing. With --checks also what the checks of .ci/run need: clang, its fuzzer, the formatter,
# valgrind.
set -euo pipefail

packages=(
  ca-certificates
  cmake
  g++
  g++-multilib
  googletest
  libcli11-dev
  libfmt-dev
  ninja-build
  nlohmann-json3-dev
  pciutils
  sg3-utils
)
if [[ ${1:-} == --checks ]]; then
  packages+=(clang clang-format libclang-rt-14-dev valgrind)
fi

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
  as_root=(sudo)
fi

echo "Installing: ${missing[*]}"
# One index that a mirror is just syncing does not matter as long as the packages can be had.
"${as_root[@]}" apt-get update --quiet --quiet || true
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install --yes --quiet --quiet --no-install-recommends "${missing[@]}" >/dev/null
