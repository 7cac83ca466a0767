#include "ovkctl/frame/board.h"

#include "ovkctl/frame/files.h"

#include <ovk/core.h>

#include <array>
#include <iostream>
#include <unistd.h>

namespace ovkctl {
namespace {

void write_report(std::FILE* stream, const std::string& text) {
  const bool whole = std::fwrite(text.data(), 1, text.size(), stream) == text.size();
  if (std::fflush(stream) != 0 || !whole) {
    throw OperationFailed("The output could not be written.");
  }
}

}  // namespace

void Invocation::finish(Report report) const {
  if (output_file) {
    const auto bytes = report.take_payload();
    if (!bytes) {
      throw FailedWithReport(std::move(report), "There are no bytes to write to the file.", "");
    }
    write_file(*output_file, *bytes);
    report.field("file", "Written to", *output_file);
  }
  if (!report.empty()) {
    write_report(report_stream(), json ? render_json(report) : render_text(report));
  }
}

void Invocation::show_next(const Report& report) const {
  write_report(stdout, json ? render_json(report, JsonForm::one_line) : render_text(report));
}

bool Invocation::ask(const std::string& warning, const Report* preview) const {
  if (yes) {
    return false;
  }
  const bool shown = preview != nullptr && !json;
  if (shown) {
    write_report(stdout, render_text(*preview));
  }
  if (isatty(STDIN_FILENO) == 0) {
    throw UsageError("{} Confirm it with --yes.", warning);
  }
  fmt::print(stderr, "{} Continue? [y/N] ", warning);
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") {
    throw OperationFailed("Nothing was done.");
  }
  return shown;
}

Host::Host(const Invocation& invocation) : invocation_{&invocation} {
  std::array<DiagBoardEntry, OVK_MAX_BOARDS> entries{};
  board_count_ = OVK_InitDiagEnv(entries.data(), entries.size());
  // A refused channel leaves no reference to release.
  if (refcnt == 0) {
    throw OperationFailed("The management channel to the adapter driver could not be opened.",
                          "Check that the driver is loaded and fits this version of ovkctl.");
  }
  if (board_count_ == 0) {
    OVK_FreeDiagEnv();
    throw OperationFailed("There is no Fibre Channel board on this host.",
                          "Check that an adapter is installed and that its driver claimed it.");
  }
}

Host::~Host() { OVK_FreeDiagEnv(); }

Board Host::board(std::uint32_t index) const {
  if (index < board_count_) {
    return {*invocation_, index};
  }
  throw UsageError("There is no board {}: {} (see \"ovkctl list\").", index,
                   board_count_ == 1 ? "0 is the only board"
                                     : fmt::format("the boards are 0 to {}", board_count_ - 1));
}

std::vector<Board> Host::boards() const {
  std::vector<Board> boards;
  for (std::uint32_t index = 0; index < board_count_; ++index) {
    boards.emplace_back(*invocation_, index);
  }
  return boards;
}

Report Board::report() const { return Report{}.field("board", "Board", index_); }

Report Board::listing() const { return Report{}.field("board", "", index_); }

void Board::check(std::uint32_t result, const std::string& operation,
                  std::span<const ResultText> own) const {
  if (result != OVK_OK) {
    ovkctl::check(result, operation + " of " + name(), own);
  }
}

void Board::check_stored(bool same, const std::string& what) const {
  if (!same) {
    throw OperationFailed(
        fmt::format("{} of {} reads back differently from what was set.", what, name()),
        "See with \"ovkctl list\" whether the board is ready, and set it again.");
  }
}

}  // namespace ovkctl
