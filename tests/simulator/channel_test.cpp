#include "simulator/channel_error.h"
#include "simulator/parameters.h"
#include "simulator/request.h"
#include "simulator/wwn_request.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

constexpr int code(ChannelError error) { return static_cast<int>(error); }

template <std::size_t size>
using Buffer = std::array<std::uint8_t, size>;

template <std::size_t size>
Buffer<size> filled(std::uint8_t byte) {
  Buffer<size> buffer;
  buffer.fill(byte);
  return buffer;
}

class ChannelTest : public SimulatorTest {
 protected:
  ChannelTest() { use_topology(one_board); }
};

TEST_F(ChannelTest, WritesExactlyTheBytesThatAreDeclaredAsOutput) {
  const Channel channel;
  constexpr std::size_t guard = 16;
  auto reply = filled<490 + guard>(0xEE);
  WwnRequest wanted{.port_wwn = {{0x10, 0, 0, 0, 0, 0, 0, 3}}};
  const WwnRequest before = wanted;
  CommandBlock block{.driver_board = 3, .option = 77};

  ASSERT_EQ(channel.send(DriverCommand::hba_wwpnportattributes, block, reply.data(), &wanted),
            DriverStatus::success);
  EXPECT_EQ(reply[16], 3);  // the FC id of the wanted port
  EXPECT_EQ(reply[489], 0);
  EXPECT_TRUE(std::all_of(reply.end() - guard, reply.end(), [](auto b) { return b == 0xEE; }));
  EXPECT_EQ(std::memcmp(&wanted, &before, sizeof wanted), 0);
  EXPECT_EQ(block.option, 77U);
}

TEST_F(ChannelTest, CopiesOutputsBackWhateverTheStatus) {
  const Channel channel;
  auto reply = filled<490>(0xEE);
  WwnRequest unknown{.port_wwn = {{9, 9, 9, 9, 9, 9, 9, 9}}};
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(channel.send(DriverCommand::hba_wwpnportattributes, block, reply.data(), &unknown),
            DriverStatus::not_found);
  EXPECT_EQ(reply, filled<490>(0));
}

TEST_F(ChannelTest, RefusesWrongCallsAndTouchesNothing) {
  const Channel channel;
  const auto initbrds = static_cast<std::uint64_t>(DriverCommand::initbrds);
  const auto untouched = filled<81>(0xEE);
  auto reply = untouched;
  CommandBlock block{.driver_board = 3, .status = DriverStatus{0x55}};
  int other{};
  auto* unknown = reinterpret_cast<vmk_MgmtChannel*>(&other);

  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(channel.get(), 0, initbrds, 1, &block),
            code(ChannelError::wrong_parameter_count));
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(channel.get(), 0, initbrds, 3, &block, &reply, &reply),
            code(ChannelError::wrong_parameter_count));
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(channel.get(), 0, initbrds, 1000, &block),
            code(ChannelError::wrong_parameter_count));
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(channel.get(), 0, initbrds, 2, &block, nullptr),
            code(ChannelError::missing_parameter));
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(channel.get(), 0, initbrds, 2, nullptr, &reply),
            code(ChannelError::missing_parameter));
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(channel.get(), 1, initbrds, 2, &block, &reply),
            code(ChannelError::not_open));
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(unknown, 0, initbrds, 2, &block, &reply),
            code(ChannelError::not_open));
  EXPECT_EQ(channel.invoke(DriverCommand{0x1234}, block, &reply),
            code(ChannelError::undeclared_callback));
  block.driver_board = 2;
  EXPECT_EQ(channel.invoke(DriverCommand::initbrds, block, &reply),
            code(ChannelError::no_such_board));
  EXPECT_EQ(reply, untouched);
  EXPECT_EQ(block.status, DriverStatus{0x55});
}

TEST_F(ChannelTest, RefusesACallThatDeclaresLessThanTheDriverUses) {
  for (const auto declared : {std::array<std::uint32_t, 2>{80, VMK_MGMT_PARAMETER_OUT},
                              std::array<std::uint32_t, 2>{81, VMK_MGMT_PARAMETER_IN}}) {
    const Channel channel{{callback(DriverCommand::initbrds, {declared})}};
    auto reply = filled<81>(0xEE);
    CommandBlock block{.driver_board = 3};
    testing::internal::CaptureStderr();
    EXPECT_EQ(channel.invoke(DriverCommand::initbrds, block, &reply),
              code(ChannelError::mismatched_declaration));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("RAVN_MGMT_INITBRDS: parameter 1"));
    EXPECT_EQ(reply, filled<81>(0xEE));
  }
}

