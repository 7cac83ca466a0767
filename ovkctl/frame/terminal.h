/**
 * @file
 * How far a command is, for the person at the terminal.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace ovkctl {

/** A progress bar on standard error, from 0 % on, when that is a terminal; nothing otherwise. */
class Progress {
 public:
  /** @param total  how much there is to do, in any unit */
  Progress(std::string label, std::uint64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /** Shows that so much of the total is done. */
  void update(std::uint64_t done);

 private:
  std::string label_;
  std::uint64_t total_;
  unsigned shown_percent_;
  bool visible_;
};

/**
 * Works through bytes in pieces, and shows how far it is.
 *
 * @param most  the size of the longest piece
 * @param work  gets where a piece begins, and the piece
 */
template <typename Byte, typename Work>
void in_pieces(const std::string& label, std::span<Byte> bytes, std::size_t most, Work work) {
  Progress progress{label, bytes.size()};
  for (std::size_t done = 0; done < bytes.size();) {
    const std::span<Byte> piece = bytes.subspan(done, std::min(most, bytes.size() - done));
    work(done, piece);
    done += piece.size();
    progress.update(done);
  }
}

}  // namespace ovkctl
