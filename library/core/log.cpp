#include "library/core/log.h"

#include "driver_abi/vmkmgmt.h"

#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <sys/syscall.h>
#include <unistd.h>

constinit std::uint32_t LogLevel = 0;
constinit FILE* fLogger = nullptr;
constinit FILE* fLogFile = nullptr;

namespace {

constexpr const char* configuration_path = "/scratch/libovk.conf";
constexpr const char* log_path = "/scratch/log/libovk.log";

constexpr std::size_t timestamp_size = 24;
constexpr std::size_t word_size = 32;

constexpr std::uint64_t seconds_per_minute = 60;
constexpr std::uint64_t seconds_per_hour = 60 * seconds_per_minute;
constexpr std::uint64_t seconds_per_day = 24 * seconds_per_hour;

/** The first bytes of a file's next word; of a longer word the rest is passed over. */
void read_word(FILE* file, std::array<char, word_size>& word) {
  static_assert(word_size == 32, "the width of the conversion is one less");
  if (std::fscanf(file, "%31s", word.data()) != 1) {
    return;
  }
  int next = std::fgetc(file);
  while (next != EOF && std::isspace(next) == 0) {
    next = std::fgetc(file);
  }
}

unsigned version_byte(unsigned index) { return ravn_mgmt_signature.version >> (8 * index) & 0xFF; }

/** The text of the time, which is made anew for each second only. The log is locked meanwhile. */
const char* timestamp() {
  static constinit timeval of_text{};
  static constinit std::array<char, timestamp_size> text{};
  timeval now{};
  gettimeofday(&now, nullptr);
  if (text.front() == '\0' || now.tv_sec != of_text.tv_sec) {
    of_text = now;
    ravn_GetTimeOfDay(&now, text.data(), text.size());
  }
  return text.data();
}

}  // namespace

namespace ovk {

void write_log_line(LogPlace place, const char* format, ...) {
  if (fLogger == nullptr) {
    return;
  }
  flockfile(fLogger);  // keeps the lines of several threads whole
  std::fprintf(fLogger, "%s  %24s:%5d ", timestamp(), place.function, place.line);
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(fLogger, format, arguments);
  va_end(arguments);
  std::fflush(fLogger);
  funlockfile(fLogger);
}

int process_id() { return getpid(); }

long thread_id() { return syscall(SYS_gettid); }

}  // namespace ovk

void OpenLogger(void) {
  static constinit FILE* file = nullptr;
  static constinit fpos_t start{};

  std::array<char, OVK_LIB_VERSION_SIZE + 1> version{};
  OVK_GetLibVer(version.data());
  std::array<char, word_size> key{};
  std::array<char, word_size> value{};

  if (file == nullptr) {
    file = std::fopen(configuration_path, "r");
    if (file == nullptr) {
      LogLevel = 0;
      ovk::write_log_line(ovk::here(), "\t**Stop %s x%x\n", key.data(), LogLevel);
      return;
    }
    std::setvbuf(file, nullptr, _IONBF, 0);  // or a changed level would be read from the buffer
    std::fgetpos(file, &start);
  }

  std::fsetpos(file, &start);
  read_word(file, key);
  read_word(file, value);
  std::sscanf(value.data(), "%x", &LogLevel);

  if (fLogger == nullptr) {
    fLogger = std::fopen(log_path, "a+");
    if (fLogger == nullptr) {
      return;
    }
  }
  ovk::write_log_line(ovk::here(), "**Start log conf[%s x%x]\n", key.data(), LogLevel);
  ovk::write_log_line(ovk::here(), "Lib[%s] Vendor[%s:%s] Version[%d.%d.%d-%d] Callbacks[%d]\n",
                      version.data(), ravn_mgmt_signature.vendor, ravn_mgmt_signature.name,
                      version_byte(3), version_byte(2), version_byte(1), version_byte(0),
                      ravn_mgmt_signature.callback_count);
}

constinit const std::uint64_t calendar[24] = {
    31 * seconds_per_day, 28 * seconds_per_day, 31 * seconds_per_day, 30 * seconds_per_day,
    31 * seconds_per_day, 30 * seconds_per_day, 31 * seconds_per_day, 31 * seconds_per_day,
    30 * seconds_per_day, 31 * seconds_per_day, 30 * seconds_per_day, 31 * seconds_per_day,
    31 * seconds_per_day, 29 * seconds_per_day, 31 * seconds_per_day, 30 * seconds_per_day,
    31 * seconds_per_day, 30 * seconds_per_day, 31 * seconds_per_day, 31 * seconds_per_day,
    30 * seconds_per_day, 31 * seconds_per_day, 30 * seconds_per_day, 31 * seconds_per_day,
};

std::uint32_t ravn_isLeap(std::uint32_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 1 : 0;
}

int ravn_GetTimeOfDay(const timeval* tv, char* dst, std::uint32_t n) {
  std::int64_t rest = static_cast<std::int32_t>(tv->tv_sec);

  // Intended: a year's length is that of the year after it, and an instant that ends a year or a
  // month still belongs to it.
  std::uint32_t year = 1970;
  auto length = [](std::uint32_t y) {
    return static_cast<std::int64_t>((ravn_isLeap(y + 1) != 0 ? 366 : 365) * seconds_per_day);
  };
  while (rest > length(year)) {
    rest -= length(year);
    ++year;
  }

  // Month 13 reads the leap row's January: also intended, and as far as this can go.
  const std::uint64_t* months = calendar + (ravn_isLeap(year) != 0 ? 12 : 0);
  std::uint32_t month = 1;
  while (rest > static_cast<std::int64_t>(months[month - 1])) {
    rest -= static_cast<std::int64_t>(months[month - 1]);
    ++month;
  }

  const auto seconds = static_cast<std::uint64_t>(rest);
  const std::uint64_t of_day = seconds % seconds_per_day;
  return std::snprintf(dst, n, "%04d-%02d-%02dT%02d:%02d:%02d", static_cast<int>(year),
                       static_cast<int>(month), static_cast<int>(seconds / seconds_per_day + 1),
                       static_cast<int>(of_day / seconds_per_hour),
                       static_cast<int>(of_day % seconds_per_hour / seconds_per_minute),
                       static_cast<int>(of_day % seconds_per_minute));
}
