#include "platform/vmkmgmt.h"
#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/features.h>

#include <array>
#include <cstring>
#include <functional>
#include <utility>

namespace ovk::test {
namespace {

const ByteVector active_config{1, 3, 2, 0, 0, 0};
constexpr std::uint32_t two_units = 524288;

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
  /** Expects an access to the log whose exchange record holds this offset and size. */
  Exchange& expect_log_access(std::uint32_t offset, std::uint32_t size) {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_GET_RAS_LOG", board0)
        .sends(1, std::array<std::uint32_t, 4>{0, 0, offset, size});
  }
  static Exchange& reply_extent(Exchange& exchange) {
    return exchange.replies(1, std::array<std::uint32_t, 4>{0x30000, 0x1000, 0, 0});
  }
  static vmk_MgmtDataDescriptor descriptor(const Exchange& exchange) {
    vmk_MgmtDataDescriptor data{};
    std::memcpy(&data, exchange.sent(2).data(), sizeof data);
    return data;
  }
  static std::uint32_t address_of(const void* memory) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(memory));
  }
};

TEST_F(RasLogTest, ConfigurationsPassAndTheirStatusesHaveTheirResults) {
  RasConfig config{};
  expect_get_config().replies(1, active_config);
  EXPECT_EQ(OVK_GetRasConfig(0, &config), OVK_OK);
  EXPECT_EQ(bytes_of(config), active_config);

  const RasSetting setting{.start = 1, .level = 4};
  struct {
    std::uint32_t status, set, get;
  } const cases[] = {{0, 0, 0},          {0x0BAD000D, 5, 1}, {0x0BAD000E, 4, 1},
                     {0x0BAD0020, 2, 2}, {0x0BAD0030, 3, 3}, {0x0BAD009B, 7, 1},
                     {0x0BAD0119, 6, 1}, {0x0BAD0001, 1, 1}};
  for (const auto& c : cases) {
    expect_set_config(1, 4).status(c.status);
    EXPECT_EQ(OVK_SetRasConfig(0, &setting), c.set) << std::hex << c.status;
    expect_get_config().status(c.status);
    EXPECT_EQ(OVK_GetRasConfig(0, &config), c.get) << std::hex << c.status;
  }
  expect_set_config(1, 4).status(0x0BAD009B).delivery_error(8);
  EXPECT_EQ(OVK_SetRasConfig(0, &setting), OVK_FAILED);
  expect_get_config().status(0x0BAD0020).delivery_error(8);
  EXPECT_EQ(OVK_GetRasConfig(0, &config), OVK_FAILED);
}

TEST_F(RasLogTest, AStartSetsTheLevelAndReadsNothingBack) {
  FwLogConfig cfg{.action = OVK_FW_LOG_START, .state = 9, .level = 4, .buffer_size = 9};
  expect_set_config(1, 4).status(0x0BAD000D);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 5U);
  EXPECT_EQ(bytes_of(cfg), (ByteVector{0, 2, 9, 4, 9, 0, 0, 0}));
}

TEST_F(RasLogTest, AStopReadsTheConfigurationBackWhenLoggingHasEnded) {
  for (const auto& [status, result] : {std::pair{0U, 0U}, {0x0BAD009BU, 7U}}) {
    FwLogConfig cfg{.action = OVK_FW_LOG_STOP, .state = 9, .level = 9};
    expect_set_config(0, 0).status(status);
    expect_get_config().replies(1, active_config);
    EXPECT_EQ(OVK_FwLogConfig(0, &cfg), result);
    EXPECT_EQ(cfg.state, 9) << "the caller's";
    EXPECT_EQ(cfg.level, 3);
    EXPECT_EQ(cfg.buffer_size, two_units);
  }
  FwLogConfig cfg{.action = OVK_FW_LOG_STOP, .state = 9, .level = 9, .buffer_size = 9};
  expect_set_config(0, 0);
  expect_get_config().status(0x0BAD0030);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), OVK_OK) << "a failed read-back is no failure";
  EXPECT_EQ(bytes_of(cfg), (ByteVector{0, 1, 9, 0, 0, 0, 0, 0}));

  cfg.level = 9;
  expect_set_config(0, 0).status(0x0BAD0030);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 3U);
  EXPECT_EQ(cfg.level, 9);
}

TEST_F(RasLogTest, AQueryGivesTheStateAndTheSizeInBytes) {
  FwLogConfig cfg{.action = OVK_FW_LOG_QUERY};
  expect_get_config().replies(1, active_config);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), OVK_OK);
  EXPECT_EQ(cfg.state, 1);
  EXPECT_EQ(cfg.level, 3);
  EXPECT_EQ(cfg.buffer_size, two_units);

  const ByteVector before = bytes_of(cfg);
  expect_get_config().replies(1, ByteVector(6, 0x77)).status(0x0BAD0020);
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 2U);
  EXPECT_EQ(bytes_of(cfg), before);

  cfg.action = 3;
  EXPECT_EQ(OVK_FwLogConfig(0, &cfg), 4U) << "without a word to the driver";
}

