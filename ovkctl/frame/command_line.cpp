#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <span>

#include <CLI/CLI.hpp>

namespace ovkctl {

/** A noun that the command line does not name. */
struct NameAndSummary {
  std::string_view name;
  const char* summary;
};

struct Command::Node {
  Node(CLI::App& command_app, std::span<const char* const> line) : app{command_app}, words{line} {}

  CLI::App& app;
  /** The command line. */
  std::span<const char* const> words;
  std::deque<Node> subcommands;
  /** What stands in the help only. */
  std::vector<NameAndSummary> others;
  /** What the command line must have, unless it goes on to a command below. */
  std::vector<const CLI::Option*> needed;
  /** The words of the example that the parameters' samples make: arguments, options, then --yes. */
  std::string sample_board{"0"};
  std::string sample_arguments;
  std::string sample_options;
  std::string sample_answer;
  std::vector<std::string> examples;
  /** What the command asks before it runs; "{board}" stands for the board. */
  std::string question;
  Invocation invocation;
  BoardIndex board;
  std::function<void()> run;
};

namespace {

/** The help without the parser's notes on types and on what is required. */
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "COMMAND");
    column_width(28);
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_positional() ? std::string() : " " + option->get_type_name();
  }
};

std::string example_text(const std::vector<std::string>& examples) {
  std::string text = examples.size() == 1 ? "Example:" : "Examples:";
  for (const std::string& example : examples) {
    text += "\n  " + example;
  }
  return text;
}

/** The command that the command line named last, which is the one to run. */
Command::Node& selected(Command::Node& node) {
  for (Command::Node& subcommand : node.subcommands) {
    if (subcommand.app.parsed()) {
      return selected(subcommand);
    }
  }
  return node;
}

void add_error(Report& report, int exit_code, const char* message, const OperationFailed* failure) {
  Section& error = report.section("error", "Error");
  error.field("exit_code", "Exit code", exit_code).field("message", "Message", message);
  if (failure != nullptr) {
    error.field("result", "Result", failure->result()).field("advice", "Advice", failure->advice());
  }
}

int end_with(int exit_code, const std::exception& error, bool json) {
  const auto* const failure = dynamic_cast<const OperationFailed*>(&error);
  const auto* const shown = dynamic_cast<const FailedWithReport*>(&error);
  Report report = shown != nullptr ? shown->report() : Report{};
  // Nothing more can be done when standard output is what failed.
  if (json) {
    add_error(report, exit_code, error.what(), failure);
    // On one line, as a reader expects that has read a document a line until then.
    const JsonForm form = shown != nullptr ? JsonForm::indented : JsonForm::one_line;
    std::fputs(render_json(report, form).c_str(), stdout);
  } else {
    std::fputs(render_text(report).c_str(), stdout);
  }
  std::fflush(stdout);
  std::fprintf(stderr, "ovkctl: %s\n", error.what());
  if (failure != nullptr && !failure->advice().empty()) {
    std::fprintf(stderr, "%s\n", failure->advice().c_str());
  }
  return exit_code;
}

void require_needed(const Command::Node& node) {
  for (const CLI::Option* const option : node.needed) {
    if (option->count() == 0) {
      throw CLI::RequiredError(option->get_name());
    }
  }
}

int run(const Command::Node& node) {
  const bool json = node.invocation.json;
  try {
    node.run();
    return exit_success;
  } catch (const UsageError& error) {
    return end_with(exit_wrong_usage, error, json);
  } catch (const std::exception& error) {
    return end_with(exit_failed, error, json);
  }
}

/** The names above a command and a blank: "ovkctl stats ". */
std::string names_above(const CLI::App& app) {
  const CLI::App* const parent = app.get_parent();
  return parent != nullptr ? names_above(*parent) + parent->get_name() + " " : std::string();
}

/** The names of a command with those above it: "ovkctl stats reset". */
std::string names_of(const CLI::App& app) { return names_above(app) + app.get_name(); }

int refuse_without_action(const CLI::App& app) {
  std::string above = names_above(app);
  above.resize(above.empty() ? 0 : above.size() - 1);
  std::fputs(app.help(above).c_str(), stderr);
  return exit_wrong_usage;
}

int refuse(const Command::Node& node, const std::string& mistake) {
  // The parser's own sentences have no end.
  std::fprintf(stderr, "ovkctl: %s%s\nSee \"%s --help\".\n", mistake.c_str(),
               mistake.ends_with('.') ? "" : ".", names_of(node.app).c_str());
  return exit_wrong_usage;
}

/** Adds a parameter to the example that the samples make; blanks are kept by quotes. */
void add_sample(Command::Node& node, const Command::Declaration& declaration) {
  const std::string& sample = declaration.sample;
  if (sample.empty()) {
    return;
  }
  const std::string word =
      sample.find(' ') != std::string::npos ? " \"" + sample + "\"" : " " + sample;
  if (declaration.kind == Command::Kind::option) {
    node.sample_options += " " + declaration.names.substr(declaration.names.rfind(',') + 1) + word;
  } else {
    node.sample_arguments += word;
  }
}

void declare_json(Command::Node& node) {
  node.app.add_flag_callback(
      "--json", [&node] { node.invocation.json = true; }, "print JSON instead of text");
}

void end_declaration(Command::Node& node, std::function<Report()> action) {
  declare_json(node);
  node.examples.insert(node.examples.begin(), names_of(node.app) + node.sample_arguments +
                                                  node.sample_options + node.sample_answer);
  node.run = [&node, action = std::move(action)] { node.invocation.finish(action()); };
}

