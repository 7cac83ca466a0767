#include "tests/end_to_end/ovkctl.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

struct Pipe {
  int read_end;
  int write_end;
};

Pipe make_pipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  return {ends[0], ends[1]};
}

[[noreturn]] void become_ovkctl(const std::vector<std::string>& arguments,
                                const Environment& environment) {
  for (const char* name : {"RAVNSIM_TOPOLOGY", "RAVNSIM_STATE", "RAVNSIM_FAULTS"}) {
    unsetenv(name);
  }
  for (const auto& [name, value] : environment) {
    setenv(name.c_str(), value.c_str(), 1);
  }
  std::string program = OVKCTL;
  std::vector<char*> argv{program.data()};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  _exit(127);
}

/** Reads what is there; closes the end and marks it with -1 when there will be no more. */
void drain(pollfd& end, std::string& text) {
  std::array<char, 4096> buffer{};
  const ssize_t length = read(end.fd, buffer.data(), buffer.size());
  if (length > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(length));
    return;
  }
  close(end.fd);
  end.fd = -1;
}

/** Feeds and drains all three streams together, so that no full pipe stops the run. */
void converse(std::array<pollfd, 3>& ends, std::string_view input, Outcome& run) {
  while (ends[0].fd >= 0 || ends[1].fd >= 0 || ends[2].fd >= 0) {
    if (input.empty() && ends[0].fd >= 0) {
      close(ends[0].fd);
      ends[0].fd = -1;
    }
    poll(ends.data(), ends.size(), -1);
    if (ends[0].fd >= 0 && ends[0].revents != 0) {
      const ssize_t written = write(ends[0].fd, input.data(), input.size());
      input.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : input.size());
    }
    if (ends[1].fd >= 0 && ends[1].revents != 0) {
      drain(ends[1], run.out);
    }
    if (ends[2].fd >= 0 && ends[2].revents != 0) {
      drain(ends[2], run.err);
    }
  }
}

}  // namespace

Outcome run_ovkctl(const std::vector<std::string>& arguments, const Environment& environment,
                   const std::string& input) {
  std::signal(SIGPIPE, SIG_IGN);
  const Pipe in = make_pipe();
  const Pipe out = make_pipe();
  const Pipe err = make_pipe();
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGPIPE, SIG_DFL);
    dup2(in.read_end, STDIN_FILENO);
    dup2(out.write_end, STDOUT_FILENO);
    dup2(err.write_end, STDERR_FILENO);
    become_ovkctl(arguments, environment);
  }
  close(in.read_end);
  close(out.write_end);
  close(err.write_end);

  Outcome run;
  std::array<pollfd, 3> ends{pollfd{in.write_end, POLLOUT, 0}, pollfd{out.read_end, POLLIN, 0},
                             pollfd{err.read_end, POLLIN, 0}};
  converse(ends, input, run);
  int status = 0;
  waitpid(child, &status, 0);
  run.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

nlohmann::json run_json(std::vector<std::string> arguments, const Environment& environment) {
  arguments.emplace_back("--json");
  const Outcome run = run_ovkctl(arguments, environment);
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  nlohmann::json document = nlohmann::json::parse(run.out, nullptr, false);
  EXPECT_EQ(document.value("version", 0), 1) << run.out;
  return document;
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> cells_of(const std::string& line) {
  static const std::regex gap(" {2,}");
  const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
  return {std::sregex_token_iterator(line.begin() + static_cast<std::ptrdiff_t>(start), line.end(),
                                     gap, -1),
          std::sregex_token_iterator()};
}

Folder::Folder() {
  std::string name = (std::filesystem::temp_directory_path() / "ovkctl-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no folder " + name);
  }
  path_ = name;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string Folder::path(const std::string& name) const { return path_ / name; }

std::string Folder::file(const std::string& name, const std::string& contents) const {
  std::ofstream(path(name)) << contents;
  return path(name);
}

}  // namespace ovk::test
