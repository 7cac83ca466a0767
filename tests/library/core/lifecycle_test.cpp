#include "library/core/lifecycle.h"

#include "library/core/log.h"
#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <chrono>
#include <cstring>
#include <iterator>
#include <string>

namespace ovk::test {
namespace {

class LifecycleTest : public LibraryTest {
 protected:
  LifecycleTest() { ravn_mgmt_handle = nullptr; }

  /** Initialises on a host without boards. */
  void initialise() {
    for (std::uint32_t number = 0; number < OVK_MAX_BOARDS; ++number) {
      channel.expect("RAVN_MGMT_INITBRDS", number).status(0x0BAD0001);
    }
    OVK_InitDiagEnv(nullptr, 0);
  }
};

TEST_F(LifecycleTest, TheReleaseThatMatchesTheFirstInitialisationClosesTheChannel) {
  initialise();
  initialise();
  EXPECT_EQ(channel.opened, 1);
  EXPECT_EQ(OVK_FreeDiagEnv(), 0U);
  EXPECT_EQ(channel.closed, 0);
  EXPECT_EQ(FreeDiagEnv(), 0U);
  EXPECT_EQ(channel.closed, 1);
  EXPECT_NE(ravn_mgmt_handle, nullptr) << "the handle is not cleared";

  EXPECT_EQ(OVK_FreeDiagEnv(), 0U);
  EXPECT_EQ(refcnt, -1);
  EXPECT_EQ(channel.closed, 1) << "a release too many closes nothing";

  initialise();
  EXPECT_EQ(refcnt, 0);
  EXPECT_EQ(channel.opened, 2);
}

TEST_F(LifecycleTest, LifecycleLinesAreWrittenAtLevelOneAndTheRefusalAlways) {
  log_at(0);
  const LogLine refusal{"ovk_mgmt_init",
                        "Management init failure: x1f. Check if driver is loaded and Tarvos cards "
                        "are installed.  Else a possible reason would be incompatible driver and "
                        "application versions."};
  const LogLine empty{"", ""};
  channel.open_result = 0x1F;
  ovk_mgmt_init();
  LogLevel = OVK_LOG_LIFECYCLE;
  ovk_mgmt_init();
  refcnt = 1;
  ovk_mgmt_init();
  OVK_FreeDiagEnv();
  const LogLine first{"ovk_mgmt_init", "Init handle[(nil)] refcnt[1:1] id"};
  const LogLine second{"ovk_mgmt_init", "Init handle[(nil)] refcnt[2:2] id"};
  const LogLine release{"OVK_FreeDiagEnv", "Destroy handle[(nil)] refcnt[1:1] id"};
  EXPECT_THAT(log_lines(),
              testing::ElementsAre(refusal, empty, first, refusal, empty, second, release));
}

TEST_F(LifecycleTest, TellsItsVersionWithinTheCallersBuffer) {
  char text[OVK_LIB_VERSION_SIZE + 1];
  std::memset(text, 'x', sizeof text);
  EXPECT_EQ(OVK_GetLibVer(text), 10);
  EXPECT_STREQ(text, "14.0.198.0");
  EXPECT_EQ(text[OVK_LIB_VERSION_SIZE], 'x');
  std::uint32_t major = 0;
  std::uint32_t minor = 9;
  EXPECT_EQ(GetOvkRev(&major, &minor), 0U);
  EXPECT_EQ(major, 4U);
  EXPECT_EQ(minor, 0U);
}

TEST_F(LifecycleTest, EveryInitialisationReadsTheLevelAndAnOddConfigurationHarmsNothing) {
  struct {
    std::vector<std::string> configurations;
    std::uint32_t level;
    std::vector<std::string> logged;
  } const cases[] = {
      {{"level f\n", "level 0x8\n"}, 8, {"level xf", "level x8"}},
      {{"", "level verbose"}, 7, {" x7", "level x7"}},
      {{std::string(200, 'a') + " 2"}, 2, {std::string(31, 'a') + " x2"}},
      {{"level " + std::string(40, 'f')}, 0xFFFFFFFF, {"level xffffffff"}},
      {{std::string{"\0\1\2\xFF\xFE 5\0", 8}}, 5, {" x5"}},
  };
  for (const auto& [configurations, level, logged] : cases) {
    in_fresh_process([&] {
      LogLevel = 7;
      for (const std::string& text : configurations) {
        configure_log(text);
        OpenLogger();
      }
      EXPECT_EQ(LogLevel, level);
      std::vector<LogLine> expected;
      for (const std::string& line : logged) {
        expected.push_back({"OpenLogger", "**Start log conf[" + line + "]"});
        expected.push_back({"OpenLogger",
                            "Lib[14.0.198.0] Vendor[TRV:ravn-mgmt] "
                            "Version[2.0.1-4] Callbacks[94]"});
      }
      EXPECT_EQ(log_file(), expected);
    });
  }
}

TEST_F(LifecycleTest, WithoutAConfigurationLoggingIsOffUntilThereIsOne) {
  in_fresh_process([this] {
    LogLevel = 0xF;
    OpenLogger();
    EXPECT_EQ(LogLevel, 0U);
    EXPECT_EQ(fLogger, nullptr);

    log_at(0xF);
    OpenLogger();
    EXPECT_THAT(log_lines(), testing::ElementsAre(LogLine{"OpenLogger", "\t**Stop  x0"}));

    configure_log("key 3");
    OpenLogger();
    EXPECT_EQ(LogLevel, 3U);
  });
}

TEST_F(LifecycleTest, WithoutAReadableConfigurationOrALogFileNothingFails) {
  in_fresh_process([this] {
    std::filesystem::create_directories(host().root / "scratch/libovk.conf");
    LogLevel = 7;
    initialise();
    EXPECT_EQ(LogLevel, 7U);
    EXPECT_EQ(fLogger, nullptr);
    EXPECT_EQ(refcnt, 1);
  });
}

std::string timestamp(std::int32_t seconds, std::uint32_t room = 24) {
  const timeval time{.tv_sec = seconds, .tv_usec = 0};
  std::string text(room + 1, 'x');
  EXPECT_GE(ravn_GetTimeOfDay(&time, text.data(), room), 19);
  EXPECT_EQ(text[room], 'x');
  return text.c_str();
}

TEST(TimestampTest, FollowsTheLogsOwnCalendar) {
  EXPECT_EQ(timestamp(0), "1970-01-01T00:00:00");
  EXPECT_EQ(timestamp(2678399), "1970-01-31T23:59:59");
  EXPECT_EQ(timestamp(2678400), "1970-01-32T00:00:00");
  EXPECT_EQ(timestamp(2678401), "1970-02-01T00:00:01");
  EXPECT_EQ(timestamp(1704110400), "2023-13-01T12:00:00");
  EXPECT_EQ(timestamp(1709208000), "2024-02-28T12:00:00");
  EXPECT_EQ(timestamp(1735732800), "2025-01-01T12:00:00");
  EXPECT_EQ(timestamp(2147483647), "2038-01-19T03:14:07");
}

TEST(TimestampTest, StaysWithinItsBufferForEveryTime) {
  for (const std::int32_t seconds : {-1, -2147483647 - 1, 2147483647}) {
    EXPECT_EQ(timestamp(seconds, 7).size(), 6U);
  }
}

TEST(TimestampTest, MonthsAreThoseOfACommonYearAndOfALeapYear) {
  using namespace std::chrono;
  for (unsigned i = 0; i < std::size(calendar); ++i) {
    const year_month_day_last end{year{i < 12 ? 2023 : 2024} / month{i % 12 + 1} / last};
    EXPECT_EQ(calendar[i], unsigned{end.day()} * 86400U) << "month " << i;
  }
  for (const int number : {2023, 2024, 2100, 2000}) {
    EXPECT_EQ(ravn_isLeap(static_cast<std::uint32_t>(number)), year{number}.is_leap() ? 1U : 0U);
  }
}

}  // namespace
}  // namespace ovk::test
