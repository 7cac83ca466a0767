// A person at a terminal, on which a program runs.
#ifndef TESTS_OVKCTL_PERSON_H
#define TESTS_OVKCTL_PERSON_H

#include <array>
#include <functional>
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
  Person(const Person&) = delete;
  Person& operator=(const Person&) = delete;

  /** Waits until the terminal shows this, or the program has ended. */
  void sees(const std::string& text) {
    std::array<char, 256> bytes{};
    while (shown_.find(text) == std::string::npos) {
      const ssize_t count = read(terminal_, bytes.data(), bytes.size());
      if (count <= 0) {
        return;
      }
      shown_.append(bytes.data(), static_cast<std::size_t>(count));
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
    sees("what is never shown");
    int status = 0;
    waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  const std::string& shown() const { return shown_; }

 private:
  int terminal_ = -1;
  pid_t child_;
  std::string shown_;
};

}  // namespace ovkctl

#endif
