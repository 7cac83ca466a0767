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
 * the function returns is printed; one that returns nothing prints its reports itself.
 *
 * A noun that the command line does not name is not declared any further than its name, and costs
 * next to nothing. The parser shows in command_line.cpp alone, which keeps subjects quick to
 * compile.
 */
#pragma once

#include "ovkctl/frame/board.h"
#include "ovkctl/frame/parameter.h"
#include "ovkctl/frame/report.h"

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace ovkctl {

template <typename... Parameters>
class Verb;

/** A noun, or the root above the nouns. A handle; the command line owns what is behind it. */
class Command {
 public:
  struct Node;

  using Take = std::function<void(const std::string&)>;
  enum class Kind { argument, optional_argument, arguments, option };

  /** A parameter as the parser and the help know it. */
  struct Declaration {
    Kind kind;
    std::string names;
    std::string value_name;
    std::string help;
    std::string sample;
  };

  /** @param node  null for what the command line does not name: declaring it does nothing */
  explicit Command(Node* node) : node_{node} {}

  /** Adds a noun, or a group of commands in a noun. */
  [[nodiscard]] Command noun(const char* name, const char* summary) const;

  /** Adds a command. */
  [[nodiscard]] Verb<> command(const char* name, const char* summary) const;

 protected:
  [[nodiscard]] bool declared() const { return node_ != nullptr; }

  void declare(const Declaration& declaration, Take take) const;
  void declare_flag(const char* names, const char* help, std::function<void()> take) const;

  /** Adds "--yes"; asks the question, if there is one, before the command runs. */
  void declare_question(const char* question) const;

  /** Adds "-o FILE". */
  void declare_output_file() const;

  /** Adds an example; `words` stand behind the names of the command. */
  void add_example(const std::string& words) const;

  /** Says which board the examples made of samples name. */
  void set_sample_board(const char* board) const;

  using BoardAction = std::function<Report(const Board&)>;
  using HostAction = std::function<Report(const Host&)>;
  using PlainAction = std::function<Report()>;

  /** Adds the argument BOARD. */
  void declare_board() const;

  /** Ends the declaration with what the command does. */
  void runs(BoardAction action) const;
  void runs(HostAction action) const;
  void runs(PlainAction action) const;

 private:
  Node* node_;
};

/** A command whose function gets the values of `Parameters`. */
template <typename... Parameters>
class Verb : public Command {
 public:
  Verb(const Command& command, std::tuple<Parameters...> parameters)
      : Command{command}, parameters_{std::move(parameters)} {}

  /** Adds parameters, arguments in their order; parameter.h has their kinds. */
  template <typename... More>
  [[nodiscard]] Verb<Parameters..., More...> takes(const More&... more) const {
    return {*this, std::tuple_cat(parameters_, std::tuple{more...})};
  }

  /** Says that the command changes or interrupts an adapter: it asks before it runs, in a sentence
      in which "{board}" stands for the board, unless the command line has --yes. */
  [[nodiscard]] Verb asks(const char* question) const {
    declare_question(question);
    return *this;
  }

  /** Says that the command asks, in the middle of its work, with Board::ask. */
  [[nodiscard]] Verb asks_itself() const { return asks(""); }

  /** Adds "-o FILE", for the bytes that the report has as payload. */
  [[nodiscard]] Verb saves() const {
    declare_output_file();
    return *this;
  }

  /** Adds an example beside the one that the samples of the parameters make. */
  [[nodiscard]] Verb example(const char* words) const {
    add_example(words);
    return *this;
  }

  /** Says which board the example names, where board 0 does not have what the command is for. */
  [[nodiscard]] Verb on_board(const char* board) const {
    set_sample_board(board);
    return *this;
  }

  /** Ends the declaration with the function that the command is. */
  template <typename Result, typename... Arguments>
  void shows(Result (*function)(Arguments...)) const {
    if (!declared()) {
      return;
    }
    if constexpr (starts_with<Board, Arguments...>()) {
      declare_board();
      runs(BoardAction{bound<const Board&>(function)});
    } else if constexpr (starts_with<Host, Arguments...>()) {
      runs(HostAction{bound<const Host&>(function)});
    } else {
      runs(PlainAction{bound(function)});
    }
  }

 private:
  /** Whether the first parameter of a function is a `Leading`. */
  template <typename Leading, typename... Arguments>
  static consteval bool starts_with() {
    if constexpr (sizeof...(Arguments) == 0) {
      return false;
    } else {
      return std::same_as<std::remove_cvref_t<std::tuple_element_t<0, std::tuple<Arguments...>>>,
                          Leading>;
    }
  }

  /** The last parameter of a function: where the values go that it does not take one by one. A
      function without parameters has none, which `int` stands for: clang looks at it. */
  template <typename... Arguments>
  using LastOf = std::remove_cvref_t<
      std::tuple_element_t<sizeof...(Arguments), std::tuple<int, Arguments...>>>;

  /** The function with the values of the command line, to be called with what leads them. */
  template <typename... Leading, typename Result, typename... Arguments>
  auto bound(Result (*function)(Arguments...)) const {
    auto readers = std::apply(
        [&](const auto&... parameter) { return std::tuple{reader_of(parameter)...}; }, parameters_);
    return [function, readers = std::move(readers)](Leading... leading) -> Report {
      return std::apply(
          [&](const auto&... read) {
            const auto call = [&](auto&&... values) -> Report {
              if constexpr (std::is_void_v<Result>) {
                function(leading..., std::forward<decltype(values)>(values)...);
                return {};
              } else {
                return function(leading..., std::forward<decltype(values)>(values)...);
              }
            };
            if constexpr (std::invocable<decltype(function), Leading..., decltype(read())...>) {
              return call(read()...);
            } else {
              return call(LastOf<Arguments...>{read()...});
            }
          },
          readers);
    };
  }

  /** Declares a parameter; gives what reads its value once the command line was parsed. */
  template <typename T>
  auto reader_of(const Word<T>& word) const {
    return reader(T{}, {Kind::argument, word.name, {}, word.help, word.sample}, word.range);
  }
  template <typename T>
  auto reader_of(const OptionalWord<T>& word) const {
    return reader(std::optional<T>{},
                  {Kind::optional_argument, word.name, {}, word.help, word.sample}, word.range);
  }
  template <typename T>
  auto reader_of(const Rest<T>& rest) const {
    return reader(std::vector<T>{}, {Kind::arguments, rest.name, {}, rest.help, rest.sample},
                  rest.range);
  }
  template <typename T>
  auto reader_of(const Option<T>& option) const {
    return reader(std::optional<T>{},
                  {Kind::option, option.names, option.value_name, option.help, option.sample},
                  option.range);
  }
  template <typename T>
  auto reader_of(const Setting<T>& setting) const {
    T otherwise{};
    parse_value(setting.otherwise, otherwise);
    return reader(std::move(otherwise),
                  {Kind::option, setting.names, setting.value_name, setting.help, setting.sample},
                  setting.range);
  }
  template <typename Code>
  auto reader_of(const Choice<Code>& choice) const {
    return choice_reader(
        choice.words, choice.otherwise,
        {Kind::option, choice.names, list_words(choice.words, "|"), choice.help, choice.sample});
  }
  template <typename Code>
  auto reader_of(const ChoiceWord<Code>& word) const {
    return choice_reader(word.words, Code{},
                         {Kind::argument, word.name, {}, word.help, word.sample});
  }
  auto reader_of(const Flag& flag) const {
    const auto given = std::make_shared<bool>(false);
    declare_flag(flag.names, flag.help, [given] { *given = true; });
    return [given] { return *given; };
  }

  template <typename Value>
  auto reader(Value otherwise, const Declaration& declaration, Range range) const {
    const auto value = std::make_shared<Value>(std::move(otherwise));
    declare(declaration, [value, range](const std::string& text) { take(text, *value, range); });
    return [value] { return *value; };
  }

  template <typename Code>
  auto choice_reader(WordList<Code> words, Code otherwise, const Declaration& declaration) const {
    const auto code = std::make_shared<Code>(otherwise);
    declare(declaration, [code, words](const std::string& text) { *code = code_of(words, text); });
    return [code] { return *code; };
  }

  template <typename T>
  static void take(const std::string& text, T& value, Range range) {
    parse_value(text, value);
    if constexpr (std::unsigned_integral<T>) {
      refuse_outside(range, value);
    }
  }
  template <typename T>
  static void take(const std::string& text, std::optional<T>& value, Range range) {
    take(text, value.emplace(), range);
  }
  template <typename T>
  static void take(const std::string& text, std::vector<T>& values, Range range) {
    take(text, values.emplace_back(), range);
  }

  std::tuple<Parameters...> parameters_;
};

/** Adds every subject's commands; CMake writes it from its list of subjects. */
void add_commands(Command root);

/** Parses a command line, runs its command and returns the exit code. */
int run_command_line(int argc, const char* const* argv);

}  // namespace ovkctl
