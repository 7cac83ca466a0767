#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <fmt/format.h>
#include <span>

#include <CLI/CLI.hpp>

namespace ovkctl {

struct Command::Node {
  Node(CLI::App& command_app, std::string whole_name, std::span<const char* const> line)
      : app{command_app}, path{std::move(whole_name)}, words{line} {}

  CLI::App& app;
  /** The names of the command with those above it: "ovkctl stats reset". */
  std::string path;
  /** The command line. */
  std::span<const char* const> words;
  std::deque<Node> subcommands;
  /** The name and the summary of what stands in the help only. */
  std::vector<std::pair<std::string, const char*>> others;
  /** What the command line must have, unless it goes on to a command below. */
  std::vector<const CLI::Option*> needed;
  /** The words of the example that the parameters' samples make: arguments, then options. */
  std::string sample_arguments;
  std::string sample_options;
  std::vector<std::string> examples;
  Invocation invocation;
  std::uint32_t board = 0;
  std::function<Report()> run;
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
  return fmt::format("{}:\n  {}", examples.size() == 1 ? "Example" : "Examples",
                     fmt::join(examples, "\n  "));
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

int end_with(int exit_code, const std::exception& error, const Invocation& invocation) {
  const auto* const failure = dynamic_cast<const OperationFailed*>(&error);
  const auto* const shown = dynamic_cast<const FailedWithReport*>(&error);
  Report report = shown != nullptr ? shown->report() : Report{};
  std::FILE* const stream = invocation.report_stream();
  // Nothing more can be done when standard output is what failed.
  if (invocation.json) {
    Section& section = report.section("error", "");
    section.field("exit_code", "", exit_code).field("message", "", error.what());
    if (failure != nullptr) {
      section.field("result", "", failure->result()).field("advice", "", failure->advice());
    }
    // On one line, as a reader expects that has read a document a line until then.
    const JsonForm form = shown != nullptr ? JsonForm::indented : JsonForm::one_line;
    std::fputs(render_json(report, form).c_str(), stream);
  } else {
    std::fputs(render_text(report).c_str(), stream);
  }
  std::fflush(stream);
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
  try {
    node.invocation.finish(node.run());
    return exit_success;
  } catch (const UsageError& error) {
    return end_with(exit_wrong_usage, error, node.invocation);
  } catch (const std::exception& error) {
    return end_with(exit_failed, error, node.invocation);
  }
}

int refuse(const Command::Node& node, const std::string& mistake) {
  // The parser's own sentences have no end.
  std::fprintf(stderr, "ovkctl: %s%s\nSee \"%s --help\".\n", mistake.c_str(),
               mistake.ends_with('.') ? "" : ".", node.path.c_str());
  return exit_wrong_usage;
}

/** Adds a parameter to the example that the samples make; blanks are kept by quotes. */
void add_sample(Command::Node& node, const Declaration& declaration) {
  const std::string_view sample = declaration.sample;
  const std::string_view names = declaration.names;
  if (sample.empty()) {
    return;
  }
  const char* const quote = sample.find(' ') != sample.npos ? "\"" : "";
  const std::string word = fmt::format(" {}{}{}", quote, sample, quote);
  if (declaration.kind == Kind::option) {
    node.sample_options += fmt::format(" {}{}", names.substr(names.rfind(',') + 1), word);
  } else {
    node.sample_arguments += word;
  }
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
  std::ranges::sort(root.others);
  for (const auto& [name, summary] : root.others) {
    root.app.add_subcommand(name, summary)->group("Commands");
  }
}

}  // namespace

Command Command::noun(const char* name, const char* summary) const {
  if (!declared()) {
    return *this;
  }
  // Below the root only what the command line names is declared: all of it would cost more than
  // most commands do.
  if (node_->app.get_parent() == nullptr &&
      std::ranges::find(node_->words, std::string_view{name}) == node_->words.end()) {
    node_->others.emplace_back(name, summary);
    return Command{nullptr};
  }
  CLI::App* const app = node_->app.add_subcommand(name, summary)->group("Commands");
  return Command{&node_->subcommands.emplace_back(*app, node_->path + " " + name, node_->words)};
}

Verb<> Command::command(const char* name, const char* summary) const {
  return {noun(name, summary), {}, {}};
}

void Command::declare(const Declaration& declaration, const std::string& words, Take take) const {
  const auto take_all = [names = declaration.names,
                         take = std::move(take)](const std::vector<std::string>& texts) {
    try {
      std::ranges::for_each(texts, take);
    } catch (const UsageError& error) {
      throw UsageError("{}: {}", names, error.what());
    }
    return true;
  };
  CLI::Option* const option = node_->app.add_option(declaration.names, take_all, declaration.help);
  option->type_name(words.empty() ? declaration.value_name : words);
  const bool needed = declaration.kind == Kind::argument || declaration.kind == Kind::arguments;
  // What this command needs is not needed when the line goes on to one below it.
  option->required(needed && node_->subcommands.empty());
  if (needed) {
    node_->needed.push_back(option);
  }
  if (declaration.kind == Kind::arguments) {
    option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
  }
  add_sample(*node_, declaration);
}

void Command::declare_flag(const Flag& flag, bool& given) const {
  node_->app.add_flag(flag.names, given, flag.help);
}

void Command::declare_traits(const Traits& traits, bool of_board) const {
  if (traits.question != nullptr) {
    declare_flag({"--yes", "do not ask for confirmation"}, node_->invocation.yes);
  }
  if (of_board) {
    declare({Kind::argument, "BOARD", "", "library board index", traits.board}, "",
            [node = node_](const std::string& text) { parse_value(text, node->board); });
  }
  if (traits.output != nullptr) {
    declare(*traits.output, "",
            [node = node_](const std::string& text) { node->invocation.output_file = text; });
  }
}

void Command::runs(const Traits& traits, Action action) const {
  declare_flag({"--json", "print JSON instead of text"}, node_->invocation.json);
  node_->examples = {node_->path + node_->sample_arguments + node_->sample_options +
                     (traits.question != nullptr ? " --yes" : "")};
  for (const char* const words : traits.examples) {
    node_->examples.push_back(node_->path + " " + words);
  }
  node_->run = [node = node_, action = std::move(action)] {
    return action(node->invocation, node->board);
  };
}

int run_command_line(int argc, const char* const* argv) {
  CLI::App app("Looks at and manages Fibre Channel and FCoE host bus adapters.", "ovkctl");
  app.formatter(std::make_shared<HelpFormatter>());
  app.require_subcommand(0, 1);
  Command::Node root{app, app.get_name(), {argv + 1, static_cast<std::size_t>(argc - 1)}};
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
    if (node.run) {
      return run(node);
    }
    std::fputs(app.help().c_str(), stderr);
    return exit_wrong_usage;
  } catch (const CLI::ParseError& error) {
    return error.get_exit_code() == exit_success ? app.exit(error)
                                                 : refuse(selected(root), error.what());
  } catch (const UsageError& error) {
    return refuse(selected(root), error.what());
  }
}

}  // namespace ovkctl
