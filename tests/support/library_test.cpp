#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <unistd.h>

namespace ovk::test {

namespace {

std::filesystem::path make_root() {
  std::string name = (std::filesystem::temp_directory_path() / "ovk-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  return name;
}

LogLine parse_log_line(const std::string& line) {
  static const std::regex prefix{R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d  +(\w+): +\d+ (.*)$)"};
  static const std::regex caller{"id\\[" + std::to_string(getpid()) + ":" +
                                 std::to_string(gettid()) + "\\]$"};
  std::smatch match;
  if (!std::regex_match(line, match, prefix)) {
    return {"", line};
  }
  return {match[1], std::regex_replace(match[2].str(), caller, "id")};
}

std::vector<LogLine> parse_log(std::istream& log) {
  std::vector<LogLine> lines;
  for (std::string line; std::getline(log, line);) {
    lines.push_back(parse_log_line(line));
  }
  return lines;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << line.function << ": " << line.text;
}

LibraryTest::LibraryTest() {
  host() = Host{.root = make_root()};
  std::memset(ovk_brdno, 0xFF, sizeof ovk_brdno);
  ovk_brdno[0] = static_cast<std::int32_t>(board0);
  ovk_brdno[1] = static_cast<std::int32_t>(board1);
  ovravn_brdCnt = 2;
  std::memset(ovk_state, 0, sizeof ovk_state);
  std::memset(ovk_refresh_timer, 0, sizeof ovk_refresh_timer);
  std::memset(ovk_rststatistics, 0, sizeof ovk_rststatistics);
  refcnt = 0;
  ravn_mgmt_handle = nullptr;
  LogLevel = 0;
  fLogger = nullptr;
}

LibraryTest::~LibraryTest() {
  if (fLogger != nullptr) {
    std::fclose(fLogger);
    fLogger = nullptr;
  }
  std::free(log_text_);
  std::filesystem::remove_all(host().root);
}

void LibraryTest::log_at(std::uint32_t level) {
  fLogger = open_memstream(&log_text_, &log_size_);
  LogLevel = level;
}

std::vector<LogLine> LibraryTest::log_lines() {
  std::fflush(fLogger);
  std::istringstream log{std::string{log_text_, log_size_}};
  return parse_log(log);
}

void LibraryTest::configure_log(const std::string& text) {
  std::filesystem::create_directories(host().root / "scratch/log");
  std::ofstream{host().root / "scratch/libovk.conf"} << text;
}

std::vector<LogLine> LibraryTest::log_file() {
  std::ifstream log{host().root / "scratch/log/libovk.log"};
  return parse_log(log);
}

void LibraryTest::in_fresh_process(const std::function<void()>& body) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // starts the program anew
  EXPECT_EXIT(
      {
        body();
        channel.verify();
        std::exit(HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
      },
      testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace ovk::test
