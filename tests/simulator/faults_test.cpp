#include "tests/simulator/simulator_test.h"

#include <cstdlib>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class FaultsTest : public SimulatorTest {
 protected:
  FaultsTest() { use_topology(one_board); }

  /** The results of some refreshes: the invoke result, or the status when that is 0. */
  static std::vector<std::uint32_t> refreshes(const Channel& channel, int count) {
    std::vector<std::uint32_t> results;
    for (int i = 0; i < count; ++i) {
      CommandBlock block{.driver_board = 3};
      const int result = channel.invoke("RAVN_MGMT_HBA_REFRESHINFO", block);
      results.push_back(result != 0 ? static_cast<std::uint32_t>(result)
                                    : static_cast<std::uint32_t>(block.status));
    }
    return results;
  }
};

TEST_F(FaultsTest, FailTheCallsThatTheyNameInTheOrderOfTheFileAndNoOthers) {
  use_faults(R"([
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "skip": 1, "times": 2, "status": "0x0BAD0039"},
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "board": 3, "skip": 1, "invoke_error": 110},
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "skip": 2, "times": "always", "status": 7}
  ])");
  testing::internal::CaptureStderr();
  {
    const Channel channel;
    EXPECT_THAT(refreshes(channel, 8), ElementsAre(0, 0x0BAD0039, 0x0BAD0039, 110, 0, 7, 7, 7));
    EXPECT_EQ(status_of("SETDIAG", {.selector = 16}), DriverStatus::success);
    restart();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(FaultsTest, AStatusFaultDoesNoneOfTheCommandsWork) {
  use_faults(R"([{"command": "RAVN_MGMT_SETDIAG", "status": 7}])");
  const CommandBlock failed = ask("SETDIAG", {.value = 55, .selector = 19}).block;
  EXPECT_EQ(failed.status, DriverStatus{7});
  EXPECT_EQ(failed.value, 55U);
  EXPECT_EQ(ask("SETDIAG", {.selector = 16}).block.value, 1U);
}

TEST_F(FaultsTest, AFaultThatWasNeverHitIsReportedWhenTheChannelCloses) {
  const std::string path = use_faults(R"([
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "status": 7},
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "skip": 9, "status": 7}
  ])");
  testing::internal::CaptureStderr();
  refreshes(Channel{}, 3);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ravnsim: " + path + ": /1: the fault of RAVN_MGMT_HBA_REFRESHINFO was never hit\n");
}

TEST_F(FaultsTest, AProcessThatEndsWithoutClosingItsChannelIsToldToo) {
  use_faults(R"([{"command": "RAVN_MGMT_HBA_REFRESHINFO", "status": 7}])");
  EXPECT_EXIT(
      {
        static const Channel* const left_open = new Channel;
        std::exit(left_open->open_result());
      },
      testing::ExitedWithCode(0), "/0: the fault of RAVN_MGMT_HBA_REFRESHINFO was never hit");
}

TEST_F(FaultsTest, MistakesAreToldAsThoseOfTheTopology) {
  const std::pair<const char*, const char*> mistakes[] = {
      {R"({"status": 7})", "/0/command: this member is missing"},
      {R"({"command": "RAVN_MGMT_REFRESH", "status": 7})", "/0/command: \"RAVN_MGMT_REFRESH\""},
      {R"({"command": "RAVN_MGMT_SETDIAG"})", "/0: exactly one of status, invoke_error and"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "status": 7, "invoke_error": 1})", "/0: exactly one"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "status": 0})", "/0/status: 0 is not between 1 and"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "invoke_error": 0})", "/0/invoke_error: 0 is not"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "status": 7, "value": 1})", "/0/value: only an effect"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "status": 7, "times": 0})", "/0/times: 0 is not"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "status": 7, "times": "ever"})", "none of always"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "status": 7, "board": 4})", "/0/board: the host has no"},
      {R"({"command": "RAVN_MGMT_MOD_INFO", "status": 7, "board": 3})", "/0/board: RAVN_MGMT_MOD"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "status": 7, "boards": 3})", "\"boards\" is unknown"},
      {R"({"command": "RAVN_MGMT_SETDIAG", "effect": "stale"})",
       "/0/effect: \"stale\" is no effect of RAVN_MGMT_SETDIAG"},
  };
  for (const auto& [fault, message] : mistakes) {
    const std::string path = use_faults(std::string{"["} + fault + "]");
    EXPECT_THAT(said_by_a_channel(), testing::AllOf(HasSubstr(path), HasSubstr(message)));
  }
}

}  // namespace

}  // namespace ravnsim::test
