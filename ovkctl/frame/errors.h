/**
 * @file
 * How a command ends when it does not succeed: wrong usage, or an operation that failed.
 */
#pragma once

#include <cstdint>
#include <fmt/core.h>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

namespace ovkctl {

/** What ovkctl exits with. */
enum ExitCode { exit_success = 0, exit_failed = 1, exit_wrong_usage = 2 };

/** The command line asks for something that cannot be asked for: exit code 2. */
class UsageError : public std::runtime_error {
 public:
  /** Says in a sentence, in which "{}" stands for an argument, what is wrong with it. */
  template <typename... Arguments>
  explicit UsageError(const char* sentence, const Arguments&... arguments)
      : std::runtime_error{fmt::format(fmt::runtime(sentence), arguments...)} {}
};

/** The operation did not succeed: exit code 1. */
class OperationFailed : public std::runtime_error {
 public:
  /**
   * @param message  one sentence that says what failed
   * @param advice   what the operator can do about it; may be empty
   * @param result   the library's result code, when there is one
   */
  explicit OperationFailed(const std::string& message, std::string advice = {},
                           std::optional<std::uint32_t> result = {});

  [[nodiscard]] const std::string& advice() const { return advice_; }
  [[nodiscard]] std::optional<std::uint32_t> result() const { return result_; }

 private:
  std::string advice_;
  std::optional<std::uint32_t> result_;
};

/** What one result code of one call means, and what to do about it. */
struct ResultText {
  std::uint32_t result;
  const char* meaning;
  const char* advice;
};

/** What to do about a failure of which the library does not know more. */
inline constexpr const char* see_driver_log =
    "See with \"ovkctl list\" whether the board is ready, and look in the driver's log for the "
    "reason.";

/**
 * Throws OperationFailed unless the result is OVK_OK.
 *
 * @param result     what the library's function returned
 * @param operation  what was tried, as the start of a sentence: "Reading the VPD of board 0"
 * @param own        the codes that mean something of their own in this call; the others have the
 *                   meaning that they share in all calls
 */
void check(std::uint32_t result, const std::string& operation,
           std::span<const ResultText> own = {});

/** Throws OperationFailed when the driver says that it gave more than there was room for. */
void check_room(std::size_t count, std::size_t room, const char* what);

}  // namespace ovkctl
