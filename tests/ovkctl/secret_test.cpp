#include "secret.h"

#include "errors.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <pty.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace ovkctl {
namespace {

/** A person at a terminal who types when asked; the program runs in a process of its own there. */
class Person {
 public:
  /** Starts the program: it asks for a password and ends with what came of it. */
  explicit Person(std::string_view expected) {
    child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (child_ != 0) {
      return;
    }
    Secret secret;
    try {
      secret.ask("Password");
    } catch (const OperationFailed&) {
      _exit(1);
    }
    _exit(std::string_view(secret.bytes().data(), secret.length()) == expected ? 0 : 2);
  }
  ~Person() { close(terminal_); }
  Person(const Person&) = delete;
  Person& operator=(const Person&) = delete;

  /** Waits until the terminal shows this. */
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

  /** The wait status of the program when it has ended. */
  int end() {
    sees("what is never shown");
    int status = 0;
    waitpid(child_, &status, 0);
    return status;
  }

  const std::string& shown() const { return shown_; }

 private:
  int terminal_ = -1;
  pid_t child_;
  std::string shown_;
};

TEST(SecretTest, APasswordIsAskedForTwiceAndNotShown) {
  for (const auto& [again, exit_code] : {std::pair("winter harbour\n", 0), {"winter\n", 1}}) {
    Person person("winter harbour");
    person.sees("Password: ");
    person.types("winter harbour\n");
    person.sees("again: ");
    person.types(again);
    const int status = person.end();
    EXPECT_EQ(WEXITSTATUS(status), exit_code);
    EXPECT_EQ(person.shown().find("winter"), std::string::npos) << person.shown();
  }
}

TEST(SecretTest, AnInterruptEndsTheProgramAndNotTheEcho) {
  Person person("");
  person.sees("Password: ");
  person.types("\x03");
  const int status = person.end();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGINT);
}

TEST(SecretTest, OneLineIsTakenOffADescriptorAndTheRestLeft) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const std::string_view text = "first\nsecond";
  ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(ends[1]);
  Secret first;
  first.read_from(ends[0]);
  EXPECT_EQ(std::string_view(first.bytes().data(), first.length()), "first");
  first.read_from(ends[0]);
  EXPECT_EQ(std::string_view(first.bytes().data(), first.length()), "second");
  close(ends[0]);
  EXPECT_THROW(first.read_from(ends[0]), OperationFailed);
  EXPECT_EQ(first.length(), 0);
}

}  // namespace
}  // namespace ovkctl
