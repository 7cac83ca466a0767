#!/usr/bin/env bash
# Builds and runs the benchmarks: scripts/bench.sh [GOOGLE-BENCHMARK-ARGUMENT...]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
third_party=$PWD/build/third_party

# The library is an i386 one, so its benchmarks need an i386 Google Benchmark. It is unpacked in
# the build folder and by package lists of its own: the machine gets no foreign architecture.
get_google_benchmark() {
  local packages
  packages=$(mktemp -d)
  mkdir -p "$packages/lists/partial"
  (
    cd "$packages"
    apt=(apt-get --quiet --quiet -o APT::Architectures::=i386 -o "Dir::State::lists=$packages/lists"
      -o APT::Sandbox::User=root)
    "${apt[@]}" update || true
    "${apt[@]}" download libbenchmark-dev:i386 libbenchmark1debian:i386
    for package in ./*.deb; do
      dpkg-deb --extract "$package" "$third_party"
    done
  )
  rm -r "$packages"
}

scripts/setup.sh
[[ -d $third_party ]] || get_google_benchmark
echo "Building ..."
scripts/build.sh release -DBUILD_TESTING=OFF -DOVK_BENCH=ON
build/release/bin/transfers_bench "$@"
