#include "simulator/call/channel_error.h"
#include "simulator/call/handler_table.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <thread>
#include <tuple>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum ChannelError;

constexpr int code(ChannelError error) { return static_cast<int>(error); }

using ChannelTest = SimulatorTest;

TEST_F(ChannelTest, WritesExactlyTheBytesThatAreDeclaredAsOutputWhateverTheStatus) {
  constexpr std::size_t size = 490;
  const Channel channel;
  for (const std::uint8_t digit : {std::uint8_t{3}, std::uint8_t{9}}) {
    const bool known = digit == 3;
    Bytes reply(size + 16, 0xEE);
    Bytes wanted = Bytes(8) + hex("10000200000000") + Bytes{digit};
    wanted.resize(28);
    const Bytes before = wanted;
    CommandBlock block{.driver_board = 3, .option = 77};
    EXPECT_EQ(channel.invoke("RAVN_MGMT_HBA_WWPNPORTATTRIBUTES", block, reply.data(), &wanted[0]),
              0);
    EXPECT_EQ(block.status, known ? DriverStatus::success : DriverStatus::not_found);
    EXPECT_EQ(reply[16], known ? 3 : 0) << "the FC id of the wanted port";
    EXPECT_TRUE(known || std::ranges::count(reply, 0) == size)
        << "zeros when there is no such port";
    EXPECT_EQ(Bytes(reply.begin() + size, reply.end()), Bytes(16, 0xEE)) << "nothing behind it";
    EXPECT_EQ(wanted, before);
    EXPECT_EQ(block.option, 77U);
  }
}

TEST_F(ChannelTest, RefusesWrongCallsAndTouchesNothing) {
  const Channel channel;
  Bytes bytes(81, 0xEE);
  std::uint8_t* const reply = bytes.data();
  CommandBlock block{.driver_board = 3, .status = DriverStatus{0x55}};
  int other{};
  auto* unknown = reinterpret_cast<vmk_MgmtChannel*>(&other);

  const auto invoke = [](vmk_MgmtChannel* to, std::uint64_t instance, std::uint32_t count,
                         auto*... parameters) {
    return ChannelError{vmk_MgmtUserCallbackInvokeInt(
        to, instance, CommandId{"RAVN_MGMT_INITBRDS"}.number, count, parameters...)};
  };
  void* const nothing = nullptr;
  EXPECT_EQ(invoke(channel.get(), 0, 1, &block), wrong_parameter_count);
  EXPECT_EQ(invoke(channel.get(), 0, 3, &block, reply, reply), wrong_parameter_count);
  EXPECT_EQ(invoke(channel.get(), 0, 1000, &block), wrong_parameter_count);
  EXPECT_EQ(invoke(channel.get(), 0, 2, &block, nothing), missing_parameter);
  EXPECT_EQ(invoke(channel.get(), 0, 2, nothing, reply), missing_parameter);
  EXPECT_EQ(invoke(channel.get(), 1, 2, &block, reply), not_open);
  EXPECT_EQ(invoke(unknown, 0, 2, &block, reply), not_open);
  EXPECT_EQ(channel.invoke(CommandId{0x1234}, block, reply), code(undeclared_callback));
  block.driver_board = 2;
  EXPECT_EQ(channel.invoke("RAVN_MGMT_INITBRDS", block, reply), code(no_such_board));
  EXPECT_EQ(bytes, Bytes(81, 0xEE));
  EXPECT_EQ(block.status, DriverStatus{0x55});
}

TEST_F(ChannelTest, RefusesACallThatDeclaresLessThanTheDriverUses) {
  const std::tuple<const char*, std::uint32_t, std::uint32_t> declarations[] = {
      {"RAVN_MGMT_INITBRDS", 80, VMK_MGMT_PARAMETER_OUT},
      {"RAVN_MGMT_INITBRDS", 81, VMK_MGMT_PARAMETER_IN},
      {"RAVN_MGMT_LOG_MSG", 64, VMK_MGMT_PARAMETER_OUT}};
  for (const auto& [name, size, type] : declarations) {
    const CommandId command = command_named(name).value();
    auto table = callbacks();
    auto& callback = *std::ranges::find(table, command.number, &vmk_MgmtCallbackInfo::id);
    callback.parameter_sizes[1] = size;
    callback.parameter_types[1] = type;
    const Channel channel{table};
    Bytes reply(81, 0xEE);
    CommandBlock block{.driver_board = 3};
    testing::internal::CaptureStderr();
    EXPECT_EQ(channel.invoke(command, block, reply.data()), code(mismatched_declaration));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr(std::string{name} + ": parameter 1"));
    EXPECT_EQ(reply, Bytes(81, 0xEE));
  }
}

