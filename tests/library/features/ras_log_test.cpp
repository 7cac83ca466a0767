#include "driver_abi/vmkmgmt.h"
#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/features.h>

#include <array>
#include <cstring>
#include <optional>
#include <utility>

namespace ovk::test {
namespace {

class RasLogTest : public LibraryTest {
 protected:
  RasLogTest() { log_at(OVK_LOG_ERROR); }

  /** Expects an access to the log whose exchange record holds this, and answers with an extent. */
  Exchange& expect_log_access(std::uint32_t offset, std::uint32_t size) {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_GET_RAS_LOG", board0)
        .sends(1, std::array<std::uint32_t, 4>{0, 0, offset, size})
        .replies(1, std::array<std::uint32_t, 2>{0x30000, 0x1000});
  }
  /** Expects an access that has the driver write to this memory. */
  void expect_log_read(std::uint32_t offset, std::uint32_t size, const void* memory) {
    expect_log_access(offset, size)
        .sends(2, vmk_MgmtDataDescriptor{.length = size, .address = address_of(memory)});
  }
  static std::uint32_t address_of(const void* memory) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(memory));
  }
};

TEST_F(RasLogTest, AStopReadsTheConfigurationBackAQueryTheStateToo) {
  struct {
    std::uint8_t action;
    std::optional<std::uint32_t> set_status;
    std::optional<std::uint32_t> get_status;
    std::uint32_t result;
    ByteVector config;  // action, state, level, bytes; two units of 256 KiB
  } const cases[] = {
      {OVK_FW_LOG_START, 0x0BAD000D, {}, 5, {0, 2, 9, 4, 9, 0, 0, 0}},
      {OVK_FW_LOG_STOP, 0, 0, 0, {0, 1, 9, 3, 0, 0, 8, 0}},
      {OVK_FW_LOG_STOP, 0x0BAD009B, 0, 7, {0, 1, 9, 3, 0, 0, 8, 0}},
      {OVK_FW_LOG_STOP, 0x0BAD0030, {}, 3, {0, 1, 9, 4, 9, 0, 0, 0}},
      {OVK_FW_LOG_STOP, 0, 0x0BAD0030, 0, {0, 1, 9, 0, 0, 0, 0, 0}},  // as a read-back may fail
      {OVK_FW_LOG_QUERY, {}, 0, 0, {0, 0, 1, 3, 0, 0, 8, 0}},
      {OVK_FW_LOG_QUERY, {}, 0x0BAD0020, 2, {0, 0, 9, 4, 9, 0, 0, 0}},
  };
  for (const auto& [action, set_status, get_status, result, config] : cases) {
    if (set_status) {
      expect_sli_mode(board0, 4);
      channel.expect("RAVN_MGMT_SET_RAS_CONFIG", board0)
          .sends(1, action == OVK_FW_LOG_START ? ByteVector{1, 4} : ByteVector{0, 0})
          .status(*set_status);
    }
    if (get_status) {
      expect_sli_mode(board0, 4);
      channel.expect("RAVN_MGMT_GET_RAS_CONFIG", board0)
          .replies(1, *get_status == 0 ? ByteVector{1, 3, 2, 0, 0, 0} : ByteVector{})
          .status(*get_status);
    }
    FwLogConfig cfg{.action = action, .state = 9, .level = 4, .buffer_size = 9};
    EXPECT_EQ(OVK_FwLogConfig(0, &cfg), result);
    EXPECT_THAT(bytes_of(cfg), SameBytes(config));
  }
  std::vector<LogLine> lines = log_lines();
  std::erase_if(lines, [](const LogLine& line) { return line.function != "OVK_FwLogConfig"; });
  const LogLine stopped{"OVK_FwLogConfig", "Action - STOP : State : x9 L : x3 B : x80000"};
  const LogLine unread{"OVK_FwLogConfig", "Action - STOP : State : x9 L : x0 B : x0"};
  const LogLine queried{"OVK_FwLogConfig", "Action - START : State : x1 L : x3 B : x80000"};
  EXPECT_THAT(lines, testing::ElementsAre(stopped, stopped, unread, queried));
}

TEST_F(RasLogTest, AReadGivesTheDriverTheCallersMemoryAndAQueryDoesNot) {
  std::uint8_t buffer[64]{};
  RasLogRequest request{.offset = 0x2000, .size = 64, .buffer = buffer, .extent = {5, 6}};
  expect_log_read(0x2000, 64, buffer);
  EXPECT_EQ(OVK_GetRasLog(0, &request, 0x80), OVK_OK);
  EXPECT_THAT(request.extent, testing::ElementsAre(5, 6));

  const Exchange& query = expect_log_access(0x2000, 64);
  EXPECT_EQ(OVK_GetRasLog(0, &request, 0), OVK_OK);
  vmk_MgmtDataDescriptor data{};
  std::memcpy(&data, query.sent(2).data(), sizeof data);
  EXPECT_EQ(data.length, 1U);
  EXPECT_NE(data.address, address_of(buffer));
  EXPECT_NE(data.address, 0U);
  const LogLine line{"OVK_GetRasLog", "readOffset : x2000 readSize : x40"};
  EXPECT_THAT(log_lines(), testing::ElementsAre(line, line));
}

TEST_F(RasLogTest, TheSimpleReaderQueriesOnlyWithoutOffsetAndSize) {
  std::uint8_t buffer = 0;
  FwLogRequest req{.extent = {5, 6}, .buffer = &buffer};
  expect_log_access(0, 0).status(0x0BAD0119);
  EXPECT_EQ(OVK_GetFwLog(0, &req), 9U);
  EXPECT_THAT(req.extent, testing::ElementsAre(5, 6));
  expect_log_access(0, 0);
  EXPECT_EQ(OVK_GetFwLog(0, &req), OVK_OK);
  EXPECT_THAT(req.extent, testing::ElementsAre(0x30000, 0x1000));

  for (const auto& [offset, size] : {std::pair{0U, 4096U}, {4096U, 0U}}) {
    req = {.offset = offset, .size = size, .extent = {5, 6}, .buffer = &buffer};
    expect_log_read(offset, size, &buffer);
    EXPECT_EQ(OVK_GetFwLog(0, &req), OVK_OK);
    EXPECT_THAT(req.extent, testing::ElementsAre(5, 6));
  }
}

}  // namespace
}  // namespace ovk::test
