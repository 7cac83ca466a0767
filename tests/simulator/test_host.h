/**
 * @file
 * A host of one board whose insides a test can reach.
 */
#pragma once

#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/host/host.h"
#include "simulator/topology/json_reader.h"
#include "tests/simulator/simulator_test.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ravnsim::test {

class TestHost {
 public:
  /** @param topology  one_board, or a text made from it */
  explicit TestHost(const std::string& topology = one_board, StateStore store = StateStore{})
      : host_{read_topology(JsonDocument::from_text("topology", topology)), std::move(store),
              all_handlers()} {}

  [[nodiscard]] Adapter& board() { return host_.adapters().at(3); }

  template <typename State>
  State& state() {
    return board().state<State>();
  }

  /** Sends a command to the board; a const payload is what the caller gives, another what it gets.
      Gives the Command block as the driver leaves it. */
  template <typename... Payloads>
  CommandBlock send(CommandId command, CommandBlock block, Payloads&... payloads) {
    block.driver_board = 3;
    const std::vector<void*> caller{&block,
                                    const_cast<std::remove_const_t<Payloads>*>(&payloads)...};
    const std::vector<DeclaredParameter> declared{
        {sizeof block, Direction::in_out},
        {sizeof(Payloads), std::is_const_v<Payloads> ? Direction::input : Direction::output}...};
    Request request{command, copy_in(declared, caller)};
    host_.run(request);
    request.copy_back();
    return block;
  }

 private:
  Host host_;
};

/** A record of so many bytes as words. */
template <std::size_t bytes>
using Words = std::array<std::uint32_t, bytes / 4>;

/** What the driver gives for a port: its status and the port's FC id. */
using PortAnswer = std::pair<DriverStatus, std::uint32_t>;

inline PortAnswer ask_for_port(TestHost& host, CommandId command, std::uint32_t tag,
                               std::uint32_t index) {
  std::array<std::uint8_t, 490> record{};
  const CommandBlock block = host.send(command, {.index = index, .value = tag}, record);
  std::uint32_t fc_id = 0;
  std::memcpy(&fc_id, &record[16], sizeof fc_id);
  return {block.status, fc_id};
}

inline PortAnswer discovered(TestHost& host, std::uint32_t tag, std::uint32_t index) {
  return ask_for_port(host, "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", tag, index);
}

inline std::uint32_t refresh(TestHost& host) {
  const CommandBlock block = host.send("RAVN_MGMT_HBA_REFRESHINFO", {});
  EXPECT_EQ(block.status, DriverStatus::success);
  return block.value;
}

/** What the driver gives for a list tag that is out of date. */
inline constexpr PortAnswer stale{DriverStatus::success, 0xFFFFFFFF};

}  // namespace ravnsim::test
