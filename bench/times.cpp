// The time of each call, and that of its commands by hand: NAME/library and NAME/by_hand.

#include "bench/calls.h"

#include <benchmark/benchmark.h>

namespace {

using ovk::bench::Call;
using ovk::bench::Function;

void make(benchmark::State& state, const Call& call, const std::vector<Function>& functions) {
  std::vector<std::uint8_t> memory(ovk::bench::memory_size);
  answer_with(call.answer);
  for (auto _ : state) {
    prepare(call, memory.data());
    for (const Function function : functions) {
      benchmark::DoNotOptimize(function(memory.data()));
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const Call& call : ovk::bench::calls()) {
    const std::string name = call.name;
    const std::vector<Function> library{call.library};
    benchmark::RegisterBenchmark((name + "/by_hand").c_str(), make, call, call.by_hand);
    benchmark::RegisterBenchmark((name + "/library").c_str(), make, call, library);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
