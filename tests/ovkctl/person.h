// A person at a terminal, on which a program runs.
#pragma once

#include <array>
#include <csignal>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace ovkctl {

class Person {
 public:
  /** Starts the program, in a process of its own; it gives its exit code. */
  explicit Person(const std::function<int()>& program)
      : child_(forkpty(&terminal_, nullptr, nullptr, nullptr)) {
    if (child_ == 0) {
      _exit(program());
    }
  }
  ~Person() { close(terminal_); }

  /** Waits until the terminal shows this. */
  void sees(const std::string& text) {
    while (shown_.find(text) == std::string::npos) {
      ASSERT_TRUE(watches()) << "It waited for \"" << text << "\", and saw \"" << shown_ << "\".";
    }
  }

  void types(const std::string& text) {
    ASSERT_EQ(write(terminal_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  /** Whether the terminal shows what is typed. */
  bool echoes() const {
    termios settings{};
    EXPECT_EQ(tcgetattr(terminal_, &settings), 0);
    return (settings.c_lflag & ECHO) != 0;
  }

  /** Waits for the end; gives the exit code, or the signal that ended the program as -number. */
  int end() {
    while (watches()) {
    }
    int status = 0;
    waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  const std::string& shown() const { return shown_; }

 private:
  /** Takes what is shown next, if it is before the program's end; kills one that hangs. */
  bool watches() {
    constexpr int patience_milliseconds = 30000;
    pollfd event{terminal_, POLLIN, 0};
    if (poll(&event, 1, patience_milliseconds) == 0) {
      kill(child_, SIGKILL);
    }
    std::array<char, 256> bytes{};
    const ssize_t count = read(terminal_, bytes.data(), bytes.size());
    shown_.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
  }

  int terminal_ = -1;
  pid_t child_;
  std::string shown_;
};

}  // namespace ovkctl
