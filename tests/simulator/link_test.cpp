#include "simulator/link.h"

#include "simulator/handlers/handlers.h"
#include "simulator/host.h"
#include "simulator/io_counters.h"
#include "simulator/json_reader.h"
#include "simulator/request.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <array>
#include <vector>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::ElementsAre;
using enum DriverStatus;

/** Board 3 of a host whose link and traffic can be changed behind the channel's back. */
class LinkBoard {
 public:
  explicit LinkBoard(const std::string& topology)
      : host_{read_topology(JsonDocument::from_text("a host", topology)), StateStore{},
              all_handlers()} {}

  /** Sends a command and gives the words of its payload; the block keeps the answer. */
  std::vector<std::uint32_t> ask(DriverCommand command, CommandBlock& block, std::uint32_t size) {
    std::vector<std::uint32_t> reply(size / sizeof(std::uint32_t));
    block.driver_board = 3;
    std::vector<DeclaredParameter> declared{{sizeof block, Direction::in_out}};
    std::vector<void*> caller{&block};
    if (size != 0) {
      declared.push_back({size, Direction::output});
      caller.push_back(reply.data());
    }
    Request request{command, copy_in(declared, caller)};
    host_.run(request);
    request.copy_back();
    return reply;
  }

  std::vector<std::uint32_t> link() { return ask_plainly(DriverCommand::linkinfo, 168); }
  std::vector<std::uint32_t> io() { return ask_plainly(DriverCommand::ioinfo, 96); }

  std::vector<std::uint32_t> trunk() {
    CommandBlock block{.selector = 0x1016};
    auto words = ask(DriverCommand::get_trunk_info, block, 12);
    EXPECT_EQ(block.status, success);
    return words;
  }

  std::uint32_t logical_speed() {
    CommandBlock block{};
    ask(DriverCommand::get_logical_link_speed, block, 0);
    EXPECT_EQ(block.status, success);
    return block.value;
  }

  Adapter& adapter() { return host_.adapters().at(3); }

 private:
  std::vector<std::uint32_t> ask_plainly(DriverCommand command, std::uint32_t size) {
    CommandBlock block{};
    auto words = ask(command, block, size);
    EXPECT_EQ(block.status, success);
    return words;
  }

  Host host_;
};

TEST(SimulatedLinkTest, ALinkThatGoesDownTakesSpeedAddressAndNodesAlong) {
  LinkBoard board{one_board};
  auto words = board.link();
  words.resize(5);
  EXPECT_THAT(words, ElementsAre(2, 1, 16000, 0x010203, 1));
  EXPECT_EQ(board.logical_speed(), 160U);

  board.adapter().state<Link>().go_down();
  const auto down = board.link();
  EXPECT_THAT(std::vector(down.begin(), down.begin() + 5), ElementsAre(1, 0, 0, 0, 0));
  EXPECT_EQ(down[38], 1U) << "a link failure is counted";
  EXPECT_EQ(board.logical_speed(), 0U);
  CommandBlock block{.request_size = 14336};
  board.ask(DriverCommand::nodeinfo, block, 14336);
  EXPECT_EQ(block.reply_size, 0U);
}

TEST(SimulatedLinkTest, ALoopGivesItsPositionMap) {
  LinkBoard board{
      with(with(one_board, R"("fc_id": "0x010203",)", R"("fc_id": "0x0102e8", "type": "nl_port",)"),
           R"("fc_id": 3})", R"("fc_id": "0x0102ef", "type": "nl_port"})")};
  const auto words = board.link();
  EXPECT_EQ(words[1], 2U);
  EXPECT_EQ(words[5], 0xE8U);
  EXPECT_EQ(words[6], 0x00EFE802U) << "two positions: the board's own and one port's";
}

TEST(SimulatedLinkTest, NodesAreTheDiscoveredPortsAsManyAsHaveRoom) {
  LinkBoard board{with(one_board, R"("fc_id": 3})", R"("fc_id": 3, "fc4_types": ["fcp"]})")};
  CommandBlock block{.request_size = 14336};
  const auto nodes = board.ask(DriverCommand::nodeinfo, block, 14336);
  EXPECT_EQ(block.reply_size, 56U);
  EXPECT_THAT(std::vector(nodes.begin(), nodes.begin() + 7),
              ElementsAre(0x00010001, 2, 0x10, 0x02000000, 0x20, 0x02000000, 0xFFFFFFFF));
  EXPECT_EQ(nodes[7], 0x00020002U) << "the second node, an FCP target";
  EXPECT_EQ(nodes[13], 0U) << "its target id";

  block = {.request_size = 55};
  board.ask(DriverCommand::nodeinfo, block, 14336);
  EXPECT_EQ(block.reply_size, 28U);
}

TEST(SimulatedLinkTest, CommandsAndTheirDataAreCounted) {
  LinkBoard board{one_board};
  auto& counters = board.adapter().state<IoCounters>();
  counters.add(0, 4096, true);
  counters.add(0, 1024, true);
  counters.add(2048, 0, false);
  counters.add(0, 0, true);
  const auto words = board.io();
  EXPECT_THAT(std::vector(words.begin() + 5, words.begin() + 12), ElementsAre(2, 1, 1, 1, 5, 2, 2));
}

TEST(SimulatedLinkTest, ATrunkAddsTheSpeedsOfThePortsThatAreUp) {
  LinkBoard board{with(one_board, R"("device")",
                       R"("trunk": {"ports": [0, 1, 3], "ports_up": [0, 3]}, "device")")};
  EXPECT_THAT(board.trunk(), ElementsAre(0xB, 0x9, 16000));
  EXPECT_EQ(board.logical_speed(), 320U);
  board.adapter().state<Link>().go_down();
  EXPECT_THAT(board.trunk(), ElementsAre(0xB, 0, 16000));

  LinkBoard plain{one_board};
  EXPECT_THAT(plain.trunk(), ElementsAre(0, 0, 16000));
}

TEST(SimulatedLinkTest, OlderBoardsHaveNeitherTrunkNorLogicalSpeed) {
  LinkBoard board{with(one_board, R"("sli_mode": 4)", R"("sli_mode": 3)")};
  CommandBlock block{.selector = 0x1016};
  board.ask(DriverCommand::get_trunk_info, block, 12);
  EXPECT_EQ(block.status, not_supported);
  block = {};
  board.ask(DriverCommand::get_logical_link_speed, block, 0);
  EXPECT_EQ(block.status, not_supported);
  block = {.selector = 1};
  board.ask(DriverCommand::get_trunk_info, block, 12);
  EXPECT_EQ(block.status, not_permitted) << "the block has to name the command";
}

TEST(SimulatedLinkTest, ATestEventIsFoundAmongTheBoardsEvents) {
  LinkBoard board{one_board};
  CommandBlock block{.value = 0xB0B, .selector = 5};
  board.ask(DriverCommand::event_test, block, 0);
  EXPECT_EQ(block.status, success);
  block = {.value = 0xB0B, .selector = 6};
  board.ask(DriverCommand::event_test, block, 0);
  EXPECT_EQ(block.status, not_found);

  block = {.request_size = 32};
  const auto events = board.ask(DriverCommand::hba_getevent, block, 640);
  EXPECT_EQ(block.reply_size, 2U) << "the link came up, and the test event";
  EXPECT_THAT(std::vector(events.begin() + 5, events.begin() + 8), ElementsAre(5, 0x010203, 0xB0B));
}

}  // namespace

}  // namespace ravnsim::test
