#!/usr/bin/env bash
# Prints what each call of the library costs beside the same commands by hand, in two tables:
#   scripts/bench.sh                             both
#   scripts/bench.sh instructions                the instructions; fails when a call passes its limit
#   scripts/bench.sh time [GOOGLE-BENCHMARK-ARGUMENT...]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
third_party=$PWD/build/third_party
bin=build/bench/bin

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

# Callgrind writes a file for each count; its trigger is what the program named it:
# side;call;instructions allowed over by hand;or percent allowed of by hand;calls counted.
count_instructions() {
  local counts=$PWD/build/bench/counts
  rm -rf "$counts"
  mkdir -p "$counts"
  "$bin/instructions" --check
  valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$counts/count" \
    "$bin/instructions" 2>"$counts/log" || { cat "$counts/log"; return 1; }
  (cd "$counts" && find . -name 'count.*' -printf '%f\n' | sort -t. -k2n | xargs cat) | awk '
    sub(/^desc: Trigger: Client Request: /, "") { split($0, made, ";") }
    /^(totals|summary):/ && made[1] == "by hand" { by_hand[made[2]] = $2 / made[5] }
    /^(totals|summary):/ && made[1] == "library" {
      if (!(made[2] in by_hand)) { print made[2] " was not counted by hand"; failed++; next }
      count = $2 / made[5]
      hand = by_hand[made[2]]
      limit = made[3] ? made[3] : hand * (made[4] - 100) / 100
      if (!lines++) printf "%-34s %10s %10s %8s %8s\n", "instructions of", "by hand", "library", "more", "limit"
      over = count - hand > limit
      printf "%-34s %10d %10d %8d %8d%s\n", made[2], hand, count, count - hand, limit, over ? "  passes its limit" : ""
      failed += over
    }
    /^(totals|summary):/ { made[1] = "" }
    END { exit failed > 0 || lines == 0 }'
}

# The medians of one run, in which both sides of a call take turns.
take_times() {
  local log=build/bench/times.log
  "$bin/times" --benchmark_repetitions=21 --benchmark_min_time=0.02 --benchmark_format=csv \
    --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true "$@" \
    2>"$log" | awk -F, '
    match($1, /\/(by_hand|library)_median"?$/) {
      name = substr($1, 1, RSTART - 1)
      gsub(/"/, "", name)
      if (!(name in seen)) { seen[name] = 1; names[++count] = name }
      time[name, $1 ~ /by_hand/] = $4
    }
    END {
      printf "%-34s %12s %12s %6s\n", "time of, in ns", "by hand", "library", "ratio"
      fflush()
      for (i = 1; i <= count; ++i) {
        hand = time[names[i], 1]
        printf "%-34s %12.1f %12.1f %6.2f\n", names[i], hand, time[names[i], 0], hand ? time[names[i], 0] / hand : 0 | "sort"
      }
      close("sort")
      exit count == 0
    }' || { cat "$log" >&2; return 1; }
}

what=${1:-both}
shift || true
scripts/setup.sh --checks
if [[ $what != instructions ]]; then
  [[ -d $third_party ]] || get_google_benchmark
fi
echo "Building ..."
scripts/build.sh bench
[[ $what == time ]] || count_instructions
[[ $what == instructions ]] || take_times "$@"
