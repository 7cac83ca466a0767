/**
 * @file
 * How a noun declares its commands, and what a command's action works with.
 *
 *     void add_ports(Command root) {
 *       const Command ports = root.subcommand("ports", "Show the ports that a board sees");
 *       ports.example("ovkctl ports 0");
 *       const auto board = ports.board();
 *       ports.action([=](const Context& context) {
 *         const Session session;
 *         context.print(report_on(session.board(*board)));
 *       });
 *     }
 *
 * The parser behind it shows in command.cpp alone, which keeps a noun quick to compile.
 */
#ifndef OVKCTL_COMMAND_H
#define OVKCTL_COMMAND_H

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/report.h"
#include "ovkctl/frame/values.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ovkctl {

/** What the command line gave for an argument or an option, else its default. Cheap to copy. */
template <typename T>
class Given {
 public:
  explicit Given(T otherwise) : state_(std::make_shared<State>(State{std::move(otherwise)})) {}

  const T& operator*() const { return state_->value; }
  const T* operator->() const { return &state_->value; }

  /** Whether the command line has it. */
  bool present() const { return state_->present; }

  /** For the declaration: takes the value of the command line. */
  T& take() const {
    state_->present = true;
    return state_->value;
  }

 private:
  struct State {
    T value;
    bool present = false;
  };
  std::shared_ptr<State> state_;
};

/** Throws UsageError when a value is not allowed. */
template <typename T>
using Check = std::function<void(const T&)>;

/** Allows the numbers of a range. */
Check<std::uint32_t> between(std::uint32_t least, std::uint32_t most);

/** The words that an option takes and what they stand for, in the order of the help. */
template <typename T>
using Choices = std::vector<std::pair<std::string, T>>;

/** An operation that failed and has something to show nevertheless; both are one JSON document. */
class FailedWithReport : public OperationFailed {
 public:
  FailedWithReport(Report report, const std::string& message, std::string advice)
      : OperationFailed(message, std::move(advice)), report_(std::move(report)) {}

  const Report& report() const { return report_; }

 private:
  Report report_;
};

/** What an action works with besides the arguments of its command. */
class Context {
 public:
  explicit Context(bool json) : json_(json) {}

  /** Whether the output is JSON. */
  bool json() const { return json_; }

  /** Prints the report of a command. */
  void print(const Report& report) const;

  /** Prints one of several reports that follow each other; in JSON each stands on a line. */
  void print_next(const Report& report) const;

 private:
  bool json_;
};

/** A command, or the root above the nouns. A handle; the command line owns what is behind it. */
class Command {
 public:
  struct Node;

  explicit Command(Node& node) : node_(&node) {}

  /** Adds a command below this one. */
  Command subcommand(const std::string& name, const std::string& summary) const;

  /** Adds an example to the help. Every command with an action has one. */
  void example(const std::string& line) const;

  /** Adds the argument BOARD. */
  Given<BoardIndex> board() const { return argument<BoardIndex>("BOARD", "library board index"); }

  /** Adds an argument that the command needs. */
  template <typename T>
  Given<T> argument(const std::string& name, const std::string& help, Check<T> check = {}) const {
    return declare_one({name, {}, help, Kind::kArgument}, T{}, std::move(check));
  }

  /** Adds an argument that may be left out. */
  template <typename T>
  Given<T> optional_argument(const std::string& name, const std::string& help, T otherwise = {},
                             Check<T> check = {}) const {
    return declare_one({name, {}, help, Kind::kOptionalArgument}, std::move(otherwise),
                       std::move(check));
  }

  /** Adds an argument that takes all words that are left, at least one. */
  template <typename T>
  Given<std::vector<T>> arguments(const std::string& name, const std::string& help) const {
    Given<std::vector<T>> given({});
    declare({name, {}, help, Kind::kArguments},
            [given](const std::string& text) { parse_value(text, given.take().emplace_back()); });
    return given;
  }

  /**
   * Adds an option with a value.
   *
   * @param names       "--count" or "-n,--count"
   * @param value_name  what the help calls the value: "NUMBER"
   */
  template <typename T>
  Given<T> option(const std::string& names, const std::string& value_name, const std::string& help,
                  T otherwise = {}, Check<T> check = {}) const {
    return declare_one({names, value_name, help, Kind::kOption}, std::move(otherwise),
                       std::move(check));
  }

  /** Adds an option whose value is one of some words. */
  template <typename T>
  Given<T> choice(const std::string& names, const std::string& help, const Choices<T>& choices,
                  T otherwise) const {
    const Given<T> given(std::move(otherwise));
    std::vector<std::string> words;
    for (const auto& [word, value] : choices) {
      words.push_back(word);
    }
    declare({names, joined(words, '|'), help, Kind::kOption},
            [given, choices, words](const std::string& text) {
              given.take() = choices[place_of(text, words)].second;
            });
    return given;
  }

  /** Adds an option without a value. */
  Given<bool> flag(const std::string& names, const std::string& help) const;

  /** Adds "-o FILE", for bytes that go to a file instead of the terminal. */
  Given<std::string> output_file() const {
    return option<std::string>("-o,--output", "FILE", "write the raw bytes to a file");
  }

  /** Adds "--yes", for confirm() of terminal.h. */
  Given<bool> yes() const { return flag("--yes", "do not ask for confirmation"); }

  /** Says what the command does, and adds "--json". */
  void action(std::function<void(const Context&)> run) const;

 private:
  enum class Kind { kArgument, kOptionalArgument, kArguments, kOption };
  struct Declaration {
    std::string names;
    std::string value_name;
    std::string help;
    Kind kind;
  };
  using Take = std::function<void(const std::string&)>;

  template <typename T>
  Given<T> declare_one(const Declaration& declaration, T otherwise, Check<T> check) const {
    const Given<T> given(std::move(otherwise));
    declare(declaration, [given, check = std::move(check)](const std::string& text) {
      parse_value(text, given.take());
      if (check) {
        check(*given);
      }
    });
    return given;
  }

  void declare(const Declaration& declaration, Take take) const;
  static std::string joined(const std::vector<std::string>& words, char separator);
  static std::size_t place_of(const std::string& text, const std::vector<std::string>& words);

  Node* node_;
};

/** Adds every noun's commands; CMake writes it from its list of nouns. */
void add_commands(Command root);

/** Parses a command line, runs its command and returns the exit code. */
int run_command_line(int argc, const char* const* argv);

}  // namespace ovkctl

#endif