TEST_F(ChannelTest, AnswersACommandWithoutAHandlerAsNotSupported) {
  const Channel channel;
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(channel.send(DriverCommand{0x100f}, block), DriverStatus::not_supported);
}

TEST_F(ChannelTest, EveryInvokedCommandOfTheInterfaceHasItsName) {
  std::size_t named = 0;
  for (const auto& declared : callbacks()) {
    const DriverCommand command{declared.id};
    named += command_named(name_of(command)) == command ? 1 : 0;
  }
  EXPECT_EQ(named, 82U);
  EXPECT_EQ(name_of(DriverCommand::initbrds), "RAVN_MGMT_INITBRDS");
  EXPECT_EQ(command_named("RAVN_MGMT_"), std::nullopt);
}

TEST_F(ChannelTest, RefusesForeignAndInvalidSignatures) {
  using Change = std::function<void(vmk_MgmtSignature&, vmk_MgmtCallbackInfo&)>;
  const std::pair<Change, ChannelError> changes[] = {
      {[](auto& s, auto&) { s.name[0] = 'R'; }, ChannelError::unknown_interface},
      {[](auto& s, auto&) { std::fill(s.vendor, s.vendor + sizeof s.vendor, 'T'); },
       ChannelError::unknown_interface},
      {[](auto& s, auto&) { s.callbacks = nullptr; }, ChannelError::wrong_declaration},
      {[](auto& s, auto&) { s.callback_count = 0xFFFFFFFF; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.location = 0; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.parameter_count = 0; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.parameter_count = 5; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.parameter_sizes[0] = 44; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.parameter_types[0] = 1; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.parameter_types[1] = 3; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.parameter_sizes[1] = 0; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.parameter_sizes[1] = 0x80000000; }, ChannelError::wrong_declaration},
      {[](auto&, auto& c) { c.id = 0x60; }, ChannelError::wrong_declaration},
  };
  for (const auto& [change, error] : changes) {
    auto table = callbacks();  // the second one has the id 0x60
    vmk_MgmtSignature record = signature(table);
    change(record, table[0]);
    vmk_MgmtChannel* channel = nullptr;
    EXPECT_EQ(vmk_MgmtUserInit(&record, 0, 0, &channel), code(error));
    EXPECT_EQ(channel, nullptr);
  }
  EXPECT_EQ(vmk_MgmtUserInit(nullptr, 0, 0, nullptr), code(ChannelError::missing_parameter));
}

TEST_F(ChannelTest, ChannelsOfOneProcessLeadToOneHostUntilTheLastIsClosed) {
  Channel first;
  Channel second;
  CommandBlock block{.driver_board = 3, .selector = 19};
  ASSERT_EQ(first.send(DriverCommand::setdiag, block), DriverStatus::success);
  vmk_MgmtChannel* const closed = first.get();
  first.close();

  block = {.driver_board = 3, .selector = 16};
  EXPECT_EQ(second.send(DriverCommand::setdiag, block), DriverStatus::success);
  EXPECT_EQ(block.value, 3U);
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(closed, 0, 0x7b, 1, &block),
            code(ChannelError::not_open));

  second.close();
  const Channel third;
  EXPECT_EQ(third.send(DriverCommand::setdiag, block), DriverStatus::success);
  EXPECT_EQ(block.value, 1U) << "without a state folder, a new host starts afresh";
}

