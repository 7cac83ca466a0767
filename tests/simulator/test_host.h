/**
 * @file
 * A host of one board whose insides a test can reach.
 */
#pragma once

#include "simulator/handlers/handlers.h"
#include "simulator/host.h"
#include "simulator/json_reader.h"
#include "simulator/request.h"
#include "tests/simulator/simulator_test.h"

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
  CommandBlock send(DriverCommand command, CommandBlock block, Payloads&... payloads) {
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

/** one_board with more members of its board. */
inline std::string one_board_with(const std::string& members) {
  return with(one_board, R"("sli_mode")", members + R"(, "sli_mode")");
}

}  // namespace ravnsim::test