/** The examples of a command, and of those below it the first. */
std::vector<std::string> examples_of(const Command::Node& node) {
  std::vector<std::string> examples = node.examples;
  for (const Command::Node& subcommand : node.subcommands) {
    const std::vector<std::string> below = examples_of(subcommand);
    examples.insert(examples.end(), below.begin(), below.begin() + (below.empty() ? 0 : 1));
  }
  return examples;
}

void add_examples_to_help(Command::Node& node) {
  node.app.footer(example_text(examples_of(node)));
  std::ranges::for_each(node.subcommands, add_examples_to_help);
}

/** Adds the nouns that were not declared, for the help and for the refusal of a line without one.
 */
void add_other_nouns(Command::Node& root) {
  std::ranges::sort(root.others, {}, &NameAndSummary::name);
  for (const NameAndSummary& other : root.others) {
    root.app.add_subcommand(std::string{other.name}, other.summary)->group("Commands");
  }
}

}  // namespace

Command Command::noun(const char* name, const char* summary) const {
  if (!declared()) {
    return Command{nullptr};
  }
  // Below the root only what the command line names is declared: all of it would cost more than
  // most commands do.
  const bool named =
      std::ranges::any_of(node_->words, [name](std::string_view word) { return word == name; });
  if (node_->app.get_parent() == nullptr && !named) {
    node_->others.push_back({name, summary});
    return Command{nullptr};
  }
  CLI::App* const app = node_->app.add_subcommand(name, summary)->group("Commands");
  // What this command needs is not needed when the line goes on to one below it.
  for (CLI::Option* const option : node_->app.get_options()) {
    option->required(false);
  }
  return Command{&node_->subcommands.emplace_back(*app, node_->words)};
}

Verb<> Command::command(const char* name, const char* summary) const {
  return {noun(name, summary), {}};
}

void Command::declare(const Declaration& declaration, Take take) const {
  if (!declared()) {
    return;
  }
  const auto take_all = [names = declaration.names,
                         take = std::move(take)](const std::vector<std::string>& texts) {
    try {
      std::ranges::for_each(texts, take);
    } catch (const UsageError& error) {
      throw UsageError(names + ": " + error.what());
    }
    return true;
  };
  CLI::Option* const option = node_->app.add_option(declaration.names, take_all, declaration.help);
  option->type_name(declaration.value_name);
  const bool needed = declaration.kind == Kind::argument || declaration.kind == Kind::arguments;
  option->required(needed && node_->subcommands.empty());
  if (needed) {
    node_->needed.push_back(option);
  }
  if (declaration.kind == Kind::arguments) {
    option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
  }
  add_sample(*node_, declaration);
}

void Command::declare_flag(const char* names, const char* help, std::function<void()> take) const {
  if (declared()) {
    node_->app.add_flag_callback(names, std::move(take), help);
  }
}

void Command::declare_question(const char* question) const {
  if (declared()) {
    node_->question = question;
    node_->sample_answer = " --yes";
    declare_flag("--yes", "do not ask for confirmation",
                 [node = node_] { node->invocation.yes = true; });
  }
}

void Command::declare_output_file() const {
  declare({Kind::option,
           "-o,--output",
           "FILE",
           "write the raw bytes to a file; - is standard output",
           {}},
          [node = node_](const std::string& text) { node->invocation.output_file = text; });
}

void Command::declare_board() const {
  declare({Kind::argument, "BOARD", {}, "library board index", node_->sample_board},
          [node = node_](const std::string& text) { parse_value(text, node->board); });
}

void Command::add_example(const std::string& words) const {
  if (declared()) {
    node_->examples.push_back(names_of(node_->app) + " " + words);
  }
}

void Command::set_sample_board(const char* board) const {
  if (declared()) {
    node_->sample_board = board;
  }
}

void Command::runs(BoardAction action) const {
  end_declaration(*node_, [node = node_, action = std::move(action)] {
    const Session session;
    const Board board = Host{node->invocation, session.board_count()}.board(node->board);
    if (!node->question.empty()) {
      board.ask(node->question.c_str());
    }
    return action(board);
  });
}

void Command::runs(HostAction action) const {
  end_declaration(*node_, [node = node_, action = std::move(action)] {
    const Session session;
    return action(Host{node->invocation, session.board_count()});
  });
}

void Command::runs(PlainAction action) const { end_declaration(*node_, std::move(action)); }

int run_command_line(int argc, const char* const* argv) {
  CLI::App app("Looks at and manages Fibre Channel and FCoE host bus adapters.", "ovkctl");
  app.formatter(std::make_shared<HelpFormatter>());
  app.require_subcommand(0, 1);
  Command::Node root{app, {argv + 1, static_cast<std::size_t>(argc - 1)}};
  add_commands(Command{&root});
  add_examples_to_help(root);
  app.footer(example_text({"ovkctl list", "ovkctl list --help"}));
  if (root.subcommands.empty()) {
    add_other_nouns(root);
  }

  try {
    app.parse(argc, argv);
    const Command::Node& node = selected(root);
    require_needed(node);
    return node.run ? run(node) : refuse_without_action(node.app);
  } catch (const CLI::ParseError& error) {
    return error.get_exit_code() == exit_success ? app.exit(error)
                                                 : refuse(selected(root), error.what());
  } catch (const UsageError& error) {
    return refuse(selected(root), error.what());
  }
}

}  // namespace ovkctl
