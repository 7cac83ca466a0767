#include "simulator/board/saved.h"
#include "simulator/call/channel_error.h"
#include "simulator/call/parameters.h"
#include "simulator/call/request.h"
#include "tests/simulator/simulator_test.h"
#include "tests/support/files.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum ChannelError;

constexpr int code(ChannelError error) { return static_cast<int>(error); }

template <std::size_t size>
std::array<std::uint8_t, size> filled(std::uint8_t byte) {
  std::array<std::uint8_t, size> buffer;
  buffer.fill(byte);
  return buffer;
}

class ChannelTest : public SimulatorTest {
 protected:
  ChannelTest() { use_topology(one_board); }
};

TEST_F(ChannelTest, WritesExactlyTheBytesThatAreDeclaredAsOutputWhateverTheStatus) {
  constexpr std::size_t guard = 16;
  const Channel channel;
  for (const std::uint8_t digit : {std::uint8_t{3}, std::uint8_t{9}}) {
    auto reply = filled<490 + guard>(0xEE);
    Bytes wanted = Bytes(8) + hex("10000200000000") + Bytes{digit};
    wanted.resize(28);
    const Bytes before = wanted;
    CommandBlock block{.driver_board = 3, .option = 77};
    EXPECT_EQ(channel.send("RAVN_MGMT_HBA_WWPNPORTATTRIBUTES", block, reply.data(), wanted.data()),
              digit == 3 ? DriverStatus::success : DriverStatus::not_found);
    EXPECT_EQ(reply[16], digit == 3 ? 3 : 0) << "the FC id of the wanted port";
    auto expected = filled<490 + guard>(0xEE);
    if (digit == 3) {
      std::copy_n(reply.begin(), 490, expected.begin());
    } else {
      std::fill_n(expected.begin(), 490, std::uint8_t{0});
    }
    EXPECT_EQ(reply, expected) << "nothing behind it, and zeros when there is no such port";
    EXPECT_EQ(wanted, before);
    EXPECT_EQ(block.option, 77U);
  }
}

TEST_F(ChannelTest, RefusesWrongCallsAndTouchesNothing) {
  const Channel channel;
  const auto untouched = filled<81>(0xEE);
  auto reply = untouched;
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
  EXPECT_EQ(invoke(channel.get(), 0, 3, &block, &reply, &reply), wrong_parameter_count);
  EXPECT_EQ(invoke(channel.get(), 0, 1000, &block), wrong_parameter_count);
  EXPECT_EQ(invoke(channel.get(), 0, 2, &block, nothing), missing_parameter);
  EXPECT_EQ(invoke(channel.get(), 0, 2, nothing, &reply), missing_parameter);
  EXPECT_EQ(invoke(channel.get(), 1, 2, &block, &reply), not_open);
  EXPECT_EQ(invoke(unknown, 0, 2, &block, &reply), not_open);
  EXPECT_EQ(channel.invoke(CommandId{0x1234}, block, &reply), code(undeclared_callback));
  block.driver_board = 2;
  EXPECT_EQ(channel.invoke("RAVN_MGMT_INITBRDS", block, &reply), code(no_such_board));
  EXPECT_EQ(reply, untouched);
  EXPECT_EQ(block.status, DriverStatus{0x55});
}

TEST_F(ChannelTest, RefusesACallThatDeclaresLessThanTheDriverUses) {
  for (const auto& [size, type] :
       {std::pair{80, VMK_MGMT_PARAMETER_OUT}, std::pair{81, VMK_MGMT_PARAMETER_IN}}) {
    auto table = callbacks();
    auto& initbrds = *std::ranges::find(table, 0x7AU, &vmk_MgmtCallbackInfo::id);
    initbrds.parameter_sizes[1] = static_cast<std::uint32_t>(size);
    initbrds.parameter_types[1] = type;
    const Channel channel{table};
    auto reply = filled<81>(0xEE);
    CommandBlock block{.driver_board = 3};
    testing::internal::CaptureStderr();
    EXPECT_EQ(channel.invoke("RAVN_MGMT_INITBRDS", block, &reply), code(mismatched_declaration));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("RAVN_MGMT_INITBRDS: parameter 1"));
    EXPECT_EQ(reply, filled<81>(0xEE));
  }
}

TEST_F(ChannelTest, AnswersACommandWithoutAHandlerAsNotSupported) {
  const Channel channel;
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(channel.send(CommandId{0x100f}, block), DriverStatus::not_supported);
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
  CommandBlock block{.driver_board = 3, .selector = 19};
  ASSERT_EQ(first.send("RAVN_MGMT_SETDIAG", block), DriverStatus::success);
  vmk_MgmtChannel* const closed = first.get();
  first.close();

  block = {.driver_board = 3, .selector = 16};
  EXPECT_EQ(second.send("RAVN_MGMT_SETDIAG", block), DriverStatus::success);
  EXPECT_EQ(block.value, 3U);
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(closed, 0, 0x7b, 1, &block), code(not_open));

  second.close();
  const Channel third;
  EXPECT_EQ(third.send("RAVN_MGMT_SETDIAG", block), DriverStatus::success);
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

TEST_F(ChannelTest, WritesBehindADescriptorNoMoreThanItAdmits) {
  auto memory = filled<16>(0xEE);
  CommandBlock block{};
  const auto bytes = bytes_of(std::span{"0123456789"});
  const auto write = [&](vmk_MgmtDataDescriptor descriptor) {
    void* const caller[] = {&block, &descriptor};
    const DeclaredParameter declared[] = {{sizeof block, Direction::in_out},
                                          {1, Direction::descriptor}};
    const Request request{"RAVN_MGMT_GET_RAS_LOG", copy_in(declared, caller)};
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
  EXPECT_EQ(ovk::test::output_of("nm -D --defined-only --format=just-symbols " RAVNSIM_LIBRARY
                                 " | LC_ALL=C sort"),
            "vmk_MgmtUserCallbackInvokeInt\nvmk_MgmtUserDestroy\nvmk_MgmtUserInit\n");
}

TEST_F(ChannelTest, DriverInformationWantsRoomForItsRecordWhenTheRoomIsTold) {
  for (const std::uint32_t room : {0U, 120U}) {
    EXPECT_EQ(ask("GET_RAVNOVK_INFO", {.request_size = room}).payload(),
              words({0xABCD1234}) + Bytes(92) + words({4, 0, 0x400, 3, 0x704, 0}))
        << room;
  }
  EXPECT_EQ(status_of("GET_RAVNOVK_INFO", {.request_size = 119}), DriverStatus::does_not_fit);
}

}  // namespace

}  // namespace ravnsim::test