TEST_F(ChannelTest, ThreadsMayCallAtOnceThroughChannelsOfTheirOwnOrOfOneAnother) {
  const Channel shared;
  std::atomic<int> wrong = 0;
  const auto walk = [&] {
    const Channel own;
    for (int i = 0; i < 100; ++i) {
      const Channel& channel = i % 2 == 0 ? shared : own;
      CommandBlock block{.driver_board = 3};
      std::array<std::uint32_t, 123> reply{};
      const bool refreshed = channel.invoke(DriverCommand::hba_refreshinfo, block) == 0;
      block.index = 1;
      const int result = channel.invoke(DriverCommand::hba_discportattributes, block, &reply);
      wrong += refreshed && result == 0 && reply[4] == 3 ? 0 : 1;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back(walk);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(ChannelTest, WritesBehindADescriptorNoMoreThanItAdmits) {
  auto memory = filled<16>(0xEE);
  CommandBlock block{};
  const auto bytes = std::as_bytes(std::span{"0123456789"});
  const auto write = [&](vmk_MgmtDataDescriptor descriptor) {
    void* const caller[] = {&block, &descriptor};
    const DeclaredParameter declared[] = {{sizeof block, Direction::in_out},
                                          {1, Direction::descriptor}};
    const Request request{DriverCommand::get_ras_log, copy_in(declared, caller)};
    return request.write_behind(1, bytes);
  };

  const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&memory));
  EXPECT_EQ(write({.length = 4, .address = address}), 4U);
  EXPECT_EQ(std::string(memory.begin(), memory.begin() + 5), "0123\xEE");
  EXPECT_EQ(write({.length = 4096, .address = address}), bytes.size());
  EXPECT_EQ(memory[bytes.size()], 0xEE);
  EXPECT_EQ(write({.length = 0, .address = 0}), 0U);
  EXPECT_THROW(write({.length = 4, .address = 0}), Refusal);
}

TEST(ChannelLibraryTest, ExportsTheThreeFunctionsOfTheChannelAndNothingElse) {
  FILE* const names = popen("nm -D --defined-only --format=just-symbols " RAVNSIM_LIBRARY, "r");
  ASSERT_NE(names, nullptr);
  std::vector<std::string> exported;
  std::array<char, 256> line;
  while (std::fgets(line.data(), line.size(), names) != nullptr) {
    exported.emplace_back(line.data(), std::strcspn(line.data(), "\n"));
  }
  EXPECT_EQ(pclose(names), 0);
  EXPECT_THAT(exported, testing::UnorderedElementsAre("vmk_MgmtUserInit", "vmk_MgmtUserDestroy",
                                                      "vmk_MgmtUserCallbackInvokeInt"));
}

TEST_F(SimulatorTest, TheBuiltInHostHasOneBoardOfEachKind) {
  const Channel channel;
  std::vector<std::string> boards;
  for (std::uint32_t number = 0; number < 40; ++number) {
    std::array<std::uint32_t, 21> discovery{};
    std::array<std::uint32_t, 30> info{};
    CommandBlock block{.driver_board = number};
    if (channel.invoke(DriverCommand::initbrds, block, &discovery) != 0) {
      continue;
    }
    block.request_size = sizeof info;
    EXPECT_EQ(channel.send(DriverCommand::get_ravnovk_info, block, &info), DriverStatus::success);
    const auto extended = channel.send(DriverCommand::mbox_sli_cfg_ext_sup, block);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%u: %04x sli %u type %x features %x%s", number,
                  discovery[0] >> 16, info[24], info[28], info[26],
                  extended == DriverStatus::success ? " extended" : "");
    boards.emplace_back(text.data());
  }
  EXPECT_THAT(boards, testing::ElementsAre("1: 3200 sli 4 type 3200 features 400 extended",
                                           "4: 0714 sli 4 type 714 features 0 extended",
                                           "5: 0800 sli 3 type 800 features 400",
                                           "9: 0704 sli 4 type 704 features 400"));
}

TEST_F(ChannelTest, DriverInformationWantsRoomForItsRecordWhenTheRoomIsTold) {
  const Channel channel;
  Buffer<120> info{};
  const std::pair<std::uint32_t, DriverStatus> rooms[] = {
      {0, DriverStatus::success}, {120, DriverStatus::success}, {119, DriverStatus::does_not_fit}};
  for (const auto& [room, status] : rooms) {
    CommandBlock block{.driver_board = 3, .request_size = room};
    EXPECT_EQ(channel.send(DriverCommand::get_ravnovk_info, block, &info), status) << room;
  }
}

}  // namespace

}  // namespace ravnsim::test
