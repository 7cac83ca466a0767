/**
 * @file
 * How a subject declares its commands: as a declaration and a plain function of values.
 *
 *     void add_reg(Command root) {
 *       const Command reg = root.noun("reg", "Read and write control registers (below SLI-4)");
 *       reg.command("write", "Write a control register, and read it again")
 *           .takes(offset, value)
 *           .asks("A wrong register value can stop {board}.")
 *           .shows(write);
 *     }
 *
 * The function's parameters say what the command works with: a `const Board&` first makes the
 * command take the argument BOARD, a `const Host&` has the library initialised without one, and
 * then come the values that the command takes, one by one or as an aggregate of all of them. What
 * the function returns is printed.
 *
 * A noun that the command line does not name is not declared any further than its name, and costs
 * next to nothing. The parser shows in command_line.cpp alone, which keeps subjects quick to
 * compile.
 *
 * With this header a subject has all that declarations and such functions are written with: the
 * frame, the standard library's texts, spans, optionals and vectors, and fmt::format.
 */
#pragma once

#include "ovkctl/frame/board.h"
#include "ovkctl/frame/parameter.h"
#include "ovkctl/frame/report.h"

#include <concepts>
#include <cstdint>
#include <fmt/core.h>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace ovkctl {

template <typename... Parameters>
class Verb;

/** What a command is apart from its parameters and its function. */
struct Traits {
  const char* question = nullptr;  ///< asked before it runs; empty when the command asks itself
  const Declaration* output = nullptr;  ///< what names the file for the report's bytes
  const char* board = "0";              ///< the board of the example
  std::vector<const char*> examples;
};

/** A noun, or the root above the nouns. A handle; the command line owns what is behind it. */
class Command {
 public:
  struct Node;

  /** @param node  null for what the command line does not name: declaring it does nothing */
  explicit Command(Node* node) : node_{node} {}

  /** Adds a noun, or a group of commands in a noun. */
  [[nodiscard]] Command noun(const char* name, const char* summary) const;

  /** Adds a command; what is below it is added before it gets its function. */
  [[nodiscard]] Verb<> command(const char* name, const char* summary) const;

 protected:
  using Take = std::function<void(const std::string&)>;
  using Action = std::function<Report(const Invocation&, std::uint32_t board)>;

  [[nodiscard]] bool declared() const { return node_ != nullptr; }

  /** @param words  what the value may be; empty when there is more than some words */
  void declare(const Declaration& declaration, const std::string& words, Take take) const;
  void declare_flag(const Flag& flag, bool& given) const;

  /** Adds the options of the traits, and the argument BOARD to a command of a board. */
  void declare_traits(const Traits& traits, bool of_board) const;

  /** Ends the declaration with what the command does. */
  void runs(const Traits& traits, Action action) const;

 private:
  Node* node_;
};

/** Whether a `const Leading&` is the first of some types. */
template <typename Leading, typename... Types>
inline constexpr bool starts_with = false;
template <typename Leading, typename... Types>
inline constexpr bool starts_with<Leading, const Leading&, Types...> = true;

/** A command whose function gets the values of `Parameters`. */
template <typename... Parameters>
class Verb : public Command {
 public:
  Verb(const Command& command, Traits traits, std::tuple<Parameters...> parameters)
      : Command{command}, traits_{std::move(traits)}, parameters_{std::move(parameters)} {}

  /** Adds parameters, arguments in their order; parameter.h has their kinds. */
  template <typename... More>
  [[nodiscard]] Verb<Parameters..., More...> takes(const More&... more) const {
    return {*this, traits_, std::tuple_cat(parameters_, std::tuple{more...})};
  }

  /** Says that the command changes or interrupts an adapter: it asks before it runs, in a sentence
      in which "{board}" stands for the board, unless the command line has --yes. */
  [[nodiscard]] Verb&& asks(const char* question) {
    traits_.question = question;
    return std::move(*this);
  }

  /** Says that the command asks, in the middle of its work, with Board::ask. */
  [[nodiscard]] Verb&& asks_itself() { return asks(""); }

  /** Adds "-o FILE", or an argument that must be there, for the bytes that the report has as
      payload. */
  [[nodiscard]] Verb&& saves(const Declaration& file = output_option) {
    traits_.output = &file;
    return std::move(*this);
  }

  /** Adds an example beside the one that the samples of the parameters make. */
  [[nodiscard]] Verb&& example(const char* words) {
    traits_.examples.push_back(words);
    return std::move(*this);
  }

  /** Says which board the example names, where board 0 does not have what the command is for. */
  [[nodiscard]] Verb&& on_board(const char* board) {
    traits_.board = board;
    return std::move(*this);
  }

  /** Ends the declaration with the function that the command is. */
  template <typename... Types>
  void shows(Report (*function)(Types...)) const {
    if (!declared()) {
      return;
    }
    declare_traits(traits_, starts_with<Board, Types...>);
    const auto call = bound(function);
    const char* const question = traits_.question;
    runs(traits_, [=](const Invocation& invocation, std::uint32_t index) {
      if constexpr (starts_with<Board, Types...>) {
        const Host host{invocation};
        const Board board = host.board(index);
        if (question != nullptr && *question != '\0') {
          board.ask(question);
        }
        return call(board);
      } else if constexpr (starts_with<Host, Types...>) {
        return call(Host{invocation});
      } else {
        return call();
      }
    });
  }

 private:
  /** The last parameter of a function: where the values go that it does not take one by one. A
      function without parameters has none, which `int` stands for: clang looks at it. */
  template <typename... Types>
  using LastOf =
      std::remove_cvref_t<std::tuple_element_t<sizeof...(Types), std::tuple<int, Types...>>>;

  /** The function with the values of the command line, to be called with what leads them. */
  template <typename... Types>
  auto bound(Report (*function)(Types...)) const {
    const std::tuple readers = std::apply(
        [&](const auto&... parameter) { return std::tuple{reader_of(parameter)...}; }, parameters_);
    return [function, readers](const auto&... leading) {
      const auto call = [&](const auto&... values) -> Report {
        return function(leading..., values...);
      };
      return std::apply(
          [&](const auto&... read) {
            if constexpr (std::invocable<decltype(function), decltype(leading)...,
                                         decltype(read())...>) {
              return call(read()...);
            } else {
              return call(LastOf<Types...>{read()...});
            }
          },
          readers);
    };
  }

  /** Declares a parameter; gives what reads its value once the command line was parsed. */
  template <typename Value>
  auto reader_of(const Parameter<Value>& parameter) const {
    const auto value = std::make_shared<Value>();
    const auto& accepted = parameter.accepted;
    if (parameter.otherwise != nullptr) {
      accepted.read(parameter.otherwise, Share<Value>::place_in(*value));
    }
    declare(parameter, list_words(accepted.words, "|"), [value, accepted](const std::string& text) {
      auto& place = Share<Value>::place_in(*value);
      accepted.read(text, place);
      accepted.check(place);
    });
    return [value] { return *value; };
  }
  auto reader_of(const Flag& flag) const {
    const auto given = std::make_shared<bool>(false);
    declare_flag(flag, *given);
    return [given] { return *given; };
  }

  Traits traits_;
  std::tuple<Parameters...> parameters_;
};

/** Adds every subject's commands; CMake writes it from its list of subjects. */
void add_commands(Command root);

/** Parses a command line, runs its command and returns the exit code. */
int run_command_line(int argc, const char* const* argv);

}  // namespace ovkctl