TEST(HandlersTest, EveryCommandThatTheLibraryInvokesHasADriverSide) {
  const HandlerTable handlers = all_handlers();
  for (const ovk::DriverCommand& row : ovk::commands) {
    if (row.name != ovk::command_rows::reserved) {
      const auto command = command_named(row.name);
      ASSERT_TRUE(command) << row.name;
      EXPECT_EQ(command->number, row.id) << row.name;
      EXPECT_EQ(name_of(*command), row.name);
      EXPECT_NE(handlers.find(*command), nullptr) << row.name;
    }
  }
}

TEST_F(ChannelTest, AnswersACommandWithoutAHandlerAsNotSupported) {
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(Channel{}.invoke(CommandId{0x100f}, block), 0);
  EXPECT_EQ(block.status, DriverStatus::not_supported);
}

TEST_F(ChannelTest, RefusesForeignAndInvalidSignatures) {
  using Change = std::function<void(vmk_MgmtSignature&, vmk_MgmtCallbackInfo&)>;
  const std::pair<Change, ChannelError> changes[] = {
      {[](auto& s, auto&) { s.name[0] = 'R'; }, unknown_interface},
      {[](auto& s, auto&) { std::fill(s.vendor, s.vendor + sizeof s.vendor, 'T'); },
       unknown_interface},
      {[](auto& s, auto&) { s.callbacks = nullptr; }, wrong_declaration},
      {[](auto& s, auto&) { s.callback_count = 0xFFFFFFFF; }, wrong_declaration},
      {[](auto&, auto& c) { c.location = 0; }, wrong_declaration},
      {[](auto&, auto& c) { c.parameter_count = 0; }, wrong_declaration},
      {[](auto&, auto& c) { c.parameter_count = 5; }, wrong_declaration},
      {[](auto&, auto& c) { c.parameter_sizes[0] = 44; }, wrong_declaration},
      {[](auto&, auto& c) { c.parameter_types[0] = 1; }, wrong_declaration},
      {[](auto&, auto& c) { c.parameter_types[1] = 3; }, wrong_declaration},
      {[](auto&, auto& c) { c.parameter_sizes[1] = 0; }, wrong_declaration},
      {[](auto&, auto& c) { c.parameter_sizes[1] = 0x80000000; }, wrong_declaration},
      {[](auto&, auto& c) { c.id = 0x60; }, wrong_declaration},
  };
  for (const auto& [change, error] : changes) {
    auto table = callbacks();  // the second one has the id 0x60
    vmk_MgmtSignature record = signature(table);
    change(record, table[0]);
    vmk_MgmtChannel* channel = nullptr;
    EXPECT_EQ(vmk_MgmtUserInit(&record, 0, 0, &channel), code(error));
    EXPECT_EQ(channel, nullptr);
  }
  EXPECT_EQ(vmk_MgmtUserInit(nullptr, 0, 0, nullptr), code(missing_parameter));
}

TEST_F(ChannelTest, ChannelsOfOneProcessLeadToOneHostUntilTheLastIsClosed) {
  Channel first;
  Channel second;
  const auto mode = [](const Channel& channel, std::uint32_t sub_command) {
    CommandBlock block{.driver_board = 3, .selector = sub_command};
    EXPECT_EQ(channel.invoke("RAVN_MGMT_SETDIAG", block), 0);
    return block.value;
  };
  EXPECT_EQ(mode(first, 19), 3U);
  vmk_MgmtChannel* const closed = first.get();
  first.close();
  EXPECT_EQ(mode(second, 16), 3U);
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(closed, 0, 0x7b, 1, &block), code(not_open));

  second.close();
  EXPECT_EQ(mode(Channel{}, 16), 1U) << "without a state folder, a new host starts afresh";
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
      const bool refreshed = channel.invoke("RAVN_MGMT_HBA_REFRESHINFO", block) == 0;
      block.index = 1;
      const int result = channel.invoke("RAVN_MGMT_HBA_DISCPORTATTRIBUTES", block, &reply);
      wrong += refreshed && result == 0 && reply[4] == 3 ? 0 : 1;
    }
  };
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back(walk);
    }
  }
  EXPECT_EQ(wrong, 0);
}

TEST(ChannelLibraryTest, ExportsTheThreeFunctionsOfTheChannelAndNothingElse) {
  EXPECT_EQ(ovk::test::output_of("nm -D --defined-only --format=just-symbols " RAVNSIM_LIBRARY
                                 " | LC_ALL=C sort"),
            "vmk_MgmtUserCallbackInvokeInt\nvmk_MgmtUserDestroy\nvmk_MgmtUserInit\n");
}

}  // namespace

}  // namespace ravnsim::test
