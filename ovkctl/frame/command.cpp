#include "ovkctl/frame/command.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/terminal.h"

#include <algorithm>
#include <cstdio>
#include <deque>

#include <CLI/CLI.hpp>

namespace ovkctl {

struct Command::Node {
  explicit Node(CLI::App& command_app) : app(command_app) {}

  CLI::App& app;
  std::deque<Node> subcommands;
  /** What the command line must have, unless it goes on to a command below. */
  std::vector<const CLI::Option*> needed;
  std::vector<std::string> examples;
  std::function<void(const Context&)> run;
  Given<bool> json{false};
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

void write_output(const std::string& text) {
  const bool whole = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (std::fflush(stdout) != 0 || !whole) {
    throw OperationFailed("The output could not be written.");
  }
}

void add_error(Report& report, int exit_code, const char* message, const OperationFailed* failure) {
  Section& error = report.section("error", "Error");
  error.field("exit_code", "Exit code", exit_code).field("message", "Message", message);
  if (failure != nullptr) {
    error.field("result", "Result", failure->result()).field("advice", "Advice", failure->advice());
  }
}

int end_with(int exit_code, const std::exception& error, const Context& context) {
  const auto* const failure = dynamic_cast<const OperationFailed*>(&error);
  const auto* const shown = dynamic_cast<const FailedWithReport*>(&error);
  Report report = shown != nullptr ? shown->report() : Report{};
  // Nothing more can be done when standard output is what failed.
  if (context.json()) {
    add_error(report, exit_code, error.what(), failure);
    // On one line, as a reader expects that has read a document a line until then.
    const JsonForm form = shown != nullptr ? JsonForm::kIndented : JsonForm::kOneLine;
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
  const Context context(*node.json);
  try {
    node.run(context);
    return kSuccess;
  } catch (const UsageError& error) {
    return end_with(kWrongUsage, error, context);
  } catch (const std::exception& error) {
    return end_with(kOperationFailed, error, context);
  }
}

/** The names above a command and a blank: "ovkctl stats ". */
std::string names_above(const CLI::App& app) {
  const CLI::App* const parent = app.get_parent();
  return parent != nullptr ? names_above(*parent) + parent->get_name() + " " : std::string();
}

int refuse_without_action(const CLI::App& app) {
  std::string above = names_above(app);
  above.resize(above.empty() ? 0 : above.size() - 1);
  std::fputs(app.help(above).c_str(), stderr);
  return kWrongUsage;
}

int refuse(const Command::Node& node, const std::string& mistake) {
  std::fprintf(stderr, "ovkctl: %s\nSee \"%s --help\".\n", mistake.c_str(),
               (names_above(node.app) + node.app.get_name()).c_str());
  return kWrongUsage;
}

}  // namespace

Check<std::uint32_t> between(std::uint32_t least, std::uint32_t most) {
  return [least, most](const std::uint32_t& number) {
    if (number < least || number > most) {
      throw UsageError(std::to_string(number) + " is not from " + std::to_string(least) + " to " +
                       std::to_string(most));
    }
  };
}

void Context::print(const Report& report) const {
  write_output(json_ ? render_json(report) : render_text(report));
}

void Context::print_next(const Report& report) const {
  write_output(json_ ? render_json(report, JsonForm::kOneLine) : render_text(report));
}

Command Command::subcommand(const std::string& name, const std::string& summary) const {
  CLI::App* const app = node_->app.add_subcommand(name, summary)->group("Commands");
  // What this command needs is not needed when the line goes on to one below it.
  for (CLI::Option* const option : node_->app.get_options()) {
    option->required(false);
  }
  return Command(node_->subcommands.emplace_back(*app));
}

void Command::example(const std::string& line) const {
  node_->examples.push_back(line);
  node_->app.footer(example_text(node_->examples));
}

Given<bool> Command::flag(const std::string& names, const std::string& help) const {
  const Given<bool> given(false);
  node_->app.add_flag_callback(
      names, [given] { given.take() = true; }, help);
  return given;
}

void Command::action(std::function<void(const Context&)> run_action) const {
  if (node_->examples.empty()) {
    throw std::logic_error("the command \"" + node_->app.get_name() + "\" has no example");
  }
  node_->json = flag("--json", "print JSON instead of text");
  node_->run = std::move(run_action);
}

void Command::declare(const Declaration& declaration, Take take) const {
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
  const bool needed = declaration.kind == Kind::kArgument || declaration.kind == Kind::kArguments;
  option->required(needed && node_->subcommands.empty());
  if (needed) {
    node_->needed.push_back(option);
  }
  if (declaration.kind == Kind::kArguments) {
    option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
  }
}

std::string Command::joined(const std::vector<std::string>& words, char separator) {
  std::string text;
  for (const std::string& word : words) {
    text += text.empty() ? word : separator + word;
  }
  return text;
}

std::size_t Command::place_of(const std::string& text, const std::vector<std::string>& words) {
  const auto word = std::ranges::find(words, text);
  if (word == words.end()) {
    throw UsageError("\"" + text + "\" is none of " + joined(words, '|'));
  }
  return static_cast<std::size_t>(word - words.begin());
}

int run_command_line(int argc, const char* const* argv) {
  CLI::App app("Looks at and manages Fibre Channel and FCoE host bus adapters.", "ovkctl");
  app.formatter(std::make_shared<HelpFormatter>());
  app.require_subcommand(0, 1);
  app.footer(example_text({"ovkctl list", "ovkctl list --help"}));
  Command::Node root(app);
  add_commands(Command(root));

  try {
    app.parse(argc, argv);
    const Command::Node& node = selected(root);
    require_needed(node);
    return node.run ? run(node) : refuse_without_action(node.app);
  } catch (const CLI::ParseError& error) {
    return error.get_exit_code() == kSuccess ? app.exit(error)
                                             : refuse(selected(root), error.what());
  } catch (const UsageError& error) {
    return refuse(selected(root), error.what());
  }
}

}  // namespace ovkctl
