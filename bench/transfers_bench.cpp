// What the library costs over calls written by hand, over a channel that answers at once. Each
// call stands twice: /library and /by_hand, with the same number of bytes, or of target mappings.

#include "bench/by_hand.h"

#include <ovk/ovk.h>

#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

constexpr std::uint32_t board = 0;
constexpr std::uint32_t name_server = 0xFFFFFC;
constexpr std::uint32_t largest_scsi_transfer = OVK_SCSI_MAX_TRANSFER;

using Buffer = std::vector<std::uint8_t>;

template <auto refresh>
void refreshing(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(refresh(board));
  }
}

template <auto send>
void sending_ct(benchmark::State& state) {
  const auto length = static_cast<std::uint32_t>(state.range(0));
  const Buffer request(length);
  Buffer response(length);
  for (auto _ : state) {
    if (send(board, name_server, request.data(), length, response.data(), length) !=
        static_cast<std::int32_t>(length)) {
      return state.SkipWithError("it failed");
    }
  }
}

template <auto send>
void sending_els(benchmark::State& state) {
  const auto length = static_cast<std::uint32_t>(state.range(0));
  const ElsDestination destination{};
  const Buffer request(length);
  Buffer reply(OVK_ELS_MAX_LENGTH);
  for (auto _ : state) {
    std::uint32_t reply_length = 0;
    if (send(board, &destination, request.data(), length, reply.data(), &reply_length) != OVK_OK) {
      return state.SkipWithError("it failed");
    }
  }
}

std::uint32_t library_scsi(std::uint32_t board_index, const Wwn* target, const FcpCmnd* fcp_cmnd,
                           void* data, std::uint32_t* data_length, void* sense,
                           std::uint32_t* sense_length) {
  return SendScsiCmdByWWN(board_index, nullptr, target, fcp_cmnd, sizeof *fcp_cmnd, data,
                          data_length, sense, sense_length);
}

template <auto send>
void sending_scsi(benchmark::State& state) {
  const Wwn target{};
  const FcpCmnd command{};
  Buffer data(static_cast<std::size_t>(state.range(0)));
  Buffer sense(OVK_SENSE_MAX_LENGTH);
  for (auto _ : state) {
    auto data_length = static_cast<std::uint32_t>(data.size());
    std::uint32_t sense_length = 0;
    if (send(board, &target, &command, data.data(), &data_length, sense.data(), &sense_length) !=
        OVK_OK) {
      return state.SkipWithError("it failed");
    }
  }
}

template <auto get>
void mapping_targets(benchmark::State& state) {
  const auto entries = static_cast<std::uint32_t>(state.range(0));
  Buffer memory(sizeof(FcpTargetMapping) + entries * sizeof(FcpScsiEntry));
  auto* const map = static_cast<FcpTargetMapping*>(static_cast<void*>(memory.data()));
  for (auto _ : state) {
    map->NumberOfEntries = entries;
    if (get(board, map) != OVK_OK) {
      return state.SkipWithError("it failed");
    }
  }
}

BENCHMARK(refreshing<RefreshInformation>)->Name("refresh/library");
BENCHMARK(refreshing<by_hand_refresh>)->Name("refresh/by_hand");
BENCHMARK(sending_ct<GetCTInfo>)->Name("ct/library")->Arg(64)->Arg(OVK_CT_MAX_LENGTH);
BENCHMARK(sending_ct<by_hand_ct>)->Name("ct/by_hand")->Arg(64)->Arg(OVK_CT_MAX_LENGTH);
BENCHMARK(sending_els<OVK_SendELSCmd>)->Name("els/library")->Arg(OVK_ELS_MAX_LENGTH);
BENCHMARK(sending_els<by_hand_els>)->Name("els/by_hand")->Arg(OVK_ELS_MAX_LENGTH);
BENCHMARK(sending_scsi<library_scsi>)->Name("scsi/library")->Arg(512)->Arg(largest_scsi_transfer);
BENCHMARK(sending_scsi<by_hand_scsi>)->Name("scsi/by_hand")->Arg(512)->Arg(largest_scsi_transfer);
BENCHMARK(mapping_targets<GetFcpTargetMapping>)->Name("targets/library")->Arg(1024);
BENCHMARK(mapping_targets<by_hand_target_mapping>)->Name("targets/by_hand")->Arg(1024);

}  // namespace

BENCHMARK_MAIN();
