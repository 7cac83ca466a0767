/**
 * @file
 * What a command's function works with: the host, or the board that the command line names.
 */
#pragma once

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/report.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/frame/values.h"

#include <cstdint>
#include <cstdio>
#include <fmt/core.h>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace ovkctl {

/** An operation that failed and has something to show nevertheless; both are one JSON document. */
class FailedWithReport : public OperationFailed {
 public:
  FailedWithReport(Report report, const std::string& message, std::string advice)
      : OperationFailed{message, std::move(advice)}, report_{std::move(report)} {}

  [[nodiscard]] const Report& report() const { return report_; }

 private:
  Report report_;
};

/** How the command line wants a command to run, whatever the command is. */
struct Invocation {
  bool json = false;  ///< print JSON instead of text
  bool yes = false;   ///< ask nothing
  std::optional<std::string> output_file;

  /** Where reports go: they must not stand among bytes that go to standard output. */
  [[nodiscard]] std::FILE* report_stream() const { return output_file == "-" ? stderr : stdout; }

  /** Prints the report of a command; bytes that it has for a file go there if one is named. */
  void finish(Report report) const;

  /** Prints one of several reports that follow each other; in JSON each stands on a line. */
  void show_next(const Report& report) const;

  /**
   * Lets an operation begin that changes or interrupts an adapter: asks the person at the terminal
   * unless the command line says --yes. Throws UsageError when there is no terminal,
   * OperationFailed when the person declines.
   *
   * @param warning  a sentence that says what is about to happen
   * @param preview  what the person sees before the question
   * @return whether the preview was shown
   */
  bool ask(const std::string& warning, const Report* preview = nullptr) const;
};

/** A record of the driver as the library takes it, which leaves its layout open. */
template <typename Opaque, typename Record>
[[nodiscard]] Opaque* opaque(Record& record) {
  static_assert(sizeof(Opaque) == sizeof(Record));
  return static_cast<Opaque*>(static_cast<void*>(&record));
}

class Board;

/** The host. The library is initialised as long as this lives. */
class Host {
 public:
  /** Throws OperationFailed when there is no board. */
  explicit Host(const Invocation& invocation);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /** The board of an index; throws UsageError when there is none. */
  [[nodiscard]] Board board(std::uint32_t index) const;

  /** All boards. */
  [[nodiscard]] std::vector<Board> boards() const;

 private:
  const Invocation* invocation_;
  std::uint32_t board_count_;
};

/** A board that exists. In the library's calls it stands for its index. */
class Board {
 public:
  Board(const Invocation& invocation, std::uint32_t index)
      : invocation_{&invocation}, index_{index} {}

  operator std::uint32_t() const { return index_; }  // NOLINT: so that calls take a board

  /** "board 0". */
  [[nodiscard]] std::string name() const { return "board " + std::to_string(index_); }

  /** A report that begins with the board. */
  [[nodiscard]] Report report() const;

  /** A report whose text is a table or a sentence: the board stands in JSON only. */
  [[nodiscard]] Report listing() const;

  /** A report of one sentence, in which "{board}" stands for the board and "{}" for an argument. */
  template <typename... Arguments>
  [[nodiscard]] Report done(const char* sentence, const Arguments&... arguments) const {
    return listing().note(in_words(sentence, arguments...));
  }

  /**
   * Throws OperationFailed unless the result is OVK_OK.
   *
   * @param operation  what was tried, as the start of a sentence: "Reading the VPD"
   * @param own        the codes that mean something of their own in this call
   */
  void check(std::uint32_t result, const std::string& operation,
             std::span<const ResultText> own = {}) const;

  /** What a call writes into its record, which is zeroed unless given; throws OperationFailed. */
  template <typename Result, typename Index, typename Record>
  [[nodiscard]] Record read(Result (*call)(Index, Record*), const std::string& operation,
                            std::span<const ResultText> own = {}, Record record = {}) const {
    const Result result = call(static_cast<Index>(index_), &record);
    check(static_cast<std::uint32_t>(result), operation, own);
    return record;
  }

  /**
   * Throws OperationFailed for what does not read back as it was set. The library's calls do not
   * tell of every write that went wrong.
   *
   * @param what  the setting, as the start of a sentence: "Persistent link down"
   */
  void check_stored(bool same, const std::string& what) const;

  /** Invocation::ask, in a sentence as that of done(). */
  template <typename... Arguments>
  void ask(const char* sentence, const Arguments&... arguments) const {
    invocation_->ask(in_words(sentence, arguments...));
  }

  /** Asks in the same way, and shows a preview before the question. */
  template <typename... Arguments>
  [[nodiscard]] bool ask(const Report& preview, const char* sentence,
                         const Arguments&... arguments) const {
    return invocation_->ask(in_words(sentence, arguments...), &preview);
  }

  /** Invocation::show_next. */
  void show_next(const Report& report) const { invocation_->show_next(report); }

  /** A bar at the terminal that grows with Progress::update, as long as it lives. */
  [[nodiscard]] Progress progress(std::string label, std::uint64_t total) const {
    return {std::move(label), total};
  }

  /** Whether the command line names a file for the report's bytes. */
  [[nodiscard]] bool has_output_file() const { return invocation_->output_file.has_value(); }

 private:
  template <typename... Arguments>
  [[nodiscard]] std::string in_words(const char* sentence, const Arguments&... arguments) const {
    return fmt::format(fmt::runtime(sentence), arguments..., fmt::arg("board", name()));
  }

  const Invocation* invocation_;
  std::uint32_t index_;
};

}  // namespace ovkctl
