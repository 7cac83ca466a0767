/**
 * @file
 * How the channel refuses a call: with the host's error numbers.
 */
#pragma once

#include <cerrno>
#include <exception>

namespace ravnsim {

/** What the channel's functions return instead of 0. */
enum class ChannelError : int {
  unknown_interface = ENOENT,         ///< the signature is not one that the driver serves
  wrong_declaration = EINVAL,         ///< the signature's table of callbacks is not valid
  wrong_configuration = ENOEXEC,      ///< a file of the simulator's configuration has a mistake
  state_in_use = EBUSY,               ///< another process has the state folder
  input_output = EIO,                 ///< the state folder could not be read or written
  no_memory = ENOMEM,                 ///< no memory for the kernel's copies
  not_open = EBADF,                   ///< there is no such channel, or instance of it
  undeclared_callback = ENOSYS,       ///< the signature does not declare this callback
  wrong_parameter_count = E2BIG,      ///< not as many parameters as the callback declares
  missing_parameter = EFAULT,         ///< a parameter, or what it points to, is null
  no_such_board = ENODEV,             ///< the driver has no board of this number
  mismatched_declaration = EMSGSIZE,  ///< the driver's parameter is not what was declared
};

/** A call that is refused; the callback did not run, and nothing is copied back. */
class Refusal : public std::exception {
 public:
  explicit Refusal(ChannelError error) : error_{error} {}

  /** Refuses with an error number that a fault file chose. */
  explicit Refusal(int error) : error_{static_cast<ChannelError>(error)} {}

  [[nodiscard]] ChannelError error() const { return error_; }
  [[nodiscard]] const char* what() const noexcept override {
    return "the channel refuses the call";
  }

 private:
  ChannelError error_;
};

}  // namespace ravnsim
