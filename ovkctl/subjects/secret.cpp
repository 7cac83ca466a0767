#include "ovkctl/subjects/secret.h"

#include "ovkctl/frame/errors.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fmt/core.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

namespace ovkctl {
namespace {

/** The terminal without echo. Signals that end the program wait until the echo is back. */
class SilentTerminal {
 public:
  SilentTerminal() : descriptor_(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {
    if (descriptor_ < 0 || tcgetattr(descriptor_, &before_) != 0) {
      throw UsageError(
          "There is no terminal at which to ask for the password: give it through a file "
          "descriptor (--local-fd, --remote-fd).");
    }
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
      sigaddset(&held, signal);
    }
    sigprocmask(SIG_BLOCK, &held, &mask_);
    signals_ = signalfd(-1, &held, SFD_CLOEXEC);
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(descriptor_, TCSAFLUSH, &silent);
  }

  ~SilentTerminal() {
    tcsetattr(descriptor_, TCSAFLUSH, &before_);
    close(signals_);
    close(descriptor_);
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
  }

  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  void read(const std::string& prompt, Secret& secret) {
    dprintf(descriptor_, "%s: ", prompt.c_str());
    secret.read_from(descriptor_, signals_);
    dprintf(descriptor_, "\n");
  }

 private:
  int descriptor_;
  int signals_ = -1;
  sigset_t mask_{};
  termios before_{};
};

}  // namespace

Secret::~Secret() { wipe(); }

void Secret::wipe() {
  explicit_bzero(bytes_.data(), bytes_.size());
  length_ = 0;
}

void Secret::read_from(int descriptor, int signals) {
  wipe();
  char character = '\0';
  while (true) {
    pollfd inputs[] = {{descriptor, POLLIN, 0}, {signals, POLLIN, 0}};
    while (poll(inputs, std::size(inputs), -1) < 0 && errno == EINTR) {
    }
    if (inputs[1].revents != 0) {
      throw OperationFailed("The password was not given.");
    }
    // Byte by byte: what follows the line is not ours.
    const ssize_t count = ::read(descriptor, &character, 1);
    if (count < 0) {
      throw OperationFailed(fmt::format("The password cannot be read: {}.", std::strerror(errno)));
    }
    if (count == 0 || character == '\n') {
      return;
    }
    if (length_ == longest) {
      throw OperationFailed(
          fmt::format("The password is too long: at most {} bytes fit.", longest));
    }
    bytes_[length_++] = character;
  }
}

void Secret::ask(const std::string& what) {
  SilentTerminal terminal;
  terminal.read(what, *this);
  Secret again;
  terminal.read(what + ", again", again);
  if (!(*this == again)) {
    throw OperationFailed("The two are not the same. Nothing was done.");
  }
}

}  // namespace ovkctl
