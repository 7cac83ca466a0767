#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <regex>
#include <unistd.h>

namespace ovk::test {

namespace {

constexpr std::uint32_t driver_info_size = 120;
constexpr std::size_t sli_mode_offset = 96;
constexpr std::size_t features_offset = 104;
constexpr std::size_t adapter_type_offset = 112;

std::vector<LogLine> parse_log(const std::string& log) {
  static const std::regex prefix{R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d  +(\w+): +\d+ (.*)$)"};
  static const std::regex caller{"id\\[" + std::to_string(getpid()) + ":" +
                                 std::to_string(gettid()) + "\\]$"};
  std::vector<LogLine> lines;
  for (const std::string& line : lines_of(log)) {
    std::smatch match;
    lines.push_back(std::regex_match(line, match, prefix)
                        ? LogLine{match[1], std::regex_replace(match.str(2), caller, "id")}
                        : LogLine{"", line});
  }
  return lines;
}

/** Tells a fresh process's failures to the one that started it, which reads standard error. */
int report_failures() {
  const testing::TestResult& result =
      *testing::UnitTest::GetInstance()->current_test_info()->result();
  for (int i = 0; i < result.total_part_count(); ++i) {
    std::cerr << result.GetTestPartResult(i) << "\n";
  }
  return result.Failed() ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

LibraryTest::LibraryTest() {
  host() = Host{.root = folder_.path()};
  std::memset(ovk_brdno, 0xFF, sizeof ovk_brdno);
  ovk_brdno[0] = static_cast<std::int32_t>(board0);
  ovk_brdno[1] = static_cast<std::int32_t>(board1);
  ovravn_brdCnt = 2;
  std::memset(ovk_state, 0, sizeof ovk_state);
  std::memset(ovk_refresh_timer, 0, sizeof ovk_refresh_timer);
  std::memset(ovk_rststatistics, 0, sizeof ovk_rststatistics);
  refcnt = 0;
  ravn_mgmt_handle = channel.handle();
  LogLevel = 0;
  fLogger = nullptr;
}

LibraryTest::~LibraryTest() {
  if (fLogger != nullptr) {
    std::fclose(fLogger);
    fLogger = nullptr;
  }
}

void LibraryTest::log_at(std::uint32_t level) {
  fLogger = std::fopen((host().root / "log").c_str(), "w+");
  std::setvbuf(fLogger, log_buffer_.data(), _IOFBF, log_buffer_.size());
  LogLevel = level;
}

std::string LibraryTest::raw_log() {
  std::fflush(fLogger);
  return read_file(host().root / "log");
}

std::vector<LogLine> LibraryTest::log_lines() { return parse_log(raw_log()); }

void LibraryTest::expect_sli_mode(std::uint32_t driver_board, std::uint32_t mode,
                                  std::uint32_t features) {
  const ByteVector record = with_at(ByteVector(driver_info_size), sli_mode_offset, mode);
  channel.expect("RAVN_MGMT_GET_RAVNOVK_INFO", driver_board)
      .word(2, driver_info_size)
      .replies(1, with_at(record, features_offset, features));
  channel.expect("RAVN_MGMT_HBA_ADAPTERATTRIBUTES", driver_board);
  channel.expect("RAVN_MGMT_HBA_PORTATTRIBUTES", driver_board);
  channel.expect("RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP", driver_board);
}

void LibraryTest::expect_no_sli_mode(std::uint32_t driver_board) {
  channel.expect("RAVN_MGMT_GET_RAVNOVK_INFO", driver_board)
      .word(2, driver_info_size)
      .status(0x0BAD0001);
}

void LibraryTest::expect_adapter_type(std::uint32_t driver_board, std::uint32_t type) {
  channel.expect("RAVN_MGMT_GET_RAVNOVK_INFO", driver_board)
      .replies(1, with_at(ByteVector(driver_info_size), adapter_type_offset, type));
}

void LibraryTest::configure_log(const std::string& text) {
  std::filesystem::create_directories(host().root / "scratch/log");
  write_file(host().root / "scratch/libovk.conf", text);
}

std::vector<LogLine> LibraryTest::log_file() {
  return parse_log(read_file(host().root / "scratch/log/libovk.log"));
}

void LibraryTest::in_fresh_process(const std::function<void()>& body) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // starts the program anew
  EXPECT_EXIT(
      {
        body();
        channel.verify();
        std::exit(report_failures());
      },
      testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace ovk::test
