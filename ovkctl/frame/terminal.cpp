#include "ovkctl/frame/terminal.h"

#include <cstdio>
#include <fmt/core.h>
#include <unistd.h>
#include <utility>

namespace ovkctl {
namespace {

constexpr unsigned nothing_shown = 101;
constexpr unsigned bar_width = 40;

}  // namespace

Progress::Progress(std::string label, std::uint64_t total)
    : label_(std::move(label)),
      total_(std::max<std::uint64_t>(total, 1)),
      shown_percent_(nothing_shown),
      visible_(isatty(STDERR_FILENO) != 0) {
  update(0);
}

Progress::~Progress() {
  if (visible_) {
    std::fputs("\r\x1b[K", stderr);
  }
}

void Progress::update(std::uint64_t done) {
  const auto percent = static_cast<unsigned>(std::min(done, total_) * 100 / total_);
  if (!visible_ || percent == shown_percent_) {
    return;
  }
  shown_percent_ = percent;
  const unsigned filled = bar_width * percent / 100;
  fmt::print(stderr, "\r{} [{:#<{}}{:{}}] {:3} %", label_, "", filled, "", bar_width - filled,
             percent);
}

}  // namespace ovkctl
