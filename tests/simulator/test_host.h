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

#include <string>
#include <utility>
#include <vector>

namespace ravnsim::test {

/** A status and an FC id. */
using PortAnswer = std::pair<DriverStatus, std::uint32_t>;

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

  /** Sends a command, such as "LINKINFO", to the board, with payloads that begin so. */
  Answer ask(std::string_view command, const CommandBlock& block = {},
             std::vector<Bytes> payloads = {}) {
    const ovk::DriverCommand& row = declared(command);
    Answer answer = prepared(command, block, std::move(payloads));
    std::vector<void*> caller{&answer.block};
    std::vector<DeclaredParameter> parameters{{sizeof answer.block, Direction::in_out}};
    for (std::size_t i = 0; i < answer.payloads.size(); ++i) {
      caller.push_back(answer.payloads[i].data());
      parameters.push_back(row.payloads[i]);
    }
    Request request{CommandId{row.id}, copy_in(parameters, caller)};
    host_.run(request);
    request.copy_back();
    return answer;
  }

  std::uint32_t refresh() { return ask("HBA_REFRESHINFO").block.value; }

  /** What the driver gives for a discovered port: its status and the port's FC id. */
  PortAnswer discovered(std::uint32_t tag, std::uint32_t index) {
    return port("HBA_DISCPORTATTRIBUTES", tag, index);
  }
  PortAnswer port(const char* command, std::uint32_t tag, std::uint32_t index) {
    const Answer answer = ask(command, {.index = index, .value = tag});
    return {answer.block.status, answer.word(16)};
  }

 private:
  Host host_;
};

/** What the driver gives for a list tag that is out of date. */
inline constexpr PortAnswer stale{DriverStatus::success, 0xFFFFFFFF};

}  // namespace ravnsim::test
