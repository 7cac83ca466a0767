#include "simulator/handlers/handlers.h"
#include "simulator/host.h"
#include "simulator/json_reader.h"
#include "simulator/port_list.h"
#include "simulator/request.h"
#include "tests/simulator/simulator_test.h"

#include <cstring>

namespace ravnsim::test {

namespace {

constexpr std::uint32_t stale = 0xFFFFFFFF;

struct [[gnu::packed]] Reply {
  std::uint8_t names[16];
  std::uint32_t fc_id;
  std::uint8_t rest[470];
};

static_assert(sizeof(Reply) == 490);

struct Answer {
  DriverStatus status;
  std::uint32_t fc_id;
  bool operator==(const Answer&) const = default;
};

/** A host whose ports can be changed behind the channel's back. */
class PortsTest : public testing::Test {
 protected:
  Answer ask(DriverCommand command, std::uint32_t tag, std::uint32_t index) {
    CommandBlock block{.driver_board = 3, .index = index, .value = tag};
    Reply reply{};
    run(command, {&block, &reply}, {{sizeof block, Direction::in_out}, {490, Direction::output}});
    return {block.status, reply.fc_id};
  }

  Answer discovered(std::uint32_t tag, std::uint32_t index) {
    return ask(DriverCommand::hba_discportattributes, tag, index);
  }

  Answer by_index(std::uint32_t tag, std::uint32_t index) {
    return ask(DriverCommand::hba_indexportattributes, tag, index);
  }

  std::uint32_t refresh() {
    CommandBlock block{.driver_board = 3};
    run(DriverCommand::hba_refreshinfo, {&block}, {{sizeof block, Direction::in_out}});
    EXPECT_EQ(block.status, DriverStatus::success);
    return block.value;
  }

  PortList& ports() { return host_.adapters().at(3).state<PortList>(); }

 private:
  void run(DriverCommand command, const std::vector<void*>& caller,
           const std::vector<DeclaredParameter>& declared) {
    Request request{command, copy_in(declared, caller)};
    host_.run(request);
    request.copy_back();
  }

  Host host_{read_topology(JsonDocument::from_text("one board", one_board)), StateStore{},
             all_handlers()};
};

TEST_F(PortsTest, IndicesCountTheDiscoveredPortsAndByIndexTheOwnPortBeforeThem) {
  const std::uint32_t tag = refresh();
  EXPECT_EQ(discovered(tag, 0), (Answer{DriverStatus::success, 2}));
  EXPECT_EQ(discovered(tag, 1), (Answer{DriverStatus::success, 3}));
  EXPECT_EQ(discovered(tag, 2).status, DriverStatus::not_found);
  EXPECT_EQ(by_index(tag, 0), (Answer{DriverStatus::success, 0x010203}));
  EXPECT_EQ(by_index(tag, 2), (Answer{DriverStatus::success, 3}));
  EXPECT_EQ(by_index(tag, 3).status, DriverStatus::does_not_fit);
  EXPECT_EQ(by_index(tag, 0xFFFFFFFF).status, DriverStatus::does_not_fit);
}

TEST_F(PortsTest, ATagThatIsNotTheListsIsStaleWhateverTheIndex) {
  const Answer answer{DriverStatus::success, stale};
  EXPECT_EQ(discovered(0, 0), answer) << "never refreshed";
  const std::uint32_t tag = refresh();
  EXPECT_EQ(discovered(tag + 1, 0), answer);
  EXPECT_EQ(discovered(tag + 1, 99), answer);
  EXPECT_EQ(by_index(tag - 1, 0), answer);
  EXPECT_EQ(refresh(), tag) << "a refresh that finds nothing new moves nobody's list";
}

TEST_F(PortsTest, PortsThatComeAndGoMakeTheTagStaleUntilTheNextRefresh) {
  const std::uint32_t before = refresh();
  const Wwn second = *parse_wwn("1000000000000003");
  PortTopology returning = *ports().find(second);
  ports().remove(second);
  EXPECT_EQ(discovered(before, 0).fc_id, stale);

  const std::uint32_t without = refresh();
  EXPECT_EQ(discovered(without, 1).status, DriverStatus::not_found);
  ports().remove(second);
  EXPECT_EQ(discovered(without, 0).fc_id, 2U) << "nothing went";

  returning.fc_id = 33;
  ports().add(returning);
  EXPECT_EQ(discovered(without, 0).fc_id, stale);
  EXPECT_EQ(discovered(refresh(), 1), (Answer{DriverStatus::success, 33}));
  EXPECT_EQ(ports().ports().size(), 2U);
}

}  // namespace

}  // namespace ravnsim::test
