#include "driver_abi/vmkmgmt.h"
#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/features.h>

#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace ovk::test {
namespace {

const ByteVector active_config{1, 3, 2, 0, 0, 0};  // two units of 256 KiB

class RasLogTest : public LibraryTest {
 protected:
  Exchange& expect_get_config() {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_GET_RAS_CONFIG", board0);
  }
  Exchange& expect_set_config(std::uint8_t start, std::uint8_t level) {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_SET_RAS_CONFIG", board0).sends(1, ByteVector{start, level});
  }
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

TEST_F(RasLogTest, AStartSetsTheLevelAndReadsNothingBack) {
  FwLogConfig cfg{.action = OVK_FW_LOG_START, .state = 9, .level = 4, .buffer_size = 9};
  expect_set_config(1, 4).status(0x0BAD000D);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 5U);
  EXPECT_EQ(bytes_of(cfg), (ByteVector{0, 2, 9, 4, 9, 0, 0, 0}));
}

TEST_F(RasLogTest, AStopReadsTheConfigurationBackWhenLoggingHasEnded) {
  for (const auto& [status, result] : {std::pair{0U, 0U}, {0x0BAD009B, 7U}}) {
    FwLogConfig cfg{.action = OVK_FW_LOG_STOP, .state = 9, .level = 9};
    expect_set_config(0, 0).status(status);
    expect_get_config().replies(1, active_config);
    EXPECT_EQ(OVK_FwLogConfig(0, &cfg), result);
    EXPECT_EQ(bytes_of(cfg), (ByteVector{0, 1, 9, 3, 0, 0, 8, 0})) << "the state is the caller's";
  }
  FwLogConfig cfg{.action = OVK_FW_LOG_STOP, .state = 9, .level = 9, .buffer_size = 9};
  expect_set_config(0, 0).status(0x0BAD0030);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 3U);
  EXPECT_EQ(bytes_of(cfg), (ByteVector{0, 1, 9, 9, 9, 0, 0, 0}));

  expect_set_config(0, 0);
  expect_get_config().status(0x0BAD0030);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), OVK_OK) << "a failed read-back is no failure";
  EXPECT_EQ(bytes_of(cfg), (ByteVector{0, 1, 9, 0, 0, 0, 0, 0}));
}

TEST_F(RasLogTest, AQueryGivesTheStateAndTheSizeInBytes) {
  FwLogConfig cfg{.action = OVK_FW_LOG_QUERY};
  expect_get_config().replies(1, active_config);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), OVK_OK);
  const ByteVector queried{0, 0, 1, 3, 0, 0, 8, 0};
  EXPECT_EQ(bytes_of(cfg), queried);

  expect_get_config().replies(1, ByteVector(6, 0x77)).status(0x0BAD0020);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 2U);
  EXPECT_EQ(bytes_of(cfg), queried);

  cfg.action = 3;
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 4U) << "without a word to the driver";
}

TEST_F(RasLogTest, AReadGivesTheDriverTheCallersMemory) {
  std::uint8_t buffer[64]{};
  RasLogRequest request{.offset = 0x2000, .size = 64, .buffer = buffer, .extent = {5, 6}};
  expect_log_read(0x2000, 64, buffer);
  EXPECT_EQ(OVK_GetRasLog(0, &request, 0x80), OVK_OK);
  EXPECT_THAT(request.extent, testing::ElementsAre(5, 6));
}

TEST_F(RasLogTest, AQueryGivesTheExtentWhateverTheOutcomeAndNoMemoryOfTheCaller) {
  for (const auto& [status, delivery, result] :
       {Ending{0, 0, 0}, Ending{0x0BAD0020, 0, 2}, Ending{0x0BAD0030, 0, 3},
        Ending{0x0BAD0119, 0, 9}, Ending{5, 0, 1}, Ending{0x0BAD0119, 3, 1}}) {
    SCOPED_TRACE(testing::Message() << std::hex << status << ", " << delivery);
    std::uint8_t buffer = 0;
    RasLogRequest request{.offset = 1, .size = 2, .buffer = &buffer};
    const Exchange& query = expect_log_access(1, 2).ends_with(status, delivery);
    EXPECT_EQ(OVK_GetRasLog(0, &request, 0), result);
    vmk_MgmtDataDescriptor data{};
    std::memcpy(&data, query.sent(2).data(), sizeof data);
    EXPECT_EQ(data.length, 1U);
    EXPECT_NE(data.address, address_of(&buffer));
    EXPECT_NE(data.address, 0U);
    EXPECT_THAT(request.extent, testing::ElementsAre(0x30000, 0x1000));
  }
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

TEST_F(RasLogTest, LogsResultsButNoCallsAndTheStateUnderTheErrorBit) {
  log_at(OVK_LOG_ERROR);
  FwLogConfig cfg{.action = OVK_FW_LOG_STOP};
  expect_set_config(0, 0).status(0x0BAD009B);
  expect_get_config().replies(1, active_config);
  OVK_FwLogConfig(0, &cfg);
  cfg.action = OVK_FW_LOG_QUERY;
  expect_get_config().replies(1, active_config);
  OVK_FwLogConfig(0, &cfg);
  RasLogRequest request{.offset = 0x10, .size = 0xab};
  expect_log_access(0x10, 0xab);
  OVK_GetRasLog(0, &request, 0);
  EXPECT_EQ(
      log_lines(),
      (std::vector<LogLine>{
          {"OVK_SetRasConfig", "cmd err:     RAVN_MGMT_SET_RAS_CONFIG brd[0] stat[x0:xbad009b] id"},
          {"OVK_FwLogConfig", "Action - STOP : State : x0 L : x3 B : x80000"},
          {"OVK_FwLogConfig", "Action - START : State : x1 L : x3 B : x80000"},
          {"OVK_GetRasLog", "readOffset : x10 readSize : xab"}}));
}

}  // namespace
}  // namespace ovk::test