TEST_F(RasLogTest, AReadGivesTheDriverTheCallersMemory) {
  std::array<std::uint8_t, 64> buffer{};
  RasLogRequest request{
      .offset = 0x2000, .size = sizeof buffer, .buffer = buffer.data(), .extent = {5, 6}};
  const Exchange& read = reply_extent(expect_log_access(0x2000, sizeof buffer));
  EXPECT_EQ(OVK_GetRasLog(0, &request, 0x80), OVK_OK);
  EXPECT_EQ(descriptor(read).length, sizeof buffer);
  EXPECT_EQ(descriptor(read).reserved, 0U);
  EXPECT_EQ(descriptor(read).address, address_of(buffer.data()));
  EXPECT_EQ(request.extent[0], 5U);
}

TEST_F(RasLogTest, AQueryGivesTheExtentWhateverTheOutcomeAndNoMemoryOfTheCaller) {
  for (const auto& [status, result] :
       {std::pair{0U, 0U}, {0x0BAD0020U, 2U}, {0x0BAD0030U, 3U}, {0x0BAD0119U, 9U}, {5U, 1U}}) {
    std::uint8_t buffer = 0;
    RasLogRequest request{.offset = 1, .size = 2, .buffer = &buffer};
    const Exchange& query = reply_extent(expect_log_access(1, 2)).status(status);
    EXPECT_EQ(OVK_GetRasLog(0, &request, 0), result);
    EXPECT_EQ(descriptor(query).length, 1U);
    EXPECT_NE(descriptor(query).address, address_of(&buffer));
    EXPECT_NE(descriptor(query).address, 0U);
    EXPECT_EQ(request.extent[0], 0x30000U);
    EXPECT_EQ(request.extent[1], 0x1000U);
  }
  RasLogRequest request{};
  reply_extent(expect_log_access(0, 0)).status(0x0BAD0119).delivery_error(3);
  EXPECT_EQ(OVK_GetRasLog(0, &request, 0), OVK_FAILED);
  EXPECT_EQ(request.extent[1], 0x1000U);
}

TEST_F(RasLogTest, TheSimpleReaderQueriesOnlyWithoutOffsetAndSize) {
  std::uint8_t buffer = 0;
  FwLogRequest req{.extent = {5, 6}, .buffer = &buffer};
  reply_extent(expect_log_access(0, 0));
  EXPECT_EQ(OVK_GetFwLog(0, &req), OVK_OK);
  EXPECT_EQ(req.extent[0], 0x30000U);
  EXPECT_EQ(req.extent[1], 0x1000U);

  req = {.extent = {5, 6}};
  reply_extent(expect_log_access(0, 0)).status(0x0BAD0119);
  EXPECT_EQ(OVK_GetFwLog(0, &req), 9U);
  EXPECT_EQ(req.extent[0], 5U);

  for (const auto& [offset, size] : {std::pair{0U, 4096U}, {4096U, 0U}}) {
    req = {.offset = offset, .size = size, .extent = {5, 6}, .buffer = &buffer};
    const Exchange& read = reply_extent(expect_log_access(offset, size));
    EXPECT_EQ(OVK_GetFwLog(0, &req), OVK_OK);
    EXPECT_EQ(descriptor(read).length, size);
    EXPECT_EQ(descriptor(read).address, address_of(&buffer));
    EXPECT_EQ(req.extent[0], 5U);
  }
}

TEST_F(RasLogTest, OnlySli4BoardsAreAsked) {
  RasConfig config{};
  RasSetting setting{};
  FwLogConfig query{};
  RasLogRequest request{};
  FwLogRequest fw_request{};
  const std::function<std::uint32_t()> calls[] = {
      [&] { return OVK_GetRasConfig(0, &config); }, [&] { return OVK_SetRasConfig(0, &setting); },
      [&] { return OVK_FwLogConfig(0, &query); }, [&] { return OVK_GetRasLog(0, &request, 1); },
      [&] { return OVK_GetFwLog(0, &fw_request); }};
  for (const auto& call : calls) {
    expect_sli_mode(board0, 3);
    EXPECT_EQ(call(), OVK_NOT_SUPPORTED);
    expect_no_sli_mode(board0);
    EXPECT_EQ(call(), OVK_FAILED);
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
  EXPECT_THAT(log_lines(),
              testing::ElementsAre(
                  LogLine{"OVK_SetRasConfig",
                          "cmd err:     RAVN_MGMT_SET_RAS_CONFIG brd[0] stat[x0:xbad009b] id"},
                  LogLine{"OVK_FwLogConfig", "Action - STOP : State : x0 L : x3 B : x80000"},
                  LogLine{"OVK_FwLogConfig", "Action - START : State : x1 L : x3 B : x80000"},
                  LogLine{"OVK_GetRasLog", "readOffset : x10 readSize : xab"}));
}

TEST_F(RasLogTest, TheConfigurationReadLogsUnderTheNameOfTheLog) {
  RasConfig config{};
  expect_get_config();
  log_at(OVK_LOG_SUCCESS | OVK_LOG_CALL);
  OVK_GetRasConfig(0, &config);
  EXPECT_EQ(log_lines().back(),
            (LogLine{"OVK_GetRasConfig", "cmd ok:         RAVN_MGMT_GET_RAS_LOG brd[0] id"}));
  EXPECT_THAT(log_lines(), testing::Not(testing::Contains(testing::Field(
                               &LogLine::text, testing::HasSubstr("call: RAVN_MGMT_GET_RAS")))));
}

}  // namespace
}  // namespace ovk::test
