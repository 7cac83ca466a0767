/**
 * @file
 * The trace log: opening it, its timestamps and its lines.
 */
#pragma once

#include <ovk/core.h>

#include <cstdint>
#include <sys/time.h>

extern "C" {

/** Reads the log level from the configuration file and opens the log. Part of initialisation. */
OVK_API void OpenLogger(void);

/**
 * Formats a time as year-month-dayThours:minutes:seconds in UTC.
 *
 * The calendar is the log format's own: the first midnight of a month is the day after the last of
 * the month before, and dates of leap years are one day behind.
 *
 * @param tv   the time; seconds are taken as a signed 32-bit number
 * @param dst  receives the text
 * @param n    bytes that dst holds
 * @return the length of the whole text in bytes, as snprintf does
 */
OVK_API int ravn_GetTimeOfDay(const struct timeval* tv, char* dst, uint32_t n);

/** Whether a year of the Gregorian calendar is a leap year: 1 or 0. */
OVK_API uint32_t ravn_isLeap(uint32_t year);

/** The months' lengths in seconds: twelve of a common year, then twelve of a leap year. */
extern OVK_API const uint64_t calendar[24];
}

namespace ovk {

/** The place in the code that a log line names. */
struct LogPlace {
  const char* function;
  int line;
};

/** The place of the call; `function` only where the log format has another name for it. */
constexpr LogPlace here(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE()) {
  return {function, line};
}

/** Whether lines of a level are written. */
inline bool log_enabled(OvkLogLevel level) { return fLogger != nullptr && (LogLevel & level) != 0; }

/** Writes one line whatever the level, if the log is open, and flushes it. */
[[gnu::format(printf, 2, 3), gnu::cold]] void write_log_line(LogPlace place, const char* format,
                                                             ...);

/** The two numbers that end the lines which tell callers apart: "id[%d:%ld]". */
int process_id();
long thread_id();

}  // namespace ovk
