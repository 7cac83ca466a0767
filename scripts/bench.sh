#!/usr/bin/env bash
# Builds and runs the benchmarks: scripts/bench.sh [GOOGLE-BENCHMARK-ARGUMENT...]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
third_party=$PWD/build/third_party

# The library is an i386 one, so its benchmarks need an i386 Google Benchmark. It is unpacked in
# the build folder and by package lists of its own: the machine gets no foreign architecture.
get_google_benchmark() {
  mkdir -p build
  work=$(mktemp -d build/third_party.XXXXXX)
  trap 'rm -rf "$work"' EXIT
  mkdir -p "$work/lists/partial" "$work/unpacked"
  (
    cd "$work"
    apt=(apt-get --quiet --quiet -o APT::Architectures::=i386 -o "Dir::State::lists=$PWD/lists"
      -o APT::Sandbox::User=root)
    "${apt[@]}" update || true
    "${apt[@]}" download libbenchmark-dev:i386 libbenchmark1debian:i386
    for package in ./*.deb; do
      dpkg-deb --extract "$package" unpacked
    done
  )
  mv "$work/unpacked" "$third_party"
}

scripts/setup.sh
[[ -d $third_party ]] || get_google_benchmark
echo "Building ..."
scripts/build.sh bench
build/bench/bin/transfers_bench --benchmark_repetitions=21 --benchmark_min_time=0.05 \
  --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true "$@"
